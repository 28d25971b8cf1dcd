// The hash by which signatures know a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "system/Md5.h"

namespace kel::modMD5 {

/// MD5 of a file as 32 lower-case hexadecimal digits, by EngineState::FileHashObject, which must be set. Empty for a
/// path of 3 characters or fewer, a file below 1000 bytes or above OptMaxMD5Len, and one that can't be read.
std::string FileMD5(std::string_view path);

/// The same as bytes; nothing where FileMD5 is empty.
std::optional<Md5Digest> FileDigest(std::string_view path);
/// Where the caller has just asked for the file's stamp.
std::optional<Md5Digest> FileDigest(std::string_view path, const platform::FileStamp& stamp);

/// Whether a file of that many bytes has a hash.
[[nodiscard]] bool IsHashed(std::uint64_t bytes);

}  // namespace kel::modMD5
