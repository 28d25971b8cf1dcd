#include "engine/Info.h"

#include <gmock/gmock.h>

#include "catalogue/LoadingTables.h"
#include "core/Text.h"
#include "engine/Manager.h"
#include "results/modDataManager.h"
#include "scanner/EngineData.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"

namespace kel::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class Diagnostics : public EngineTest {
protected:
    Diagnostics() {
        State().App.Major = 3;
        State().App.Minor = 14;
        State().App.Revision = 159;
        State().UserDataFolderIsSet = true;
    }
    void Load() {
        ShippedTables tables;
        tables.threats = {{1, "One"}, {2, "Two"}};
        tables.cookies = {{1, "tracker.example"}};
        tables.md5 = {{1, "00112233445566778899aabbccddeeff"}};
        tables.WriteTo(AppFolder());
        modMain::LoadEngineData();
    }
    /// What the engine is while the tables are being loaded.
    void BeginLoading() {
        auto& loading = ModuleData<LoadingTables>();
        loading.ThreatData = std::make_shared<Recordset>();
        loading.Cookies = std::make_shared<Recordset>();
        loading.Cookies->AppendField("Cookie", FieldType::VarChar, 10);
        loading.Cookies->Open();
        loading.Cookies->AddNew();
        loading.Cookies->Update();
    }
    /// Without its first three lines.
    std::string Loaded() {
        const std::string text = info.Diagnostics();
        return text.substr(text.find("IsInitializedScanData"));
    }
    Info info;
};

TEST_F(Diagnostics, BeforeALoadTheVersionsAreEmptyAndTheFlagsFalse) {
    EXPECT_EQ(info.DBVersionThreatData(), "");
    EXPECT_EQ(info.DBVersionScanData(), "");
    EXPECT_EQ(info.Diagnostics(true),
              "EngineVersion: 3.14.159\r\n"
              "DBVersionThreatData: \r\n"
              "DBVersionScanData: \r\n"
              "IsInitializedScanData: False\r\n"
              "InitializeThreatData: False\r\n"
              "IsInitializedScanHistoryData: False\r\n"
              "IsInitializedIgnoredThreatsData: False\r\n");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Diagnostics, AfterALoadWithoutIgnoredThreatsTheirCountIsNotThere) {
    Load();
    EXPECT_EQ(info.DBVersionThreatData(), "105");
    EXPECT_EQ(info.DBVersionScanData(), "105");
    EXPECT_EQ(info.Diagnostics(),
              "EngineVersion: 3.14.159\r\n"
              "DBVersionThreatData: 105\r\n"
              "DBVersionScanData: 105\r\n"
              "IsInitializedScanData: False\r\n"
              "InitializeThreatData: False\r\n"
              "IsInitializedScanHistoryData: True\r\n"
              "IsInitializedIgnoredThreatsData: False\r\n"
              "ScanHistory Count: 1\r\n");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Diagnostics, TheUsersTablesAreCountedInTheirOrder) {
    Load();
    IgnoredThreats().AddIgnoredThreat(1);
    IgnoredThreats().AddIgnoredThreat(2);
    State().RsQuarantined = std::make_shared<Recordset>();
    State().RsQuarantined->AppendField("QThreatID", FieldType::VarChar, 30);
    State().RsQuarantined->Open();
    EXPECT_THAT(info.Diagnostics(), Not(HasSubstr("Quarantine Count: ")));
    State().RsQuarantined->AddNew();
    State().RsQuarantined->Update();
    EXPECT_EQ(Loaded(),
              "IsInitializedScanData: False\r\n"
              "InitializeThreatData: False\r\n"
              "IsInitializedScanHistoryData: True\r\n"
              "IsInitializedIgnoredThreatsData: True\r\n"
              "IgnoredThreats Count: 2\r\n"
              "Quarantine Count: 1\r\n"
              "ScanHistory Count: 1\r\n");
}

TEST_F(Diagnostics, TheHistoryIsCountedUnderTheFilterInForce) {
    Load();
    const auto scan = std::make_shared<Scan>();
    ScanHistory().Add(scan);
    EXPECT_THAT(info.Diagnostics(), HasSubstr("ScanHistory Count: 2\r\n"));
    static_cast<void>(ScanHistory().GetScanHistoryDetails());
    EXPECT_THAT(info.Diagnostics(), HasSubstr("ScanHistory Count: 1\r\n"));
    ScanHistory().Delete(scan->ScanID);
    static_cast<void>(ScanHistory().GetScanHistoryDetails());
    EXPECT_THAT(info.Diagnostics(), HasSubstr("IsInitializedScanHistoryData: False\r\n"));
    EXPECT_THAT(info.Diagnostics(), Not(HasSubstr("ScanHistory Count: ")));
}

TEST_F(Diagnostics, ThreatsAreCountedDuringALoadAlone) {
    Load();
    ModuleData<LoadingTables>().ThreatData = std::make_shared<Recordset>();
    EXPECT_THAT(info.Diagnostics(), HasSubstr("InitializeThreatData: True\r\n"));
    // The version row is one of them.
    EXPECT_THAT(info.Diagnostics(), HasSubstr("ScanHistory Count: 1\r\nThreats Count: 3\r\n"));
}

TEST_F(Diagnostics, WhileTheSignaturesAreLoadedItEndsAtTheTableThatIsGone) {
    Load();
    BeginLoading();
    EXPECT_EQ(info.Diagnostics(), "");
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Info");
    EXPECT_EQ(Reported()[0].procedure, "Diagnostics");
    EXPECT_EQ(Reported()[0].number, "91");
}

TEST_F(Diagnostics, SettingsKeepNothing) {
    const auto settings = Manager().Settings();
    settings->Save("colour", "blue");
    EXPECT_EQ(settings->View("colour"), "");
    settings->Delete("colour");
    EXPECT_EQ(settings->View("colour"), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
