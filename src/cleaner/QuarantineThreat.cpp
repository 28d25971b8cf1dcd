// The fixed order of work for one threat.
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "catalogue/Threats.h"
#include "catalogue/clsThreat.h"
#include "cleaner/BootLists.h"
#include "cleaner/Cleaner.h"
#include "cleaner/CleanerWork.h"
#include "cleaner/CustomScripts.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Guid.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "results/HistoryAccess.h"
#include "results/Required.h"
#include "results/ScanHistory.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modRegistry.h"

namespace kel {

namespace {

using modCleanerHelper::CleanerLog;

constexpr const char* Module = "Cleaner";
constexpr const char* Procedure = "QuarantineThreat";

// What a threat with a script of its own says and does before its locations are removed.
struct PreStep {
    enCustomRemovalType type;
    bool download;
    bool scriptOnly;          // done when the script ran
    std::string_view failed;  // for the log; empty where nobody looks
};
constexpr PreStep PreSteps[] = {
    {CustomRemovalTypeCustomScript, false, false, "Error running custom cleaner script"},
    {CustomRemovalTypeCustomScriptOnly, false, true, "Error running custom cleaner script"},
    {CustomRemovalTypeCustomScriptDownload, true, false, ""},
    {CustomRemovalTypeCustomScriptDownloadOnly, true, true, "Error downloading and running custom cleaner script"},
};

std::string Described(std::string_view name, std::int32_t threatID) {
    return std::string(name).append(" (ID:").append(Text(threatID)).append(")");
}

// What waits for its record does not go with that of the next threat.
void DropChanges() {
    if (!platform::Current().can.live) {
        ResumeNext([] { platform::Current().registry->Discard(); });
    }
}

// What was changed in the registry of a machine that does not run goes there only with its record.
void CommitRecorded(std::int32_t threatID, bool recorded) {
    if (platform::Current().can.live) {
        return;
    }
    Trap(Module, Procedure, [&] {
        if (!recorded) {
            DropChanges();
            Raise(ErrPathFileAccess,
                  "The registry was not written because its record was not, ThreatID=" + Text(threatID));
        }
        quarantine::CommitRegistry();
    });
}

}  // namespace

void Cleaner::Work::NoteAction() const {
    Recordset& detections = history::Opened(history::Detected);
    detections.SetFilter("");
    detections.SetFilter("ScanID='" + cleaner.scanID_ + "' and DThreatID=" + Text(threatID));
    if (!detections.Eof()) {
        detections.Set("Action", static_cast<std::int32_t>(forceDestroy ? DetectedThreatActionDeleted
                                                                        : DetectedThreatActionQuarantined));
        detections.Update();
    }
}

void Cleaner::Work::Start() {
    name = Threats().GetThreatDisplayName(threatID);
    cleaner.currentThreatName_ = name;
    const std::shared_ptr<CleanerCallback> callback = cleaner.Callback;
    Required(callback).EventStartThreatClean(name);
    CleanerLog("Clean Threat " + Described(name, threatID));
}

void Cleaner::Work::OpenRow() {
    // An older entry of the threat stays beside the new one.
    (void)Quarantine().QuarantineThreatExists(threatID);
    const std::shared_ptr<Threat> threat = Threats().GetThreatByThreatID(threatID);
    qThreatID = NewGuidString();
    quarantinePath = quarantine::QuarantineFolderRoot() + NewGuidString() + "\\";

    Recordset& index = quarantine::Opened(quarantine::Threats);
    index.AddNew();
    index.Set("ScanID", cleaner.scanID_);
    index.Set("ThreatID", threatID);
    index.Set("ThreatName", name);
    index.Set("ThreatAuthor", threat ? threat->Author : std::string());
    index.Set("Category", threat ? threat->Category : std::string());
    index.Set("QuarantineDate", DateText(platform::Current().clock->Now()));
    index.Set("QThreatID", qThreatID);
    index.Set("QuarantinePath", quarantinePath);
    if (!modFiles::FolderExists(quarantinePath)) {
        modFiles::CreateFolderPath(quarantinePath);
    }
}

bool Cleaner::Work::ReadCatalogue() {
    const auto& catalogue = State().ThreatCatalog;
    const auto* const entry = catalogue ? catalogue->Find(Text(threatID)) : nullptr;
    if (entry == nullptr || !*entry) {
        return false;
    }
    isQuarantine = !forceDestroy && (*entry)->ThreatCanQuarantine;
    customData = (*entry)->ThreatCustomData;
    return true;
}

bool Cleaner::Work::FindDetection() {
    if (cleaner.IsThreatInDetectedThreats(threatID)) {
        detected = cleaner.GetDetectedThreatByID(threatID);
    }
    if (!detected) {
        detected = cleaner.GenerateDetectedThreat(threatID);
    }
    if (!detected) {
        ReportError(":Could not generated oDetectedThreat locations, ThreatID=" + Text(threatID), "0", Module,
                    Procedure);
        CleanerLog("Could not generated Detected Threat Locations, clean terminating");
        return false;
    }
    return true;
}

bool Cleaner::Work::RunPreStep() {
    const auto& entry = *State().ThreatCatalog->Item(Text(threatID));
    removalType = static_cast<enCustomRemovalType>(ToLong(Value(entry.ThreatCustomRemovalType)));
    if (removalType == customRemovalTypeUninstaller) {
        Send("Running application uninstaller...");
    }
    for (const PreStep& step : PreSteps) {
        if (step.type != removalType) {
            continue;
        }
        enCleanerErrors error = errNone;
        if (step.download) {
            Send("Downloading and running cleaner script...");
            CleanerLog("Downloading and running custom cleaner script, " + customData);
            error = modCleanerHelper::RunCustomScriptWithDownload("PRE", customData);
        } else {
            Send("Running cleaner script...");
            CleanerLog("Running custom cleaner script");
            error = modCleanerHelper::RunCustomScript("PRE", customData);
        }
        if (error != errNone && !step.failed.empty()) {
            CleanerLog(step.failed);
        }
        return step.scriptOnly && error == errNone;
    }
    return false;
}

void Cleaner::Work::RunPostStep() {
    if (removalType == CustomRemovalTypeCustomScript) {
        Send("Running custom removal script...");
        CleanerLog("Running custom removal script");
        if (modCleanerHelper::RunCustomScript("POST", customData) != errNone) {
            CleanerLog("Running custom removal script failed");
            result = errCustomScriptFailedScriptBlank;
        }
    } else if (removalType == CustomRemovalTypeCustomScriptDownload) {
        Send("Downloading custom removal script...");
        CleanerLog("Downloading custom removal script, " + customData);
        if (modCleanerHelper::RunCustomScriptWithDownload("POST", customData) != errNone) {
            result = errCustomScriptFailedScriptBlank;
        }
    }
}

void Cleaner::Work::Finish(std::string& outQuarantineThreatID) {
    Send("Storing clean data...");
    outQuarantineThreatID = Trim(qThreatID);
    if (isQuarantine) {
        Send("Finalizing Quarantine...");
        ScanHistory history;
        const std::string scan = cleaner.scanID_.empty() ? history.GetScanIDByThreatID(threatID) : cleaner.scanID_;
        if (!scan.empty()) {
            history.AddQuarantinedThreat(scan, threatID);
            if (cleaner.IsThreatInDetectedThreats(threatID)) {
                Required(cleaner.GetDetectedThreatByID(threatID)).DetectedThreatAction =
                    DetectedThreatActionQuarantined;
            }
        }
    }
    const std::shared_ptr<CleanerCallback> callback = cleaner.Callback;
    Required(callback).EventFinishedThreatClean(name);
    CleanerLog("Clean Threat " + Described(name, threatID) + " Complete");
}

void Cleaner::Work::Store() const noexcept {
    ResumeNext([] { quarantine::Opened(quarantine::Threats).Update(); });
    for (const quarantine::Table* table : quarantine::Tables) {
        ResumeNext([&] { platform::Current().files->Remove(quarantine::PathOf(*table)); });
    }
    std::vector<const quarantine::Table*> saved;
    for (const quarantine::Table* table : quarantine::Tables) {
        if (ResumeNext([&] { quarantine::Opened(*table).Save(quarantine::PathOf(*table)); })) {
            saved.push_back(table);
        }
    }
    CommitRecorded(threatID, saved.size() == std::size(quarantine::Tables));
    // A table that could not be written stays in memory for the next attempt.
    for (const quarantine::Table* table : saved) {
        ResumeNext([&] {
            Recordset& recordset = quarantine::Opened(*table);
            recordset.Close();
            recordset.Open(quarantine::PathOf(*table));
        });
    }
}

enCleanerErrors Cleaner::QuarantineThreat(std::int32_t ThreatID, bool ForceDestroy,
                                          std::string& outQuarantineThreatID) {
    Work work{.cleaner = *this, .threatID = ThreatID, .forceDestroy = ForceDestroy};
    bool storing = false;
    Trap(Module, Procedure, [&] {
        work.NoteAction();
        work.Start();
        work.OpenRow();
        if (!work.ReadCatalogue()) {
            work.result = errCouldNotLocateThreat;
            storing = true;
            return;
        }
        if (!work.FindDetection()) {
            work.result = errCannotQuarantineThreat;
            return;
        }
        if (!work.RunPreStep()) {
            work.RemoveLocations();
            work.RunPostStep();
        }
        work.Finish(outQuarantineThreatID);
        storing = true;
    });
    if (storing) {
        work.Store();
    } else {
        DropChanges();
    }
    return work.result;
}

enCleanerErrors Cleaner::QuarantineThreat(std::int32_t ThreatID, bool ForceDestroy) {
    std::string quarantineThreatID;
    return QuarantineThreat(ThreatID, ForceDestroy, quarantineThreatID);
}

enCleanerErrors Cleaner::DestroyThreat(std::int32_t ThreatID) {
    Trap(Module, "DestroyThreat", [&] {
        const std::string line = "Remove Threat (ID:" + Text(ThreatID) + ")";
        CleanerLog(line);
        std::string quarantineThreatID;
        if (QuarantineThreat(ThreatID, true, quarantineThreatID) != errNone) {
            return;
        }
        if (IsThreatCleanerRequired(ThreatID)) {
            // A part is still on the disk, and with it the need for the quarantined copy.
            if (ToText(modRegistry::GetRegistryValue(platform::HiveCurrentUser, boot::Destroy, Text(ThreatID)))
                    .empty()) {
                boot::Put(boot::Destroy, Text(ThreatID), scanID_);
            }
            isRebootRequired_ = true;
            return;
        }
        Quarantine().DestroyThreat(quarantineThreatID);
        if (!scanID_.empty()) {
            ScanHistory().AddDeletedThreat(scanID_, ThreatID);
        }
        if (IsThreatInDetectedThreats(ThreatID)) {
            Required(GetDetectedThreatByID(ThreatID)).DetectedThreatAction = DetectedThreatActionDeleted;
        }
        CleanerLog(line + " Complete");
    });
    return errNone;
}

}  // namespace kel
