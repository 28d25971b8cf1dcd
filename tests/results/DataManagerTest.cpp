#include <gmock/gmock.h>

#include "catalogue/modMain.h"
#include "core/Recordset.h"
#include "results/modDataManager.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"

namespace kel::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class HistoryTables : public EngineTest {
protected:
    static constexpr const char* Files[] = {"kelScanHistory.sdb",   "KelQThreatHistory.sdb", "KelDThreatHistory.sdb",
                                            "KelDetHist.sdb",       "KelDetFileHist.sdb",    "KelDetFolderHist.sdb",
                                            "KelDetCookieHist.sdb", "KelDetRegHist.sdb"};
};

TEST_F(HistoryTables, TheFirstStartMakesAllEightFilesAndNoQuarantine) {
    EXPECT_TRUE(modDataManager::InitializeScanHistoryData());
    EXPECT_THAT(Reported(), IsEmpty());
    for (const char* file : Files) {
        EXPECT_TRUE(Exists(UserFolder() + file)) << file;
    }
    for (const char* file : {"KelQuarantined.sdb", "KelQCookies.sdb", "KelQFiles.sdb", "KelQFolders.sdb",
                             "KelQRegKeys.sdb", "KelQSpecials.sdb"}) {
        EXPECT_FALSE(Exists(UserFolder() + file)) << file;
    }
}

TEST_F(HistoryTables, ANewHistoryHasItsTotalsRow) {
    modDataManager::InitializeScanHistoryData();
    Recordset table;
    table.Open(UserFolder() + "kelScanHistory.sdb");
    ASSERT_EQ(table.RecordCount(), 1);
    EXPECT_EQ(ToText(table.Get("ScanID")), "Totals");
    EXPECT_EQ(ToText(table.Get("AbortReason")), "None");
    EXPECT_FALSE(ToBoolean(table.Get("IsScheduledScan")));
    const Date start = ToDate(table.Get("StartDate"));
    EXPECT_EQ(start, ToDate(table.Get("EndDate")));
    EXPECT_EQ(start.days, static_cast<double>(static_cast<std::int64_t>(start.days))) << "a date without a time";
    EXPECT_NEAR(start.days, platform::Current().clock->Now().days, 1.1);
    ASSERT_EQ(table.FieldCount(), 13U);
    for (std::size_t column = 5; column < 13; ++column) {
        EXPECT_EQ(ToLong(table.Get(column)), 0) << table.Field(column).name;
    }
}

TEST_F(HistoryTables, TheOtherTablesAreEmptyAndHaveTheirColumns) {
    modDataManager::InitializeScanHistoryData();
    EXPECT_EQ(State().RsDetHist->RecordCount(), 0);
    ASSERT_EQ(State().RsDetHist->FieldCount(), 7U);
    EXPECT_EQ(State().RsDetHist->Field(3).name, "Name");
    EXPECT_EQ(State().RsDetHist->Field(3).size, 60U);
    EXPECT_EQ(State().RsDetHist->Field(4).size, 50U);
    EXPECT_EQ(State().RsQThreatHistory->Field(2).name, "QThreatID");
    EXPECT_EQ(State().RsDThreatHistory->Field(2).name, "DThreatID");
    for (const auto& table :
         {State().RsDetFileHist, State().RsDetFolderHist, State().RsDetCookieHist, State().RsDetRegHist}) {
        ASSERT_EQ(table->FieldCount(), 3U);
        EXPECT_EQ(table->Field(2).name, "FoundAt");
        EXPECT_EQ(table->Field(2).size, 255U);
    }
}

TEST_F(HistoryTables, AnExistingHistoryIsOpenedAsItIs) {
    modDataManager::InitializeScanHistoryData();
    State().RsDThreatHistory->AddNew();
    State().RsDThreatHistory->Set("ScanID", std::string("A"));
    State().RsDThreatHistory->Update();
    platform::Current().files->Remove(UserFolder() + "KelDThreatHistory.sdb");
    State().RsDThreatHistory->Save(UserFolder() + "KelDThreatHistory.sdb");
    modDataManager::InitializeScanHistoryData();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(State().RsDThreatHistory->RecordCount(), 1);
    EXPECT_EQ(State().RsScanHistory->RecordCount(), 1);
}

TEST_F(HistoryTables, AReloadThrowsAwayWhatWasNotSaved) {
    modDataManager::InitializeScanHistoryData();
    State().RsQThreatHistory->AddNew();
    State().RsQThreatHistory->Set("ScanID", std::string("A"));
    State().RsQThreatHistory->Update();
    modDataManager::InitializeScanHistoryData();
    EXPECT_EQ(State().RsQThreatHistory->RecordCount(), 0);
}

TEST_F(HistoryTables, AnUnreadableTableIsReportedAndThoseBehindItStayClosed) {
    WriteFile(UserFolder() + "KelDetHist.sdb", "no table");
    EXPECT_TRUE(modDataManager::InitializeScanHistoryData());
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modDataManager");
    EXPECT_EQ(Reported()[0].procedure, "InitializeScanHistoryData");
    EXPECT_TRUE(State().RsDThreatHistory->IsOpen());
    EXPECT_FALSE(State().RsDetHist->IsOpen());
    EXPECT_FALSE(State().RsDetRegHist->IsOpen());
    EXPECT_FALSE(Exists(UserFolder() + "KelDetRegHist.sdb"));
}

TEST_F(HistoryTables, TheyCountAsLoadedOnceTheHistoryHasRows) {
    EXPECT_FALSE(modDataManager::IsInitializedScanHistoryData());
    modDataManager::InitializeScanHistoryData();
    EXPECT_TRUE(modDataManager::IsInitializedScanHistoryData());
    State().RsScanHistory->SetFilter("ScanID<>'Totals'");
    EXPECT_FALSE(modDataManager::IsInitializedScanHistoryData());
}

TEST_F(HistoryTables, TheQuarantineCountsAsLoadedOnceItsIndexHasRows) {
    EXPECT_FALSE(modDataManager::IsInitializedQuarantineData());
    State().RsQuarantined = std::make_shared<Recordset>();
    State().RsQuarantined->AppendField("QThreatID", FieldType::VarChar, 30);
    State().RsQuarantined->Open();
    EXPECT_FALSE(modDataManager::IsInitializedQuarantineData());
    State().RsQuarantined->AddNew();
    State().RsQuarantined->Update();
    EXPECT_TRUE(modDataManager::IsInitializedQuarantineData());
    modDataManager::PersistQuarantineData();
    EXPECT_EQ(State().RsQuarantined->RecordCount(), 1);
    EXPECT_FALSE(Exists(UserFolder() + "KelQuarantined.sdb"));
}

TEST_F(HistoryTables, ShippedDataCountAsNotLoadedOnceTheLoadHasEnded) {
    ShippedTables tables;
    tables.cookies = {{1, "tracker.example"}};
    tables.WriteTo(AppFolder());
    modMain::InitializeThreatData();
    modMain::InitializeScanData();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_FALSE(modDataManager::IsInitializedScanData());
    EXPECT_FALSE(modDataManager::IsInitializedThreatData());
}

}  // namespace
}  // namespace kel::test
