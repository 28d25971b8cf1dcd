// What lies below a key that was found, and the files that it leads to.
#include <string>

#include "core/Failures.h"
#include "core/Text.h"
#include "results/Scan.h"
#include "results/modIgnoredThreats.h"
#include "rules/modCleanerHelper.h"
#include "scanner/modScannerFiles.h"
#include "scanner/modScannerRegistry.h"
#include "system/modFiles.h"
#include "system/modMD5.h"
#include "system/modRegistry.h"

namespace kel::modScannerRegistry {

namespace {

constexpr std::string_view Module = "modScannerRegistry";

constexpr std::string_view DistributionUnits = "software\\microsoft\\code store database\\distribution units";

bool MayBeAdded(std::string_view path) {
    return modFiles::FileExists(path) && !modCleanerHelper::RestrictRemoveFile(path);
}

void AddFile(std::int32_t threat, const std::string& path) {
    RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, threat, modMD5::FileMD5(path), path);
}

}  // namespace

void AddDetectedThreatRegistrySubItems(std::int32_t ThreatID, platform::Hive hive, std::string_view key) {
    Trap(Module, "AddDetectedThreatRegistrySubItems", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        if (const auto subKeys = modRegistry::RegistrySubKeys(hive, key)) {
            for (const std::string& subKey : *subKeys) {
                AddDetectedThreatRegistrySubItems(ThreatID, hive, std::string(key) + "\\" + subKey);
            }
        }
        for (const std::string& entry : modRegistry::RegistryValueNames(hive, key)) {
            const std::string name = modFiles::StringBeforeNul(entry);
            const std::string data = modRegistry::GetRegistryValueText(hive, key, name);
            RequireCurrentScan()->AddDetectedThreatRegKey(ScanTypeRegistry, ThreatID, hive, key, name, data, 0);
        }
    });
}

bool AddDetectedThreatRegistryRelations(std::int32_t ThreatID, platform::Hive hive, std::string_view key,
                                        std::string_view name, std::string_view data) {
    Trap(Module, "AddDetectedThreatRegistryRelations", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        const std::string path = modCleanerHelper::GetFilePathfromRegistryLocations(hive, key, name, data);
        if (MayBeAdded(path)) {
            modScannerFiles::AddDetectedThreatFileRelations(ThreatID, path);
            AddFile(ThreatID, path);
        }
        if (key.ends_with('}') && ContainsText(key, DistributionUnits)) {
            const std::string setup =
                ToText(modRegistry::GetRegistryValue(hive, std::string(key) + "\\DownloadInformation", "INF"));
            if (MayBeAdded(setup)) {
                AddFile(ThreatID, setup);
            }
        }
    });
    return true;
}

}  // namespace kel::modScannerRegistry
