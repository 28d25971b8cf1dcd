#include "frontend/ThreatsCommand.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "catalogue/clsThreat.h"
#include "catalogue/modMain.h"
#include "catalogue/modThreats.h"
#include "frontend/ExitCodes.h"
#include "frontend/ShownText.h"

namespace kel::frontend {

namespace {

// Texts of the removal types, by their numbers.
constexpr const char* RemovalTypes[] = {
    "none", "none", "lsp", "uninstaller", "script_download", "script", "script_download_only", "script_only"};

std::string RemovalName(enCustomRemovalType type) {
    const auto number = static_cast<std::size_t>(type);
    return number < std::size(RemovalTypes) ? RemovalTypes[number] : std::to_string(type);
}

template <class Function>
void ForEachThreat(const Function& function) {
    if (!State().ThreatCatalog) {
        return;
    }
    for (const auto& threat : *State().ThreatCatalog) {
        if (threat->ThreatID != 0) {
            function(*threat);
        }
    }
}

// From the catalogue's own record: a list names a threat too that can't be made into an object.
std::int32_t LevelOf(const clsThreat& threat) {
    return threat.ThreatLevel != 0 ? threat.ThreatLevel : modThreats::GetThreatLevelFromCategory(threat.ThreatCategory);
}

std::string Padded(std::string text, std::size_t width) {
    // Columns are filled by characters; bytes of a character that follow its first are none.
    std::size_t columns = 0;
    for (const char byte : text) {
        columns += (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
    }
    return columns < width ? text.append(width - columns, ' ') : text;
}

Json ObjectOf(const ThreatRecord& threat) {
    return {{"type", "threat"},
            {"threat", threat.ThreatID},
            {"name", Utf8(threat.ThreatName)},
            {"category", Utf8(threat.Category)},
            {"threat_type", Utf8(threat.ThreatType)},
            {"level", threat.GetThreatLevel()},
            {"level_name", Utf8(threat.GetThreatLevelDisplayName())},
            {"option_level", threat.OptionLevel},
            {"description", Utf8(threat.GetDescriptionDisplay())},
            {"advise", Utf8(threat.GetAdviseDisplay())},
            {"author", Utf8(threat.Author)},
            {"author_url", Utf8(threat.AuthorURL)},
            {"can_quarantine", threat.CanQuarantine},
            {"removal", RemovalName(threat.CustomRemovalType)}};
}

template <class Function>
void ForEachLine(std::string_view text, const Function& function) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        function(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void Titled(RecordReport& report, const char* title, std::string_view text) {
    // What to do may begin with an empty line: details stand on a line of their own behind a text that may be none.
    text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
    if (!text.empty()) {
        report.Line("");
        report.Line(title);
        ForEachLine(text, [&](std::string_view line) { report.Line("  " + ShownText(line)); });
    }
}

void Print(RecordReport& report, const ThreatRecord& threat) {
    report.Line(ShownText(threat.ThreatName) + "  (threat " + std::to_string(threat.ThreatID) + ")");
    report.Line("  " + ShownText(threat.Category) + ", risk " + ShownText(threat.GetThreatLevelDisplayName()) +
                ", option level " + std::to_string(threat.OptionLevel));
    report.Line("  " + (threat.ThreatType.empty() ? "" : "type " + ShownText(threat.ThreatType) + ", ") + "removal " +
                RemovalName(threat.CustomRemovalType) +
                (threat.CanQuarantine ? ", can be put into the quarantine" : ", can't be put into the quarantine"));
    if (!threat.Author.empty() || !threat.AuthorURL.empty()) {
        report.Line("  by " + ShownText(threat.Author) + (threat.Author.empty() ? "" : " ") +
                    ShownText(threat.AuthorURL));
    }
    Titled(report, "Description", threat.GetDescriptionDisplay());
    Titled(report, "Risk", threat.GetThreatLevelDescription());
    Titled(report, "What to do", threat.GetAdviseDisplay());
}

}  // namespace

int ListThreats(RecordRun& run) {
    run.session.LoadThreats();
    ForEachThreat([&](const clsThreat& threat) {
        const std::int32_t level = LevelOf(threat);
        const std::string levelName = modThreats::GetThreatLevelDisplayName(level);
        if (!run.report.InText()) {
            run.report.Object({{"type", "threat"},
                               {"threat", threat.ThreatID},
                               {"name", Utf8(threat.ThreatName)},
                               {"category", Utf8(threat.ThreatCategory)},
                               {"threat_type", Utf8(threat.ThreatType)},
                               {"level", level},
                               {"level_name", Utf8(levelName)},
                               {"option_level", threat.ThreatOptionLevel}});
            return;
        }
        run.report.Line(Padded(std::to_string(threat.ThreatID), 10) + "  " + Padded(ShownText(levelName), 8) + "  " +
                        Padded(ShownText(threat.ThreatCategory), 25) + "  " + ShownText(threat.ThreatName));
    });
    return ExitClean;
}

int ShowThreat(RecordRun& run) {
    run.session.LoadThreats();
    const std::int32_t number = run.options.threats.back();
    if (!modMain::ThreatExists(number)) {
        throw MachineError("no threat " + std::to_string(number) + " in the data folder " + run.options.data);
    }
    // One whose record can't be read is reported there.
    if (const auto threat = run.session.Manager().Threats()->GetThreatByThreatID(number)) {
        if (run.report.InText()) {
            Print(run.report, *threat);
        } else {
            run.report.Object(ObjectOf(*threat));
        }
    }
    return ExitClean;
}

int ExportThreats(RecordRun& run) {
    if (run.report.InText()) {
        // Its result is the end of the list alone; the whole of it is in the file. An empty catalogue leaves none.
        const std::string end = run.session.Manager().Scanner()->ThreatList();
        if (end.empty()) {
            return ExitClean;
        }
        const auto file = platform::Current().files->View(State().UserDataFolder + "Threat.txt");
        if (!file) {
            run.report.Message("can't read the list that was written, Threat.txt in " +
                               ShownHostText(run.options.userData));
            return ExitIncomplete;
        }
        const auto bytes = (*file)->Bytes();
        ForEachLine({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                    [&](std::string_view line) { run.report.Line(ShownText(line)); });
        return ExitClean;
    }
    run.session.LoadThreats();
    ForEachThreat([&](const clsThreat& record) {
        if (const auto threat = run.session.Manager().Threats()->GetThreatByThreatID(record.ThreatID)) {
            run.report.Object(ObjectOf(*threat));
        }
    });
    return ExitClean;
}

}  // namespace kel::frontend
