// The object that hashes files for the engine.
#pragma once

#include <string>
#include <string_view>

#include "system/Md5.h"

namespace kel {

/// Hashes whole files. Made by LoadEngineData and kept in EngineState::FileHashObject.
class FileHash {
public:
    /// @param key 12 characters that open the object, as its callers know them; they take no part in any digest. Any
    ///        other length is a RuntimeError 5.
    explicit FileHash(std::string_view key);

    /// MD5 of a file's bytes. The file is read once, from its start. A file that
    /// can't be read is a RuntimeError: 53, 70, 76 or 57.
    [[nodiscard]] Md5Digest FileDigest(std::string_view path);
    /// The same as 32 lower-case hexadecimal digits.
    [[nodiscard]] std::string FileMD5(std::string_view path) { return HexText(FileDigest(path)); }

private:
    std::string buffer_;  ///< one block, kept between files
};

}  // namespace kel
