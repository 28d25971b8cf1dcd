#include "frontend/ExitCodes.h"

#include "frontend/Sink.h"

namespace kel::frontend {

ExitCode Verdict(const SummaryRecord& summary) {
    if (!summary.complete) {
        return ExitIncomplete;
    }
    if (summary.threats > 0) {
        return ExitThreats;
    }
    return summary.unreadable > 0 || summary.errors > 0 ? ExitIncomplete : ExitClean;
}

}  // namespace kel::frontend
