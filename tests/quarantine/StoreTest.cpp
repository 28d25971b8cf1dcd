#include <gmock/gmock.h>

#include "QuarantineTest.h"
#include "catalogue/ThreatLite.h"
#include "core/Guid.h"
#include "results/modDataManager.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class QuarantineStore : public QuarantineTest {
protected:
    static std::vector<std::string> IDs(const std::shared_ptr<Quarantine::QuarantineThreats>& threats) {
        std::vector<std::string> ids;
        for (const auto& threat : *threats) {
            ids.push_back(threat->QuarantineThreatID);
        }
        return ids;
    }
};

TEST_F(QuarantineStore, ARecordHasItsMainFieldsAndItsLocationsInTheOrderOfTheRows) {
    AddThreat("A", 7, "Scan-1");
    AddThreat("B", 8);
    AddCookie("A", "c1", "C:\\cookies\\me@site[1].txt", "cookie");
    AddFile("A", "f2", "C:\\evil\\two.dll", "two", true, 5);
    AddFile("B", "f9", "C:\\other.exe", "nine");
    AddFile("A", "f1", "C:\\evil\\one.exe", "one");
    AddFolder("A", "C:\\evil");
    AddRegKey("A", "Software\\Evil", "name", "data", 4, platform::HiveLocalMachine);
    AddSpecial("A", QSpecialTypeWinIniLine, "run=evil.exe");

    const auto threat = store.GetQuarantineThreat("A");
    ASSERT_NE(threat, nullptr);
    EXPECT_EQ(threat->QuarantineThreatID, "A");
    EXPECT_EQ(threat->ThreatID, 7);
    EXPECT_EQ(threat->ThreatName, "Threat 7");
    EXPECT_EQ(threat->Category, "adware");
    EXPECT_EQ(threat->ScanID, "Scan-1");
    EXPECT_EQ(threat->QuarantineDate, "1/2/2005 3:04:05 PM");
    EXPECT_EQ(threat->QuarantinePath, PathOf("A"));
    EXPECT_EQ(threat->ThreatAuthor, "") << "the author is kept and not read";

    ASSERT_EQ(threat->QThreatLocationCookies->Count(), 1U);
    EXPECT_EQ(threat->QThreatLocationCookies->Item(1)->QuarantineFileName, "c1");
    EXPECT_EQ(threat->QThreatLocationCookies->Item(1)->OriginalFilePath, "C:\\cookies\\me@site[1].txt");
    ASSERT_EQ(threat->QThreatLocationFiles->Count(), 2U);
    const QThreatLocationFile& first = *threat->QThreatLocationFiles->Item(1);
    EXPECT_EQ(first.QuarantineFileName, "f2");
    EXPECT_EQ(first.OriginalFilePath, "C:\\evil\\two.dll");
    EXPECT_TRUE(first.ActionRegisterFile);
    EXPECT_EQ(first.ThreatFileType, ThreatFileTypeDll);
    EXPECT_EQ(first.RestoreOrder, 5);
    EXPECT_EQ(threat->QThreatLocationFiles->Item(2)->QuarantineFileName, "f1");
    ASSERT_EQ(threat->QThreatLocationFolders->Count(), 1U);
    EXPECT_EQ(threat->QThreatLocationFolders->Item(1)->OriginalFolderPath, "C:\\evil");
    ASSERT_EQ(threat->QThreatLocationRegKeys->Count(), 1U);
    const QThreatLocationRegKey& entry = *threat->QThreatLocationRegKeys->Item(1);
    EXPECT_EQ(entry.RegHive, platform::HiveLocalMachine);
    EXPECT_EQ(entry.Regkey, "Software\\Evil");
    EXPECT_EQ(entry.RegValueName, "name");
    EXPECT_EQ(entry.RegValueData, "data");
    EXPECT_EQ(entry.RegValueDataType, 4);
    ASSERT_NE(threat->QThreatLocationSpecials, nullptr);
    EXPECT_EQ(threat->QThreatLocationSpecials->Count(), 0U) << "lines of ini files stay behind";
    EXPECT_TRUE(Unfiltered());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, AnUnknownIdentifierIsNothingAndNoFailure) {
    AddThreat("A", 7);
    EXPECT_EQ(store.GetQuarantineThreat("B"), nullptr);
    EXPECT_FALSE(store.QuarantineThreatIDExists("B"));
    EXPECT_FALSE(store.QuarantineThreatExists(8));
    EXPECT_TRUE(Unfiltered());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, ThreatsAreFoundByIdentifierAndByNumber) {
    AddThreat("A", 7);
    AddThreat("B", 8);
    EXPECT_TRUE(store.QuarantineThreatIDExists("B"));
    EXPECT_TRUE(store.QuarantineThreatExists(8));
    ASSERT_NE(store.GetQuarantineThreatByThreatID(8), nullptr);
    EXPECT_EQ(store.GetQuarantineThreatByThreatID(8)->QuarantineThreatID, "B");
    EXPECT_TRUE(Unfiltered());
}

TEST_F(QuarantineStore, AQuoteInAnIdentifierBreaksTheFilter) {
    AddThreat("A", 7);
    EXPECT_FALSE(store.QuarantineThreatIDExists("A' B"));
    ExpectReport("QuarantineThreatIDExists", "3001");
    EXPECT_EQ(store.GetQuarantineThreat("A' B"), nullptr);
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[1].procedure, "GetQuarantineThreat");
}

TEST_F(QuarantineStore, NewIdentifiersHaveNoQuote) {
    for (int i = 0; i < 100; ++i) {
        const std::string id = NewGuidString();
        EXPECT_EQ(id.size(), 30U);
        EXPECT_EQ(id.find('\''), std::string::npos);
    }
}

TEST_F(QuarantineStore, OfTwoRecordsOfAThreatTheFirstAnswers) {
    AddThreat("A", 7);
    AddThreat("B", 7);
    EXPECT_EQ(store.GetQuarantineThreatIDFromThreatID(7), "A");
    EXPECT_EQ(store.GetQuarantineThreatByThreatID(7)->QuarantineThreatID, "A");
    EXPECT_TRUE(Unfiltered());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, AThreatThatIsNotThereIsReportedWithThoseThatAre) {
    AddThreat("A", 7);
    AddThreat("B", 12);
    EXPECT_EQ(store.GetQuarantineThreatIDFromThreatID(3), "");
    ASSERT_THAT(Reported(), SizeIs(3));
    EXPECT_EQ(Reported()[0].description, "ln ThreatID 3 not found");
    EXPECT_EQ(Reported()[1].description, "Found ID: 7");
    EXPECT_EQ(Reported()[2].description, "Found ID: 12");
    for (const FailureRecord& record : Reported()) {
        EXPECT_EQ(record.module, "Quarantine");
        EXPECT_EQ(record.procedure, "GetQuarantineThreatIDFromThreatID");
        EXPECT_EQ(record.number, "0");
    }
    EXPECT_TRUE(Unfiltered());
    EXPECT_EQ(store.GetQuarantineThreatByThreatID(3), nullptr);
}

TEST_F(QuarantineStore, AnEmptyStoreGivesAnEmptyCollection) {
    const auto threats = store.GetQuarantineThreats();
    ASSERT_NE(threats, nullptr);
    EXPECT_EQ(threats->Count(), 0U);
    EXPECT_EQ(store.Count(), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, AllThreatsAreGivenWithoutTheirLocations) {
    AddThreat("A", 7);
    AddThreat("B", 8);
    AddFolder("A", "C:\\evil");
    quarantine::Opened(quarantine::Threats).SetFilter("QThreatID='B'");
    const auto threats = store.GetQuarantineThreats();
    EXPECT_THAT(IDs(threats), ElementsAre("A", "B"));
    EXPECT_EQ(threats->Item(1)->ThreatName, "Threat 7");
    EXPECT_EQ(threats->Item(1)->QThreatLocationFolders, nullptr);
    EXPECT_EQ(threats->Item(1)->QThreatLocationSpecials, nullptr);
    EXPECT_TRUE(Unfiltered());
}

TEST_F(QuarantineStore, ThreatsOfAScanAreFoundWithoutRegardToCase) {
    AddThreat("A", 7, "Scan-1");
    AddThreat("B", 8, "Scan-2");
    AddThreat("C", 9, "scan-1");
    EXPECT_THAT(IDs(store.GetQuarantineThreatsByScanID("SCAN-1")), ElementsAre("A", "C"));
}

TEST_F(QuarantineStore, AnUnknownScanGivesNothingNotAnEmptyCollection) {
    AddThreat("A", 7, "Scan-1");
    EXPECT_EQ(store.GetQuarantineThreatsByScanID("Scan-2"), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, WithoutADateAskedAllThreatsWithADateAreGiven) {
    AddThreat("A", 7, "S", DateText(platform::Current().clock->Now()));
    AddThreat("B", 8, "S", "some day");
    AddThreat("C", 9, "S", DateText(Date{38425.5}));
    EXPECT_THAT(IDs(store.GetQuarantineThreatsByDate(0, 0, 0)), ElementsAre("A", "C"));
    EXPECT_THAT(IDs(store.GetQuarantineThreatsByDate()), ElementsAre("A", "C"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, WithoutAThreatThatHasADateThereIsNothing) {
    AddThreat("B", 8, "S", "some day");
    EXPECT_EQ(store.GetQuarantineThreatsByDate(), nullptr);
    EXPECT_EQ(store.GetQuarantineThreatsByDate(2005), nullptr) << "no date, so no part of it is asked for";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, APartOfADateIsAFailureAndNothing) {
    AddThreat("A", 7, "S", DateText(Date{38425.5}));
    EXPECT_EQ(store.GetQuarantineThreatsByDate(2005, 0, 0), nullptr);
    ExpectReport("GetQuarantineThreatsByDate", "5");
    EXPECT_EQ(store.GetQuarantineThreatsByDate(0, 3, 0), nullptr);
    EXPECT_EQ(store.GetQuarantineThreatsByDate(0, 0, 14), nullptr);
    EXPECT_EQ(store.GetQuarantineThreatsByDate(-1, 0, 0), nullptr);
    EXPECT_THAT(Reported(), SizeIs(4));
}

TEST_F(QuarantineStore, ByCategoryThereIsNeverAnything) {
    AddThreat("A", 7);
    EXPECT_EQ(store.GetQuarantineThreatsByCategory("adware"), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, TheCountDoesNotDependOnAFilterLeftBehind) {
    AddThreat("A", 7);
    AddThreat("B", 8);
    AddThreat("C", 9);
    quarantine::Opened(quarantine::Threats).SetFilter("ThreatID=8");
    EXPECT_EQ(store.Count(), 3);
    quarantine::Opened(quarantine::Threats).SetFilter("ThreatID=99");
    EXPECT_EQ(store.Count(), 3);
}

TEST_F(QuarantineStore, TheReportHasALineForEachThreatAndEscapesNothing) {
    EXPECT_EQ(store.GetQuarantineXML(), "<QResultsXML>\r\n<Quarantined>\r\n</Quarantined>\r\n</QResultsXML>");
    AddThreat("A-1", 7, "Scan-1");
    AddThreat("B-2", 8, "<\"&'>", "");
    quarantine::Opened(quarantine::Threats).SetFilter("ThreatID=8");
    EXPECT_EQ(store.GetQuarantineXML(),
              "<QResultsXML>\r\n"
              "<Quarantined>\r\n"
              "<Quarantine QID=\"A-1\" ThreatID=\"7\" ThreatName=\"Threat 7\" ScanID=\"Scan-1\" "
              "QuarantineDate=\"1/2/2005 3:04:05 PM\"> </Quarantine>\r\n"
              "<Quarantine QID=\"B-2\" ThreatID=\"8\" ThreatName=\"Threat 8\" ScanID=\"<\"&'>\" "
              "QuarantineDate=\"\"> </Quarantine>\r\n"
              "</Quarantined>\r\n"
              "</QResultsXML>");
    EXPECT_TRUE(Unfiltered());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(QuarantineStore, TheTwoOperationsOfAnEarlierStoreFailAndAnswerNoError) {
    AddThreat("A", 7);
    const auto threat = store.GetQuarantineThreat("A");
    EXPECT_EQ(store.Add(threat), enQuarantineErrors::errNone);
    ExpectReport("Add", "91");
    EXPECT_EQ(store.Delete("A"), enQuarantineErrors::errNone);
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[1].module, "Quarantine");
    EXPECT_EQ(Reported()[1].procedure, "Delete");
    EXPECT_EQ(store.Count(), 1);
    EXPECT_TRUE(Unfiltered());
}

TEST_F(QuarantineStore, BeforeItIsOpenedEachOperationFailsUnderItsOwnName) {
    for (const quarantine::Table* table : quarantine::Tables) {
        (State().*table->recordset).reset();
    }
    EXPECT_EQ(store.GetQuarantineThreat("A"), nullptr);
    EXPECT_EQ(store.GetQuarantineThreats(), nullptr);
    EXPECT_FALSE(store.QuarantineThreatIDExists("A"));
    EXPECT_FALSE(store.QuarantineThreatExists(7));
    EXPECT_EQ(store.GetQuarantineThreatIDFromThreatID(7), "");
    EXPECT_EQ(store.Count(), 0);
    EXPECT_EQ(store.GetQuarantineXML(), "");
    std::vector<std::string> procedures;
    for (const FailureRecord& record : Reported()) {
        EXPECT_EQ(record.number, "91") << record.procedure;
        procedures.push_back(record.procedure);
    }
    EXPECT_THAT(procedures, ElementsAre("GetQuarantineThreat", "GetQuarantineThreats", "QuarantineThreatIDExists",
                                        "QuarantineThreatExists", "GetQuarantineThreatIDFromThreatID", "Count",
                                        "GetQuarantineXML"));
}

TEST_F(QuarantineStore, ARecordMadeByAClientHasAnIdentifierAndKeepsItsThreat) {
    QuarantineThreat threat;
    const QuarantineThreat other;
    EXPECT_EQ(threat.QuarantineThreatID.size(), 30U);
    EXPECT_NE(threat.QuarantineThreatID, other.QuarantineThreatID);
    const auto given = std::make_shared<ThreatLite>();
    threat.Threat = given;
    EXPECT_EQ(threat.Threat, given);
    EXPECT_EQ(QuarantineThreat::QThreat(7), nullptr) << "not in the catalogue";
}

TEST_F(QuarantineStore, TheStoreCountsAsLoadedWithARow) {
    EXPECT_FALSE(modDataManager::IsInitializedQuarantineData());
    AddThreat("A", 7);
    EXPECT_TRUE(modDataManager::IsInitializedQuarantineData());
}

}  // namespace
}  // namespace kel::test
