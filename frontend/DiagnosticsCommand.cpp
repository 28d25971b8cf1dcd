#include "frontend/DiagnosticsCommand.h"

#include <array>
#include <string>
#include <string_view>

#include "engine/Info.h"
#include "frontend/ExitCodes.h"
#include "frontend/ShownText.h"

namespace kel::frontend {

namespace {

enum class Kind { Text, Flag, Number };

struct Field {
    std::string_view label;
    const char* name;
    Kind kind;
};

constexpr std::array Fields{
    Field{"EngineVersion: ", "engine_version", Kind::Text},
    Field{"DBVersionThreatData: ", "threat_data_version", Kind::Text},
    Field{"DBVersionScanData: ", "scan_data_version", Kind::Text},
    Field{"IsInitializedScanData: ", "scan_data_initialized", Kind::Flag},
    Field{"InitializeThreatData: ", "threat_data_initialized", Kind::Flag},
    Field{"IsInitializedScanHistoryData: ", "scan_history_initialized", Kind::Flag},
    Field{"IsInitializedIgnoredThreatsData: ", "ignored_threats_initialized", Kind::Flag},
    Field{"IgnoredThreats Count: ", "ignored_threats", Kind::Number},
    Field{"Quarantine Count: ", "quarantine", Kind::Number},
    Field{"ScanHistory Count: ", "scan_history", Kind::Number},
    Field{"Threats Count: ", "threats", Kind::Number},
    Field{"ScanLocations FilesMD5 Count: ", "files_md5", Kind::Number},
    Field{"ScanLocations FilesPath Count: ", "files_path", Kind::Number},
    Field{"ScanLocations FilesName Count: ", "files_name", Kind::Number},
    Field{"ScanLocations Folders Count: ", "folders", Kind::Number},
    Field{"ScanLocations Registry Count: ", "registry", Kind::Number},
    Field{"ScanLocations Cookies Count: ", "cookies", Kind::Number},
};

// The engine's own lines; each ends in a carriage return and a line feed.
template <class Function>
void ForEachLine(std::string_view text, const Function& function) {
    for (std::size_t end = 0; (end = text.find("\r\n")) != std::string_view::npos; text.remove_prefix(end + 2)) {
        function(text.substr(0, end));
    }
}

void Take(Json& object, std::string_view line) {
    for (const Field& field : Fields) {
        if (line.substr(0, field.label.size()) != field.label) {
            continue;
        }
        const std::string value(line.substr(field.label.size()));
        switch (field.kind) {
            case Kind::Text:
                object[field.name] = Utf8(value);
                break;
            case Kind::Flag:
                object[field.name] = value == "True";
                break;
            case Kind::Number:
                object[field.name] = std::stoll(value);
                break;
        }
        return;
    }
}

}  // namespace

int ShowDiagnostics(RecordRun& run) {
    run.session.LoadAll();
    const std::string text = Info().Diagnostics();
    if (run.report.InText()) {
        ForEachLine(text, [&](std::string_view line) { run.report.Line(ShownText(line)); });
        return ExitClean;
    }
    Json object{{"type", "diagnostics"}};
    ForEachLine(text, [&](std::string_view line) { Take(object, line); });
    run.report.Object(object);
    return ExitClean;
}

}  // namespace kel::frontend
