// The work of `ombrelane scan`.
#pragma once

#include "frontend/Output.h"
#include "frontend/ScanOptions.h"

namespace kel::frontend {

/// Opens the machine, scans it and shows what is found. Gives the exit code.
int RunScan(const ScanOptions& options, const Streams& streams);

}  // namespace kel::frontend
