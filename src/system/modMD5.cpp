#include "system/modMD5.h"

#include <cstdint>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "platform/Platform.h"
#include "system/FileHash.h"

namespace kel::modMD5 {

namespace {

constexpr std::size_t LongestPathWithoutFile = 3;
// Smaller files are not hashed: signatures know none.
constexpr std::int64_t MinBytes = 1000;

struct Data {
    double LastFileSize = 0;  ///< bytes of the file asked for last
};

}  // namespace

std::string FileMD5(std::string_view path) {
    std::string result;
    ResumeNext([&] {
        if (path.size() <= LongestPathWithoutFile) {
            return;
        }
        // Not by modFiles::FileLength: a file that can't be read has no hash, which is nothing to report.
        const auto length = static_cast<std::int64_t>(platform::Current().files->Length(path).ValueOr(0));
        ModuleData<Data>().LastFileSize = static_cast<double>(length);
        if (length < MinBytes || length > OptMaxMD5Len()) {
            return;
        }
        if (!State().FileHashObject) {
            Raise(ErrObjectNotSet);
        }
        result = State().FileHashObject->FileMD5(path);
    });
    return result;
}

}  // namespace kel::modMD5
