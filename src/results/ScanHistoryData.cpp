// The eight history tables: what they look like, and how they come into being.
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Recordset.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "results/HistoryTables.h"
#include "results/modDataManager.h"

namespace kel::modDataManager {

namespace {

struct Column {
    std::string_view name;
    FieldType type;
    std::uint32_t size = 0;
};

constexpr Column ScanHistoryColumns[] = {
    {"ScanID", FieldType::VarChar, 30},
    {"StartDate", FieldType::Date},
    {"EndDate", FieldType::Date},
    {"AbortReason", FieldType::VarChar, 255},
    {"IsScheduledScan", FieldType::Boolean},
    {"ScannedProcessCount", FieldType::Integer},
    {"ScannedCookieCount", FieldType::Integer},
    {"ScannedFileCount", FieldType::Integer},
    {"ScannedRegistryCount", FieldType::Integer},
    {"DetectedProcessCount", FieldType::Integer},
    {"DetectedCookieCount", FieldType::Integer},
    {"DetectedFileCount", FieldType::Integer},
    {"DetectedRegistryCount", FieldType::Integer},
};

constexpr Column QThreatHistoryColumns[] = {
    {"ScanID", FieldType::VarChar, 30},
    {"StartDate", FieldType::Date},
    {"QThreatID", FieldType::Integer},
};

constexpr Column DThreatHistoryColumns[] = {
    {"ScanID", FieldType::VarChar, 30},
    {"StartDate", FieldType::Date},
    {"DThreatID", FieldType::Integer},
};

constexpr Column DetHistColumns[] = {
    {"ScanID", FieldType::VarChar, 30}, {"Action", FieldType::Integer},       {"DThreatID", FieldType::Integer},
    {"Name", FieldType::VarChar, 60},   {"Category", FieldType::VarChar, 50}, {"Level", FieldType::Integer},
    {"Desc", FieldType::VarChar, 255},
};

constexpr Column DetLocationColumns[] = {
    {"ScanID", FieldType::VarChar, 30},
    {"DThreatID", FieldType::Integer},
    {"FoundAt", FieldType::VarChar, 255},
};

struct Layout {
    const history::Table& table;
    std::span<const Column> columns;
};

constexpr Layout Scans = {history::Scans, ScanHistoryColumns};

constexpr Layout Others[] = {
    {history::Quarantined, QThreatHistoryColumns},
    {history::Deleted, DThreatHistoryColumns},
    {history::Detected, DetHistColumns},
    {history::DetectedFiles, DetLocationColumns},
    {history::DetectedFolders, DetLocationColumns},
    {history::DetectedCookies, DetLocationColumns},
    {history::DetectedRegistry, DetLocationColumns},
};

std::shared_ptr<Recordset>& PlaceOf(const Layout& layout) {
    return State().*layout.table.recordset;
}

void Define(Recordset& recordset, const Layout& layout) {
    for (const Column& column : layout.columns) {
        recordset.AppendField(column.name, column.type, column.size);
    }
    recordset.Open();
}

void AddTotalsRow(Recordset& recordset) {
    const Value today = ParseDate(ShortDateText(platform::Current().clock->Now()));
    recordset.AddNew();
    recordset.Set("ScanID", std::string(history::TotalsID));
    recordset.Set("StartDate", today);
    recordset.Set("EndDate", today);
    recordset.Set("AbortReason", std::string("None"));
    recordset.Set("IsScheduledScan", false);
    for (const Column& column : ScanHistoryColumns) {
        if (column.type == FieldType::Integer) {
            recordset.Set(column.name, std::int32_t{0});
        }
    }
    recordset.Update();
}

}  // namespace

bool InitializeScanHistoryData() {
    Trap("modDataManager", "InitializeScanHistoryData", [] {
        PlaceOf(Scans) = std::make_shared<Recordset>();
        for (const Layout& layout : Others) {
            PlaceOf(layout) = std::make_shared<Recordset>();
        }

        Recordset& scans = *PlaceOf(Scans);
        const std::string path = history::PathOf(Scans.table.file);
        if (!paths::FileExists(path)) {
            Define(scans, Scans);
            AddTotalsRow(scans);
            scans.Save(path);
            scans.Close();
        }
        scans.Open(path);

        for (const Layout& layout : Others) {
            Recordset& recordset = *PlaceOf(layout);
            const std::string place = history::PathOf(layout.table.file);
            if (paths::FileExists(place)) {
                recordset.Open(place);
            } else {
                Define(recordset, layout);
                recordset.Save(place);
            }
        }
    });
    return true;
}

}  // namespace kel::modDataManager
