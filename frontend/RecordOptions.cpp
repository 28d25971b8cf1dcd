#include "frontend/RecordOptions.h"

#include <array>

#include "frontend/IgnoreList.h"
#include "frontend/OptionTable.h"

namespace kel::frontend {

namespace {

using Problem = std::optional<std::string>;

template <std::string RecordOptions::*Member>
Problem SetText(RecordOptions& options, const std::string& value) {
    options.*Member = value;
    return std::nullopt;
}

Problem SetFormat(RecordOptions& options, const std::string& value) {
    if (value != "text" && value != "jsonl") {
        return "expected text or jsonl, not '" + value + "'";
    }
    options.format = value == "jsonl" ? OutputFormat::Jsonl : OutputFormat::Text;
    return std::nullopt;
}

Problem DryRun(RecordOptions& options, const std::string& /*value*/) {
    options.dryRun = true;
    return std::nullopt;
}

using Row = OptionRow<RecordOptions>;

constexpr std::array Table{
    Row{"--data", "DIR", false, "the folder of the signature tables (kelThreatData.sdb and its like)",
        SetText<&RecordOptions::data>},
    Row{"--user-data", "DIR", false, "the folder of logs, history and ignore list", SetText<&RecordOptions::userData>},
    Row{"--format", "FORMAT", false, "text (the default) or jsonl: one JSON object a line on standard output",
        SetFormat},
    Row{"--dry-run", "", false, "write nothing anywhere, and show each write that would have been made", DryRun},
};

}  // namespace

std::span<const OptionRow<RecordOptions>> RecordOptionTable() {
    return Table;
}

Problem TakeScan(RecordOptions& options, const std::string& word) {
    if (word.empty()) {
        return "expected the identifier of a scan";
    }
    options.scan = word;
    return std::nullopt;
}

Problem TakeThreat(RecordOptions& options, const std::string& word) {
    const auto threat = IgnoreList::NumberOf(word);
    if (!threat) {
        return "expected the number of a threat from 1 to 2147483647, not '" + word + "'";
    }
    options.threats.push_back(*threat);
    return std::nullopt;
}

}  // namespace kel::frontend
