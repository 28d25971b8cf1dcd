// The catalogue as a text file.
#include <string>
#include <string_view>
#include <utility>

#include "catalogue/clsThreat.h"
#include "catalogue/modMain.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "scanner/Scanner.h"
#include "system/modFiles.h"

namespace kel {

namespace {

// The log knows the list by the object that had it once.
constexpr const char* Module = "Manager";

constexpr std::string_view LineEnd = "\r\n";

std::string ListPath() {
    return State().UserDataFolder + "\\Threat.txt";
}

void DeleteList() {
    const std::string path = ListPath();
    if (modFiles::FileExists(path) && modFiles::FileDelete(path) != modFiles::Done) {
        Raise(ErrPermissionDenied, path);
    }
}

// The file is opened and closed for each record, which ends in a line end of its own.
void ExportThreatRecordLine(std::string_view text) {
    if (!AppendLineToFile(text, ListPath())) {
        Raise(ErrPathFileAccess, ListPath());
    }
}

std::string XmlEscape(std::string_view text) {
    struct Replacement {
        std::string_view what;
        std::string_view with;
    };
    constexpr Replacement replacements[] = {
        {"&", "&amp;"}, {"\"", "&quot;"}, {"'", "&apos;"}, {"<", "&lt;"}, {">", "&gt;"},
    };
    std::string escaped(text);
    for (const Replacement& replacement : replacements) {
        escaped = Replace(escaped, replacement.what, replacement.with);
    }
    // A name that the catalogue spells with an accent. Code pages without the letter have nothing to replace.
    constexpr std::string_view accented = "\xC3\xB4";
    const std::string letter = platform::Current().text->FromUtf8(accented);
    return platform::Current().text->ToUtf8(letter) == accented ? Replace(escaped, letter, "o") : escaped;
}

std::string ThreatLine(const clsThreat& threat) {
    std::string line = "<Threat threatid=\"" + Text(threat.ThreatID);
    line += "\" name=\"" + XmlEscape(threat.ThreatName);
    line += "\" category=\"" + threat.ThreatCategory;
    line += "\" threattype=\"" + threat.ThreatType;
    line += "\" threatlevel=\"" + Text(threat.ThreatLevel) + "\">";
    return line;
}

}  // namespace

std::string Scanner::ThreatList() {
    std::string end;
    Trap(Module, "ThreatList", [&] {
        modMain::InitializeThreatData();
        State().UserDataFolder = WithBackslash(State().UserDataFolder);
        DeleteList();
        const auto catalog = State().ThreatCatalog;
        if (!catalog || catalog->Count() == 0) {
            return;
        }
        const auto addLine = [](std::string& text, std::string_view line) { text.append(line).append(LineEnd); };
        std::string text;
        addLine(text, "<ThreatListXML date=\"" + DateText(platform::Current().clock->Now()) + "\">");
        addLine(text, "<Threats>");
        for (const auto& threat : *catalog) {
            if (threat->ThreatName.empty()) {
                continue;
            }
            addLine(text, ThreatLine(*threat));
            addLine(text, "</Threat>");
            ExportThreatRecordLine(text);
            text.clear();
        }
        addLine(text, "</Threats>");
        text += "</ThreatListXML>";
        ExportThreatRecordLine(text);
        end = std::move(text);
    });
    return end;
}

void Scanner::WriteThreatList(std::string_view text) {
    Trap(Module, "WriteThreatList", [&] {
        DeleteList();
        ExportThreatRecordLine(text);
    });
}

}  // namespace kel
