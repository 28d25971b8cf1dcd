#include "frontend/QuarantineOptions.h"

#include <array>

#include "frontend/IgnoreList.h"
#include "frontend/OptionTable.h"

namespace kel::frontend {

namespace {

using Problem = std::optional<std::string>;

template <class Options>
Problem SetFormat(Options& options, const std::string& value) {
    if (value != "text" && value != "jsonl") {
        return "expected text or jsonl, not '" + value + "'";
    }
    options.format = value == "jsonl" ? OutputFormat::Jsonl : OutputFormat::Text;
    return std::nullopt;
}

Problem SetScan(CleanOptions& options, const std::string& value) {
    options.scan = value;
    return std::nullopt;
}

Problem AddThreat(CleanOptions& options, const std::string& value) {
    const auto threat = IgnoreList::NumberOf(value);
    if (!threat) {
        return "expected the number of a threat from 1 to 2147483647, not '" + value + "'";
    }
    options.threats.push_back(*threat);
    return std::nullopt;
}

Problem NoProgress(CleanOptions& options, const std::string& /*value*/) {
    options.noProgress = true;
    return std::nullopt;
}

constexpr const char* FormatHelp = "text (the default) or jsonl: one JSON object a line on standard output";

constexpr std::array QuarantineTable{
    OptionRow<QuarantineOptions>{"--format", "FORMAT", false, FormatHelp, SetFormat<QuarantineOptions>},
};

constexpr std::array CleanTable{
    OptionRow<CleanOptions>{"--scan", "ID", false, "the scan that found them, as history list shows it", SetScan},
    OptionRow<CleanOptions>{"--threat", "N", true, "a threat that is to be removed into the quarantine", AddThreat},
    OptionRow<CleanOptions>{"--format", "FORMAT", false, FormatHelp, SetFormat<CleanOptions>},
    OptionRow<CleanOptions>{"--no-progress", "", false, "no progress line on the terminal", NoProgress},
};

}  // namespace

std::span<const OptionRow<QuarantineOptions>> QuarantineOptionTable() {
    return QuarantineTable;
}

std::span<const OptionRow<CleanOptions>> CleanOptionTable() {
    return CleanTable;
}

Problem CheckCleanOptions(const CleanOptions& options) {
    if (Problem problem = CheckSessionOptions(options)) {
        return problem;
    }
    if (options.scan.empty()) {
        return "--scan is required";
    }
    if (options.threats.empty()) {
        return "--threat is required";
    }
    return std::nullopt;
}

}  // namespace kel::frontend
