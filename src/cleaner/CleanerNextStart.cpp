// What is left to the machine's next start, and the work on it when that has come.
#include <string>

#include "cleaner/BootLists.h"
#include "cleaner/Cleaner.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel {

namespace {

using modCleanerHelper::CleanerLog;
using platform::Hive;
using platform::HiveCurrentUser;

constexpr const char* Module = "Cleaner";

// A list is worked once: what fails is not tried again.
template <class Work>
void RunList(const char* procedure, std::string_view list, std::string_view name, Work&& work) {
    Trap(Module, procedure, [&] {
        if (!boot::HasNextStart() || !modRegistry::RegKeyExists(HiveCurrentUser, list)) {
            return;
        }
        const auto entries = modRegistry::RegistryValueNames(HiveCurrentUser, list);
        if (entries.Count() > 0) {
            CleanerLog("---Starting Quick Cleaner " + std::string(name));
        }
        for (const std::string& entry : entries) {
            work(modFiles::StringBeforeNul(entry));
        }
        modRegistry::DeleteRegistryKeyTree(HiveCurrentUser, list);
    });
}

void RemoveListedFolder(const std::string& path) {
    if (!modFiles::FolderExists(path)) {
        return;
    }
    modFiles::FolderRemove(path, true);
    // The removal does not tell what it left.
    CleanerLog((modFiles::FolderExists(path) ? "Folder delete failed for " : "Folder delete complete for ") + path);
}

void RemoveListedFile(const std::string& path) {
    if (modFiles::FileExists(path) && modFiles::FileDelete(path) == modFiles::Done) {
        CleanerLog("File delete complete for " + path);
    }
}

void RemoveListedKey(const std::string& entry) {
    const Hive hive = modHelper::GetRegistryHiveFromFullPath(entry);
    const std::string key = modHelper::GetRegistryKeyFromFullPath(entry);
    if (!modRegistry::RegKeyExists(hive, key)) {
        return;
    }
    const bool deleted = modRegistry::DeleteRegistryKeyTree(hive, key);
    CleanerLog((deleted ? "Registry key delete complete for " : "Registry key delete failed for ") + entry);
}

// The entry is cut at its first blank, so that one of a key with a blank names a shorter key. The value's name is read
// under the name as cut and so is not found behind a cut either: such an entry means the default value.
void RemoveListedValue(const std::string& listed) {
    const std::string entry{Trim(listed.substr(0, listed.find(' ')))};
    const Hive hive = modHelper::GetRegistryHiveFromFullPath(entry);
    const std::string key = modHelper::GetRegistryKeyFromFullPath(entry);
    const std::string value = ToText(modRegistry::GetRegistryValue(HiveCurrentUser, boot::DelRegValues, entry));
    if (modRegistry::RegValueExists(hive, key, value) && modRegistry::DeleteRegistryValue(hive, key, value)) {
        CleanerLog("Registry value delete complete for " + entry + "[" + value + "]");
    }
}

}  // namespace

void Cleaner::AddCleanerRequiredforThreat(std::int32_t threatID, std::string_view reason, std::string_view path) {
    Trap(Module, "AddCleanerRequiredforThreat", [&] {
        if (modFiles::FolderExists(path)) {
            cleanerFolders_.Add(std::string(path), path);
            modCleanerHelper::AddCleanerFolder(path);
        } else {
            cleanerFiles_.Add(std::string(path), path);
            modCleanerHelper::AddCleanerFile(path);
        }
        if (!IsThreatCleanerRequired(threatID)) {
            const std::string threat = "ThreatID:" + Text(threatID);
            cleanerThreats_.Add(threat, threat);
        }
        const std::string line = "Special cleaner required to remove threat on restart, reason: " + std::string(reason);
        if (IsCleanerRunning) {
            CleanerLog(line + " (CLEANER RUNNING)");
            return;
        }
        isRebootRequired_ = true;
        cleanerRequired_ = true;
        boot::Put(boot::Threats, Text(threatID), scanID_);
        CleanerLog(line);
    });
}

void Cleaner::RunAllCleanerFolders() {
    RunList("RunAllCleanerFolders", boot::DelFolders, "DelFolders", RemoveListedFolder);
}

void Cleaner::RunAllCleanerFiles() {
    RunList("RunAllCleanerFiles", boot::DelFiles, "DelFiles", RemoveListedFile);
}

void Cleaner::RunAllCleanerRegistryKeys() {
    RunList("RunAllCleanerRegistryKeys", boot::DelRegKeys, "DelRegKeys", RemoveListedKey);
}

void Cleaner::RunAllCleanerRegistryValues() {
    RunList("RunAllCleanerRegistryValues", boot::DelRegValues, "DelRegValues", RemoveListedValue);
}

}  // namespace kel
