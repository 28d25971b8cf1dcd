// How each special folder is found, for the snapshot and for the live getters alike.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "system/clsFolderPaths.h"

namespace kel::folders {

/// Ways beside the platform's list of special folders and the registry's.
enum class Finding { ByNumber, ByNumberThenRegistry, ByRegistry, Profile, DownloadedPrograms };

struct SpecialFolder {
    std::string clsFolderPaths::*property;
    Finding finding;
    int number;                  ///< of SHGetFolderPathA; 0 where it is not asked
    std::string_view valueName;  ///< in the registry's list of user folders
};

/// In the order of the snapshot's properties.
inline constexpr std::array SpecialFolders{
    SpecialFolder{&clsFolderPaths::PathSystem, Finding::ByNumber, 37, {}},
    SpecialFolder{&clsFolderPaths::PathWindows, Finding::ByNumber, 36, {}},
    SpecialFolder{&clsFolderPaths::PathProgramFiles, Finding::ByNumber, 38, {}},
    SpecialFolder{&clsFolderPaths::PathUserApplicationData, Finding::ByNumberThenRegistry, 26, "AppData"},
    SpecialFolder{&clsFolderPaths::PathDownloadedProgramFiles, Finding::DownloadedPrograms, 0, {}},
    // The number of the alternative startup folder, which most machines do not have: so the registry decides.
    SpecialFolder{&clsFolderPaths::PathStartUpFilesUser, Finding::ByNumberThenRegistry, 29, "Startup"},
    SpecialFolder{&clsFolderPaths::PathStartUpFilesAllUsers, Finding::ByNumber, 24, {}},
    SpecialFolder{&clsFolderPaths::PathCookies, Finding::ByNumberThenRegistry, 33, "Cookies"},
    SpecialFolder{&clsFolderPaths::PathDesktop, Finding::ByNumberThenRegistry, 16, "Desktop"},
    SpecialFolder{&clsFolderPaths::PathPrograms, Finding::ByNumberThenRegistry, 2, "Programs"},
    SpecialFolder{&clsFolderPaths::PathFavorites, Finding::ByNumberThenRegistry, 6, "Favorites"},
    SpecialFolder{&clsFolderPaths::PathStartMenu, Finding::ByNumberThenRegistry, 11, "Start Menu"},
    SpecialFolder{&clsFolderPaths::PathProfile, Finding::Profile, 40, "Start Menu"},
    SpecialFolder{&clsFolderPaths::PathCommonStartMenu, Finding::ByNumber, 22, {}},
    SpecialFolder{&clsFolderPaths::PathCommonPrograms, Finding::ByNumber, 23, {}},
    SpecialFolder{&clsFolderPaths::PathCommonFavorites, Finding::ByNumber, 31, {}},
    SpecialFolder{&clsFolderPaths::PathLocalAppData, Finding::ByRegistry, 0, "Local AppData"},
    SpecialFolder{&clsFolderPaths::PathLocalSettings, Finding::ByRegistry, 0, "Local Settings"},
    SpecialFolder{&clsFolderPaths::PathAltStartup, Finding::ByNumber, 29, {}},
    SpecialFolder{&clsFolderPaths::PathCommonAltStartup, Finding::ByNumber, 30, {}},
    SpecialFolder{&clsFolderPaths::PathCommonDesktop, Finding::ByNumber, 25, {}},
};

/// The row of a property.
[[nodiscard]] constexpr const SpecialFolder& RowOf(std::string clsFolderPaths::*property) {
    std::size_t row = 0;
    while (SpecialFolders[row].property != property) {
        ++row;
    }
    return SpecialFolders[row];
}

/// The folder as the machine writes it, with a trailing backslash; empty when there is none.
[[nodiscard]] std::string Find(const SpecialFolder& folder);

/// A variable of the signatures.
struct PathVariable {
    std::string_view text;  ///< with its trailing backslash
    std::string clsFolderPaths::*property;
    std::string clsFolderPaths::*tested;  ///< when this one is a single backslash, the variable is passed over
};

/// In the order in which a path is translated. The order is part of the signatures' format: a system folder below the
/// Windows folder comes out under "%windows%\".
inline constexpr std::array PathVariables{
    PathVariable{R"(%altstartup%\)", &clsFolderPaths::PathAltStartup, &clsFolderPaths::PathAltStartup},
    // Tests the other startup folder; data are made to that.
    PathVariable{R"(%common_altstartup%\)", &clsFolderPaths::PathCommonAltStartup, &clsFolderPaths::PathAltStartup},
    PathVariable{R"(%common_desktopdirectory%\)", &clsFolderPaths::PathCommonDesktop,
                 &clsFolderPaths::PathCommonDesktop},
    PathVariable{R"(%common_programs%\)", &clsFolderPaths::PathCommonPrograms, &clsFolderPaths::PathCommonPrograms},
    PathVariable{R"(%common_startup%\)", &clsFolderPaths::PathStartUpFilesAllUsers,
                 &clsFolderPaths::PathStartUpFilesAllUsers},
    PathVariable{R"(%common_startmenu%\)", &clsFolderPaths::PathCommonStartMenu, &clsFolderPaths::PathCommonStartMenu},
    PathVariable{R"(%cookies%\)", &clsFolderPaths::PathCookies, &clsFolderPaths::PathCookies},
    PathVariable{R"(%desktopdirectory%\)", &clsFolderPaths::PathDesktop, &clsFolderPaths::PathDesktop},
    PathVariable{R"(%program_files%\)", &clsFolderPaths::PathProgramFiles, &clsFolderPaths::PathProgramFiles},
    PathVariable{R"(%startup%\)", &clsFolderPaths::PathStartUpFilesUser, &clsFolderPaths::PathStartUpFilesUser},
    PathVariable{R"(%startmenu%\)", &clsFolderPaths::PathStartMenu, &clsFolderPaths::PathStartMenu},
    PathVariable{R"(%appdata%\)", &clsFolderPaths::PathUserApplicationData, &clsFolderPaths::PathUserApplicationData},
    PathVariable{R"(%favorites%\)", &clsFolderPaths::PathFavorites, &clsFolderPaths::PathFavorites},
    PathVariable{R"(%windows%\)", &clsFolderPaths::PathWindows, &clsFolderPaths::PathWindows},
    PathVariable{R"(%system%\)", &clsFolderPaths::PathSystem, &clsFolderPaths::PathSystem},
    PathVariable{R"(%profile%\)", &clsFolderPaths::PathProfile, &clsFolderPaths::PathProfile},
};

/// Replaces all occurrences of `folder` in `path`, both in lower case, by a variable. An empty folder replaces nothing.
void ReplaceFolder(std::string& path, std::string_view folder, std::string_view variable);

}  // namespace kel::folders
