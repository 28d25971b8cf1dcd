#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "rules/modCleanerHelper.h"

namespace kel::modCleanerHelper {

namespace {

constexpr const char* Module = "modCleanerHelper";

constexpr std::string_view ProtectedKeys[] = {
    "SOFTWARE",
    "SOFTWARE\\Classes\\Component Categories",
    "SOFTWARE\\Classes\\Interface",
    "SOFTWARE\\Classes\\TypeLib",
    "SOFTWARE\\Microsoft\\Cryptography",
    "SOFTWARE\\Microsoft\\Cryptography\\services",
    "Software\\Microsoft\\Internet Explorer\\International",
    "Software\\Microsoft\\Internet Explorer\\TypedURLs",
    "Software\\Microsoft\\Search Assistant",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\5.0\\Cache",
    "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\Connections",
    "Software\\Microsoft\\Windows\\ShellNoRoam",
    "Software\\Microsoft\\Windows\\ShellNoRoam\\MUICache",
    "SYSTEM",
    "SYSTEM\\ControlSet001",
    "SYSTEM\\ControlSet002",
    "SYSTEM\\ControlSet003",
    "SYSTEM\\CurrentControlSet",
    "SYSTEM\\LastKnownGoodRecovery\\LastGood",
    "Software\\Microsoft\\MediaPlayer\\Control\\PlayBar",
    "Software\\Microsoft\\Multimedia\\ActiveMovie\\Filter Cache",
    "SOFTWARE\\Classes",
    "SOFTWARE\\Classes\\.key",
};

constexpr std::string_view ProtectedValues[] = {
    "Software\\Microsoft\\Internet Explorer\\Main [Use FormSuggest]",
    "Software\\Microsoft\\Internet Explorer\\Main [AutoSearch]",
};

template <class Entries>
bool Holds(const Entries& entries, const std::string& sought) {
    for (const std::string_view entry : entries) {
        if (LCase(entry) == sought) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool RestrictRemoveRegistryKey(platform::Hive /*hive*/, std::string_view key) {
    bool restricted = false;
    Trap(Module, "RestrictRemoveRegistryKey", [&] { restricted = Holds(ProtectedKeys, LCase(key)); });
    return restricted;
}

bool RestrictRemoveRegistryValue(platform::Hive /*hive*/, std::string_view key, std::string_view name) {
    bool restricted = false;
    Trap(Module, "RestrictRemoveRegistryValue",
         [&] { restricted = Holds(ProtectedValues, LCase(key) + "[" + LCase(name) + "]"); });
    return restricted;
}

}  // namespace kel::modCleanerHelper
