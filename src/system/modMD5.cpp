#include "system/modMD5.h"

#include <cstdint>
#include <utility>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "platform/Platform.h"
#include "system/FileHash.h"
#include "system/LookAhead.h"

namespace kel::modMD5 {

namespace {

constexpr std::size_t LongestPathWithoutFile = 3;
// Smaller files are not hashed: signatures know none.
constexpr std::uint64_t MinBytes = 1000;

struct Data {
    double LastFileSize = 0;  ///< bytes of the file asked for last
};

std::optional<Md5Digest> Hash(std::string_view path, std::uint64_t bytes, const platform::FileStamp* stamp) {
    ModuleData<Data>().LastFileSize = static_cast<double>(bytes);
    if (!IsHashed(bytes)) {
        return std::nullopt;
    }
    if (!State().FileHashObject) {
        Raise(ErrObjectNotSet);
    }
    if (stamp != nullptr) {
        if (const auto digest = LookAhead::Digest(path, *stamp)) {
            return digest;
        }
    }
    return State().FileHashObject->FileDigest(path);
}

}  // namespace

bool IsHashed(std::uint64_t bytes) {
    return bytes >= MinBytes && std::cmp_less_equal(bytes, OptMaxMD5Len());
}

std::optional<Md5Digest> FileDigest(std::string_view path) {
    std::optional<Md5Digest> result;
    ResumeNext([&] {
        if (path.size() <= LongestPathWithoutFile) {
            return;
        }
        if (LookAhead::Active()) {
            if (const auto stamp = platform::Current().files->Stamp(path)) {
                result = Hash(path, stamp->size, &*stamp);
                return;
            }
        }
        // Not by modFiles::FileLength: a file that can't be read has no hash, which is nothing to report.
        result = Hash(path, platform::Current().files->Length(path).ValueOr(0), nullptr);
    });
    return result;
}

std::optional<Md5Digest> FileDigest(std::string_view path, const platform::FileStamp& stamp) {
    std::optional<Md5Digest> result;
    ResumeNext([&] {
        if (path.size() > LongestPathWithoutFile) {
            result = Hash(path, stamp.size, &stamp);
        }
    });
    return result;
}

std::string FileMD5(std::string_view path) {
    const auto digest = FileDigest(path);
    return digest ? HexText(*digest) : std::string();
}

}  // namespace kel::modMD5
