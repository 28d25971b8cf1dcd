// Repairs of what threats change and nobody wants deleted.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "rules/BrowserAddresses.h"
#include "rules/WholeFile.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

constexpr std::string_view Module = "modCleanerHelper";
constexpr std::int32_t RegSz = 1;

// A line that is worth keeping has two characters at least.
constexpr std::size_t ShortestLine = 2;

std::string LinesWithout(std::string_view lines, std::string_view text) {
    std::string kept;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find_first_of("\r\n"), lines.size());
        const std::string_view line = Trim(lines.substr(0, end));
        // The file's bytes are ANSI, whatever the texts of this machine are.
        if (line.size() >= ShortestLine && !ContainsText(platform::Current().text->FromAnsi(line), text)) {
            kept.append(line).append("\r\n");
        }
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return kept;
}

void Reset(const addresses::Address& address) {
    std::string original(address.original);
    if (original.starts_with(addresses::SystemFolder)) {
        original.replace(0, addresses::SystemFolder.size(), modFolderPaths::GetSystemFolder());
    }
    ResetIEURL(address.hive, address.key, address.name, original);
}

}  // namespace

void RemoveFullLineFromFile(std::string_view text, std::string_view path) {
    Trap(Module, "RemoveFullLineFromFile", [&] {
        if (!modFiles::FileExists(path)) {
            return;
        }
        whole::Overwrite(path, LinesWithout(whole::ContentsOf(path), text));
    });
}

void ResetIEURL(platform::Hive hive, std::string_view key, std::string_view name, std::string_view original) {
    Trap(Module, "ResetIEURL", [&] {
        const std::string expected = addresses::Expected(hive, key, name);
        if (!expected.empty()) {
            modRegistry::SetRegistryValue(hive, key, name, expected, RegSz);
        } else if (!ToText(modRegistry::GetRegistryValue(hive, key, name)).empty()) {
            modRegistry::SetRegistryValue(hive, key, name, std::string(original), RegSz);
        }
    });
}

void RestoreIEURLSettings() {
    Trap(Module, "RestoreIEURLSettings", [&] {
        CleanerLog("Restore IE URL settings");
        for (const addresses::Address& address : addresses::Hijackable) {
            Reset(address);
        }
        for (const addresses::Address& address : addresses::SchemePrefixes) {
            Reset(address);
        }
    });
}

}  // namespace kel::modCleanerHelper
