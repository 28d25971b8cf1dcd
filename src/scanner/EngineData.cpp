#include "scanner/EngineData.h"

#include <memory>

#include "catalogue/modMain.h"
#include "core/EngineState.h"
#include "core/Text.h"
#include "results/modDataManager.h"
#include "system/FileHash.h"
#include "system/modCommon.h"
#include "system/modFiles.h"

namespace kel::modMain {

namespace {

// Opens the hash object; no part of any digest.
constexpr std::string_view FileHashKey = "KTE-MD5-2004";

constexpr std::string_view Maker = "Kelvane Software";
constexpr std::string_view Product = "Kelvane Software\\Ombrelane";

// Where the engine's own data go: a folder that a client chose takes the place of the user's folder. Only here; scans
// and removal rules look at the user's own.
std::string DataRoot() {
    return State().UserDataFolderIsSet ? State().UserDataFolder : modCommon::PathLocalAppData();
}

}  // namespace

void PrepareUserDataFolder() {
    const std::string root = DataRoot();
    if (State().UserDataFolderIsSet) {
        if (!modFiles::FolderExists(root)) {
            modFiles::CreateFolderPath(root);
        }
        State().UserDataFolder = WithBackslash(root);
        return;
    }
    for (const std::string_view folder : {Maker, Product}) {
        const std::string path = root + std::string(folder);
        if (!modFiles::FolderExists(path)) {
            modFiles::CreateFolder(path);
        }
    }
    State().UserDataFolder = root + std::string(Product) + "\\";
}

void LoadEngineData() {
    PrepareUserDataFolder();
    State().FileHashObject = std::make_shared<FileHash>(FileHashKey);
    InitializeThreatData();
    InitializeScanData();
    modDataManager::InitializeIgnoredThreatsData();
    modDataManager::InitializeScanHistoryData();
    State().DataInitialized = true;
}

}  // namespace kel::modMain
