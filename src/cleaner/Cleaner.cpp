// What holds for the whole of a clean: the stores, the log, the programs that start each other again.
#include "cleaner/Cleaner.h"

#include <memory>
#include <string>
#include <utility>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/QuarantineTables.h"
#include "results/Required.h"
#include "rules/RunningPrograms.h"
#include "rules/modCleanerHelper.h"
#include "system/clsFolderPaths.h"
#include "system/modFiles.h"
#include "system/modPermissions.h"
#include "system/modWinAPI.h"

namespace kel {

namespace {

constexpr const char* Module = "Cleaner";

// 66 hyphens.
constexpr std::string_view Separator = "------------------------------------------------------------------";

// The restore service's numbers.
constexpr std::int32_t ApplicationInstall = 0;
constexpr std::int32_t BeginSystemChange = 100;

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

enCleanerErrors Cleaner::InitializeClean(std::string_view ScanID,
                                         std::shared_ptr<DetectedThreatCollection> inDetectedThreats) {
    Trap(Module, "InitializeClean", [&] {
        // What was removed under records that were never saved stays on the machine: the records go now.
        platform::Current().registry->Discard();
        quarantine::OpenTables();
        modCleanerHelper::LoadResuscitators();
        scanID_ = ScanID;
        if (inDetectedThreats && inDetectedThreats->Count() > 0) {
            detectedThreats_ = std::move(inDetectedThreats);
        }
        cleanerState_ = CleanerStateReady;
        FolderPaths = std::make_shared<clsFolderPaths>();
        FolderPaths->LoadFolderPaths();
        Callback = std::make_shared<CleanerCallback>();
        modCleanerHelper::KillResuscitators();
        modCleanerHelper::CleanerLog(Separator);
        modCleanerHelper::CleanerLog("Initializing Clean - (ScanID: " + scanID_ + ")");
    });
    return errNone;
}

void Cleaner::UninitializeClean() {
    Trap(Module, "UninitializeClean", [&] {
        modCleanerHelper::CleanerLog("Unititializing Clean");
        modCleanerHelper::CleanerLog(Separator);
        detectedThreats_.reset();
    });
}

enCleanerErrors Cleaner::SetWindowsXPRestorePoint(std::string_view /*RestorePointDescription*/) {
    enCleanerErrors result = errNone;
    Trap(Module, "SetWindowsXPRestorePoint", [&] {
        if (modWinAPI::GetOSVersionName() != "XP") {
            result = errXPRestoreCannotSetRestorePointNotXP;
            return;
        }
        // Holds until the service says otherwise; one that is not there is a failure too.
        result = errXPRestoreCannotSetRestorePointFailed;
        const auto& machine = platform::Current();
        const auto answer = machine.restorePoints->Create("Ombrelane - " + DateText(machine.clock->Now()),
                                                          ApplicationInstall, BeginSystemChange);
        if (!answer) {
            Raise(ErrCannotCreateObject, "restore points");
        }
        if (*answer == 0) {
            result = errNone;
        }
    });
    return result;
}

void Cleaner::Send(std::string_view details) {
    const std::shared_ptr<CleanerCallback> callback = Callback;
    Required(callback).EventVerboseDetails(currentThreatName_, details);
}

}  // namespace kel
