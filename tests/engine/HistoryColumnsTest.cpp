// The columns of the user's history tables: other programs read these files too.
#include <gmock/gmock.h>

#include "core/Recordset.h"
#include "core/Text.h"
#include "results/modDataManager.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

using ::testing::IsEmpty;

constexpr const char* Locations = "ScanID 200 30, DThreatID 3, FoundAt 200 255";

struct Layout {
    const char* file;
    const char* columns;  ///< name, number of the type, length of a text
};

constexpr Layout Layouts[] = {
    {"kelScanHistory.sdb",
     "ScanID 200 30, StartDate 7, EndDate 7, AbortReason 200 255, IsScheduledScan 11, ScannedProcessCount 3, "
     "ScannedCookieCount 3, ScannedFileCount 3, ScannedRegistryCount 3, DetectedProcessCount 3, DetectedCookieCount 3, "
     "DetectedFileCount 3, DetectedRegistryCount 3"},
    {"KelQThreatHistory.sdb", "ScanID 200 30, StartDate 7, QThreatID 3"},
    {"KelDThreatHistory.sdb", "ScanID 200 30, StartDate 7, DThreatID 3"},
    {"KelDetHist.sdb", "ScanID 200 30, Action 3, DThreatID 3, Name 200 60, Category 200 50, Level 3, Desc 200 255"},
    {"KelDetFileHist.sdb", Locations},
    {"KelDetFolderHist.sdb", Locations},
    {"KelDetCookieHist.sdb", Locations},
    {"KelDetRegHist.sdb", Locations},
};

std::string ColumnsOf(const Recordset& table) {
    std::string columns;
    for (std::size_t i = 0; i < table.FieldCount(); ++i) {
        const FieldDefinition& field = table.Field(i);
        columns += (i == 0 ? "" : ", ") + field.name + " " + Text(static_cast<std::int64_t>(field.type));
        if (field.type == FieldType::VarChar) {
            columns += " " + Text(field.size);
        }
    }
    return columns;
}

class HistoryColumns : public EngineTest {};

TEST_F(HistoryColumns, EachFileHasItsColumnsTypesAndLengths) {
    EXPECT_TRUE(modDataManager::InitializeScanHistoryData());
    EXPECT_THAT(Reported(), IsEmpty());
    for (const Layout& layout : Layouts) {
        Recordset table;
        table.Open(UserFolder() + layout.file);
        EXPECT_EQ(ColumnsOf(table), layout.columns) << layout.file;
    }
}

TEST_F(HistoryColumns, ANewTableSavesAgainWithoutAPath) {
    modDataManager::InitializeScanHistoryData();
    const std::string path = UserFolder() + "KelDThreatHistory.sdb";
    State().RsDThreatHistory->AddNew();
    State().RsDThreatHistory->Set("DThreatID", 7);
    State().RsDThreatHistory->Update();
    Machine().files->Remove(path);
    State().RsDThreatHistory->Save();
    Recordset table;
    table.Open(path);
    EXPECT_EQ(table.Get("DThreatID"), Value(7));
}

}  // namespace
}  // namespace kel::test
