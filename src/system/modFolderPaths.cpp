#include "system/modFolderPaths.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "system/SpecialFolders.h"
#include "system/modFiles.h"

namespace kel::modFolderPaths {

namespace {

constexpr std::string_view Module = "modFolderPaths";
constexpr std::size_t ShellPathBuffer = 260;
constexpr std::size_t DriveStringBuffer = 104;
constexpr std::size_t ShortestPath = 3;

// Runs a procedure that gives a text; what it gave before a failure stays.
template <class Body>
std::string TextOf(std::string_view procedure, Body&& body) {
    std::string result;
    Trap(Module, procedure, [&] { body(result); });
    return result;
}

std::string Live(std::string clsFolderPaths::*property, std::string_view procedure) {
    return TextOf(procedure, [&](std::string& result) { result = LCase(folders::Find(folders::RowOf(property))); });
}

std::string FileInWindows(std::string_view name, std::string_view procedure) {
    return TextOf(procedure, [&](std::string& result) {
        const std::string path = GetWindowsFolder() + std::string(name);
        if (modFiles::FileExists(path)) {
            result = path;
        }
    });
}

// The file that a text in lower case names: itself, or in the Windows or the system folder; empty when there is none.
std::string Resolved(const std::string& path) {
    if (modFiles::FileExists(path)) {
        return path;
    }
    if (path.size() >= ShortestPath && path.compare(1, 2, R"(:\)") == 0) {
        return {};
    }
    const std::string_view bare = std::string_view(path).substr(path.starts_with('\\') ? 1 : 0);
    for (const auto folder : {GetWindowsFolder, GetSystemFolder}) {
        std::string candidate = folder();
        candidate += bare;
        if (modFiles::FileExists(candidate)) {
            return candidate;
        }
    }
    return {};
}

}  // namespace

std::string GetSystemFolder() {
    return Live(&clsFolderPaths::PathSystem, "GetSystemFolder");
}
std::string GetWindowsFolder() {
    return Live(&clsFolderPaths::PathWindows, "GetWindowsFolder");
}
std::string GetProgramFilesFolder() {
    return Live(&clsFolderPaths::PathProgramFiles, "GetProgramFilesFolder");
}
std::string GetUserApplicationDataFolder() {
    return Live(&clsFolderPaths::PathUserApplicationData, "GetUserApplicationDataFolder");
}
std::string GetDownloadedProgramFilesFolder() {
    return Live(&clsFolderPaths::PathDownloadedProgramFiles, "GetDownloadedProgramFilesFolder");
}
std::string GetUserStartupFolder() {
    return Live(&clsFolderPaths::PathStartUpFilesUser, "GetUserStartupFolder");
}
std::string GetCommonStartupFolder() {
    return Live(&clsFolderPaths::PathStartUpFilesAllUsers, "GetCommonStartupFolder");
}
std::string GetCookiesFolder() {
    return Live(&clsFolderPaths::PathCookies, "GetCookiesFolder");
}
std::string GetDesktopFolder() {
    return Live(&clsFolderPaths::PathDesktop, "GetDesktopFolder");
}
std::string GetProgramsFolder() {
    return Live(&clsFolderPaths::PathPrograms, "GetProgramsFolder");
}
std::string GetFavoritesFolder() {
    return Live(&clsFolderPaths::PathFavorites, "GetFavoritesFolder");
}
std::string GetStartMenuFolder() {
    return Live(&clsFolderPaths::PathStartMenu, "GetStartMenuFolder");
}
std::string GetUserProfileFolder() {
    return Live(&clsFolderPaths::PathProfile, "GetUserProfileFolder");
}
std::string GetCommonStartMenuFolder() {
    return Live(&clsFolderPaths::PathCommonStartMenu, "GetCommonStartMenuFolder");
}
std::string GetCommonProgramsFolder() {
    return Live(&clsFolderPaths::PathCommonPrograms, "GetCommonProgramsFolder");
}
std::string GetCommonFavoritesFolder() {
    return Live(&clsFolderPaths::PathCommonFavorites, "GetCommonFavoritesFolder");
}
std::string GetLocalAppDataFolder() {
    return Live(&clsFolderPaths::PathLocalAppData, "GetLocalAppDataFolder");
}
std::string GetLocalSettingsFolder() {
    return Live(&clsFolderPaths::PathLocalSettings, "GetLocalSettingsFolder");
}
std::string GetAltStartupFolder() {
    return Live(&clsFolderPaths::PathAltStartup, "GetAltStartupFolder");
}
std::string GetCommonAltStartupFolder() {
    return Live(&clsFolderPaths::PathCommonAltStartup, "GetCommonAltStartupFolder");
}
std::string GetCommonDesktopFolder() {
    return Live(&clsFolderPaths::PathCommonDesktop, "GetCommonDesktopFolder");
}

std::string GetLocalPath(int number) {
    return TextOf("GetLocalPath", [&](std::string& result) {
        const std::string answer = platform::Current().shell->SpecialFolder(number).ValueOr(std::string());
        if (answer.size() >= ShellPathBuffer) {
            return;
        }
        const std::string path = WithBackslash(modFiles::StringBeforeNul(answer));
        if (paths::FolderExists(path)) {
            result = path;
        }
    });
}

std::string TranslateToVariablePath(std::string_view path) {
    return TextOf("TranslateToVariablePath", [&](std::string& result) {
        result = LCase(path);
        for (const folders::PathVariable& variable : folders::PathVariables) {
            const std::string folder = LCase(folders::Find(folders::RowOf(variable.property)));
            const std::string tested =
                variable.tested == variable.property ? folder : LCase(folders::Find(folders::RowOf(variable.tested)));
            if (tested != R"(\)") {
                folders::ReplaceFolder(result, folder, variable.text);
            }
        }
    });
}

std::string TranslateEnvironmentVariablesPaths(std::string_view path) {
    return TextOf("TranslateEnvironmentVariablesPaths", [&](std::string& result) {
        result = LCase(path);
        if (result.find('%') == std::string::npos) {
            return;
        }
        const std::string windows = GetWindowsFolder();
        result = Replace(result, R"(%systemroot%\)", windows);
        result = Replace(result, R"(%windir%\)", windows);
        result = Replace(result, R"(%systemdirectory%\)", GetSystemFolder());
    });
}

Value ResolveFilePathEx(std::string_view path) {
    Value result;
    Trap(Module, "ResolveFilePathEx", [&] {
        const std::string_view trimmed = Trim(path);
        if (trimmed.size() < ShortestPath) {
            return;
        }
        std::string text = Replace(LCase(trimmed), R"(\??\)", "");
        if (text.starts_with('%')) {
            text = TranslateEnvironmentVariablesPaths(text);
        }
        std::string file = Resolved(text);
        if (file.find('~') != std::string::npos) {
            file = modFiles::LongPathFromShortPath(file);
        }
        result = std::move(file);
    });
    return result;
}

std::string GetDriveString() {
    return TextOf("GetDriveString", [&](std::string& result) {
        std::string text;
        for (const std::string& root : platform::Current().files->LogicalDrives()) {
            text += root;
            text += '\0';
        }
        result = Trim(Left(text, DriveStringBuffer));
    });
}

Collection<std::string> GetFixedDrives() {
    Collection<std::string> drives;
    const std::string text = GetDriveString();
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string root = modFiles::StringBeforeNul(rest);
        rest.remove_prefix(std::min(rest.size(), root.size() + 1));
        ResumeNext([&] {
            if (platform::Current().files->DriveType(root) == platform::DriveKind::Fixed) {
                drives.Add(root, root);
            }
        });
    }
    return drives;
}

std::string GetWinIniFile() {
    return FileInWindows("win.ini", "GetWinIniFile");
}

std::string GetSystemIniFile() {
    return FileInWindows("system.ini", "GetSystemIniFile");
}

}  // namespace kel::modFolderPaths
