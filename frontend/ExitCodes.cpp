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

ExitCode Verdict(const CleanSummaryRecord& summary) {
    return summary.partial > 0 || summary.failed > 0 || summary.interrupted ? ExitIncomplete : ExitClean;
}

}  // namespace kel::frontend
