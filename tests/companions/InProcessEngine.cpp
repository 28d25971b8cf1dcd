#include "InProcessEngine.h"

#include "core/Recordset.h"
#include "core/Value.h"

namespace kel::test {

void InProcessEngine::Start() {
    scope_.emplace();
    State().App.Path = appFolder_;
    manager_.emplace();
}

std::string InProcessEngine::UserDataFolder() {
    return manager_->Scanner()->UserDataRootPath();
}

void InProcessEngine::SetUserDataFolder(std::string_view folder) {
    manager_->Scanner()->SetUserDataRootPath(folder);
}

kel::Cleaner& InProcessEngine::Cleaner() {
    kel::Cleaner& cleaner = *manager_->Cleaner();
    cleaner.IsCleanerRunning = true;
    cleaner.SetEnableLog(true);
    return cleaner;
}

void InProcessEngine::RunAllCleanerFolders() {
    Cleaner().RunAllCleanerFolders();
}

void InProcessEngine::RunAllCleanerFiles() {
    Cleaner().RunAllCleanerFiles();
}

void InProcessEngine::RunAllCleanerRegistryKeys() {
    Cleaner().RunAllCleanerRegistryKeys();
}

void InProcessEngine::RunAllCleanerRegistryValues() {
    Cleaner().RunAllCleanerRegistryValues();
}

void InProcessEngine::InitializeClean(std::string_view scanID) {
    Cleaner().InitializeClean(scanID);
}

void InProcessEngine::UninitializeClean() {
    Cleaner().UninitializeClean();
}

std::int32_t InProcessEngine::QuarantineThreat(std::int32_t threatID) {
    return Cleaner().QuarantineThreat(threatID);
}

void InProcessEngine::DestroyThreat(std::int32_t threatID) {
    Cleaner().DestroyThreat(threatID);
}

std::string InProcessEngine::QuarantineID(std::int32_t threatID) {
    const auto quarantine = manager_->Quarantine();
    return quarantine->QuarantineThreatExists(threatID) ? quarantine->GetQuarantineThreatIDFromThreatID(threatID)
                                                        : std::string();
}

bool InProcessEngine::IsQuarantined(std::string_view quarantineID) {
    return manager_->Quarantine()->QuarantineThreatIDExists(quarantineID);
}

bool InProcessEngine::DestroyQuarantined(std::string_view quarantineID) {
    return manager_->Quarantine()->DestroyThreat(quarantineID);
}

std::vector<std::string> InProcessEngine::DetectedPaths(std::string_view scanID, std::int32_t threatID) {
    std::vector<std::string> paths;
    const auto detail = manager_->ScanHistory()->GetScanHistoryDetail(scanID);
    if (detail == nullptr) {
        return paths;
    }
    for (const auto& rows : {detail->DetectedFiles, detail->DetectedCookies}) {
        for (; rows != nullptr && !rows->Eof(); rows->MoveNext()) {
            if (ToLong(rows->Get("DThreatID")) == threatID) {
                paths.push_back(ToText(rows->Get("FoundAt")));
            }
        }
    }
    return paths;
}

void InProcessEngine::AddDeletedThreat(std::string_view scanID, std::int32_t threatID) {
    manager_->ScanHistory()->AddDeletedThreat(scanID, threatID);
}

void InProcessEngine::PersistHistory() {
    manager_->ScanHistory()->Persist();
}

}  // namespace kel::test
