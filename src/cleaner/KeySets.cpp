// Keys that go with everything below them.
#include <cstdint>
#include <string>
#include <vector>

#include "cleaner/CutLinks.h"
#include "cleaner/Unhooking.h"
#include "core/Failures.h"
#include "platform/Platform.h"
#include "rules/modCleanerHelper.h"
#include "system/modRegistry.h"

namespace kel::modCleanerHelper {

namespace {

// Whole names, values without data among them: a component's files are listed by their paths as value names, which the
// texts of a listing would cut at the drive's colon.
std::vector<std::string> ValueNames(platform::Hive hive, std::string_view key) {
    std::vector<std::string> names;
    const auto open = platform::Current().registry->Open(hive, key);
    if (!open) {
        return names;
    }
    for (std::uint32_t index = 0;; ++index) {
        auto value = (*open)->EnumValue(index);
        if (!value) {
            return names;
        }
        names.push_back(std::move(value->name));
    }
}

}  // namespace

QuarantineLocations<QThreatLocationRegKey> CreateQuarantineRegKeySet(platform::Hive hive, std::string_view key,
                                                                     bool recursing) {
    QuarantineLocations<QThreatLocationRegKey> set;
    Trap("modCleanerHelper", "CreateQuarantineRegKeySet", [&] {
        if (const auto subKeys = modRegistry::RegistrySubKeys(hive, key)) {
            for (const std::string& name : *subKeys) {
                const std::string subKey = std::string(key).append("\\").append(name);
                for (const links::KeyRecord& record : CreateQuarantineRegKeySet(hive, subKey, true)) {
                    set.Add(record);
                }
            }
        }
        for (const std::string& name : ValueNames(hive, key)) {
            links::KeyRecord record = links::RecordOf(hive, key, name);
            CleanerLog("Removing registry value " + links::ValueText(*record));
            set.Add(std::move(record));
        }
        set.Add(links::RecordOf(hive, key));
        CleanerLog("Removing registry value " + links::KeyText(hive, key));
        if (!recursing) {
            CleanerLog("Removing registry key " + links::KeyText(hive, key));
            modRegistry::DeleteRegistryKeyTree(hive, key);
        }
    });
    return set;
}

}  // namespace kel::modCleanerHelper
