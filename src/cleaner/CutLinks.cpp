#include "cleaner/CutLinks.h"

#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::links {

KeyRecord RecordOf(platform::Hive hive, std::string_view key, std::string_view name) {
    KeyRecord record = RecordOf(hive, key);
    record->RegValueName = name;
    record->RegValueData = modRegistry::GetRegistryValueText(hive, key, name);
    record->RegValueDataType = modRegistry::GetRegistryValueType(hive, key, name);
    return record;
}

KeyRecord RecordOf(platform::Hive hive, std::string_view key) {
    auto record = std::make_shared<QThreatLocationRegKey>();
    record->RegHive = hive;
    record->Regkey = key;
    return record;
}

std::string KeyText(platform::Hive hive, std::string_view key) {
    return modHelper::GetRegistryHiveNameFromHive(hive).append("\\").append(key);
}

std::string ValueText(const QThreatLocationRegKey& value) {
    return KeyText(value.RegHive, value.Regkey) + " [" + value.RegValueName + "=" + value.RegValueData + "]";
}

}  // namespace kel::links
