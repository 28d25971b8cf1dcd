#include "frontend/JsonlSink.h"

#include <nlohmann/json.hpp>

#include "platform/Platform.h"

namespace kel::frontend {

namespace {

using Json = nlohmann::ordered_json;

// Text of the machine may be in its own code page and may hold bytes that are no text at all.
std::string Utf8(const std::string& text) {
    return platform::Current().text->ToUtf8(text);
}

// In ASCII, so that no byte of a name steers a terminal or depends on a code page.
void WriteLine(Output& out, const Json& line) {
    std::string text = line.dump(-1, ' ', true, Json::error_handler_t::replace);
    text += '\n';
    out.Write(text);
}

}  // namespace

void JsonlSink::Start(const StartRecord& record) {
    Json targets = Json::array();
    for (const std::string& target : record.targets) {
        targets.push_back(Utf8(target));
    }
    WriteLine(out_, {{"type", "start"},
                     {"scan", record.scanId},
                     {"machine", record.machine},
                     {"targets", targets},
                     {"depth", record.depth},
                     {"data_version", Utf8(record.dataVersion)},
                     {"not_available", record.notAvailable}});
}

void JsonlSink::Finding(const FindingRecord& record) {
    Json line{{"type", "finding"},     {"threat", record.threat},           {"name", Utf8(record.name)},
              {"kind", record.kind},   {"location", Utf8(record.location)}, {"category", Utf8(record.category)},
              {"level", record.level}, {"option_level", record.optionLevel}};
    if (record.kind == "file") {
        line["md5"] = record.md5;
    }
    WriteLine(out_, line);
}

void JsonlSink::Error(const ErrorRecord& record) {
    Json line{{"type", "error"}, {"kind", record.kind}, {"message", Utf8(record.message)}};
    if (!record.location.empty()) {
        line["location"] = Utf8(record.location);
    }
    WriteLine(out_, line);
}

void JsonlSink::Summary(const SummaryRecord& record) {
    WriteLine(out_, {{"type", "summary"},
                     {"complete", record.complete},
                     {"threats", record.threats},
                     {"locations", record.locations},
                     {"files", record.files},
                     {"errors", record.errors},
                     {"unreadable", record.unreadable},
                     {"abort_reason", Utf8(record.abortReason)},
                     {"seconds", record.seconds}});
}

}  // namespace kel::frontend
