// A snapshot of the machine's special folders.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "core/Value.h"

namespace kel {

/// The folders as they were when LoadFolderPaths ran: in lower case, with a trailing backslash, empty where the machine
/// has none. Failures are reported, none is raised.
class clsFolderPaths {
public:
    std::string PathSystem;
    std::string PathWindows;
    std::string PathProgramFiles;
    std::string PathUserApplicationData;
    std::string PathDownloadedProgramFiles;
    std::string PathStartUpFilesUser;
    std::string PathStartUpFilesAllUsers;
    std::string PathCookies;
    std::string PathDesktop;
    std::string PathPrograms;
    std::string PathFavorites;
    std::string PathStartMenu;
    std::string PathProfile;
    std::string PathCommonStartMenu;
    std::string PathCommonPrograms;
    std::string PathCommonFavorites;
    std::string PathLocalAppData;
    std::string PathLocalSettings;
    std::string PathAltStartup;
    std::string PathCommonAltStartup;
    std::string PathCommonDesktop;

    /// Fills all properties from the machine.
    void LoadFolderPaths();

    /// A path of the variable form as a real path in lower case: the first variable found is replaced, and doubled
    /// backslashes become single ones. A path without "%" comes back unchanged.
    [[nodiscard]] std::string TranslateFromVariablePath(std::string_view Path) const;
    /// A real path in the variable form of the signatures, in lower case.
    [[nodiscard]] std::string TranslateToVariablePath(std::string_view Path) const;
    /// A file path as registry entries hold it, in lower case, completed by the Windows or the system folder.
    /// @return Empty for a text under 3 characters, else a text, empty when there is no such file.
    [[nodiscard]] Value ResolveFilePath(std::string_view FilePath) const;

private:
    // Folders in lower case for TranslateToVariablePath, made again when a property was changed since.
    struct Folded {
        std::string property;
        std::string folder;
    };
    mutable std::array<Folded, 16> folded_;
};

}  // namespace kel
