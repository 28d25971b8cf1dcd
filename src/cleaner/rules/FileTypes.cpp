#include "core/Failures.h"
#include "core/Text.h"
#include "rules/modCleanerHelper.h"

namespace kel::modCleanerHelper {

namespace {

struct FileType {
    std::string_view extension;
    enThreatFileTypes type;
};

constexpr FileType FileTypes[] = {
    {"exe", ThreatFileTypeExe},
    {"dll", ThreatFileTypeDll},
    {"ocx", ThreatFileTypeOCX},
    {"sys", ThreatFileTypeSYS},
};

constexpr std::size_t ShortestPath = 4;

}  // namespace

enThreatFileTypes GetThreatFileType(std::string_view path) {
    enThreatFileTypes result = ThreatFileTypeGeneral;
    Trap("modCleanerHelper", "GetThreatFileType", [&] {
        if (path.size() < ShortestPath) {
            return;
        }
        const std::string extension = LCase(Right(path, 3));
        for (const FileType& entry : FileTypes) {
            if (extension == entry.extension) {
                result = entry.type;
                return;
            }
        }
    });
    return result;
}

}  // namespace kel::modCleanerHelper
