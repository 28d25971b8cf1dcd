#include "cleaner/CustomScripts.h"

#include <array>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Guid.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

constexpr std::string_view Module = "modCleanerHelper";
constexpr std::string_view LineEnd = "\r\n";
constexpr std::size_t ShortestScript = 2;

constexpr std::string_view ZoneDomains =
    R"(Software\Microsoft\Windows\CurrentVersion\Internet Settings\ZoneMap\Domains)";

// "hive|key|name|data|type"; nothing for any other number of parts.
std::optional<std::array<std::string_view, 5>> SettingParts(std::string_view argument) {
    std::array<std::string_view, 5> parts;
    for (std::size_t index = 0; index < parts.size(); ++index) {
        const std::size_t end = argument.find('|');
        const bool last = index + 1 == parts.size();
        if ((end == std::string_view::npos) != last) {
            return std::nullopt;
        }
        parts[index] = argument.substr(0, end);
        argument.remove_prefix(last ? argument.size() : end + 1);
    }
    return parts;
}

void AddRegistrySetting(std::string_view argument) {
    if (const auto parts = SettingParts(argument)) {
        const auto& [hive, key, name, data, type] = *parts;
        // The catalogue's numbers of the types, which are not all the registry's: "REG_DWORD" writes nothing.
        modRegistry::SetRegistryValue(modHelper::GetRegistryHiveFromHiveName(hive), key, name, std::string(data),
                                      modHelper::GetRegistryDataTypeFromDataTypeName(type));
    }
}

void RestoreAddresses(std::string_view /*argument*/) {
    RestoreIEURLSettings();
}

struct Command {
    std::string_view name;  // behind the phase
    void (*run)(std::string_view argument);
};
constexpr Command Commands[] = {
    {" -HostFileRemove", RemoveHostFileLine},     {" -SystemIniRemove", RemoveSystemIniLine},
    {" -WinIniRemove", RemoveWinIniLine},         {" -RestoreIEURLSettings", RestoreAddresses},
    {" -AddRegistrySetting", AddRegistrySetting}, {" -RemoveTrustedZone", RemoveTrustedZone},
};

void RunLine(std::string_view phase, std::string_view line) {
    for (const Command& command : Commands) {
        const std::string words = std::string(phase).append(command.name);
        if (ContainsText(line, words)) {
            command.run(Trim(ReplaceText(line, words, {})));
            return;
        }
    }
}

void RemoveLine(std::string_view text, const std::string& path) {
    if (modFiles::FileExists(path)) {
        RemoveFullLineFromFile(text, path);
    }
}

}  // namespace

enCleanerErrors RunCustomScript(std::string_view phase, std::string_view script) {
    enCleanerErrors result = errNone;
    Trap(Module, "RunCustomScript", [&] {
        std::string_view lines = Trim(script);
        if (lines.size() < ShortestScript) {
            result = errCustomScriptFailedScriptBlank;
            return;
        }
        while (!lines.empty()) {
            const std::size_t end = lines.find(LineEnd);
            RunLine(phase, lines.substr(0, end));
            lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + LineEnd.size());
        }
    });
    return result;
}

enCleanerErrors RunCustomScriptWithDownload(std::string_view phase, std::string_view url) {
    enCleanerErrors result = errNone;
    Trap(Module, "RunCustomScriptWithDownload", [&] {
        const std::string_view address = Trim(url);
        if (!ContainsText(address, "http")) {
            result = errCustomScriptFailedDownloadURLBlank;
            return;
        }
        const std::string path = State().UserDataFolder + "\\" + NewGuidString();
        if (platform::Current().internet->Download(address, path) != platform::SysError::Success) {
            result = errCustomScriptFailedDownloadDataBlank;
            return;
        }
        result = RunCustomScript(phase, modFiles::TextFileRead(path, true));
        modFiles::FileDelete(path);
    });
    return result;
}

void RemoveHostFileLine(std::string_view text) {
    Trap(Module, "RemoveHostFileLine", [&] {
        CleanerLog("Restore host file host " + std::string(text));
        RemoveLine(text, modFolderPaths::GetSystemFolder() + R"(drivers\etc\hosts)");
    });
}

void RemoveSystemIniLine(std::string_view text) {
    Trap(Module, "RemoveSystemIniLine", [&] { RemoveLine(text, modFolderPaths::GetWindowsFolder() + "system.ini"); });
}

void RemoveWinIniLine(std::string_view text) {
    Trap(Module, "RemoveWinIniLine", [&] { RemoveLine(text, modFolderPaths::GetWindowsFolder() + "win.ini"); });
}

void RemoveTrustedZone(std::string_view text) {
    Trap(Module, "RemoveTrustedZone", [&] {
        CleanerLog("Remove trusted zone " + std::string(text));
        const auto domains = modRegistry::RegistrySubKeys(platform::HiveCurrentUser, ZoneDomains);
        if (!domains) {
            return;
        }
        for (const std::string& domain : *domains) {
            if (!domain.empty() && ContainsText(domain, text)) {
                modRegistry::DeleteRegistryKeyTree(platform::HiveCurrentUser,
                                                   std::string(ZoneDomains).append("\\").append(domain));
            }
        }
    });
}

}  // namespace kel::modCleanerHelper
