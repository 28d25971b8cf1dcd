// Threats that are known by a class name, by where they were installed from, or by the length of their files.
#include <cstdint>
#include <string>
#include <string_view>

#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "results/Scan.h"
#include "scanner/CustomRules.h"
#include "scanner/modScannerFiles.h"
#include "scanner/modScannerRegistry.h"
#include "scanner/modScannerTactics.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::modScannerCustom {

namespace {

using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;

constexpr std::string_view FalseEditor = "notepad32.exe";
constexpr std::string_view JimmyHelpClass = "jimmyhelp.CBrowserHelper";

// Lengths in bytes.
constexpr std::int64_t OmegaSearchHelperLength = 15526;
constexpr std::int64_t OmegaSearchProgramLength = 240663;

// Calls `visit` with the name of each subkey. One that fails is passed over.
template <class Visit>
void ForEachSubKey(Hive hive, std::string_view key, Visit&& visit) {
    ResumeNext([&] {
        if (const auto names = modRegistry::RegistrySubKeys(hive, key)) {
            for (const std::string& name : *names) {
                ResumeNext([&] { visit(name); });
            }
        }
    });
}

std::string Below(std::string_view key, std::string_view name) {
    std::string path(key);
    return path.append("\\").append(name);
}

void AddMachineKey(std::int32_t threat, std::string_view key) {
    RequireCurrentScan()->AddDetectedThreatRegKey(ScanTypeRegistry, threat, HiveLocalMachine, key);
}

bool HasLength(const std::string& path, std::int64_t length) {
    return modFiles::FileExists(path) && modFiles::FileLength(path) == length;
}

void TestOmegaSearchRunEntry(Hive hive, const std::string& entry) {
    const std::string data = modHelper::StringAfterColon(entry);
    const std::string path = modScannerTactics::FilePathFromRunEntry(data);
    // A path by short names: the program hides behind one.
    if (InStr(data, "~") == 0 || !HasLength(path, OmegaSearchProgramLength)) {
        return;
    }
    AddFile(OmegaSearchThreat, path);
    RequireCurrentScan()->AddDetectedThreatRegKey(ScanTypeRegistry, OmegaSearchThreat, hive, modScannerTactics::Run,
                                                  modHelper::StringBeforeColon(entry));
    modScannerFiles::AddDetectedThreatFileRelations(OmegaSearchThreat, path);
}

}  // namespace

void ScanCoolWebSearchCustom(const Scanner& /*scanner*/) {
    ResumeNext([&] {
        const std::string command = ToText(modRegistry::GetRegistryValue(HiveLocalMachine, TextFileCommand, {}));
        if (!ContainsText(command, FalseEditor)) {
            return;
        }
        AddCustom(ScanTypeFiles, Notepad32Threat,
                  CustomLocationOf(CustomNotepad32, "Notepad32.exe trojan exists in Shell Open Command " +
                                                        std::string(TextFileCommand)));
        for (const auto folder : {modFolderPaths::GetWindowsFolder, modFolderPaths::GetSystemFolder}) {
            const std::string path = folder().append(FalseEditor);
            if (modFiles::FileExists(path)) {
                AddFile(Notepad32Threat, path);
            }
        }
    });
}

void ScanJimmyHelpCustom(const Scanner& /*scanner*/) {
    ForEachSubKey(HiveLocalMachine, modScannerTactics::BrowserHelperObjects, [](const std::string& name) {
        const std::string label = ToText(modRegistry::GetRegistryValue(HiveClassesRoot, Below("CLSID", name), {}));
        if (!EqualText(label, JimmyHelpClass)) {
            return;
        }
        const std::string path = modRegistry::GetFilePathFromCLSID(name);
        if (modFiles::FileExists(path)) {
            AddFile(JimmyHelpThreat, path);
        }
        const std::string key = Below(modScannerTactics::BrowserHelperObjects, name);
        AddMachineKey(JimmyHelpThreat, key);
        modScannerRegistry::AddDetectedThreatRegistryRelations(JimmyHelpThreat, HiveLocalMachine, key, {}, {});
    });
}

void ScanBloodhoundCustom(const Scanner& /*scanner*/) {
    ForEachSubKey(HiveLocalMachine, modScannerTactics::DistributionUnits, [](const std::string& name) {
        const std::string key = Below(modScannerTactics::DistributionUnits, name);
        const std::string source =
            ToText(modRegistry::GetRegistryValue(HiveLocalMachine, Below(key, "DownloadInformation"), "CODEBASE"));
        if (ContainsText(source, "file://") && ContainsText(source, ".chm")) {
            AddMachineKey(BloodhoundThreat, key);
            modScannerRegistry::AddDetectedThreatRegistryRelations(BloodhoundThreat, HiveLocalMachine, key, {}, {});
        }
    });
}

void ScanOmegaSearchCustom(const Scanner& /*scanner*/) {
    ForEachSubKey(HiveLocalMachine, modScannerTactics::BrowserHelperObjects, [](const std::string& name) {
        const std::string path = modRegistry::GetFilePathFromCLSID(name);
        if (!HasLength(path, OmegaSearchHelperLength)) {
            return;
        }
        const std::string key = Below(modScannerTactics::BrowserHelperObjects, name);
        AddFile(OmegaSearchThreat, path);
        AddMachineKey(OmegaSearchThreat, key);
        modScannerFiles::AddDetectedThreatFileRelations(OmegaSearchThreat, path);
        modScannerRegistry::AddDetectedThreatRegistryRelations(OmegaSearchThreat, HiveLocalMachine, key, {}, {});
    });
    for (const Hive hive : {HiveLocalMachine, HiveCurrentUser}) {
        for (const std::string& entry : modRegistry::RegistryValuesList(hive, modScannerTactics::Run)) {
            ResumeNext([&] { TestOmegaSearchRunEntry(hive, entry); });
        }
    }
}

}  // namespace kel::modScannerCustom
