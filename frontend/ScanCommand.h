// The work of `ombrelane scan`.
#pragma once

#include "frontend/ScanOptions.h"

namespace kel::frontend {

/// Opens the machine, scans it and shows what is found. Gives the exit code; messages are on standard error.
int RunScan(const ScanOptions& options);

}  // namespace kel::frontend
