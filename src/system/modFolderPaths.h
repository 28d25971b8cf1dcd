// The machine's special folders, each asked anew from the platform, and paths in their variable form.
#pragma once

#include <string>
#include <string_view>

#include "core/Collection.h"
#include "core/Value.h"

/// The folders are given in lower case with a trailing backslash, empty where the machine has none. Nothing is kept
/// between two calls; clsFolderPaths is the snapshot. Failures are reported.
namespace kel::modFolderPaths {

std::string GetSystemFolder();
std::string GetWindowsFolder();
std::string GetProgramFilesFolder();
std::string GetUserApplicationDataFolder();
std::string GetDownloadedProgramFilesFolder();
std::string GetUserStartupFolder();
std::string GetCommonStartupFolder();
std::string GetCookiesFolder();
std::string GetDesktopFolder();
std::string GetProgramsFolder();
std::string GetFavoritesFolder();
std::string GetStartMenuFolder();
std::string GetUserProfileFolder();
std::string GetCommonStartMenuFolder();
std::string GetCommonProgramsFolder();
std::string GetCommonFavoritesFolder();
std::string GetLocalAppDataFolder();
std::string GetLocalSettingsFolder();
std::string GetAltStartupFolder();
std::string GetCommonAltStartupFolder();
std::string GetCommonDesktopFolder();

/// The special folder of that number as the platform writes it, with a trailing backslash; empty when the folder is
/// not there.
std::string GetLocalPath(int number);

/// A path in the variable form of the signatures. See clsFolderPaths::TranslateToVariablePath.
std::string TranslateToVariablePath(std::string_view path);
/// A path in lower case with "%systemroot%\", "%windir%\" and "%systemdirectory%\" resolved.
std::string TranslateEnvironmentVariablesPaths(std::string_view path);
/// A file path as registry entries hold it, completed: see clsFolderPaths::ResolveFilePath. Also takes "\??\" off,
/// resolves a leading variable and lengthens short names.
/// @return Empty for a text under 3 characters, else a text, empty when there is no such file.
Value ResolveFilePathEx(std::string_view path);

/// The roots of the machine's drives, each followed by a NUL.
std::string GetDriveString();
/// The roots of the fixed drives, each under its own text as key.
Collection<std::string> GetFixedDrives();

/// The two files in the Windows folder; empty when they are not there.
std::string GetWinIniFile();
std::string GetSystemIniFile();

}  // namespace kel::modFolderPaths
