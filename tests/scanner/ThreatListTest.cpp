#include <gmock/gmock.h>

#include "ScannerPeer.h"
#include "core/Text.h"
#include "decorators/ForwardingSystem.h"
#include "support/ScanTest.h"

namespace kel::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

// Ten days and a quarter after the beginning of dates.
class StoppedClock : public decorators::ForwardingClock {
public:
    using ForwardingClock::ForwardingClock;
    platform::Date Now() override { return platform::Date{10.25}; }
};

class ThreatLists : public ScanTest {
protected:
    std::string List() const { return UserFolder() + "Threat.txt"; }
    std::string Write() {
        tables.WriteTo(AppFolder());
        return scanner.ThreatList();
    }
    void TearDown() override { Install(Machine()); }
};

TEST_F(ThreatLists, AreWrittenToAFileAndOnlyTheEndIsTheAnswer) {
    tables.threats = {{12, "One", "adware", 2}, {7, "Two", "cookie", 5}};
    StoppedClock clock(*Machine().clock);
    platform::Platform machine = Machine();
    machine.clock = &clock;
    Install(machine);
    EXPECT_EQ(Write(), "</Threats>\r\n</ThreatListXML>");
    EXPECT_EQ(ReadFile(List()),
              "<ThreatListXML date=\"" + DateText(Date{10.25}) +
                  "\">\r\n<Threats>\r\n"
                  "<Threat threatid=\"0\" name=\"105\" category=\"\" threattype=\"\" threatlevel=\"0\">\r\n"
                  "</Threat>\r\n\r\n"
                  "<Threat threatid=\"12\" name=\"One\" category=\"adware\" threattype=\"\" threatlevel=\"2\">\r\n"
                  "</Threat>\r\n\r\n"
                  "<Threat threatid=\"7\" name=\"Two\" category=\"cookie\" threattype=\"\" threatlevel=\"5\">\r\n"
                  "</Threat>\r\n\r\n"
                  "</Threats>\r\n</ThreatListXML>\r\n");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ThreatLists, ReplaceTheListThatWasThere) {
    WriteFile(List(), "old");
    Write();
    EXPECT_THAT(ReadFile(List()), StartsWith("<ThreatListXML date=\""));
}

TEST_F(ThreatLists, EscapeTheNameAndNothingElse) {
    tables.threats = {{1, "A&B \"q\" 'a' <t>", "A&B"}};
    Write();
    EXPECT_THAT(ReadFile(List()), HasSubstr("name=\"A&amp;B &quot;q&quot; &apos;a&apos; &lt;t&gt;\" category=\"A&B\""));
}

TEST_F(ThreatLists, SpellAnOWithACircumflexWithoutIt) {
    const std::string letter = platform::Current().text->FromUtf8("\xC3\xB4");
    const std::string other = platform::Current().text->FromUtf8("\xC3\xB6");
    tables.threats = {{1, "C" + letter + "te d" + other + "r? " + letter}};
    Write();
    EXPECT_THAT(ReadFile(List()), HasSubstr("name=\"Cote d" + other + "r? o\""));
}

TEST_F(ThreatLists, LeaveOutAThreatWithoutAName) {
    tables.threats = {{1, ""}, {2, "Two"}};
    Write();
    EXPECT_THAT(ReadFile(List()), Not(HasSubstr("threatid=\"1\"")));
    EXPECT_THAT(ReadFile(List()), HasSubstr("threatid=\"2\""));
}

TEST_F(ThreatLists, OfAnEmptyCatalogueLeaveNoFile) {
    WriteFile(List(), "old");
    EXPECT_EQ(scanner.ThreatList(), "") << "there are no data";
    EXPECT_FALSE(Exists(List()));
}

TEST_F(ThreatLists, LoadTheCatalogueAgain) {
    Begin();
    tables.threats = {{1, "New"}};
    Write();
    EXPECT_EQ(State().ThreatCatalog->Count(), 2U);
    EXPECT_THAT(ReadFile(List()), HasSubstr("name=\"New\""));
}

TEST_F(ThreatLists, GiveTheUserDataFolderItsBackslash) {
    State().UserDataFolder = Folder() + "user";
    Write();
    EXPECT_EQ(State().UserDataFolder, UserFolder());
    EXPECT_TRUE(Exists(List()));
}

TEST_F(ThreatLists, ThatCanNotBeWrittenAreReportedUnderTheManager) {
    State().UserDataFolder = Folder() + "missing\\";
    EXPECT_EQ(Write(), "");
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Manager");
    EXPECT_EQ(Reported()[0].procedure, "ThreatList");
}

TEST_F(ThreatLists, ATextCanTakeThePlaceOfTheList) {
    WriteFile(List(), "old");
    ScannerPeer::WriteThreatList("a list");
    EXPECT_EQ(ReadFile(List()), "a list\r\n");
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
