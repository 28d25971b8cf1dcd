#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "rules/modCleanerHelper.h"
#include "system/modFolderPaths.h"
#include "system/modKvFileExplorer.h"

namespace kel::modCleanerHelper {

namespace {

constexpr const char* Module = "modCleanerHelper";

// Cleanable whoever signed it.
constexpr std::string_view NeverProtected = "winik.sys";

constexpr std::string_view ProtectedEnding = "forms.dll";

// The drive and the folder are fixed in these texts, wherever Windows is.
constexpr std::string_view ProtectedPaths[] = {"c:\\windows\\wininit.ini", "c:\\autoexec.bat"};

// Below the Windows folder.
constexpr std::string_view LastGood = "lastgood\\inf";

constexpr std::string_view ProtectedPublishers[] = {
    "symantec corp",
    "microsoft corp",
    "nvidia",
    "kelvane software",
};

// The cheap tests come first: the publisher is read from the file.
bool IsRestricted(const std::string& path) {
    if (path.ends_with(NeverProtected)) {
        return false;
    }
    if (path.ends_with(ProtectedEnding)) {
        return true;
    }
    for (const std::string_view entry : ProtectedPaths) {
        if (path == entry) {
            return true;
        }
    }
    if (ContainsText(path, modFolderPaths::GetWindowsFolder() + std::string(LastGood))) {
        return true;
    }
    const std::string publisher = LCase(modKvFileExplorer::GetApplicationPublisherFromPath(path));
    for (const std::string_view entry : ProtectedPublishers) {
        if (ContainsText(publisher, entry)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool RestrictRemoveFile(std::string_view path) {
    bool restricted = false;
    Trap(Module, "RestrictRemoveFile", [&] { restricted = IsRestricted(LCase(path)); });
    return restricted;
}

}  // namespace kel::modCleanerHelper
