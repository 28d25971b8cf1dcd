#include "engine/Manager.h"

#include <utility>

#include "cleaner/ScanCleaner.h"
#include "core/Failures.h"
#include "platform/Platform.h"
#include "results/modDataManager.h"
#include "system/modPermissions.h"

namespace kel {

namespace {

constexpr const char* Module = "Manager";

template <class Object>
std::shared_ptr<Object> MadeOnce(std::shared_ptr<Object>& reference) {
    ResumeNext([&] {
        if (!reference) {
            reference = std::make_shared<Object>();
        }
    });
    return reference;
}

// The reference is cleared again, so the next use makes another object.
template <class Object>
std::shared_ptr<Object> HandedOver(std::shared_ptr<Object>& reference) {
    MadeOnce(reference);
    return std::exchange(reference, nullptr);
}

}  // namespace

bool Manager::Inititalize(enLanguages Language, enVersionType VersionType) {
    Trap(Module, "Inititalize", [&] {
        State().CurrentLanguage = Language;
        State().CurrentVersionType = VersionType;
        modDataManager::InitializeIgnoredThreatsData();
    });
    return false;
}

bool Manager::IsInititalized() const {
    return modDataManager::IsInitializedIgnoredThreatsData();
}

bool Manager::UnInititalize() {
    modDataManager::ReleaseIgnoredThreatsData();
    modDataManager::ReleaseQuarantineData();
    modDataManager::ReleaseScanData();
    modDataManager::ReleaseScanHistoryData();
    modDataManager::ReleaseThreatData();
    return false;
}

enLanguages Manager::CurrentLanguage() const {
    return State().CurrentLanguage;
}

enVersionType Manager::CurrentVersionType() const {
    return State().CurrentVersionType;
}

std::shared_ptr<kel::Scanner> Manager::Scanner() {
    ResumeNext([] { LetScannerClean(); });
    return MadeOnce(scanner_);
}

std::shared_ptr<kel::Cleaner> Manager::Cleaner() {
    return MadeOnce(cleaner_);
}

std::shared_ptr<kel::Threats> Manager::Threats() {
    return HandedOver(threats_);
}

std::shared_ptr<kel::Quarantine> Manager::Quarantine() {
    return HandedOver(quarantine_);
}

std::shared_ptr<kel::IgnoredThreats> Manager::IgnoredThreats() {
    return HandedOver(ignoredThreats_);
}

std::shared_ptr<kel::ScanHistory> Manager::ScanHistory() {
    return HandedOver(scanHistory_);
}

std::shared_ptr<kel::Settings> Manager::Settings() {
    return HandedOver(settings_);
}

std::string Manager::UserName() const {
    std::string name;
    ResumeNext([&] { name = platform::Current().system->Environment("USERNAME"); });
    return name;
}

bool Manager::HasAdminPermission() const {
    // A token of too many groups ends in an error that nothing logs.
    bool admin = false;
    ResumeNext([&] { admin = modPermissions::HasAdminPermission(); });
    return admin;
}

}  // namespace kel
