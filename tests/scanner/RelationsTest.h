// A staged machine with a scan that has begun, for tests of what a detection drags in.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/EngineState.h"
#include "results/DetectedThreat.h"
#include "support/ScanTest.h"
#include "support/StagedMachine.h"
#include "system/modHelper.h"

namespace kel::test {

class RelationsTest : public ScanTest {
protected:
    static constexpr std::int32_t Threat = 7;
    /// A class identifier that is long enough.
    static constexpr std::string_view Clsid = "{11111111-2222-3333-4444-555555555555}";

    RelationsTest() : staged(Machine(), Key()) {
        for (const char* folder : {"windows\\system", "common startup", "user startup", "things"}) {
            MakeFolder(Folder() + folder);
        }
        staged.Folders()[FolderWindows] = Folder() + "windows";
        staged.Folders()[FolderSystem] = Folder() + "windows\\system";
        staged.Folders()[FolderCommonStartup] = Folder() + "common startup";
        staged.Folders()[FolderUserStartup] = Folder() + "user startup";
        Install(staged.View());
        tables.threats = {{Threat, "Thing", "adware", 2}};
        Begin();
    }
    ~RelationsTest() override { Install(Machine()); }

    /// A file of 2000 bytes, which has a hash; the same `seed` makes the same file. Its path.
    std::string AddFile(std::string_view below, char seed) {
        const std::string path = Folder() + std::string(below);
        WriteFile(path, Bytes(2000, seed));
        return path;
    }
    /// A library that serves the classes.
    std::string AddLibrary(std::string_view below, const std::vector<std::string_view>& clsids) {
        const std::string path = AddFile(below, 'l');
        for (const std::string_view clsid : clsids) {
            staged.AddText(platform::HiveClassesRoot, "CLSID\\" + std::string(clsid) + "\\InprocServer32", "", path);
        }
        return path;
    }

    /// The registry locations of the threat, in order: hive and key, " [name]" if there is one, "=data" if there are.
    static std::vector<std::string> Keys() {
        std::vector<std::string> keys;
        for (const auto& detected : *CurrentScan()->DetectedThreats()) {
            if (detected->ThreatID != Threat) {
                continue;
            }
            for (const auto& location : *detected->ThreatLocationRegKeys) {
                std::string text =
                    modHelper::GetRegistryHiveNameFromHive(location->RegHive()) + "\\" + location->Regkey();
                if (!location->RegValueName().empty()) {
                    text += " [" + location->RegValueName() + "]";
                }
                if (!location->RegValueData().empty()) {
                    text += "=" + location->RegValueData();
                }
                keys.push_back(text);
            }
        }
        return keys;
    }
    static std::vector<std::string> FoldersFound() {
        std::vector<std::string> folders;
        for (const auto& detected : *CurrentScan()->DetectedThreats()) {
            for (const auto& location : *detected->ThreatLocationFolders) {
                folders.push_back(location->DetectedFolderPath());
            }
        }
        return folders;
    }
    std::vector<std::string> Files() { return FilesOf(Threat); }
    static void Ignore() {
        State().IgnoredThreatIDs = std::make_shared<Collection<std::int32_t>>();
        State().IgnoredThreatIDs->Add(Threat, "7");
    }

    StagedMachine staged;
};

}  // namespace kel::test
