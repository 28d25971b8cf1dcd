#include "kelsdb/PathForms.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "core/Text.h"
#include "system/SpecialFolders.h"

namespace kel::kelsdb {

namespace {

// A usual machine. Folders that are empty are not there.
struct Machine {
    std::string_view windows;
    std::string_view system;
    std::string_view programFiles;
    std::string_view profile;
    std::string_view appData;
    std::string_view cookies;
    std::string_view desktop;
    std::string_view favorites;
    std::string_view startMenu;
    std::string_view commonDesktop;
    std::string_view commonStartMenu;
    std::string_view altStartup;
    std::string_view commonAltStartup;
};

constexpr std::array Machines{
    Machine{R"(c:\windows\)", R"(c:\windows\system32\)", R"(c:\program files\)", R"(c:\documents and settings\user\)",
            R"(c:\documents and settings\user\application data\)", R"(c:\documents and settings\user\cookies\)",
            R"(c:\documents and settings\user\desktop\)", R"(c:\documents and settings\user\favorites\)",
            R"(c:\documents and settings\user\start menu\)", R"(c:\documents and settings\all users\desktop\)",
            R"(c:\documents and settings\all users\start menu\)", "", ""},
    // With the alternative startup folders that some language versions have.
    Machine{R"(c:\winnt\)", R"(c:\winnt\system32\)", R"(c:\program files\)", R"(c:\documents and settings\user\)",
            R"(c:\documents and settings\user\application data\)", R"(c:\documents and settings\user\cookies\)",
            R"(c:\documents and settings\user\desktop\)", R"(c:\documents and settings\user\favorites\)",
            R"(c:\documents and settings\user\start menu\)", R"(c:\documents and settings\all users\desktop\)",
            R"(c:\documents and settings\all users\start menu\)", R"(c:\winnt alternative\startup\)",
            R"(c:\winnt alternative\common startup\)"},
    Machine{R"(c:\windows\)", R"(c:\windows\system\)", R"(c:\program files\)", "", R"(c:\windows\application data\)",
            R"(c:\windows\cookies\)", R"(c:\windows\desktop\)", R"(c:\windows\favorites\)", R"(c:\windows\start menu\)",
            R"(c:\windows\all users\desktop\)", R"(c:\windows\all users\start menu\)", "", ""},
    Machine{R"(c:\windows\)", R"(c:\windows\system32\)", R"(c:\program files\)", R"(c:\users\user\)",
            R"(c:\users\user\appdata\roaming\)", R"(c:\users\user\appdata\local\microsoft\windows\inetcookies\)",
            R"(c:\users\user\desktop\)", R"(c:\users\user\favorites\)",
            R"(c:\users\user\appdata\roaming\microsoft\windows\start menu\)", R"(c:\users\public\desktop\)",
            R"(c:\programdata\microsoft\windows\start menu\)", "", ""},
};

std::string Below(std::string_view folder, std::string_view name) {
    return folder.empty() ? std::string() : std::string(folder) + std::string(name);
}

clsFolderPaths FoldersOf(const Machine& machine) {
    clsFolderPaths folders;
    folders.PathWindows = machine.windows;
    folders.PathSystem = machine.system;
    folders.PathProgramFiles = machine.programFiles;
    folders.PathProfile = machine.profile;
    folders.PathUserApplicationData = machine.appData;
    folders.PathCookies = machine.cookies;
    folders.PathDesktop = machine.desktop;
    folders.PathFavorites = machine.favorites;
    folders.PathStartMenu = machine.startMenu;
    folders.PathPrograms = Below(machine.startMenu, R"(programs\)");
    folders.PathStartUpFilesUser = Below(machine.startMenu, R"(programs\startup\)");
    folders.PathCommonDesktop = machine.commonDesktop;
    folders.PathCommonStartMenu = machine.commonStartMenu;
    folders.PathCommonPrograms = Below(machine.commonStartMenu, R"(programs\)");
    folders.PathStartUpFilesAllUsers = Below(machine.commonStartMenu, R"(programs\startup\)");
    folders.PathAltStartup = machine.altStartup;
    folders.PathCommonAltStartup = machine.commonAltStartup;
    return folders;
}

const folders::PathVariable* VariableOf(std::string_view key) {
    const auto found = std::find_if(folders::PathVariables.begin(), folders::PathVariables.end(),
                                    [&](const folders::PathVariable& entry) { return key.starts_with(entry.text); });
    return found == folders::PathVariables.end() ? nullptr : &*found;
}

bool IsAbsolute(std::string_view key) {
    return key.starts_with("\\\\") ||
           (key.size() > 2 && key[0] >= 'a' && key[0] <= 'z' && key[1] == ':' && key[2] == '\\');
}

constexpr std::string_view Startup = R"(%startup%\)";

// Faults of the text alone; empty when there is none.
std::string TextFault(std::string_view key, std::string_view forbidden) {
    if (key.starts_with('%') && VariableOf(key) == nullptr) {
        return "does not begin with a known variable and a backslash: no path comes out so";
    }
    if (VariableOf(key) == nullptr && !IsAbsolute(key)) {
        return "is no whole path: files are asked for by path";
    }
    if (key.find_first_of(forbidden) != std::string_view::npos) {
        return "has a character that no path has";
    }
    if (key.substr(1).find("\\\\") != std::string_view::npos) {
        return "has a doubled backslash: paths are asked for without";
    }
    return {};
}

std::vector<PathFinding> Oddities(std::string_view original, const std::string& key) {
    std::vector<PathFinding> findings;
    if (key != original) {
        findings.push_back({"has capital letters; paths are asked for in lower case, and found all the same", false});
    }
    if (key.starts_with(Startup)) {
        findings.push_back(
            {"begins with %startup%\\, which is not translated back to a folder: a walk of the table "
             "does not find it, only a lookup does",
             false});
    }
    return findings;
}

}  // namespace

PathForms::PathForms() {
    std::transform(Machines.begin(), Machines.end(), std::back_inserter(machines_), FoldersOf);
}

// With a variable, a key is good if any machine asks for it; a real path must be asked for as it stands on all of them.
bool PathForms::Reachable(const std::string& key, std::string& asked) const {
    const folders::PathVariable* variable = VariableOf(key);
    bool any = false;
    for (const clsFolderPaths& machine : machines_) {
        std::string path = key;
        if (variable != nullptr) {
            const std::string& folder = machine.*variable->property;
            if (folder.empty()) {
                continue;
            }
            path = folder + key.substr(variable->text.size());
        }
        const std::string form = machine.TranslateToVariablePath(path);
        if (form == key) {
            any = true;
        } else if (asked.empty()) {
            asked = form;
        }
        if (variable == nullptr && form != key) {
            return false;
        }
    }
    return any;
}

std::vector<PathFinding> PathForms::File(std::string_view key) const {
    const std::string folded = LCase(key);
    if (std::string fault = TextFault(folded, "/\"<>|"); !fault.empty()) {
        return {{std::move(fault)}};
    }
    if (folded.ends_with('\\')) {
        return {{"ends in a backslash: no file is asked for so"}};
    }
    const bool hasWildcards = folded.find_first_of("*?") != std::string::npos;
    std::string asked;
    if (!hasWildcards && !Reachable(folded, asked)) {
        return {{"is not in the form that is asked for: \"" + asked + "\""}};
    }
    return Oddities(key, folded);
}

std::vector<PathFinding> PathForms::Folder(std::string_view key) const {
    const std::string folded = LCase(key);
    if (std::string fault = TextFault(folded, "/\"<>|*?"); !fault.empty()) {
        return {{std::move(fault)}};
    }
    std::string asked;
    if (VariableOf(folded) != nullptr && !Reachable(folded, asked)) {
        return {{"is not in the form that is asked for: \"" + asked + "\""}};
    }
    return Oddities(key, folded);
}

}  // namespace kel::kelsdb
