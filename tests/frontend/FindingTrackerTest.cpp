// Every location is told, in the form of its kind, and told once.
#include "frontend/FindingTracker.h"

#include <gmock/gmock.h>

#include "catalogue/ThreatLite.h"
#include "results/Scan.h"
#include "support/ScanTest.h"

namespace kel::frontend {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Findings : public test::ScanTest {
protected:
    Findings() {
        tables.threats = {{1, "Example.One", "adware", 2}, {2, "Example.Two", "trojan", 1}};
        tables.cookies = {{1, "crumb.example", 4}};
        tables.md5 = {{1, Hash, 3}};
    }
    void SetUp() override {
        Begin();
        scan = scanner.Scan();
    }

    std::string File(const std::string& name) {
        WriteFile(Folder() + name, "x");
        return Folder() + name;
    }
    std::vector<std::string> ToldLocations() const {
        std::vector<std::string> locations;
        for (const FindingRecord& finding : told) {
            locations.push_back(finding.location);
        }
        return locations;
    }

    static constexpr const char* Hash = "0123456789abcdef0123456789abcdef";
    std::shared_ptr<Scan> scan;
    std::vector<FindingRecord> told;
    FindingTracker tracker{[this](const FindingRecord& finding) { told.push_back(finding); }};
};

TEST_F(Findings, AFileIsToldWithItsThreatHashAndLevel) {
    const std::string path = File("a.exe");
    scan->AddDetectedThreatFile(ScanTypeFiles, 1, Hash, path);
    tracker.Update(*scan, 1);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].threat, 1);
    EXPECT_EQ(told[0].name, "Example.One");
    EXPECT_EQ(told[0].category, "adware");
    EXPECT_EQ(told[0].level, 2);
    EXPECT_EQ(told[0].levelName, scan->DetectedThreats()->Item(1)->Threat->GetThreatLevelDisplayName());
    EXPECT_NE(told[0].levelName, "");
    EXPECT_EQ(told[0].kind, "file");
    EXPECT_EQ(told[0].location, path);
    EXPECT_EQ(told[0].md5, Hash);
    EXPECT_EQ(told[0].optionLevel, 3);
    EXPECT_EQ(tracker.Threats(), 1);
    EXPECT_EQ(tracker.Locations(), 1);
}

TEST_F(Findings, EachIsToldOnce) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 1, Hash, File("a.exe"));
    tracker.Update(*scan, 1);
    tracker.Update(*scan, 1);
    tracker.UpdateAll(*scan);
    EXPECT_THAT(told, SizeIs(1));
    scan->AddDetectedThreatFile(ScanTypeFiles, 1, Hash, File("b.exe"));
    scan->AddDetectedThreatFile(ScanTypeFiles, 1, Hash, File("a.exe"));
    tracker.Update(*scan, 1);
    EXPECT_THAT(ToldLocations(), ElementsAre(Folder() + "a.exe", Folder() + "b.exe"));
    EXPECT_EQ(tracker.Locations(), 2);
    EXPECT_EQ(tracker.Threats(), 1);
}

TEST_F(Findings, AnUpdateOfOneThreatLeavesTheOthersForLater) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 1, {}, File("a.exe"));
    scan->AddDetectedThreatFile(ScanTypeFiles, 2, {}, File("b.exe"));
    tracker.Update(*scan, 2);
    EXPECT_THAT(ToldLocations(), ElementsAre(Folder() + "b.exe"));
    tracker.UpdateAll(*scan);
    EXPECT_THAT(ToldLocations(), ElementsAre(Folder() + "b.exe", Folder() + "a.exe"));
    EXPECT_EQ(tracker.Threats(), 2);
}

TEST_F(Findings, AThreatThatWasNotDetectedIsNothing) {
    tracker.Update(*scan, 1);
    tracker.UpdateAll(*scan);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(tracker.Threats(), 0);
    EXPECT_EQ(tracker.Locations(), 0);
}

TEST_F(Findings, RegistryLocationsNameTheirHiveKeyAndValue) {
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 1, platform::HiveLocalMachine, "Software\\Example", {}, {}, 5);
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 1, platform::HiveCurrentUser, "Software\\Example", "Run", "a.exe",
                                  6);
    tracker.Update(*scan, 1);
    EXPECT_THAT(ToldLocations(),
                ElementsAre("HKEY_LOCAL_MACHINE\\Software\\Example", "HKEY_CURRENT_USER\\Software\\Example [Run]"));
    EXPECT_EQ(told[0].kind, "registry");
    EXPECT_EQ(told[0].optionLevel, 5);
    EXPECT_EQ(told[1].optionLevel, 6);
    EXPECT_EQ(told[0].md5, "");
}

TEST_F(Findings, AFolderIsToldWithTheLevelOfItsThreat) {
    MakeFolder(Folder() + "bad");
    scan->AddDetectedThreatFolder(ScanTypeFolder, 1, Folder() + "bad");
    scan->DetectedThreats()->Item(1)->OptionLevel = 9;
    tracker.UpdateAll(*scan);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].kind, "folder");
    EXPECT_EQ(told[0].location, Folder() + "bad");
    EXPECT_EQ(told[0].optionLevel, 9);
}

TEST_F(Findings, ACookieIsToldByItsFile) {
    const std::string path = File("crumb.txt");
    scan->AddDetectedThreatCookie(ScanTypeCookies, 1, "crumb.example", path);
    tracker.UpdateAll(*scan);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].kind, "cookie");
    EXPECT_EQ(told[0].location, path);
    EXPECT_EQ(told[0].optionLevel, 4);
}

TEST_F(Findings, ACustomLocationIsToldByWhatItShows) {
    const auto custom = std::make_shared<ThreatLocationCustom>(7);
    custom->DisplayData = "line 3 of the hosts file";
    scan->AddDetectedThreatCustom(ScanTypeFiles, 2, custom);
    tracker.UpdateAll(*scan);
    tracker.UpdateAll(*scan);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].kind, "custom");
    EXPECT_EQ(told[0].location, "line 3 of the hosts file");
    EXPECT_EQ(told[0].name, "Example.Two");
}

TEST_F(Findings, KindsOfOneThreatAreCountedApart) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 1, {}, File("a.exe"));
    tracker.Update(*scan, 1);
    scan->AddDetectedThreatFolder(ScanTypeFolder, 1, Folder() + "bad");
    tracker.Update(*scan, 1);
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 1, platform::HiveLocalMachine, "Software\\Example");
    tracker.Update(*scan, 1);
    EXPECT_THAT(ToldLocations(),
                ElementsAre(Folder() + "a.exe", Folder() + "bad", "HKEY_LOCAL_MACHINE\\Software\\Example"));
    EXPECT_EQ(tracker.Threats(), 1);
    EXPECT_EQ(tracker.Locations(), 3);
}

TEST_F(Findings, AThreatThatTheCatalogueDoesNotKnowIsToldByItsNumber) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 1, {}, File("a.exe"));
    scan->DetectedThreats()->Item(1)->Threat.reset();
    tracker.UpdateAll(*scan);
    ASSERT_THAT(told, SizeIs(1));
    EXPECT_EQ(told[0].threat, 1);
    EXPECT_EQ(told[0].name, "");
}

}  // namespace
}  // namespace kel::frontend
