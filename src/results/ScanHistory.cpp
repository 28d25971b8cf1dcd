// Reading the history, and removing from it. What is added to it is in ScanHistoryAdd.
#include "results/ScanHistory.h"

#include <chrono>
#include <cmath>

#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "results/HistoryAccess.h"
#include "results/modDataManager.h"

namespace kel {

namespace {

using history::Module;
using history::Opened;
using history::Restrict;
using history::SavedAnew;

constexpr std::string_view AllScans = "ScanID<>'Totals'";
// Written with blanks by those who only count.
constexpr std::string_view CountedScans = "ScanID <> 'Totals'";

// Only scans that ended later than this can be the last one: 2001-01-01.
constexpr Date LongAgo{36892};

// What Persist saves. One name has another case than everywhere else; it is the same file.
struct PersistedTable {
    const history::Table& table;
    std::string_view file;
};
constexpr PersistedTable PersistedTables[] = {
    {history::Detected, history::Detected.file},
    {history::DetectedFiles, history::DetectedFiles.file},
    {history::DetectedFolders, "KelDetfolderHist.sdb"},
    {history::DetectedCookies, history::DetectedCookies.file},
    {history::DetectedRegistry, history::DetectedRegistry.file},
    {history::Quarantined, history::Quarantined.file},
};

// A detail of a scan: the table, and the property that shows it.
struct DetailTable {
    const history::Table& table;
    std::shared_ptr<Recordset> ScanHistoryDetail::*shown;
};
constexpr DetailTable DetailTables[] = {
    {history::Detected, &ScanHistoryDetail::DetectedThreats},
    {history::Quarantined, &ScanHistoryDetail::QuarantinedThreats},
    {history::Deleted, &ScanHistoryDetail::DeletedThreats},
    {history::DetectedFiles, &ScanHistoryDetail::DetectedFiles},
    {history::Detected, &ScanHistoryDetail::DetThreatDetail},
    {history::DetectedRegistry, &ScanHistoryDetail::DetectedReg},
    {history::DetectedCookies, &ScanHistoryDetail::DetectedCookies},
};

constexpr const char* DetectedCountColumns[] = {"DetectedProcessCount", "DetectedCookieCount", "DetectedFileCount",
                                                "DetectedRegistryCount"};

// The later of two dates; a row without one is never the last.
bool EndsLater(const Value& end, const Value& last) {
    if (IsNull(end)) {
        return false;
    }
    return IsEmpty(last) || ToDate(end) > ToDate(last);
}

// From the current row on.
std::string LastEnded(Recordset& scans, Value last) {
    std::string id;
    for (; !scans.Eof(); scans.MoveNext()) {
        const Value end = scans.Get("EndDate");
        if (EndsLater(end, last)) {
            last = end;
            id = ToText(scans.Get("ScanID"));
        }
    }
    return id;
}

std::chrono::year_month_day DayOf(Date date) {
    using std::chrono::days;
    constexpr int dayOf1970 = 25569;
    // The fraction is the time, before 1899 too: it is cut off, not rounded down.
    return std::chrono::sys_days(days(static_cast<int>(std::trunc(date.days)) - dayOf1970));
}

bool IsAsked(std::int16_t asked, int part) {
    return asked <= 0 || asked == part;
}

void CopyColumns(const Recordset& from, Recordset& to) {
    for (std::size_t i = 0; i < from.FieldCount(); ++i) {
        const FieldDefinition& field = from.Field(i);
        to.AppendField(field.name, field.type, field.size);
    }
    to.Open();
}

void CopyRow(const Recordset& from, Recordset& to) {
    to.AddNew();
    for (std::size_t i = 0; i < from.FieldCount(); ++i) {
        if (const Value value = from.Get(i); !IsNull(value)) {
            to.Set(i, value);
        }
    }
    to.Update();
}

}  // namespace

void ScanHistory::Delete(std::string_view ScanID) {
    Trap(Module, "Delete", [&] {
        if (ScanID.empty()) {
            history::RemoveFile(history::PathOf(history::Scans.file));
            modDataManager::InitializeScanHistoryData();
            return;
        }
        Recordset& scans = Opened(history::Scans);
        Restrict(scans, history::OfScan(ScanID));
        if (!scans.Eof()) {
            scans.Delete();
        }
        scans.SetFilter({});
        scans.Save();
    });
}

void ScanHistory::Truncate() {
    Trap(Module, "Truncate", [&] {
        const std::string last = GetLastScanID();
        Recordset& scans = Opened(history::Scans);
        Restrict(scans, "ScanID<>'" + last + "'");
        for (; !scans.Eof(); scans.MoveNext()) {
            scans.Delete();
        }
        scans.SetFilter({});
        scans.Save();
    });
}

std::shared_ptr<ScanHistoryDetail> ScanHistory::GetScanHistoryDetail(std::string_view ScanID) {
    std::shared_ptr<ScanHistoryDetail> result;
    Trap(Module, "GetScanHistoryDetail", [&] {
        Recordset& scans = Opened(history::Scans);
        scans.SetFilter({});
        scans.MoveFirst();
        scans.SetFilter(history::OfScan(ScanID));
        if (scans.Eof()) {
            return;
        }
        const auto detail = std::make_shared<ScanHistoryDetail>();
        detail->ScanID = ToText(scans.Get("ScanID"));
        detail->StartDate = ToDate(scans.Get("StartDate"));
        detail->EndDate = ToDate(scans.Get("EndDate"));
        detail->AbortReason = ToText(scans.Get("AbortReason"));
        for (const history::Count& count : history::Counts) {
            (*detail).*count.ofDetail = ToLong(scans.Get(count.column));
        }
        for (const DetailTable& part : DetailTables) {
            Opened(part.table).SetFilter(history::OfScan(ScanID));
            (*detail).*part.shown = State().*part.table.recordset;
        }
        result = detail;
    });
    return result;
}

std::shared_ptr<Recordset> ScanHistory::GetScanHistoryDetails() {
    std::shared_ptr<Recordset> result;
    Trap(Module, "GetScanHistoryDetails", [&] {
        Restrict(Opened(history::Scans), AllScans);
        result = State().RsScanHistory;
    });
    return result;
}

std::shared_ptr<Recordset> ScanHistory::GetScanHistoryDetailsByDate(std::int16_t intYear, std::int16_t intMonth,
                                                                    std::int16_t intDay) {
    std::shared_ptr<Recordset> result;
    Trap(Module, "GetScanHistoryDetailsByDate", [&] {
        const std::shared_ptr<Recordset> all = GetScanHistoryDetails();
        Recordset& scans = Required(all);
        const auto found = std::make_shared<Recordset>();
        CopyColumns(scans, *found);
        for (; !scans.Eof(); scans.MoveNext()) {
            const Value start = scans.Get("StartDate");
            if (IsNull(start)) {
                continue;
            }
            const auto day = DayOf(ToDate(start));
            if (IsAsked(intYear, static_cast<int>(day.year())) &&
                IsAsked(intMonth, static_cast<int>(static_cast<unsigned>(day.month()))) &&
                IsAsked(intDay, static_cast<int>(static_cast<unsigned>(day.day())))) {
                CopyRow(scans, *found);
            }
        }
        if (found->RecordCount() > 0) {
            found->MoveFirst();
        }
        result = found;
    });
    return result;
}

std::string ScanHistory::GetScanIDByThreatID(std::int32_t ThreatID) {
    std::string id;
    Trap(Module, "GetScanIDByThreatID", [&] {
        Recordset& scans = Opened(history::Scans);
        Restrict(scans, "ThreatID=" + Text(ThreatID));
        if (!scans.Eof()) {
            id = ToText(scans.Get("QThreatID"));
        }
    });
    return id;
}

std::shared_ptr<ScanHistoryDetail> ScanHistory::GetLastScanHistoryDetail() {
    std::shared_ptr<ScanHistoryDetail> result;
    Trap(Module, "GetLastScanHistoryDetail", [&] {
        if (const std::string id = GetLastScanID(); !id.empty()) {
            result = GetScanHistoryDetail(id);
        }
        if (!result) {
            const std::shared_ptr<Recordset> all = GetScanHistoryDetails();
            result = GetScanHistoryDetail(LastEnded(Required(all), Empty{}));
        }
    });
    return result;
}

std::int32_t ScanHistory::Count() const {
    return 0;
}

std::string ScanHistory::GetLastScanDate() {
    std::string date;
    Trap(Module, "GetLastScanDate", [&] { date = DateText(Required(GetLastScanHistoryDetail()).StartDate); });
    return date;
}

std::int32_t ScanHistory::TotalScansRun() {
    std::int32_t count = 0;
    Trap(Module, "TotalScansRun", [&] {
        Recordset& scans = Opened(history::Scans);
        Restrict(scans, CountedScans);
        if (!scans.Eof()) {
            scans.MoveFirst();
            scans.MoveLast();
            count = scans.RecordCount();
        }
    });
    return count;
}

void ScanHistory::AddTotalScansRun() {
}

std::int32_t ScanHistory::TotalThreatsDetected() {
    std::int32_t total = 0;
    Trap(Module, "TotalThreatsDetected", [&] {
        Recordset& scans = Opened(history::Scans);
        Restrict(scans, CountedScans);
        if (scans.Eof()) {
            return;
        }
        std::int32_t sum = 0;
        for (; !scans.Eof(); scans.MoveNext()) {
            for (const char* column : DetectedCountColumns) {
                sum = history::Sum(sum, ToLong(scans.Get(column)));
            }
        }
        scans.MoveFirst();
        total = sum;
    });
    return total;
}

void ScanHistory::AddTotalThreatsDetected(std::int32_t /*Count*/) {
}

std::string ScanHistory::GetLastScanID() {
    std::string id;
    Trap(Module, "GetLastScanID", [&] {
        Recordset& scans = Opened(history::Scans);
        Restrict(scans, AllScans);
        id = LastEnded(scans, LongAgo);
        scans.SetFilter({});
    });
    return id;
}

void ScanHistory::Persist() {
    Trap(Module, "Persist", [&] {
        for (const history::Table* table : {&history::Detected, &history::DetectedFiles, &history::DetectedRegistry,
                                            &history::DetectedCookies, &history::Quarantined}) {
            Opened(*table).SetFilter({});
        }
        for (const PersistedTable& persisted : PersistedTables) {
            SavedAnew(persisted.table, persisted.file);
        }
    });
}

}  // namespace kel
