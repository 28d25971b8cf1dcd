// Which stages a scan runs: what was asked for, as far as the machine has it.
#pragma once

#include <string>
#include <vector>

#include "frontend/ScanOptions.h"
#include "platform/Platform.h"

namespace kel {
class Scanner;
}

namespace kel::frontend {

struct ScanStages {
    bool processes = false;
    bool modules = false;
    bool common = false;
    bool drives = false;  ///< or the folders that were named
    bool registry = false;
    bool cookies = false;
    std::vector<std::string> notAvailable;  ///< what was asked for and this machine can't have

    /// In the order in which they run. Empty when nothing is left of what was asked for.
    [[nodiscard]] std::vector<std::string> Names() const;
};

/// For a scan of all threats.
[[nodiscard]] ScanStages StagesOf(const ScanOptions& options, const platform::Capabilities& can);

/// Sets the options of the engine that a scan of all threats has, but for its drives and folders. Behind
/// InitializeScan.
void Apply(const ScanOptions& options, const ScanStages& stages, Scanner& scanner);

}  // namespace kel::frontend
