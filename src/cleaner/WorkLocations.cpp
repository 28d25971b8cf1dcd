// The stages that remove what a detection lists, kind by kind.
#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>

#include "cleaner/BootLists.h"
#include "cleaner/Cleaner.h"
#include "cleaner/CleanerWork.h"
#include "cleaner/RecordedRows.h"
#include "core/Guid.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/QThreatLocationRegKey.h"
#include "quarantine/QuarantineTables.h"
#include "results/Required.h"
#include "rules/modCleanerHelper.h"
#include "scanner/modScannerCustom.h"
#include "system/modFiles.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel {

namespace {

using modCleanerHelper::CleanerLog;

// Characters that a row has for a path.
constexpr std::size_t LongestPath = 255;

// Drivers and programs go before the libraries that they load.
struct FileStage {
    std::string_view announced;
    std::string_view message;    // for each file, before its path
    enThreatFileTypes types[2];  // by the path
    enThreatFileTypes handedOn;
};
constexpr FileStage FileStages[] = {
    {"Disabling driver files...", "Disabling driver ", {ThreatFileTypeSYS, ThreatFileTypeSYS}, ThreatFileTypeSYS},
    {"Removing application files...", "Removing file ", {ThreatFileTypeExe, ThreatFileTypeExe}, ThreatFileTypeExe},
    {"Removing application memory files...",
     "Removing file ",
     {ThreatFileTypeDll, ThreatFileTypeOCX},
     ThreatFileTypeDll},
    {"Removing additional files...",
     "Removing file ",
     {ThreatFileTypeGeneral, ThreatFileTypeGeneral},
     ThreatFileTypeUnknown},
};

// Letter case counts here, unlike in the type by the path.
enThreatFileTypes HandedOn(const FileStage& stage, std::string_view path) {
    return stage.handedOn == ThreatFileTypeDll && path.ends_with("ocx") ? ThreatFileTypeOCX : stage.handedOn;
}

std::string FullKey(const ThreatLocationRegKey& location) {
    return modHelper::GetRegistryHiveNameFromHive(location.RegHive()).append("\\").append(location.Regkey());
}

void LogDeletedValue(const ThreatLocationRegKey& location, std::string_view data) {
    CleanerLog("Delete registry value " + FullKey(location) + " [" + location.RegValueName() + "=" + std::string(data) +
               "]");
}

bool MustStay(const ThreatLocationRegKey& location) {
    return modCleanerHelper::RestrictRemoveRegistryKey(location.RegHive(), location.Regkey()) ||
           (!location.RegValueName().empty() && modCleanerHelper::RestrictRemoveRegistryValue(
                                                    location.RegHive(), location.Regkey(), location.RegValueName()));
}

// Of a value that is gone already, as behind the removal of its key, the type is 0.
void Record(const ThreatLocationRegKey& location) {
    QThreatLocationRegKey row;
    row.RegHive = location.RegHive();
    row.Regkey = location.Regkey();
    row.RegValueName = location.RegValueName();
    row.RegValueData = location.RegValueData();
    row.RegValueDataType =
        modRegistry::GetRegistryValueType(location.RegHive(), location.Regkey(), location.RegValueName());
    recorded::Add(row);
}

// The row stays pending until the cookie has moved.
void BeginCookieRow(std::string_view path, const std::string& qThreatID, const std::string& fileName) {
    Recordset& cookies = quarantine::Opened(quarantine::Cookies);
    cookies.AddNew();
    cookies.Set("OriginalPath", std::string(path.substr(0, platform::Current().text->Prefix(path, LongestPath))));
    cookies.Set("QThreatID", qThreatID);
    cookies.Set("QFileName", fileName);
}

// What a list holds as a stage begins. A client that hears of the work may change the list, and let go of its items.
template <class List>
auto Listed(const List& list) {
    return Required(list);
}

}  // namespace

void Cleaner::Work::RemoveLocations() {
    RemoveFiles();
    RemoveFolders();
    RemoveRegistryEntries();
    RemoveCookies();
    CleanPolymorphicLocations();
}

void Cleaner::Work::RemoveFiles() {
    for (const FileStage& stage : FileStages) {
        Send(stage.announced);
        for (const auto& location : Listed(detected->ThreatLocationFiles)) {
            const std::string path = Required(location).DetectedFilePath();
            const enThreatFileTypes type = modCleanerHelper::GetThreatFileType(path);
            if (std::find(std::begin(stage.types), std::end(stage.types), type) == std::end(stage.types) ||
                path.empty() || !modFiles::FileExists(path)) {
                continue;
            }
            Send(std::string(stage.message) + path + "...");
            cleaner.HelperQuarantineFile(threatID, path, HandedOn(stage, path), quarantinePath);
        }
    }
}

void Cleaner::Work::RemoveFolders() {
    Send("Removing folders...");
    for (const auto& location : Listed(detected->ThreatLocationFolders)) {
        const std::string path = Required(location).DetectedFolderPath();
        if (!modFiles::FolderExists(path)) {
            continue;
        }
        Send("Removing folder " + path + "...");
        cleaner.HelperQuarantineFolder(threatID, path, quarantinePath, false);
        // Whether it went or not: one that is gone by then is passed over.
        modCleanerHelper::AddCleanerFolder(path);
    }
}

void Cleaner::Work::RemoveRegistryEntries() {
    Send("Removing registry entries...");
    for (const auto& location : Listed(detected->ThreatLocationRegKeys)) {
        const ThreatLocationRegKey& entry = Required(location);
        if (entry.RegHive() == 0 || entry.Regkey().empty()) {
            continue;
        }
        Send("Removing registry entry " + FullKey(entry) + "...");
        const std::string file = modCleanerHelper::GetFilePathfromRegistryLocations(
            entry.RegHive(), entry.Regkey(), entry.RegValueName(), entry.RegValueData());
        if (!file.empty() && modFiles::FileExists(file)) {
            cleaner.HelperQuarantineFile(threatID, file, ThreatFileTypeUnknown, quarantinePath);
        }
        if (!MustStay(entry)) {
            Record(entry);
            RemoveRegistryEntry(entry);
        }
    }
}

void Cleaner::Work::RemoveRegistryEntry(const ThreatLocationRegKey& location) {
    const platform::Hive hive = location.RegHive();
    const std::string& key = location.Regkey();
    const std::string& value = location.RegValueName();
    const std::string& data = location.RegValueData();
    if (value.empty()) {
        if (data.empty() && modRegistry::RegKeyExists(hive, key)) {
            modRegistry::DeleteRegistryKeyTree(hive, key);
            modCleanerHelper::AddCleanerRegKeyByLocation(hive, key);
        }
        return;
    }
    // One that holds other data by now belongs to somebody else.
    const bool remove = data.empty() ? modRegistry::RegValueExists(hive, key, value)
                                     : modRegistry::RegValueDataEquals(hive, key, value, data);
    if (!remove) {
        return;
    }
    LogDeletedValue(location, data.empty() ? modRegistry::GetRegistryValueText(hive, key, value) : data);
    if (!modRegistry::DeleteRegistryValue(hive, key, value)) {
        result = errCannotQuarantineThreat;
    }
    if (data.empty()) {
        modCleanerHelper::AddCleanerRegValueByLocation(hive, key, value);
    }
}

void Cleaner::Work::RemoveCookies() {
    Send("Removing cookies...");
    bool failed = false;
    for (const auto& location : Listed(detected->ThreatLocationCookies)) {
        const std::string path = Required(location).DetectedFilePath;
        if (path.empty() || !modFiles::FileExists(path)) {
            continue;
        }
        Send("Removing cookie " + location->Cookie + "...");
        const std::string fileName = NewGuidString();
        BeginCookieRow(path, qThreatID, fileName);
        const std::string into = std::string(Trim(quarantinePath)).append(Trim(fileName));
        if (modFiles::FileMove(path, into, modFiles::MoveAndMark) != modFiles::Done) {
            cleaner.AddCleanerRequiredforThreat(
                threatID, "Could not quarantine cookie " + path + ", moving cookie failed.", path);
            failed = true;
        }
        // One cookie that stayed leaves the rows of all behind it pending; the next row commits them.
        if (!failed) {
            quarantine::Opened(quarantine::Cookies).Update();
            quarantine::Opened(quarantine::Threats).Update();
        }
    }
}

void Cleaner::Work::CleanPolymorphicLocations() {
    Send("Cleaning polymorphic locations...");
    for (const auto& location : Listed(detected->ThreatLocationCustoms)) {
        const ThreatLocationCustom& custom = Required(location);
        Send("Running special post cleaning " + custom.DisplayData + "...");
        if (custom.CleanPriority == CustomCleanPriorityPost) {
            CleanerLog("Run custom cleaner " + custom.DisplayData + " (" + Text(custom.CustomID()) + ")");
            modScannerCustom::CleanCustom(custom);
        }
    }
}

}  // namespace kel
