// The work of `ombrelane ignore`.
#pragma once

#include "frontend/RecordRun.h"

namespace kel::frontend {

/// Each gives the exit code. With a data folder the threats have names, and only those that it knows can be added.
/// Throws MachineError when the list can't be read or what is named isn't there; nothing is changed then.
int ListIgnored(RecordRun& run);
int AddIgnored(RecordRun& run);
int RemoveIgnored(RecordRun& run);

}  // namespace kel::frontend
