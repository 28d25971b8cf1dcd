#include "frontend/TextSink.h"

#include "frontend/CleanTexts.h"
#include "frontend/ExitCodes.h"
#include "frontend/ShownText.h"

namespace kel::frontend {

namespace {

constexpr const char* Bold = "\x1b[1m";
constexpr const char* Red = "\x1b[1;31m";
constexpr const char* Yellow = "\x1b[33m";
constexpr const char* Green = "\x1b[32m";
constexpr const char* Plain = "";

std::string Counted(std::int64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + ShownText(word);
    }
    return text;
}

}  // namespace

void TextSink::Print(const char* code, const std::string& text) {
    const bool coloured = colour_ && *code != '\0';
    out_.Write((coloured ? code : "") + text + (coloured ? "\x1b[0m\n" : "\n"));
}

void TextSink::Start(const StartRecord& record) {
    const std::string data = ", signature data " + ShownText(record.dataVersion);
    if (record.threat != 0) {
        Print(Plain, "Looking for threat " + std::to_string(record.threat) + " on " + ShownText(record.machine) + data);
    } else {
        Print(Plain, "Scanning " + Joined(record.targets.empty() ? record.stages : record.targets) + " of " +
                         ShownText(record.machine) + ", depth " + record.depth + data);
    }
    if (!record.stages.empty()) {
        Print(Plain, "Stages: " + Joined(record.stages));
    }
    if (!record.notAvailable.empty()) {
        Print(Plain, "Not available on this machine: " + Joined(record.notAvailable));
    }
}

void TextSink::Finding(const FindingRecord& record) {
    auto& list = findings_[record.threat];
    if (list.empty()) {
        order_.push_back(record.threat);
    }
    list.push_back(record);
}

void TextSink::Error(const ErrorRecord& record) {
    std::fprintf(err_, "ombrelane: %s%s%s\n", ShownText(record.location).c_str(), record.location.empty() ? "" : ": ",
                 ShownText(record.message).c_str());
}

void TextSink::Summary(const SummaryRecord& record) {
    for (const std::int32_t threat : order_) {
        const auto& list = findings_[threat];
        const FindingRecord& first = list.front();
        Print(Plain, "");
        Print(Red, ShownText(first.name) + "  (threat " + std::to_string(threat) + ")");
        Print(Plain, "  " + ShownText(first.category) + ", risk " + ShownText(first.levelName));
        for (const FindingRecord& finding : list) {
            Print(Plain,
                  "  " + finding.kind + std::string(10 - finding.kind.size(), ' ') + ShownText(finding.location));
        }
    }
    Print(Plain, "");
    const bool clean = record.threats == 0;
    Print(clean ? (Verdict(record) == ExitClean ? Green : Yellow) : Bold,
          clean ? std::string("No threats found")
                : Counted(record.threats, "threat", "threats") + " found in " +
                      Counted(record.locations, "location", "locations"));
    char time[32];
    std::snprintf(time, sizeof time, "%.1f", record.seconds);
    Print(Plain, Counted(record.Scanned(), "location", "locations") + " scanned in " + time + " s");
    if (record.unreadable > 0) {
        Print(Yellow, Counted(record.unreadable, "file or folder", "files and folders") + " could not be read");
    }
    if (record.errors > 0) {
        Print(Yellow, Counted(record.errors, "failure", "failures") + " reported in errors.log");
    }
    if (!record.abortReason.empty()) {
        Print(Yellow, "The scan was aborted: " + ShownText(record.abortReason));
    } else if (!record.complete) {
        Print(Yellow, "The scan is not complete");
    }
}

void TextSink::CleanStart(const CleanStartRecord& record) {
    destroys_ = record.destroys;
    Print(Plain, "");
    if (record.fromHistory) {
        Print(Plain,
              "The history has files and cookies of a threat, and no more that could be removed: its registry "
              "entries and folders stay as they are. A scan with --quarantine removes those too");
    }
    if (!record.notAvailable.empty()) {
        Print(Plain, "Not available on this machine: " + Joined(record.notAvailable));
    }
}

void TextSink::Cleaned(const CleanRecord& record) {
    using Result = CleanRecord::Result;
    const bool well = record.result == Result::Cleaned;
    const bool nothing = record.result == Result::NotDetected || record.result == Result::Skipped;
    Print(well ? Green : nothing ? Plain : Yellow, Outcome(record, destroys_));
    if (nothing) {
        return;
    }
    for (const CleanItem& item : record.items) {
        std::string line = std::string("  ") + NameOf(item.result);
        line.resize(13, ' ');
        line += item.kind;
        line.resize(23, ' ');
        Print(item.result == CleanItem::Result::Left ? Yellow : Plain, line + ShownText(item.location));
    }
}

void TextSink::CleanSummary(const CleanSummaryRecord& record) {
    for (const std::string& line : Conclusion(record)) {
        Print(Verdict(record) == ExitClean ? Plain : Yellow, line);
    }
}

void TextSink::Write(const WriteRecord& record) {
    Print(Plain, "would " + ShownText(record.text));
}

}  // namespace kel::frontend
