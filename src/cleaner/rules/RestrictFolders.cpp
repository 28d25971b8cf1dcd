#include <string>
#include <vector>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "rules/modCleanerHelper.h"
#include "system/modFolderPaths.h"

namespace kel::modCleanerHelper {

namespace {

struct Entry {
    std::string (*folder)();
    std::string_view below;
};

// The folders themselves end in a backslash, what is named below them does not.
constexpr Entry Entries[] = {
    {modFolderPaths::GetSystemFolder, ""},
    {modFolderPaths::GetWindowsFolder, ""},
    {modFolderPaths::GetDesktopFolder, ""},
    {modFolderPaths::GetUserProfileFolder, ""},
    {modFolderPaths::GetLocalAppDataFolder, ""},
    {modFolderPaths::GetProgramFilesFolder, ""},
    {modFolderPaths::GetCommonStartupFolder, ""},
    {modFolderPaths::GetUserStartupFolder, ""},
    {modFolderPaths::GetUserApplicationDataFolder, ""},
    {modFolderPaths::GetUserProfileFolder, "local settings"},
    {modFolderPaths::GetUserProfileFolder, "local settings\\temp"},
    {modFolderPaths::GetUserProfileFolder, "local settings\\temporary internet files"},
    {modFolderPaths::GetUserProfileFolder, "local settings\\history\\history.ie5"},
    {modFolderPaths::GetWindowsFolder, "prefetch"},
    {modFolderPaths::GetWindowsFolder, "inf"},
    {modFolderPaths::GetProgramFilesFolder, "installshield installation information"},
    {modFolderPaths::GetProgramFilesFolder, "common files\\installshield"},
};

// Asked for each folder of a tree, so the list is kept.
struct RestrictedFolders {
    std::vector<std::string> folders;
};

const std::vector<std::string>& Folders() {
    std::vector<std::string>& kept = ModuleData<RestrictedFolders>().folders;
    if (kept.empty()) {
        std::vector<std::string> folders;
        for (const Entry& entry : Entries) {
            folders.push_back(LCase(entry.folder() + std::string(entry.below)));
        }
        kept = std::move(folders);
    }
    return kept;
}

}  // namespace

bool RestrictRemoveFolder(std::string_view path) {
    bool restricted = false;
    Trap("modCleanerHelper", "RestrictRemoveFolder", [&] {
        const std::string sought = LCase(path);
        for (const std::string& folder : Folders()) {
            if (sought == folder) {
                restricted = true;
                return;
            }
        }
    });
    return restricted;
}

}  // namespace kel::modCleanerHelper
