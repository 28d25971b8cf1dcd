// The engine's own texts about a scan.
#pragma once

#include <string>

#include "frontend/ScanOptions.h"

namespace kel {
class Scan;
}

namespace kel::frontend {

/// The bytes as the engine makes them; empty where it has nothing to tell. Behind the end of the scan.
[[nodiscard]] std::string ReportText(Scan& scan, ScanReport report);

}  // namespace kel::frontend
