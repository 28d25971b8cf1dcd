#include "system/SpecialFolders.h"

#include "core/Paths.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"

namespace kel::folders {

namespace {

constexpr std::string_view ShellFolders = R"(Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders)";
constexpr std::string_view UserShellFolders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
constexpr std::string_view InternetSettings = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Internet Settings)";
// The hive's name is part of this key text, so it names a key that a normal machine does not have.
constexpr std::string_view ActiveXCache =
    R"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Internet Settings\ActiveX Cache)";

struct Place {
    platform::Hive hive;
    std::string_view key;
    bool hasVariable;
};
// Where a user's folder is looked up in turn. The last place is asked twice.
constexpr std::array UserFolderPlaces{
    Place{platform::HiveCurrentUser, ShellFolders, false},
    Place{platform::HiveLocalMachine, ShellFolders, false},
    Place{platform::HiveCurrentUser, UserShellFolders, true},
    Place{platform::HiveCurrentUser, UserShellFolders, true},
};

std::string Read(platform::Hive hive, std::string_view key, std::string_view name) {
    return ToText(modRegistry::GetRegistryValue(hive, key, name));
}

std::string UserProfileVariable() {
    return platform::Current().system->Environment("USERPROFILE");
}

std::string FromRegistry(std::string_view name) {
    for (const Place& place : UserFolderPlaces) {
        std::string path = Read(place.hive, place.key, name);
        if (place.hasVariable) {
            path = Replace(path, "%USERPROFILE%", UserProfileVariable());
        }
        path = WithBackslash(path);
        if (paths::FolderExists(path)) {
            return path;
        }
    }
    return {};
}

std::string Profile(const SpecialFolder& folder) {
    if (std::string special = modFolderPaths::GetLocalPath(folder.number); !special.empty()) {
        return special;
    }
    // The start menu in place of the profile: another folder, and meant so.
    std::string path = WithBackslash(Read(platform::HiveCurrentUser, ShellFolders, folder.valueName));
    if (paths::FolderExists(path)) {
        return path;
    }
    const std::string profile = UserProfileVariable();
    return profile.empty() ? profile : WithBackslash(profile);
}

std::string DownloadedPrograms() {
    for (const std::string& path : {Read(platform::HiveLocalMachine, InternetSettings, "ActiveXCache"),
                                    Read(platform::HiveLocalMachine, ActiveXCache, "0"),
                                    Find(RowOf(&clsFolderPaths::PathWindows)) + "Downloaded Program Files"}) {
        if (paths::FolderExists(path)) {
            return WithBackslash(path);
        }
    }
    return {};
}

}  // namespace

std::string Find(const SpecialFolder& folder) {
    switch (folder.finding) {
        case Finding::ByNumber:
            return modFolderPaths::GetLocalPath(folder.number);
        case Finding::ByNumberThenRegistry: {
            std::string path = modFolderPaths::GetLocalPath(folder.number);
            return path.empty() ? FromRegistry(folder.valueName) : path;
        }
        case Finding::ByRegistry:
            return FromRegistry(folder.valueName);
        case Finding::Profile:
            return Profile(folder);
        case Finding::DownloadedPrograms:
            return DownloadedPrograms();
    }
    return {};
}

void ReplaceFolder(std::string& path, std::string_view folder, std::string_view variable) {
    if (folder.empty()) {
        return;
    }
    for (std::size_t found = path.find(folder); found != std::string::npos;
         found = path.find(folder, found + variable.size())) {
        path.replace(found, folder.size(), variable);
    }
}

}  // namespace kel::folders
