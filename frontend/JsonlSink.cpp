#include "frontend/JsonlSink.h"

#include "frontend/JsonLine.h"

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

}  // namespace kel::frontend
