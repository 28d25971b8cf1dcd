// What registers, loads or starts a file that was found.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "results/Scan.h"
#include "results/modIgnoredThreats.h"
#include "rules/modCleanerHelper.h"
#include "scanner/modScannerFiles.h"
#include "system/LookAhead.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modKvFileExplorer.h"
#include "system/modMD5.h"
#include "system/modRegistry.h"

namespace kel::modScannerFiles {

namespace {

using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;

// How a class of a library can stand in the registry.
enum class Mention {
    Key,         ///< a key of its name below `key`: that key belongs to it
    ProgID,      ///< `key` names its ProgID: the keys of that
    SubKeys,     ///< a subkey of `key` whose value `value` is the class: that subkey
    ValueInKey,  ///< a key of its name below `key` that has the value `value`: that key
    NamedValue,  ///< a value of its name in `key`: that value
};

struct ClassMention {
    Mention mention;
    Hive hive;
    std::string_view key;
    std::string_view value;
};

// In the order in which they are recorded. The class's own key is recorded for the machine alone.
constexpr ClassMention ClassMentions[] = {
    {Mention::Key, HiveLocalMachine, "SOFTWARE\\Classes\\CLSID", ""},
    {Mention::ProgID, HiveClassesRoot, "CLSID", ""},
    {Mention::SubKeys, HiveLocalMachine, "SOFTWARE\\Classes\\PROTOCOLS\\Filter", "CLSID"},
    {Mention::SubKeys, HiveClassesRoot, "PROTOCOLS\\Filter", "CLSID"},
    {Mention::Key, HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects",
     ""},
    {Mention::ValueInKey, HiveLocalMachine, "SOFTWARE\\Microsoft\\Internet Explorer\\Extensions", "CLSID"},
    {Mention::ValueInKey, HiveLocalMachine, "SOFTWARE\\Microsoft\\Internet Explorer\\Extensions", "BandCLSID"},
    {Mention::ValueInKey, HiveCurrentUser, "SOFTWARE\\Microsoft\\Internet Explorer\\Extensions", "CLSID"},
    {Mention::ValueInKey, HiveCurrentUser, "SOFTWARE\\Microsoft\\Internet Explorer\\Extensions", "BandCLSID"},
    {Mention::NamedValue, HiveLocalMachine, "SOFTWARE\\Microsoft\\Internet Explorer\\Toolbar", ""},
    {Mention::Key, HiveLocalMachine, "Software\\Microsoft\\Internet Explorer\\Explorer Bars", ""},
    {Mention::NamedValue, HiveCurrentUser, "Software\\Microsoft\\Internet Explorer\\Toolbar\\ShellBrowser", ""},
    {Mention::NamedValue, HiveCurrentUser, "Software\\Microsoft\\Internet Explorer\\Toolbar\\WebBrowser", ""},
    {Mention::NamedValue, HiveCurrentUser, "Software\\Microsoft\\Internet Explorer\\URLSearchHooks", ""},
    {Mention::Key, HiveLocalMachine, "SOFTWARE\\Microsoft\\Code Store Database\\Distribution Units", ""},
    {Mention::NamedValue, HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ShellExecuteHooks",
     ""},
};

// Shorter names of subkeys are no classes.
constexpr std::size_t ShortestClass = 21;

struct RunKey {
    Hive hive;
    std::string_view key;
};

constexpr RunKey RunKeys[] = {
    {HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run"},
    {HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce"},
    {HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnceEx"},
    {HiveCurrentUser, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run"},
    {HiveCurrentUser, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce"},
    {HiveCurrentUser, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnceEx"},
    {HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunServicesOnce"},
    {HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunServices"},
    {HiveCurrentUser, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunServices"},
};

constexpr std::string (*StartupFolders[])() = {
    modFolderPaths::GetCommonStartupFolder,
    modFolderPaths::GetUserStartupFolder,
};

std::string Below(std::string_view key, std::string_view name) {
    std::string path(key);
    return path.append("\\").append(name);
}

void AddKey(std::int32_t threat, Hive hive, std::string_view key) {
    RequireCurrentScan()->AddDetectedThreatRegKey(ScanTypeRegistry, threat, hive, key);
}

void AddValue(std::int32_t threat, Hive hive, std::string_view key, std::string_view name) {
    RequireCurrentScan()->AddDetectedThreatRegKey(ScanTypeRegistry, threat, hive, key, name);
}

void AddKeyIfThere(std::int32_t threat, Hive hive, const std::string& key) {
    if (modRegistry::RegKeyExists(hive, key)) {
        AddKey(threat, hive, key);
    }
}

void AddProgID(std::int32_t threat, Hive hive, const std::string& classKey) {
    const std::string progID = ToText(modRegistry::GetRegistryValue(hive, Below(classKey, "ProgID"), ""));
    if (progID.find('.') != std::string::npos) {
        AddKeyIfThere(threat, HiveClassesRoot, progID);
        AddKeyIfThere(threat, HiveLocalMachine, Below("SOFTWARE\\Classes", progID));
    }
}

void AddSubKeys(std::int32_t threat, const ClassMention& entry, const std::string& clsid) {
    const auto subKeys = modRegistry::RegistrySubKeys(entry.hive, entry.key);
    if (!subKeys) {
        return;
    }
    for (const std::string& subKey : *subKeys) {
        const std::string key = Below(entry.key, subKey);
        if (modRegistry::RegValueDataEquals(entry.hive, key, entry.value, clsid)) {
            AddKey(threat, entry.hive, key);
        }
    }
}

void AddMention(std::int32_t threat, const ClassMention& entry, const std::string& clsid) {
    const std::string key = Below(entry.key, clsid);
    switch (entry.mention) {
        case Mention::Key:
            AddKeyIfThere(threat, entry.hive, key);
            return;
        case Mention::ProgID:
            AddProgID(threat, entry.hive, key);
            return;
        case Mention::SubKeys:
            AddSubKeys(threat, entry, clsid);
            return;
        case Mention::ValueInKey:
            if (modRegistry::RegValueExists(entry.hive, key, entry.value)) {
                AddKey(threat, entry.hive, key);
            }
            return;
        case Mention::NamedValue:
            if (modRegistry::RegValueExists(entry.hive, entry.key, clsid)) {
                AddValue(threat, entry.hive, entry.key, clsid);
            }
            return;
    }
}

void AddLibraryRelations(std::int32_t threat, std::string_view path) {
    for (const std::string& clsid : modRegistry::GetDllCLSIDs(path)) {
        if (clsid.size() < ShortestClass) {
            continue;
        }
        for (const ClassMention& entry : ClassMentions) {
            AddMention(threat, entry, clsid);
        }
    }
}

// A program that was found, for comparison with what the machine starts.
class Program {
public:
    Program(std::string_view path, std::string hash) : length_(Length(path)), hash_(std::move(hash)) {}

    // A file with the same contents that may be removed. Only files of the same length are read.
    [[nodiscard]] bool IsCopy(std::string_view path) const {
        return !path.empty() && Length(path) == length_ && modMD5::FileMD5(path) == hash_ &&
               !modCleanerHelper::RestrictRemoveFile(path);
    }

private:
    static std::optional<std::uint64_t> Length(std::string_view path) {
        const auto length = platform::Current().files->Length(path);
        return length ? std::optional(*length) : std::nullopt;
    }

    std::optional<std::uint64_t> length_;
    std::string hash_;
};

// The shortcut is what belongs to the threat; its target was found already, or is a copy of that.
void AddStartupShortcuts(std::int32_t threat, const Program& program) {
    for (const auto startupFolder : StartupFolders) {
        const std::string folder = startupFolder();
        if (folder.empty()) {
            continue;
        }
        for (const std::string& name : modKvFileExplorer::FilesListShallow(folder, "*.*")) {
            const std::string shortcut = folder + name;
            if (program.IsCopy(modFiles::ShortcutTargetPath(shortcut))) {
                RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, threat, modMD5::FileMD5(shortcut), shortcut);
            }
        }
    }
}

std::string StartedFile(std::string_view command) {
    const std::string path = modHelper::GetFilePathFromPathWithCommand(command);
    return ToText(modFolderPaths::ResolveFilePathEx(modFolderPaths::TranslateEnvironmentVariablesPaths(path)));
}

void AddRunEntries(std::int32_t threat, const Program& program) {
    for (const auto& [hive, key] : RunKeys) {
        for (const std::string& entry : modRegistry::RegistryValuesList(hive, key)) {
            if (program.IsCopy(StartedFile(modHelper::StringAfterColon(entry)))) {
                AddValue(threat, hive, key, modHelper::StringBeforeColon(entry));
            }
        }
    }
}

}  // namespace

void AddDetectedThreatFileRelations(std::int32_t ThreatID, std::string_view path) {
    Trap("modScannerFiles", "AddDetectedThreatFileRelations", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        const std::string hash = modMD5::FileMD5(path);
        if (hash.empty()) {
            return;
        }
        switch (modCleanerHelper::GetThreatFileType(path)) {
            case ThreatFileTypeDll:
                AddLibraryRelations(ThreatID, path);
                return;
            case ThreatFileTypeExe: {
                const Program program(path, hash);
                AddStartupShortcuts(ThreatID, program);
                AddRunEntries(ThreatID, program);
                return;
            }
            default:
                return;
        }
    });
}

void AddDetectedThreatFolderContents(std::int32_t ThreatID, std::string_view folder, bool flag) {
    Trap("modScannerFiles", "AddDetectedThreatFolderContents", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        constexpr std::size_t shortestItem = 4;
        std::vector<std::string> items;
        for (const std::string& listed : modKvFileExplorer::FilesListDeep(folder, !flag, false)) {
            if (listed.size() >= shortestItem) {
                items.push_back(LCase(listed));
            }
        }
        const LookAhead ahead(std::make_unique<ListedFiles>(items));
        for (const std::string& item : items) {
            if (modFiles::FolderExists(item)) {
                if (!modCleanerHelper::RestrictRemoveFolder(item)) {
                    RequireCurrentScan()->AddDetectedThreatFolder(ScanTypeFiles, ThreatID, item);
                }
            } else if (modFiles::FileExists(item) && !modCleanerHelper::RestrictRemoveFile(item)) {
                RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, ThreatID, modMD5::FileMD5(item), item);
                AddDetectedThreatFileRelations(ThreatID, item);
            }
        }
    });
}

}  // namespace kel::modScannerFiles
