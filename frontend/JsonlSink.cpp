#include "frontend/JsonlSink.h"

#include "frontend/JsonLine.h"
#include "frontend/SwallowedWrites.h"

namespace kel::frontend {

void JsonlSink::Start(const StartRecord& record) {
    Json targets = Json::array();
    for (const std::string& target : record.targets) {
        targets.push_back(Utf8(target));
    }
    Json line{{"type", "start"},
              {"scan", record.scanId},
              {"machine", record.machine},
              {"targets", targets},
              {"depth", record.depth},
              {"data_version", Utf8(record.dataVersion)},
              {"not_available", record.notAvailable},
              {"stages", record.stages}};
    if (record.threat != 0) {
        line["threat"] = record.threat;
    }
    out_.Write(JsonLine(line));
}

void JsonlSink::Finding(const FindingRecord& record) {
    Json line{{"type", "finding"},     {"threat", record.threat},           {"name", Utf8(record.name)},
              {"kind", record.kind},   {"location", Utf8(record.location)}, {"category", Utf8(record.category)},
              {"level", record.level}, {"option_level", record.optionLevel}};
    if (record.kind == "file") {
        line["md5"] = record.md5;
    }
    out_.Write(JsonLine(line));
}

void JsonlSink::Error(const ErrorRecord& record) {
    Json line{{"type", "error"}, {"kind", record.kind}, {"message", Utf8(record.message)}};
    if (!record.location.empty()) {
        line["location"] = Utf8(record.location);
    }
    out_.Write(JsonLine(line));
}

void JsonlSink::Summary(const SummaryRecord& record) {
    out_.Write(JsonLine({{"type", "summary"},
                         {"complete", record.complete},
                         {"threats", record.threats},
                         {"locations", record.locations},
                         {"files", record.files},
                         {"errors", record.errors},
                         {"unreadable", record.unreadable},
                         {"abort_reason", Utf8(record.abortReason)},
                         {"seconds", record.seconds},
                         {"processes", record.processes},
                         {"registry", record.registry},
                         {"cookies", record.cookies}}));
}

void JsonlSink::CleanStart(const CleanStartRecord& record) {
    out_.Write(JsonLine({{"type", "clean_start"},
                         {"scan", Utf8(record.scanId)},
                         {"action", record.destroys ? "destroy" : "quarantine"},
                         {"dry_run", record.dryRun},
                         {"from_history", record.fromHistory},
                         {"threats", record.threats},
                         {"not_available", record.notAvailable}}));
}

void JsonlSink::Cleaned(const CleanRecord& record) {
    for (const CleanItem& item : record.items) {
        out_.Write(JsonLine({{"type", "clean_item"},
                             {"threat", record.threat},
                             {"kind", item.kind},
                             {"location", Utf8(item.location)},
                             {"result", NameOf(item.result)}}));
    }
    out_.Write(JsonLine({{"type", "clean"},
                         {"threat", record.threat},
                         {"name", Utf8(record.name)},
                         {"result", NameOf(record.result)},
                         {"reason", Utf8(record.reason)},
                         {"quarantine", Utf8(record.quarantine)}}));
}

void JsonlSink::CleanSummary(const CleanSummaryRecord& record) {
    out_.Write(JsonLine({{"type", "clean_summary"},
                         {"action", record.destroys ? "destroy" : "quarantine"},
                         {"dry_run", record.dryRun},
                         {"cleaned", record.cleaned},
                         {"partial", record.partial},
                         {"failed", record.failed},
                         {"not_detected", record.notDetected},
                         {"skipped", record.skipped},
                         {"removed", record.removed},
                         {"left", record.left},
                         {"errors", record.errors},
                         {"interrupted", record.interrupted},
                         {"next_start", record.nextStart}}));
}

void JsonlSink::Write(const WriteRecord& record) {
    out_.Write(JsonLine(ObjectOf(record)));
}

}  // namespace kel::frontend
