#include "latebound/AutomationEngine.h"

namespace kel::latebound {

namespace {

constexpr const char* ManagerClass = "kelThreatEngine.Manager";

// The paths that a table of a scan's record holds for one threat.
void AddPaths(const Object& rows, std::int32_t threatID, std::vector<std::string>& paths) {
    if (!rows) {
        return;
    }
    const Object fields = rows.Get("Fields").ToObject();
    for (; !rows.Get("EOF").ToBool(); rows.Call("MoveNext")) {
        const auto value = [&](const char* column) { return fields.Get("Item", column).ToObject().Get("Value"); };
        if (value("DThreatID").ToNumber() == threatID) {
            paths.push_back(value("FoundAt").ToText());
        }
    }
}

}  // namespace

void AutomationEngine::Start() {
    manager_ = Object::Create(ManagerClass);
    scanner_ = manager_.Get("Scanner").ToObject();
}

std::string AutomationEngine::UserDataFolder() {
    return scanner_.Get("UserDataRootPath").ToText();
}

void AutomationEngine::SetUserDataFolder(std::string_view folder) {
    scanner_.Put("UserDataRootPath", folder);
}

const Object& AutomationEngine::Cleaner() {
    if (!cleaner_) {
        cleaner_ = manager_.Get("Cleaner").ToObject();
        cleaner_.Put("IsCleanerRunning", true);
        cleaner_.Put("EnableLog", true);
    }
    return cleaner_;
}

void AutomationEngine::RunAllCleanerFolders() {
    Cleaner().Call("RunAllCleanerFolders");
}

void AutomationEngine::RunAllCleanerFiles() {
    Cleaner().Call("RunAllCleanerFiles");
}

void AutomationEngine::RunAllCleanerRegistryKeys() {
    Cleaner().Call("RunAllCleanerRegistryKeys");
}

void AutomationEngine::RunAllCleanerRegistryValues() {
    Cleaner().Call("RunAllCleanerRegistryValues");
}

void AutomationEngine::InitializeClean(std::string_view scanID) {
    Cleaner().Call("InitializeClean", scanID);
}

void AutomationEngine::UninitializeClean() {
    Cleaner().Call("UninitializeClean");
}

std::int32_t AutomationEngine::QuarantineThreat(std::int32_t threatID) {
    return Cleaner().Call("QuarantineThreat", threatID).ToNumber();
}

void AutomationEngine::DestroyThreat(std::int32_t threatID) {
    Cleaner().Call("DestroyThreat", threatID);
}

std::string AutomationEngine::QuarantineID(std::int32_t threatID) {
    const Object quarantine = manager_.Get("Quarantine").ToObject();
    return quarantine.Call("QuarantineThreatExists", threatID).ToBool()
               ? quarantine.Call("GetQuarantineThreatIDFromThreatID", threatID).ToText()
               : std::string();
}

bool AutomationEngine::IsQuarantined(std::string_view quarantineID) {
    return manager_.Get("Quarantine").ToObject().Call("QuarantineThreatIDExists", quarantineID).ToBool();
}

bool AutomationEngine::DestroyQuarantined(std::string_view quarantineID) {
    return manager_.Get("Quarantine").ToObject().Call("DestroyThreat", quarantineID).ToBool();
}

std::vector<std::string> AutomationEngine::DetectedPaths(std::string_view scanID, std::int32_t threatID) {
    std::vector<std::string> paths;
    const Object history = manager_.Get("ScanHistory").ToObject();
    const Object detail = history.Call("GetScanHistoryDetail", scanID).ToObject();
    if (detail) {
        AddPaths(detail.Get("DetectedFiles").ToObject(), threatID, paths);
        AddPaths(detail.Get("DetectedCookies").ToObject(), threatID, paths);
    }
    return paths;
}

void AutomationEngine::AddDeletedThreat(std::string_view scanID, std::int32_t threatID) {
    manager_.Get("ScanHistory").ToObject().Call("AddDeletedThreat", scanID, threatID);
}

void AutomationEngine::PersistHistory() {
    manager_.Get("ScanHistory").ToObject().Call("Persist");
}

}  // namespace kel::latebound
