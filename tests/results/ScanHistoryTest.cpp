#include "results/ScanHistory.h"

#include <gmock/gmock.h>

#include "catalogue/ThreatLite.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingSystem.h"
#include "results/modDataManager.h"
#include "support/ScanTest.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::string_literals;

// The order of a scan's counts.
constexpr const char* Counts[] = {"ScannedProcessCount",  "ScannedCookieCount",   "ScannedFileCount",
                                  "ScannedRegistryCount", "DetectedProcessCount", "DetectedCookieCount",
                                  "DetectedFileCount",    "DetectedRegistryCount"};

// Everything at one moment: 2005-03-14, 9:30.
class StoppedClock : public decorators::ForwardingClock {
public:
    using ForwardingClock::ForwardingClock;
    Date Now() override { return Date{38425.395833333336}; }
};
constexpr Date Today{38425};

class History : public ScanTest {
protected:
    History() : clock_(*Machine().clock) {
        platform::Platform machine = Machine();
        machine.clock = &clock_;
        Install(machine);
        modDataManager::InitializeScanHistoryData();
    }
    ~History() override { Install(Machine()); }

    /// A scan with the counts `first`, `first` + 1 and so on.
    static std::shared_ptr<Scan> MakeScan(const std::string& id, std::int32_t first = 1, Date end = Date{38426}) {
        auto scan = std::make_shared<Scan>();
        scan->ScanID = id;
        scan->StartDate = Date{end.days - 0.5};
        scan->EndDate = end;
        scan->ScannedProcessCount = first;
        scan->ScannedCookieCount = first + 1;
        scan->ScannedFileCount = first + 2;
        scan->ScannedRegistryCount = first + 3;
        scan->DetectedProcessCount = first + 4;
        scan->DetectedCookieCount = first + 5;
        scan->DetectedFileCount = first + 6;
        scan->DetectedRegistryCount = first + 7;
        return scan;
    }
    static DetectedThreat& Detect(Scan& scan, std::int32_t id) {
        const auto threat = std::make_shared<DetectedThreat>();
        threat->ThreatID = id;
        threat->Threat = std::make_shared<ThreatLite>();
        threat->Threat->ThreatName = "Threat " + std::to_string(id);
        threat->Threat->Category = "adware";
        threat->Threat->ThreatLevel = 2;
        threat->Threat->DescriptionShort = "described";
        scan.DetectedThreats()->Add(threat, "ThreatID:" + std::to_string(id));
        return *threat;
    }

    /// The table as it lies on the disk.
    std::shared_ptr<Recordset> Saved(const std::string& file) {
        auto table = std::make_shared<Recordset>();
        table->Open(UserFolder() + file);
        return table;
    }
    /// Whole rows, values joined by "|", under the filter in force.
    static std::vector<std::string> Rows(Recordset& table) {
        std::vector<std::string> rows;
        if (table.RecordCount() == 0) {
            return rows;
        }
        for (table.MoveFirst(); !table.Eof(); table.MoveNext()) {
            std::string row;
            for (std::size_t i = 0; i < table.FieldCount(); ++i) {
                const Value value = table.Get(i);
                const auto* date = std::get_if<Date>(&value);
                row += (i == 0 ? "" : "|") + (IsNull(value)     ? "null"
                                              : date != nullptr ? "day " + std::to_string(static_cast<int>(date->days))
                                                                : ToText(value));
            }
            rows.push_back(row);
        }
        return rows;
    }
    std::vector<std::string> SavedRows(const std::string& file) { return Rows(*Saved(file)); }
    /// The eight counts of a row of the saved history; empty when there is no such row.
    std::vector<std::int32_t> SavedCounts(const std::string& id) {
        std::vector<std::int32_t> counts;
        const auto table = Saved("kelScanHistory.sdb");
        table->SetFilter("ScanID='" + id + "'");
        if (!table->Eof()) {
            for (const char* column : Counts) {
                counts.push_back(ToLong(table->Get(column)));
            }
            table->MoveNext();
            EXPECT_TRUE(table->Eof()) << "two rows of " << id;
        }
        return counts;
    }
    static std::vector<std::string> IDs(Recordset& table) {
        std::vector<std::string> ids;
        for (const std::string& row : Rows(table)) {
            ids.push_back(row.substr(0, row.find('|')));
        }
        return ids;
    }
    std::vector<std::string> SavedIDs() { return IDs(*Saved("kelScanHistory.sdb")); }
    void ExpectReport(const std::string& procedure, const std::string& number) {
        ASSERT_THAT(Reported(), SizeIs(1));
        EXPECT_EQ(Reported()[0].module, "ScanHistory");
        EXPECT_EQ(Reported()[0].procedure, procedure);
        EXPECT_EQ(Reported()[0].number, number);
    }

    ScanHistory history;

private:
    StoppedClock clock_;
};

TEST_F(History, AddingAScanMakesItsRowAndAddsToTheTotals) {
    const auto scan = MakeScan("A");
    scan->AbortReason = "enough";
    scan->IsScheduledScan = true;
    EXPECT_EQ(history.Add(scan), 0);
    EXPECT_EQ(history.Add(MakeScan("B", 10)), 0);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedRows("kelScanHistory.sdb"),
                ElementsAre("Totals|day 38425|day 38425|None|False|11|13|15|17|19|21|23|25",
                            "A|day 38425|day 38426|enough|True|1|2|3|4|5|6|7|8",
                            "B|day 38425|day 38426||False|10|11|12|13|14|15|16|17"));
}

TEST_F(History, AScanAddedTwiceCountsTwiceInTheTotalsAndStaysOneRow) {
    const auto scan = MakeScan("A");
    Detect(*scan, 7);
    history.Add(scan);
    scan->ScannedFileCount = 100;
    history.Add(scan);
    EXPECT_THAT(SavedCounts("Totals"), ElementsAre(2, 4, 103, 8, 10, 12, 14, 16));
    EXPECT_THAT(SavedCounts("A"), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(SavedIDs(), ElementsAre("Totals", "A"));
    EXPECT_THAT(SavedRows("KelDetHist.sdb"), SizeIs(2)) << "its detections are there twice";
}

TEST_F(History, AScanWithoutAnIdentifierIsPassedOver) {
    history.Add(MakeScan(""));
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedIDs(), ElementsAre("Totals"));
    EXPECT_THAT(SavedCounts("Totals"), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(History, FailuresOfAddingAreReportedUnderTheNameOfAColumn) {
    EXPECT_EQ(history.Add(nullptr), 0);
    ExpectReport("FoundAt", "91");
}

TEST_F(History, DetectionsAreKeptWithTheirLocationsButForFolders) {
    const auto scan = MakeScan("A");
    DetectedThreat& threat = Detect(*scan, 7);
    threat.DetectedThreatAction = DetectedThreatActionQuarantined;
    threat.ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>("C:\\one.exe"));
    threat.ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>("C:\\two.exe"));
    threat.ThreatLocationFolders->Add(std::make_shared<ThreatLocationFolder>("C:\\folder"));
    const auto key =
        std::make_shared<ThreatLocationRegKey>(platform::HiveLocalMachine, "Software\\Run", "name", "some data");
    threat.ThreatLocationRegKeys->Add(key);
    const auto bare = std::make_shared<ThreatLocationRegKey>(5, "key");
    threat.ThreatLocationRegKeys->Add(bare);
    const auto cookie = std::make_shared<ThreatLocationCookie>();
    cookie->Cookie = "tracker.example";
    cookie->DetectedFilePath = "C:\\cookie.txt";
    threat.ThreatLocationCookies->Add(cookie);
    Detect(*scan, 8);
    history.Add(scan);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedRows("KelDetHist.sdb"),
                ElementsAre("A|1|7|Threat 7|adware|2|described", "A|0|8|Threat 8|adware|2|described"));
    EXPECT_THAT(SavedRows("KelDetFileHist.sdb"), ElementsAre("A|7|C:\\one.exe", "A|7|C:\\two.exe"));
    EXPECT_THAT(SavedRows("KelDetRegHist.sdb"),
                ElementsAre("A|7|HKEY_LOCAL_MACHINE\\Software\\Run name some data", "A|7|\\key  "));
    EXPECT_THAT(SavedRows("KelDetCookieHist.sdb"), ElementsAre("A|7|C:\\cookie.txt"));
    EXPECT_THAT(SavedRows("KelDetFolderHist.sdb"), IsEmpty());
}

TEST_F(History, LongDescriptionsAndLocationsAreCutAt255) {
    const auto scan = MakeScan("A");
    DetectedThreat& threat = Detect(*scan, 7);
    threat.Threat->DescriptionShort = std::string(300, 'd');
    threat.ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>("C:\\" + std::string(300, 'f')));
    const auto key = std::make_shared<ThreatLocationRegKey>(platform::HiveUsers, std::string(300, 'k'));
    threat.ThreatLocationRegKeys->Add(key);
    const auto cookie = std::make_shared<ThreatLocationCookie>();
    cookie->DetectedFilePath = std::string(256, 'c');
    threat.ThreatLocationCookies->Add(cookie);
    history.Add(scan);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(ToText(Saved("KelDetHist.sdb")->Get("Desc")), std::string(255, 'd'));
    EXPECT_EQ(ToText(Saved("KelDetFileHist.sdb")->Get("FoundAt")), "C:\\" + std::string(252, 'f'));
    EXPECT_EQ(ToText(Saved("KelDetRegHist.sdb")->Get("FoundAt")), "HKEY_USERS\\" + std::string(244, 'k'));
    EXPECT_EQ(ToText(Saved("KelDetCookieHist.sdb")->Get("FoundAt")), std::string(255, 'c'));
}

TEST_F(History, ACutFallsBetweenCharacters) {
    const auto scan = MakeScan("A");
    // 254 characters, one beyond ASCII as the machine writes it, and more.
    const std::string accented = platform::Current().text->FromUtf8("\xC3\xA9");
    Detect(*scan, 7).Threat->DescriptionShort = std::string(254, 'd') + accented + "more";
    history.Add(scan);
    EXPECT_EQ(ToText(Saved("KelDetHist.sdb")->Get("Desc")), std::string(254, 'd') + accented);
}

TEST_F(History, ANameThatIsTooLongIsNotCutAndLosesTheDetectionsOfItsScan) {
    const auto scan = MakeScan("A");
    Detect(*scan, 7).Threat->ThreatName = std::string(60, 'n');
    Detect(*scan, 8).Threat->ThreatName = std::string(61, 'n');
    Detect(*scan, 9);
    EXPECT_EQ(history.Add(scan), 0);
    ExpectReport("FoundAt", "3001");
    EXPECT_THAT(SavedIDs(), ElementsAre("Totals", "A"));
    EXPECT_THAT(SavedRows("KelDetHist.sdb"), IsEmpty());
    history.Add(MakeScan("B"));
    EXPECT_THAT(Reported(), SizeIs(1));
    EXPECT_THAT(SavedRows("KelDetHist.sdb"),
                ElementsAre("A|0|7|" + std::string(60, 'n') + "|adware|2|described", "A|0|8|null|null|null|null"));
}

TEST_F(History, AddingSeesThroughTheFiltersThatClientsLeft) {
    history.Add(MakeScan("A"));
    ASSERT_NE(history.GetScanHistoryDetail("A"), nullptr);
    const auto scan = MakeScan("B");
    Detect(*scan, 7);
    history.Add(scan);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(State().RsDetHist->Filter(), "");
    EXPECT_EQ(State().RsScanHistory->Filter(), "");
    EXPECT_THAT(SavedIDs(), ElementsAre("Totals", "A", "B"));
}

TEST_F(History, AFullDiskIsReportedAndTheRowsStayInMemory) {
    decorators::FaultInjectingPlatform faults(Machine());
    faults.FailWritesFrom(1, platform::SysError::DiskFull);
    Install(faults.View());
    history.Add(MakeScan("A"));
    Install(Machine());
    ASSERT_FALSE(Reported().empty());
    EXPECT_EQ(Reported()[0].module, "ScanHistory");
    EXPECT_EQ(Reported()[0].procedure, "FoundAt");
    EXPECT_EQ(history.TotalScansRun(), 1);
}

TEST_F(History, TheFirstAddAfterTruncatingBeginsTheTotalsAnew) {
    history.Add(MakeScan("A", 10));
    history.Add(MakeScan("B", 20, Date{38430}));
    history.Truncate();
    EXPECT_THAT(SavedIDs(), ElementsAre("B"));
    history.Add(MakeScan("C", 1));
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedIDs(), ElementsAre("B", "Totals", "C"));
    EXPECT_THAT(SavedCounts("Totals"), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(SavedRows("kelScanHistory.sdb")[1], ::testing::StartsWith("Totals|null|null|null|null|"));
    history.Add(MakeScan("D", 1));
    EXPECT_THAT(SavedCounts("Totals"), ElementsAre(2, 4, 6, 8, 10, 12, 14, 16));
}

TEST_F(History, TruncatingKeepsTheLastScanAloneAndTheDetails) {
    const auto scan = MakeScan("A", 1, Date{38430});
    Detect(*scan, 7);
    history.Add(scan);
    history.Add(MakeScan("B"));
    history.Truncate();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedIDs(), ElementsAre("A"));
    EXPECT_EQ(State().RsScanHistory->Filter(), "");
    EXPECT_THAT(SavedRows("KelDetHist.sdb"), SizeIs(1));
}

TEST_F(History, TruncatingWithoutAScanTakesTheTotalsTheMore) {
    history.Truncate();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedIDs(), IsEmpty());
}

TEST_F(History, DeletingAScanTakesItsRowAlone) {
    const auto scan = MakeScan("A");
    Detect(*scan, 7);
    history.Add(scan);
    history.Add(MakeScan("B"));
    history.Delete("A");
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedIDs(), ElementsAre("Totals", "B"));
    EXPECT_THAT(SavedCounts("Totals"), ElementsAre(2, 4, 6, 8, 10, 12, 14, 16));
    EXPECT_THAT(SavedRows("KelDetHist.sdb"), SizeIs(1));
    EXPECT_EQ(history.GetScanHistoryDetail("A"), nullptr);
}

TEST_F(History, DeletingAnUnknownScanChangesNothingAndSaves) {
    history.Add(MakeScan("A"));
    const std::string before = ReadFile(UserFolder() + "kelScanHistory.sdb");
    Machine().files->Remove(UserFolder() + "kelScanHistory.sdb");
    history.Delete("none");
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(ReadFile(UserFolder() + "kelScanHistory.sdb"), before);
    history.Delete("none");
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(ReadFile(UserFolder() + "kelScanHistory.sdb"), before);
}

TEST_F(History, DeletingAllBeginsANewHistoryAndKeepsTheDetails) {
    const auto scan = MakeScan("A");
    Detect(*scan, 7);
    history.Add(scan);
    history.AddQuarantinedThreat("A", 7);
    const auto before = State().RsScanHistory;
    history.Delete();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_NE(State().RsScanHistory, before);
    EXPECT_THAT(SavedRows("kelScanHistory.sdb"), ElementsAre("Totals|day 38425|day 38425|None|False|0|0|0|0|0|0|0|0"));
    EXPECT_EQ(State().RsDetHist->RecordCount(), 1);
    EXPECT_EQ(State().RsQThreatHistory->RecordCount(), 0) << "it was not saved";
}

TEST_F(History, DeletingAllWithoutAFileBeginsANewHistoryToo) {
    Machine().files->Remove(UserFolder() + "kelScanHistory.sdb");
    history.Delete();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedIDs(), ElementsAre("Totals"));
}

TEST_F(History, AQuarantinedThreatWaitsInMemoryUntilItIsPersisted) {
    history.Add(MakeScan("A"));
    EXPECT_EQ(history.AddQuarantinedThreat("A", 7), 0);
    EXPECT_EQ(ToDate(State().RsQThreatHistory->Get("StartDate")), Today);
    EXPECT_THAT(Rows(*State().RsQThreatHistory), ElementsAre("A|day 38425|7"));
    EXPECT_THAT(SavedRows("KelQThreatHistory.sdb"), IsEmpty());
    history.Persist();
    EXPECT_THAT(SavedRows("KelQThreatHistory.sdb"), ElementsAre("A|day 38425|7"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(History, AQuarantinedThreatOfAnUnknownScanIsPassedOver) {
    history.AddQuarantinedThreat("A", 7);
    history.AddQuarantinedThreat("", 7);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(State().RsQThreatHistory->RecordCount(), 0);
}

TEST_F(History, ADeletedThreatIsSavedAtOnceWhateverTheScan) {
    EXPECT_EQ(history.AddDeletedThreat("none", 7), 0);
    history.AddDeletedThreat("none", 8);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedRows("KelDThreatHistory.sdb"), ElementsAre("none|day 38425|7", "none|day 38425|8"));
}

TEST_F(History, ADeletedThreatWithoutANumberOrAScanIsPassedOver) {
    history.AddDeletedThreat("", 7);
    history.AddDeletedThreat("A", 0);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(SavedRows("KelDThreatHistory.sdb"), IsEmpty());
}

TEST_F(History, PersistingGoesOnWhenFilesAreMissingAndLeavesTheOthersAlone) {
    for (const char* file : {"kelScanHistory.sdb", "KelDThreatHistory.sdb", "KelDetHist.sdb", "KelDetFolderHist.sdb"}) {
        Machine().files->Remove(UserFolder() + file);
    }
    State().RsDetHist->SetFilter("ScanID='x'");
    history.Persist();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(State().RsDetHist->Filter(), "");
    EXPECT_TRUE(Exists(UserFolder() + "KelDetHist.sdb"));
    EXPECT_TRUE(Exists(UserFolder() + "KelDetFolderHist.sdb"));
    EXPECT_FALSE(Exists(UserFolder() + "kelScanHistory.sdb"));
    EXPECT_FALSE(Exists(UserFolder() + "KelDThreatHistory.sdb"));
    modDataManager::InitializeScanHistoryData();
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(History, OneTableIsPersistedUnderANameOfOtherCase) {
    history.Persist();
    platform::FindData entry;
    ASSERT_TRUE(Machine().files->FindFirst(UserFolder() + "KelDetFolderHist.sdb", entry).Ok());
    EXPECT_EQ(entry.name, "KelDetfolderHist.sdb");
}

TEST_F(History, TheDetailOfAScanHasAllButWhetherItWasScheduled) {
    const auto scan = MakeScan("A");
    scan->AbortReason = "enough";
    scan->IsScheduledScan = true;
    history.Add(scan);
    const auto detail = history.GetScanHistoryDetail("A");
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->ScanID, "A");
    EXPECT_EQ(detail->StartDate, scan->StartDate);
    EXPECT_EQ(detail->EndDate, scan->EndDate);
    EXPECT_EQ(detail->AbortReason, "enough");
    EXPECT_FALSE(detail->IsScheduledScan);
    EXPECT_THAT((std::vector{detail->ScannedProcessCount, detail->ScannedCookieCount, detail->ScannedFileCount,
                             detail->ScannedRegistryCount, detail->DetectedProcessCount, detail->DetectedCookieCount,
                             detail->DetectedFileCount, detail->DetectedRegistryCount}),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(detail->GetTotalDetectedLocationsCount(), 26);
    EXPECT_EQ(detail->TotalScanTime(), "12 hrs ");
}

TEST_F(History, TheDetailShowsTheSharedTablesUnderTheScansFilter) {
    for (const char* id : {"A", "B"}) {
        const auto scan = MakeScan(id);
        DetectedThreat& threat = Detect(*scan, 7);
        threat.ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>("C:\\"s + id));
        history.Add(scan);
        history.AddQuarantinedThreat(id, 7);
        history.AddDeletedThreat(id, 7);
    }
    const auto a = history.GetScanHistoryDetail("A");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->DetectedThreats, State().RsDetHist);
    EXPECT_EQ(a->DetThreatDetail, State().RsDetHist);
    EXPECT_EQ(a->QuarantinedThreats, State().RsQThreatHistory);
    EXPECT_EQ(a->DeletedThreats, State().RsDThreatHistory);
    EXPECT_EQ(a->DetectedFiles, State().RsDetFileHist);
    EXPECT_EQ(a->DetectedReg, State().RsDetRegHist);
    EXPECT_EQ(a->DetectedCookies, State().RsDetCookieHist);
    EXPECT_THAT(Rows(*a->DetectedFiles), ElementsAre("A|7|C:\\A"));
    EXPECT_THAT(IDs(*a->QuarantinedThreats), ElementsAre("A"));
    EXPECT_THAT(IDs(*a->DeletedThreats), ElementsAre("A"));
    const auto b = history.GetScanHistoryDetail("B");
    EXPECT_THAT(Rows(*a->DetectedFiles), ElementsAre("B|7|C:\\B")) << "a later look moves the filter";
}

TEST_F(History, AnUnknownScanHasNoDetail) {
    EXPECT_EQ(history.GetScanHistoryDetail("none"), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(History, DetailsOfAllScansAreTheTableItselfWithoutTheTotals) {
    history.Add(MakeScan("A"));
    history.Add(MakeScan("B"));
    const auto all = history.GetScanHistoryDetails();
    EXPECT_EQ(all, State().RsScanHistory);
    EXPECT_EQ(all->Filter(), "ScanID<>'Totals'");
    EXPECT_THAT(IDs(*all), ElementsAre("A", "B"));
}

TEST_F(History, ScansAreFoundByThePartsOfTheDayTheyBegan) {
    // They begin half a day before they end: on 2005-03-14, 2005-03-31, 2006-03-14 and 2005-04-14.
    history.Add(MakeScan("A", 1, Date{38425.9}));
    history.Add(MakeScan("B", 1, Date{38442.9}));
    history.Add(MakeScan("C", 1, Date{38790.9}));
    history.Add(MakeScan("D", 1, Date{38456.9}));
    EXPECT_THAT(IDs(*history.GetScanHistoryDetailsByDate()), ElementsAre("A", "B", "C", "D"));
    EXPECT_THAT(IDs(*history.GetScanHistoryDetailsByDate(2005)), ElementsAre("A", "B", "D"));
    EXPECT_THAT(IDs(*history.GetScanHistoryDetailsByDate(2005, 3)), ElementsAre("A", "B"));
    EXPECT_THAT(IDs(*history.GetScanHistoryDetailsByDate(2005, 3, 31)), ElementsAre("B"));
    EXPECT_THAT(IDs(*history.GetScanHistoryDetailsByDate(0, 0, 14)), ElementsAre("A", "C", "D"));
    EXPECT_THAT(IDs(*history.GetScanHistoryDetailsByDate(-1, 4, -1)), ElementsAre("D"));
    EXPECT_THAT(IDs(*history.GetScanHistoryDetailsByDate(2007)), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(History, ScansByDateAreATableOfTheirOwnAtItsFirstRow) {
    history.Add(MakeScan("A"));
    const auto scans = history.GetScanHistoryDetailsByDate(2005);
    ASSERT_NE(scans, State().RsScanHistory);
    ASSERT_EQ(scans->FieldCount(), 13U);
    ASSERT_FALSE(scans->Eof());
    EXPECT_EQ(ToText(scans->Get("ScanID")), "A");
    EXPECT_EQ(ToLong(scans->Get("DetectedRegistryCount")), 8);
    EXPECT_TRUE(history.GetScanHistoryDetailsByDate(1999)->Eof());
}

TEST_F(History, AskingForTheScanOfAThreatFailsEachTime) {
    history.Add(MakeScan("A"));
    EXPECT_EQ(history.GetScanIDByThreatID(7), "");
    ExpectReport("GetScanIDByThreatID", "3265");
    EXPECT_THAT(ErrorLog(), SizeIs(1));
    EXPECT_EQ(history.GetScanIDByThreatID(7), "");
    EXPECT_THAT(ErrorLog(), SizeIs(2));
}

TEST_F(History, TheLastScanIsTheOneThatEndedLast) {
    history.Add(MakeScan("A", 1, Date{38426}));
    history.Add(MakeScan("B", 1, Date{38430}));
    history.Add(MakeScan("C", 1, Date{38430}));
    history.Add(MakeScan("D", 1, Date{38427}));
    EXPECT_EQ(history.GetLastScanID(), "B") << "the first of equals";
    EXPECT_EQ(State().RsScanHistory->Filter(), "");
    ASSERT_NE(history.GetLastScanHistoryDetail(), nullptr);
    EXPECT_EQ(history.GetLastScanHistoryDetail()->ScanID, "B");
    EXPECT_EQ(history.GetLastScanDate(), DateText(Date{38429.5}));
}

TEST_F(History, ScansThatEndedBefore2001AreTheLastOnlyWhenThereIsNoOther) {
    history.Add(MakeScan("A", 1, Date{36000}));
    history.Add(MakeScan("B", 1, Date{36892}));
    EXPECT_EQ(history.GetLastScanID(), "");
    ASSERT_NE(history.GetLastScanHistoryDetail(), nullptr);
    EXPECT_EQ(history.GetLastScanHistoryDetail()->ScanID, "B");
    history.Add(MakeScan("C", 1, Date{36892.5}));
    EXPECT_EQ(history.GetLastScanID(), "C");
}

TEST_F(History, WithoutAScanThereIsNoLastOne) {
    EXPECT_EQ(history.GetLastScanID(), "");
    EXPECT_EQ(history.GetLastScanHistoryDetail(), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(history.GetLastScanDate(), "");
    ExpectReport("GetLastScanDate", "91");
}

TEST_F(History, ScansAndTheirDetectionsAreCounted) {
    EXPECT_EQ(history.TotalScansRun(), 0);
    EXPECT_EQ(history.TotalThreatsDetected(), 0);
    history.Add(MakeScan("A"));
    history.Add(MakeScan("B", 11));
    EXPECT_EQ(history.TotalScansRun(), 2);
    EXPECT_EQ(history.TotalThreatsDetected(), 26 + 66);
    EXPECT_FALSE(State().RsScanHistory->Eof());
    EXPECT_EQ(State().RsScanHistory->Filter(), "ScanID <> 'Totals'");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(History, TheCountIsAlwaysZeroAndTwoAddsDoNothing) {
    history.Add(MakeScan("A"));
    EXPECT_EQ(history.Count(), 0);
    history.AddTotalScansRun();
    history.AddTotalThreatsDetected();
    history.AddTotalThreatsDetected(5);
    EXPECT_EQ(history.Count(), 0);
    EXPECT_EQ(history.TotalScansRun(), 1);
    EXPECT_EQ(history.TotalThreatsDetected(), 26);
}

TEST_F(History, SumsThatAreTooLargeAreFailures) {
    const auto scan = MakeScan("A");
    scan->DetectedFileCount = 2147483647;
    history.Add(scan);
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(history.TotalThreatsDetected(), 0);
    ExpectReport("TotalThreatsDetected", "6");
    const auto detail = history.GetScanHistoryDetail("A");
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->GetTotalDetectedLocationsCount(), 0);
    EXPECT_THAT(Reported(), SizeIs(2));
}

TEST_F(History, BeforeALoadEachOperationFailsUnderItsOwnName) {
    State().RsScanHistory.reset();
    history.Add(MakeScan("A"));
    history.AddQuarantinedThreat("A", 1);
    history.Delete("A");
    EXPECT_EQ(history.GetScanHistoryDetail("A"), nullptr);
    EXPECT_EQ(history.GetScanHistoryDetails(), nullptr);
    EXPECT_EQ(history.TotalScansRun(), 0);
    EXPECT_EQ(history.TotalThreatsDetected(), 0);
    EXPECT_EQ(history.GetLastScanID(), "");
    std::vector<std::string> procedures;
    for (const FailureRecord& record : Reported()) {
        EXPECT_EQ(record.module, "ScanHistory");
        EXPECT_EQ(record.number, "91");
        procedures.push_back(record.procedure);
    }
    EXPECT_THAT(procedures,
                ElementsAre("FoundAt", "AddQuarantinedThreat", "Delete", "GetScanHistoryDetail",
                            "GetScanHistoryDetails", "TotalScansRun", "TotalThreatsDetected", "GetLastScanID"));
}

}  // namespace
}  // namespace kel::test
