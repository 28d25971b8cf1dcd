// `ombrelane clean`: removes threats that the history knows of.
#pragma once

#include "frontend/Output.h"
#include "frontend/QuarantineOptions.h"

namespace kel::frontend {

/// @param options checked by CheckCleanOptions
int RunClean(const CleanOptions& options, const Streams& streams);

}  // namespace kel::frontend
