// What holds for the whole of a clean: the stores, the log, the programs that start each other again.
#include "cleaner/Cleaner.h"

#include <string>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "quarantine/QuarantineTables.h"
#include "rules/modCleanerHelper.h"
#include "system/clsFolderPaths.h"
#include "system/modFiles.h"
#include "system/modPermissions.h"

namespace kel {

namespace {

constexpr const char* Module = "Cleaner";

}  // namespace

Cleaner::Cleaner() {
    Trap(Module, "Class_Initialize", [] {
        const std::string folder = quarantine::QuarantineFolderRoot();
        if (!modFiles::FolderExists(folder)) {
            modFiles::CreateFolderPath(folder);
        }
    });
}

Cleaner::~Cleaner() {
    ResumeNext([] { State().Resuscitators.reset(); });
}

const std::shared_ptr<Cleaner::DetectedThreatCollection>& Cleaner::DetectedThreats() {
    if (!detectedThreats_) {
        detectedThreats_ = std::make_shared<DetectedThreatCollection>();
    }
    return detectedThreats_;
}

bool Cleaner::HasAdminPermission() const {
    // A token of too many groups ends in an error that nothing logs.
    bool admin = false;
    ResumeNext([&] { admin = modPermissions::HasAdminPermission(); });
    return admin;
}

bool Cleaner::EnableLog() const {
    return modCleanerHelper::EnableLog();
}

void Cleaner::SetEnableLog(bool enable) {
    modCleanerHelper::EnableLog() = enable;
}

std::string Cleaner::QuarantineRootPath() const {
    return quarantine::QuarantineRootPath();
}

void Cleaner::SetQuarantineRootPath(std::string_view path) {
    quarantine::QuarantineRootPath() = path;
}

bool Cleaner::IsThreatCleanerRequired(std::int32_t threatID) const {
    return cleanerThreats_.Contains("ThreatID:" + Text(threatID));
}

bool Cleaner::IsFileCleanerRequired(std::string_view path) const {
    return cleanerFiles_.Contains(path);
}

bool Cleaner::IsFolderCleanerRequired(std::string_view path) const {
    return cleanerFolders_.Contains(path);
}

void Cleaner::Send(std::string_view details) {
    if (!Callback) {
        Raise(ErrObjectNotSet);
    }
    Callback->EventVerboseDetails(currentThreatName_, details);
}

}  // namespace kel
