// The work of `ombrelane history`.
#pragma once

#include "frontend/RecordRun.h"

namespace kel::frontend {

// Each gives the exit code. Those that name a scan throw MachineError when the history does not have it; the row of the
// sums of all scans is none.

/// One line a scan, the oldest first.
int ListHistory(RecordRun& run);
/// A scan with its detections, their locations and what became of them.
int ShowHistory(RecordRun& run);
/// Removes a scan from the list. The sums of all scans and the details of this one stay in their files.
int DeleteHistory(RecordRun& run);

}  // namespace kel::frontend
