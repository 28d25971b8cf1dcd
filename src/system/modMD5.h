// The hash by which signatures know a file.
#pragma once

#include <string>
#include <string_view>

namespace kel::modMD5 {

/// MD5 of a file as 32 lower-case hexadecimal digits, by EngineState::FileHashObject, which must be set. Empty for a
/// path of 3 characters or fewer, a file below 1000 bytes or above OptMaxMD5Len, and one that can't be read.
std::string FileMD5(std::string_view path);

}  // namespace kel::modMD5
