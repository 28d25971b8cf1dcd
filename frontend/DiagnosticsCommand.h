// The work of `ombrelane diagnostics`.
#pragma once

#include "frontend/RecordRun.h"

namespace kel::frontend {

/// Loads everything, and shows what the engine says of itself. Gives the exit code.
int ShowDiagnostics(RecordRun& run);

}  // namespace kel::frontend
