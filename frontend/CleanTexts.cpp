#include "frontend/CleanTexts.h"

#include "frontend/ShownText.h"

namespace kel::frontend {

namespace {

std::string Counted(std::int64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

const char* Verb(CleanRecord::Result result, bool destroys) {
    switch (result) {
        case CleanRecord::Result::Cleaned:
            return destroys ? "destroyed" : "is in the quarantine";
        case CleanRecord::Result::Partial:
            return destroys ? "destroyed in part" : "is in the quarantine in part";
        case CleanRecord::Result::NotDetected:
            return "not detected, nothing to remove";
        case CleanRecord::Result::Skipped:
            return "left alone";
        default:
            return "NOT removed";
    }
}

}  // namespace

std::string Outcome(const CleanRecord& record, bool destroys) {
    std::string line = ShownText(record.name) + (record.name.empty() ? "" : "  ") + "(threat " +
                       std::to_string(record.threat) + "): " + Verb(record.result, destroys);
    if (!record.quarantine.empty()) {
        line += " as " + ShownText(record.quarantine);
    }
    return record.reason.empty() ? line : line + ": " + ShownText(record.reason);
}

std::vector<std::string> Conclusion(const CleanSummaryRecord& record) {
    std::vector<std::string> lines;
    if (record.cleaned + record.partial + record.failed > 0) {
        std::string line = Counted(record.cleaned, "threat", "threats") + (record.dryRun ? " would be" : "") +
                           " removed, " + Counted(record.removed, "location", "locations") + " in all";
        if (record.partial > 0) {
            line += "; " + std::to_string(record.partial) + " in part";
        }
        if (record.failed > 0) {
            line += "; " + std::to_string(record.failed) + " not";
        }
        lines.push_back(line);
    } else {
        lines.emplace_back("Nothing was removed");
    }
    if (record.nextStart) {
        lines.emplace_back("What is left is removed at the next start of the machine");
    }
    if (record.errors > 0) {
        lines.push_back(Counted(record.errors, "failure", "failures") + " reported in errors.log");
    }
    if (record.interrupted) {
        lines.emplace_back("Interrupted by the user: what was begun is done, the rest was left alone");
    }
    if (record.dryRun) {
        lines.emplace_back("This was a dry run: nothing was changed");
    }
    return lines;
}

}  // namespace kel::frontend
