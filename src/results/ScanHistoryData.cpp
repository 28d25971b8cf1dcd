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

struct Table {
    std::string_view file;
    std::shared_ptr<Recordset> EngineState::*recordset;
    std::span<const Column> columns;
};

constexpr Table ScanHistory = {"kelScanHistory.sdb", &EngineState::RsScanHistory, ScanHistoryColumns};

constexpr Table OtherTables[] = {
    {"KelQThreatHistory.sdb", &EngineState::RsQThreatHistory, QThreatHistoryColumns},
    {"KelDThreatHistory.sdb", &EngineState::RsDThreatHistory, DThreatHistoryColumns},
    {"KelDetHist.sdb", &EngineState::RsDetHist, DetHistColumns},
    {"KelDetFileHist.sdb", &EngineState::RsDetFileHist, DetLocationColumns},
    {"KelDetFolderHist.sdb", &EngineState::RsDetFolderHist, DetLocationColumns},
    {"KelDetCookieHist.sdb", &EngineState::RsDetCookieHist, DetLocationColumns},
    {"KelDetRegHist.sdb", &EngineState::RsDetRegHist, DetLocationColumns},
};

std::string PathOf(const Table& table) {
    return State().UserDataFolder + "\\" + std::string(table.file);
}

void Define(Recordset& recordset, const Table& table) {
    for (const Column& column : table.columns) {
        recordset.AppendField(column.name, column.type, column.size);
    }
    recordset.Open();
}

void AddTotalsRow(Recordset& recordset) {
    const Value today = ParseDate(ShortDateText(platform::Current().clock->Now()));
    recordset.AddNew();
    recordset.Set("ScanID", std::string("Totals"));
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
        State().*ScanHistory.recordset = std::make_shared<Recordset>();
        for (const Table& table : OtherTables) {
            State().*table.recordset = std::make_shared<Recordset>();
        }

        Recordset& history = *(State().*ScanHistory.recordset);
        const std::string path = PathOf(ScanHistory);
        if (!paths::FileExists(path)) {
            Define(history, ScanHistory);
            AddTotalsRow(history);
            history.Save(path);
            history.Close();
        }
        history.Open(path);

        for (const Table& table : OtherTables) {
            Recordset& recordset = *(State().*table.recordset);
            const std::string place = PathOf(table);
            if (paths::FileExists(place)) {
                recordset.Open(place);
            } else {
                Define(recordset, table);
                recordset.Save(place);
            }
        }
    });
    return true;
}

}  // namespace kel::modDataManager
