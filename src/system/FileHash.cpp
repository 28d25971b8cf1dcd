#include "system/FileHash.h"

#include <cstddef>
#include <span>

#include "core/Paths.h"
#include "core/RuntimeError.h"
#include "platform/Platform.h"

namespace kel {

namespace {

constexpr std::size_t KeyLength = 12;
constexpr std::size_t BlockBytes = std::size_t{128} << 10;

}  // namespace

FileHash::FileHash(std::string_view key) {
    if (key.size() != KeyLength) {
        Raise(ErrInvalidProcedureCall);
    }
}

Md5Digest FileHash::FileDigest(std::string_view path) {
    auto file = platform::Current().files->Open(path, platform::OpenMode::Read);
    if (!file) {
        paths::RaiseFileError(file.Error(), path);
    }
    buffer_.resize(BlockBytes);
    const auto block = std::as_writable_bytes(std::span(buffer_));
    Md5 digest;
    for (;;) {
        const auto read = (*file)->Read(block);
        if (!read) {
            paths::RaiseFileError(read.Error(), path);
        }
        if (*read == 0) {
            return digest.Finish();
        }
        digest.Update(block.first(*read));
    }
}

}  // namespace kel
