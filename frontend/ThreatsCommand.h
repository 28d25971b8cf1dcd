// The work of `ombrelane threats`.
#pragma once

#include "frontend/RecordRun.h"

namespace kel::frontend {

// Each gives the exit code.

/// One line a threat, in the order of the catalogue. The catalogue's version row is no threat.
int ListThreats(RecordRun& run);
/// All that is known of a threat. Throws MachineError when the catalogue does not have it.
int ShowThreat(RecordRun& run);
/// The whole catalogue: the engine's own XML list, which stays in the user data folder too, or every threat with all
/// that is known of it as JSON lines.
int ExportThreats(RecordRun& run);

}  // namespace kel::frontend
