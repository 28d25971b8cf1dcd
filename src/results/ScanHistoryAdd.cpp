// What is added to the history: scans with their detections, and what became of a threat.
#include <string>

#include "catalogue/ThreatLite.h"
#include "core/Failures.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "results/HistoryAccess.h"
#include "results/ScanHistory.h"
#include "results/modDataManager.h"
#include "system/modHelper.h"

namespace kel {

namespace {

using history::Module;
using history::Opened;
using history::Restrict;
using history::SavedAnew;

// Characters that the columns for descriptions and locations hold.
constexpr std::size_t LongestText = 255;

Value CutText(const std::string& text) {
    return text.substr(0, platform::Current().text->Prefix(text, LongestText));
}

Value Today() {
    return ParseDate(ShortDateText(platform::Current().clock->Now()));
}

void AddToTotals(const Scan& scan) {
    Recordset& scans = Opened(history::Scans);
    Restrict(scans, history::OfScan(history::TotalsID));
    if (!scans.Eof()) {
        for (const history::Count& count : history::Counts) {
            scans.Set(count.column, history::Sum(ToLong(scans.Get(count.column)), scan.*count.ofScan));
        }
        return;
    }
    modDataManager::InitializeScanHistoryData();
    Recordset& opened = Opened(history::Scans);
    opened.AddNew();
    opened.Set("ScanID", std::string(history::TotalsID));
    for (const history::Count& count : history::Counts) {
        opened.Set(count.column, scan.*count.ofScan);
    }
}

bool IsRowOf(const Recordset& scans, const Scan& scan) {
    const Value id = scans.Get("ScanID");
    return !IsNull(id) && ToText(id) == scan.ScanID;
}

// A scan that has a row keeps it as it is.
void AddScanRow(const Scan& scan) {
    Recordset& scans = Opened(history::Scans);
    scans.SetFilter({});
    scans.MoveFirst();
    while (!scans.Eof() && !IsRowOf(scans, scan)) {
        scans.MoveNext();
    }
    if (scans.Eof()) {
        scans.AddNew();
        scans.Set("ScanID", scan.ScanID);
        scans.Set("StartDate", scan.StartDate);
        scans.Set("EndDate", scan.EndDate);
        scans.Set("AbortReason", scan.AbortReason);
        scans.Set("IsScheduledScan", scan.IsScheduledScan);
        for (const history::Count& count : history::Counts) {
            scans.Set(count.column, scan.*count.ofScan);
        }
    }
    scans.Update();
}

void AddLocation(const history::Table& table, const Scan& scan, const DetectedThreat& threat,
                 const std::string& foundAt) {
    Recordset& locations = Opened(table);
    locations.AddNew();
    locations.Set("ScanID", scan.ScanID);
    locations.Set("DThreatID", threat.ThreatID);
    locations.Set("FoundAt", CutText(foundAt));
    locations.Update();
}

std::string RegistryText(const ThreatLocationRegKey& location) {
    return modHelper::GetRegistryHiveNameFromHive(location.RegHive()) + "\\" + location.Regkey() + " " +
           location.RegValueName() + " " + location.RegValueData();
}

// Folders are not noted.
void AddLocations(const Scan& scan, const DetectedThreat& threat) {
    for (const auto& location : Required(threat.ThreatLocationFiles)) {
        AddLocation(history::DetectedFiles, scan, threat, Required(location).DetectedFilePath());
    }
    for (const auto& location : Required(threat.ThreatLocationRegKeys)) {
        AddLocation(history::DetectedRegistry, scan, threat, RegistryText(Required(location)));
    }
    for (const auto& location : Required(threat.ThreatLocationCookies)) {
        AddLocation(history::DetectedCookies, scan, threat, Required(location).DetectedFilePath);
    }
}

void AddDetections(Scan& scan) {
    for (const history::Table* table :
         {&history::Detected, &history::DetectedFiles, &history::DetectedRegistry, &history::DetectedCookies}) {
        Opened(*table).SetFilter({});
    }
    Recordset& threats = Opened(history::Detected);
    for (const auto& entry : *scan.DetectedThreats()) {
        const DetectedThreat& threat = Required(entry);
        const ThreatLite& record = Required(threat.Threat);
        threats.AddNew();
        threats.Set("ScanID", scan.ScanID);
        threats.Set("Action", std::int32_t{threat.DetectedThreatAction});
        threats.Set("DThreatID", threat.ThreatID);
        threats.Set("Name", record.ThreatName);
        threats.Set("Level", record.ThreatLevel);
        threats.Set("Category", record.Category);
        threats.Set("Desc", CutText(record.DescriptionShort));
        threats.Update();
        AddLocations(scan, threat);
    }
}

void AddThreatRow(const history::Table& table, std::string_view scanID, const char* column, std::int32_t threatID) {
    Recordset& threats = Opened(table);
    threats.AddNew();
    threats.Set("ScanID", std::string(scanID));
    threats.Set("StartDate", Today());
    threats.Set(column, threatID);
    threats.Update();
}

}  // namespace

std::int32_t ScanHistory::Add(const std::shared_ptr<Scan>& oScan) {
    // The log knows this operation by the name of its last column.
    Trap(Module, "FoundAt", [&] {
        Scan& scan = Required(oScan);
        if (scan.ScanID.empty()) {
            return;
        }
        AddToTotals(scan);
        AddScanRow(scan);
        SavedAnew(history::Scans);
        AddDetections(scan);
        for (const history::Table* table : {&history::Detected, &history::DetectedFiles, &history::DetectedFolders,
                                            &history::DetectedCookies, &history::DetectedRegistry}) {
            SavedAnew(*table);
        }
    });
    return 0;
}

std::int32_t ScanHistory::AddQuarantinedThreat(std::string_view ScanID, std::int32_t ThreatID) {
    Trap(Module, "AddQuarantinedThreat", [&] {
        if (ScanID.empty()) {
            return;
        }
        Recordset& scans = Opened(history::Scans);
        Restrict(scans, history::OfScan(ScanID));
        if (scans.Eof()) {
            return;
        }
        scans.SetFilter({});
        AddThreatRow(history::Quarantined, ScanID, "QThreatID", ThreatID);
    });
    return 0;
}

std::int32_t ScanHistory::AddDeletedThreat(std::string_view ScanID, std::int32_t ThreatID) {
    Trap(Module, "AddDeletedThreat", [&] {
        if (ScanID.empty() || ThreatID == 0) {
            return;
        }
        const std::string path = history::PathOf(history::Deleted.file);
        ResumeNext([&] { history::RemoveFile(path); });
        AddThreatRow(history::Deleted, ScanID, "DThreatID", ThreatID);
        Opened(history::Deleted).Save(path);
    });
    return 0;
}

}  // namespace kel
