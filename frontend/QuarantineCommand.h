// `ombrelane quarantine`: what was removed, and the way back.
#pragma once

#include "frontend/Output.h"
#include "frontend/QuarantineOptions.h"

namespace kel::frontend {

// Each runs one of the commands with options that were checked, and gives its exit code.

/// Changes nothing, whatever the options say.
int ListQuarantine(const QuarantineOptions& options, const Streams& streams);
/// The same; all records when none is named.
int ShowQuarantine(const QuarantineOptions& options, const Streams& streams);
int RestoreQuarantined(const QuarantineOptions& options, const Streams& streams);
int DestroyQuarantined(const QuarantineOptions& options, const Streams& streams);

}  // namespace kel::frontend
