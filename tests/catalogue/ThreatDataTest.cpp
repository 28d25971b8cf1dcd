#include <gmock/gmock.h>

#include "TableFiles.h"
#include "catalogue/Threats.h"
#include "catalogue/clsThreat.h"
#include "catalogue/modDataManager.h"
#include "catalogue/modMain.h"
#include "decorators/ForwardingFiles.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

class ThreatData : public EngineTest {
protected:
    [[nodiscard]] static std::size_t Count() { return State().ThreatCatalog->Count(); }
};

TEST_F(ThreatData, RowsBecomeRecordsInTheirOrder) {
    WriteThreats({FullThreat(70, "Seventy"), FullThreat(7, "Seven")});
    EXPECT_TRUE(modMain::InitializeThreatData());
    ASSERT_EQ(Count(), 3U);
    EXPECT_EQ(State().ThreatCatalog->Item(2)->ThreatName, "Seventy");
    const clsThreat& threat = *State().ThreatCatalog->Item(std::string_view("7"));
    EXPECT_EQ(threat.ThreatID, 7);
    EXPECT_EQ(threat.ThreatName, "Seven");
    EXPECT_EQ(threat.ThreatCategory, "Adware");
    EXPECT_EQ(threat.ThreatType, "Toolbar");
    EXPECT_EQ(threat.ThreatDesc, "shows banners");
    EXPECT_EQ(threat.ThreatAuthor, "Example Ltd");
    EXPECT_EQ(threat.ThreatAuthorURL, "http://a.example/");
    EXPECT_EQ(threat.ThreatLevel, 2);
    EXPECT_EQ(threat.ThreatAdviseType, 1);
    EXPECT_EQ(threat.ThreatAdviseDetails, "be careful");
    EXPECT_TRUE(threat.ThreatCanQuarantine);
    EXPECT_EQ(threat.ThreatCustomRemovalType, "5");
    EXPECT_EQ(threat.ThreatCustomData, "script");
    EXPECT_EQ(threat.ThreatOptionLevel, 3);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(ThreatData, VersionAndSizeOfTheFileAreStored) {
    WriteThreats({});
    modMain::InitializeThreatData();
    EXPECT_EQ(State().ThreatDataVersion, "2026.11");
    EXPECT_EQ(State().ThreatDataFileLength,
              static_cast<std::int32_t>(*Machine().files->Length(shipped::Path(shipped::ThreatData))));
}

TEST_F(ThreatData, DisplayNameOfNumberZeroIsTheVersion) {
    WriteThreats({});
    modMain::InitializeThreatData();
    EXPECT_EQ(Threats().GetThreatDisplayName(0), "2026.11");
}

TEST_F(ThreatData, TextsAreTrimmedButCategoryAndTypeStand) {
    Row row = FullThreat(7, "  Seven ");
    row[2] = T(" Adware ");
    row[3] = T(" Toolbar");
    row[4] = T(" short ");
    WriteThreats({row});
    modMain::InitializeThreatData();
    const clsThreat& threat = *State().ThreatCatalog->Item(std::string_view("7"));
    EXPECT_EQ(threat.ThreatName, "Seven");
    EXPECT_EQ(threat.ThreatCategory, " Adware ");
    EXPECT_EQ(threat.ThreatType, " Toolbar");
    EXPECT_EQ(threat.ThreatDesc, "short");
}

TEST_F(ThreatData, NullsReadAsEmptyZeroAndFalse) {
    Row row(14, Value(Null{}));
    row[0] = 7;
    row[2] = T("Adware");
    row[3] = T("Adware");
    WriteThreats({row});
    modMain::InitializeThreatData();
    ASSERT_EQ(Count(), 2U);
    const clsThreat& threat = *State().ThreatCatalog->Item(2);
    EXPECT_EQ(threat.ThreatName, "");
    EXPECT_EQ(threat.ThreatLevel, 0);
    EXPECT_FALSE(threat.ThreatCanQuarantine);
    EXPECT_EQ(threat.ThreatCustomRemovalType, "");
    EXPECT_EQ(threat.ThreatOptionLevel, 0);
}

class NullThatStopsTheLoad : public ThreatData, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(NullThatStopsTheLoad, LeavesTheRowsBefore) {
    Row bad = FullThreat(8, "Eight");
    bad[GetParam()] = Null{};
    WriteThreats({FullThreat(7, "Seven"), bad, FullThreat(9, "Nine")});
    EXPECT_TRUE(modMain::InitializeThreatData());
    EXPECT_EQ(Count(), 2U);
    EXPECT_FALSE(modMain::ThreatExists(9));
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "94");
    EXPECT_EQ(Reported()[0].module, "modMain");
    EXPECT_EQ(Reported()[0].procedure, "InitializeThreatData");
}
INSTANTIATE_TEST_SUITE_P(Columns, NullThatStopsTheLoad, ::testing::Values(0U, 2U, 3U));

TEST_F(ThreatData, ASecondRowOfANumberEndsTheLoad) {
    WriteThreats({FullThreat(7, "Seven"), FullThreat(7, "Again"), FullThreat(9, "Nine")});
    EXPECT_TRUE(modMain::InitializeThreatData());
    EXPECT_EQ(Count(), 2U);
    EXPECT_EQ(Threats().GetThreatDisplayName(7), "Seven");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "457");
}

TEST_F(ThreatData, WithoutAVersionRowNothingIsLoaded) {
    WriteShipped(shipped::ThreatData, ThreatFields(), {FullThreat(7, "Seven")});
    EXPECT_TRUE(modMain::InitializeThreatData());
    EXPECT_EQ(Count(), 0U);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "3021");
}

TEST_F(ThreatData, MissingFileIsReportedByTheHandlerAndLeavesTheCatalogueEmpty) {
    EXPECT_TRUE(modMain::InitializeThreatData());
    EXPECT_EQ(Count(), 0U);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "53");
    EXPECT_EQ(Reported()[0].module, "modMain");
    EXPECT_EQ(Reported()[0].procedure, "InitializeThreatData");
}

TEST_F(ThreatData, AReloadReplacesTheCatalogue) {
    WriteThreats({FullThreat(7, "Seven"), FullThreat(8, "Eight")});
    modMain::InitializeThreatData();
    WriteThreats({FullThreat(9, "Nine")});
    modMain::InitializeThreatData();
    EXPECT_EQ(Count(), 2U);
    EXPECT_FALSE(modMain::ThreatExists(7));
    EXPECT_TRUE(modMain::ThreatExists(9));
}

TEST_F(ThreatData, IsNotInitializedOnceTheLoadIsOver) {
    EXPECT_FALSE(modDataManager::IsInitializedThreatData());
    WriteThreats({FullThreat(7, "Seven")});
    modMain::InitializeThreatData();
    EXPECT_FALSE(modDataManager::IsInitializedThreatData());
}

TEST_F(ThreatData, DamagedFileIsAnErrorThatNamesIt) {
    WriteFile(shipped::Path(shipped::ThreatData), "no table at all");
    EXPECT_TRUE(modMain::InitializeThreatData());
    EXPECT_EQ(Count(), 0U);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "3709");
    EXPECT_THAT(Reported()[0].description, ::testing::HasSubstr("kelThreatData.sdb"));
}

// A file whose size can be read but which the test for it does not find.
class Vanishing : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    bool PathExists(std::string_view /*path*/) override { return false; }
};

TEST_F(ThreatData, FileThatOnlyHasASizeIsReportedAsMissing) {
    WriteThreats({});
    Vanishing files(*Machine().files);
    platform::Platform platform = Machine();
    platform.files = &files;
    Install(platform);
    EXPECT_TRUE(modMain::InitializeThreatData());
    Install(Machine());
    ASSERT_FALSE(Reported().empty());
    EXPECT_THAT(Reported()[0].description,
                ::testing::MatchesRegex("ln .*:Missing file Threat Data .*kelThreatData.sdb"));
    EXPECT_EQ(Reported()[0].number, "0");
    EXPECT_EQ(Reported()[0].module, "Scanner");
    EXPECT_EQ(Reported()[0].procedure, "InitializeScanData");
    EXPECT_EQ(Count(), 0U);
}

}  // namespace
}  // namespace kel::test
