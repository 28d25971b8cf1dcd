#include "catalogue/MissingFile.h"

#include <string>

#include "core/Failures.h"
#include "core/Text.h"

namespace kel {

void ReportMissingFile(std::string_view what, std::string_view path, SourceLocation where) noexcept {
    ResumeNext([&] {
        std::string line = "ln " + Text(where.line()) + ":Missing file ";
        line.append(what).append(" ").append(path);
        // The names are the scan data loader's for both loaders: readers of the log look for them.
        ReportError(line, "0", "Scanner", "InitializeScanData");
    });
}

}  // namespace kel
