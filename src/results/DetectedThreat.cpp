#include "results/DetectedThreat.h"

#include "core/Text.h"

namespace kel {

namespace {

void LocationChanged() {
    ++ModuleData<LocationChanges>().count;
}

// Four fields as one text, such that no other four give the same.
std::string JoinedRegKey(platform::Hive hive, std::string_view key, std::string_view valueName,
                         std::string_view valueData) {
    std::string joined = Text(hive);
    for (const std::string_view part : {key, valueName}) {
        joined.append(" ").append(Text(static_cast<std::int64_t>(part.size()))).append(" ").append(part);
    }
    return joined.append(valueData);
}

}  // namespace

void ThreatLocationFile::SetDetectedFilePath(std::string_view path) {
    detectedFilePath_ = path;
    LocationChanged();
}

void ThreatLocationFolder::SetDetectedFolderPath(std::string_view path) {
    detectedFolderPath_ = path;
    LocationChanged();
}

void ThreatLocationRegKey::SetRegHive(platform::Hive hive) {
    regHive_ = hive;
    LocationChanged();
}

void ThreatLocationRegKey::SetRegkey(std::string_view key) {
    regkey_ = key;
    LocationChanged();
}

void ThreatLocationRegKey::SetRegValueName(std::string_view name) {
    regValueName_ = name;
    LocationChanged();
}

void ThreatLocationRegKey::SetRegValueData(std::string_view data) {
    regValueData_ = data;
    LocationChanged();
}

void ThreatLocationCustom::SetCustomID(std::int32_t customID) {
    customID_ = customID;
    LocationChanged();
}

std::string DetectedThreat::FileKey(const ThreatLocationFile& location) {
    return LCase(location.DetectedFilePath());
}

std::string DetectedThreat::FolderKey(const ThreatLocationFolder& location) {
    return LCase(location.DetectedFolderPath());
}

std::string DetectedThreat::RegKeyKey(const ThreatLocationRegKey& location) {
    return JoinedRegKey(location.RegHive(), location.Regkey(), location.RegValueName(), location.RegValueData());
}

std::int32_t DetectedThreat::CustomKey(const ThreatLocationCustom& location) {
    return location.CustomID();
}

bool DetectedThreat::HasFile(std::string_view path) {
    return files_.Holds(ThreatLocationFiles, LCase(path));
}

bool DetectedThreat::HasFolder(std::string_view path) {
    return folders_.Holds(ThreatLocationFolders, LCase(path));
}

bool DetectedThreat::HasRegKey(platform::Hive hive, std::string_view key, std::string_view valueName,
                               std::string_view valueData) {
    return regKeys_.Holds(ThreatLocationRegKeys, JoinedRegKey(hive, key, valueName, valueData));
}

bool DetectedThreat::HasCustom(std::int32_t customID) {
    return customs_.Holds(ThreatLocationCustoms, customID);
}

}  // namespace kel
