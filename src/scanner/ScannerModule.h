// Module-level values that all Scanner objects share, beside those of the engine state.
#pragma once

#include <cstdint>
#include <memory>

#include "core/EngineState.h"
#include "results/Scan.h"

namespace kel {

/// Limit of OptMaxMD5Len in bytes when a scan begins.
inline constexpr std::int32_t DefaultMaxMD5Len = 2500000;

struct ScannerModule {
    bool scanInProgress = false;
    std::int32_t scannerPriority = 0;
    bool suspendActive = false;
    bool scanAllUsers = false;
    bool writeHistory = false;
    std::shared_ptr<Scan::DetectedThreatCollection> threatsToClean;
};

[[nodiscard]] inline ScannerModule& SharedByScanners() {
    return ModuleData<ScannerModule>();
}

}  // namespace kel
