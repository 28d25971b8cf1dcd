#include "catalogue/Threats.h"

#include "TableFiles.h"
#include "catalogue/ThreatLite.h"
#include "catalogue/modMain.h"
#include "catalogue/modThreats.h"
#include "core/RuntimeError.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

class Catalogue : public EngineTest {
protected:
    static void Load(const std::vector<Row>& rows) {
        WriteThreats(rows);
        modMain::InitializeThreatData();
    }
};

TEST_F(Catalogue, AThreatHasAllFieldsOfItsRow) {
    Load({FullThreat(7, "Seven")});
    const auto threat = Threats().GetThreatByThreatID(7);
    ASSERT_NE(threat, nullptr);
    EXPECT_EQ(threat->ThreatID, 7);
    EXPECT_EQ(threat->ThreatName, "Seven");
    EXPECT_EQ(threat->Category, "Adware");
    EXPECT_EQ(threat->ThreatType, "Toolbar");
    EXPECT_EQ(threat->DescriptionShort, "shows banners");
    EXPECT_EQ(threat->Author, "Example Ltd");
    EXPECT_EQ(threat->AuthorURL, "http://a.example/");
    EXPECT_EQ(threat->ThreatLevel, 2);
    EXPECT_EQ(threat->AdviseType, 1);
    EXPECT_EQ(threat->AdviseDetails, "be careful");
    EXPECT_TRUE(threat->CanQuarantine);
    EXPECT_EQ(threat->CustomRemovalType, CustomRemovalTypeCustomScript);
    EXPECT_EQ(threat->CustomData, "script");
    EXPECT_EQ(threat->OptionLevel, 3);
    EXPECT_EQ(threat->ThreatGeneralDeatils, "");
    EXPECT_EQ(threat->ThreatLocationFiles, nullptr);
}

TEST_F(Catalogue, LookupsOfAnUnknownNumberAreEmptyAndReportNothing) {
    Load({});
    const Threats threats;
    EXPECT_EQ(threats.GetThreatByThreatID(7), nullptr);
    EXPECT_EQ(threats.GetThreatDisplayName(7), "");
    EXPECT_EQ(threats.GetThreatCategory(7), "");
    EXPECT_EQ(threats.GetThreatThreatType(7), "");
    EXPECT_FALSE(modMain::ThreatExists(7));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Catalogue, LookupsBeforeALoadAreEmptyAndReportNothing) {
    EXPECT_FALSE(modMain::ThreatExists(7));
    EXPECT_EQ(Threats().GetThreatByThreatID(7), nullptr);
    EXPECT_EQ(Threats().GetThreatDisplayName(7), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Catalogue, LookupsGiveNameCategoryAndType) {
    Load({FullThreat(7, "Seven")});
    const Threats threats;
    EXPECT_EQ(threats.GetThreatDisplayName(7), "Seven");
    EXPECT_EQ(threats.GetThreatCategory(7), "Adware");
    EXPECT_EQ(threats.GetThreatThreatType(7), "Toolbar");
}

TEST_F(Catalogue, AThreatWithAnEmptyNameExists) {
    Load({FullThreat(7, "")});
    EXPECT_TRUE(modMain::ThreatExists(7));
}

TEST_F(Catalogue, EachLookupMakesARecordOfItsOwn) {
    Load({FullThreat(7, "Seven")});
    const auto first = Threats().GetThreatByThreatID(7);
    first->ThreatName = "changed";
    EXPECT_EQ(Threats().GetThreatByThreatID(7)->ThreatName, "Seven");
}

TEST_F(Catalogue, AnEmptyRemovalTypeMakesTheThreatFail) {
    Row row = FullThreat(7, "Seven");
    row[11] = T("");
    Load({row});
    std::shared_ptr<Threat> threat;
    EXPECT_FALSE(modMain::LoadThreatObject(7, threat));
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "13");
    EXPECT_EQ(Reported()[0].module, "modMain");
    EXPECT_EQ(Reported()[0].procedure, "LoadThreatObject");
    EXPECT_EQ(Threats().GetThreatByThreatID(7), nullptr);
    EXPECT_EQ(Threats().GetThreatDisplayName(7), "Seven");
}

TEST_F(Catalogue, AnUnknownNumberLeavesTheArgumentOfLoadThreatObject) {
    Load({});
    auto before = std::make_shared<Threat>();
    auto threat = before;
    EXPECT_FALSE(modMain::LoadThreatObject(7, threat));
    EXPECT_EQ(threat, before);
}

TEST_F(Catalogue, AnUnknownNumberGivesAnEmptyLiteRecordWithoutTheNumber) {
    Load({});
    const auto lite = modThreats::GetThreatLiteByThreatID(7);
    ASSERT_NE(lite, nullptr);
    EXPECT_EQ(lite->ThreatID, 0);
    EXPECT_EQ(lite->ThreatName, "");
}

TEST_F(Catalogue, ALiteRecordHasTheFieldsOfTheThreat) {
    Load({FullThreat(7, "Seven")});
    const auto lite = modThreats::GetThreatLiteByThreatID(7);
    EXPECT_EQ(lite->ThreatID, 7);
    EXPECT_EQ(lite->ThreatName, "Seven");
    EXPECT_EQ(lite->CustomData, "script");
    EXPECT_EQ(lite->OptionLevel, 3);
}

TEST_F(Catalogue, TheCompactFormHoldsTaggedTexts) {
    Load({FullThreat(7, "Seven")});
    const auto kvo = modThreats::CreateThreatLiteKvo(7);
    ASSERT_NE(kvo, nullptr);
    const std::vector<std::pair<std::string, std::string>> expected{{"TN", "Seven"},      {"C", "Adware"},
                                                                    {"TT", "Toolbar"},    {"D", "shows banners"},
                                                                    {"A", "Example Ltd"}, {"AU", "http://a.example/"},
                                                                    {"TL", "2"},          {"AT", "1"},
                                                                    {"AD", "be careful"}, {"CQ", "True"},
                                                                    {"CRT", "5"},         {"CD", "script"}};
    ASSERT_EQ(kvo->Count(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(kvo->Item(i + 1), expected[i].second);
        EXPECT_EQ(kvo->Item(expected[i].first), expected[i].second);
    }
}

TEST_F(Catalogue, TheCompactFormLeavesEmptyTextsOut) {
    Row row = FullThreat(7, "Seven");
    for (const std::size_t column : {4U, 5U, 6U, 9U, 12U}) {
        row[column] = T("");
    }
    row[3] = T("");
    Load({row});
    const auto kvo = modThreats::CreateThreatLiteKvo(7);
    EXPECT_EQ(kvo->Count(), 7U);
    EXPECT_FALSE(kvo->Contains("A"));
    EXPECT_THROW(static_cast<void>(kvo->Item(std::string_view("A"))), RuntimeError);
    EXPECT_EQ(kvo->Item(std::string_view("TT")), "");
}

TEST_F(Catalogue, AnUnknownNumberHasNoCompactForm) {
    Load({});
    EXPECT_EQ(modThreats::CreateThreatLiteKvo(7), nullptr);
}

TEST_F(Catalogue, ALevelOfZeroFollowsFromTheCategoryAndThePropertyStays) {
    ThreatLite lite;
    lite.Category = "Cookie";
    EXPECT_EQ(lite.GetThreatLevel(), 5);
    EXPECT_EQ(lite.ThreatLevel, 0);
    EXPECT_EQ(lite.GetThreatLevelDisplayName(), "Low");
    EXPECT_EQ(lite.GetThreatLevelDescription(), modThreats::GetThreatLevelDescription(5));
    lite.ThreatLevel = 1;
    EXPECT_EQ(lite.GetThreatLevel(), 1);
    EXPECT_EQ(lite.GetThreatLevelDisplayName(), "Severe");
}

TEST_F(Catalogue, TheAdviseUsesTheLevelOfTheRecordAndNotTheDerivedOne) {
    ThreatLite lite;
    lite.Category = "spyware";
    EXPECT_EQ(lite.GetThreatLevel(), 2);
    EXPECT_EQ(lite.GetAdviseTypeDescription(), "");
}

TEST_F(Catalogue, AdviseDetailsStandOnALineOfTheirOwn) {
    ThreatLite lite;
    lite.ThreatLevel = 4;
    EXPECT_EQ(lite.GetAdviseDisplay(), "This threat should be removed or quarantined.");
    lite.AdviseDetails = "Restart afterwards.";
    EXPECT_EQ(lite.GetAdviseDisplay(), "This threat should be removed or quarantined.\r\nRestart afterwards.");
}

TEST_F(Catalogue, TheDescriptionIsTheFirstThatIsNotEmpty) {
    ThreatLite lite;
    lite.ThreatType = "Toolbar";
    EXPECT_EQ(lite.GetDescriptionDisplay(), lite.GetThreatTypeDescription());
    lite.Category = "Worm";
    EXPECT_EQ(lite.GetDescriptionDisplay(), lite.GetCategoryDescription());
    EXPECT_NE(lite.GetCategoryDescription(), lite.GetThreatTypeDescription());
    lite.Category = "Stealth Loader";
    EXPECT_EQ(lite.GetDescriptionDisplay(), lite.GetThreatTypeDescription());
    lite.DescriptionShort = "short";
    EXPECT_EQ(lite.GetDescriptionDisplay(), "short");
}

}  // namespace
}  // namespace kel::test
