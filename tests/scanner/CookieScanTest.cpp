#include <gmock/gmock.h>

#include "CountingLoop.h"
#include "StagedScanTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

class CookieScan : public ScanTest {
protected:
    // The folder that all profiles lie in is the first of a path, so it is one of the test's own directly on the drive.
    CookieScan() : stage_(Machine(), Key() + "\\Stage") {
        std::string name = Folder().substr(3);
        std::erase(name, '\\');
        profiles_ = "C:\\cookies of " + name + "\\";
    }
    void SetUp() override {
        tables.threats = {{1, "One"}, {2, "Two"}};
        tables.cookies = {{1, "site.example", 1}, {2, "y"}, {2, "Tracker.Example", 2}};
        MakeFolder(Profile("me") + "cookies");
        stage_.Folders()[CookieFolder] = Profile("me") + "cookies";
        stage_.Folders()[ProfileFolder] = profiles_ + "me";
        Install(stage_.View());
        Begin();
        scanner.SetOptMaxOptionLevel(1);
    }
    void TearDown() override {
        Install(Machine());
        RemoveTree(Machine(), profiles_);
    }

    std::string Profile(const std::string& user) const { return profiles_ + user + "\\"; }
    // Writes a cookie file, and gives its path as a detection has it.
    std::string Cookie(const std::string& folder, const std::string& name) {
        MakeFolder(folder);
        WriteFile(folder + name, "cookie");
        return LCase(folder) + name;
    }
    std::vector<std::string> CookiesOf(std::int32_t threat) {
        std::vector<std::string> texts;
        for (const auto& detected : *CurrentScan()->DetectedThreats()) {
            if (detected->ThreatID == threat) {
                for (const auto& location : *detected->ThreatLocationCookies) {
                    texts.push_back(location->Cookie + " in " + location->DetectedFilePath);
                }
            }
        }
        return texts;
    }

    static constexpr int CookieFolder = 33;
    static constexpr int ProfileFolder = 40;
    static constexpr const char* Cache = "Local Settings\\Temporary Internet Files\\";

private:
    StagedMachine stage_;
    std::string profiles_;
};

TEST_F(CookieScan, TheDomainBetweenTheSignsIsLookedUpInLowerCase) {
    const std::string path = Cookie(Profile("me") + "cookies\\", "Me@SITE.example[1].txt");
    scanner.ScanCookies();
    EXPECT_THAT(started, ElementsAre(HeardStart{"Me@SITE.example[1].txt", ScanTypeCookies, 1}));
    EXPECT_THAT(found, ElementsAre(HeardThreat{"site.example", ScanTypeCookies, 1, 1}));
    EXPECT_THAT(CookiesOf(1), ElementsAre("site.example in " + path));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->OptionLevel, 1);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CookieScan, AFileWithoutTheSignsIsNamedAndNotTested) {
    Cookie(Profile("me") + "cookies\\", "abc.txt");
    Cookie(Profile("me") + "cookies\\", "site.example[1].txt");
    Cookie(Profile("me") + "cookies\\", "me@site.example");
    scanner.ScanCookies();
    EXPECT_THAT(started, SizeIs(3));
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(CookieScan, TheFirstOfEachSignCounts) {
    const std::string path = Cookie(Profile("me") + "cookies\\", "x@y[1]@z.txt");
    scanner.ScanCookies();
    EXPECT_THAT(CookiesOf(2), ElementsAre("y in " + path));
}

TEST_F(CookieScan, ABracketBeforeTheSignIsNoCookie) {
    Cookie(Profile("me") + "cookies\\", "a[1]@y[2].txt");
    scanner.ScanCookies();
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(CookieScan, ALevelAboveTheLimitIsNoDetection) {
    Cookie(Profile("me") + "cookies\\", "me@tracker.example[1].txt");
    scanner.ScanCookies();
    EXPECT_THAT(found, IsEmpty());
    scanner.SetOptMaxOptionLevel(2);
    scanner.ScanCookies();
    EXPECT_THAT(found, SizeIs(1));
}

TEST_F(CookieScan, TheCacheOfTheUserComesBehindTheCookies) {
    const std::string cached = Cookie(Profile("me") + Cache, "1@site.example[1].txt");
    const std::string cookie = Cookie(Profile("me") + "cookies\\", "2@site.example[1].txt");
    Cookie(Profile("you") + "cookies\\", "3@site.example[1].txt");
    scanner.ScanCookies();
    EXPECT_THAT(CookiesOf(1), ElementsAre("site.example in " + cookie, "site.example in " + cached));
}

TEST_F(CookieScan, AllUsersMeansTheCookiesOfEachProfileAndNoCache) {
    const std::string mine = Cookie(Profile("me") + "cookies\\", "1@site.example[1].txt");
    const std::string yours = Cookie(Profile("you") + "cookies\\", "2@site.example[1].txt");
    Cookie(Profile("me") + Cache, "3@site.example[1].txt");
    Cookie(Profile("hidden") + "cookies\\", "4@site.example[1].txt");
    Cookie(Profile("a.dot") + "cookies\\", "5@site.example[1].txt");
    const std::string hidden = Profile("hidden").substr(0, Profile("hidden").size() - 1);
    ASSERT_EQ(Machine().files->SetAttributes(hidden, platform::AttributeHidden), platform::SysError::Success);
    MakeFolder(Profile("without"));
    scanner.SetScanAllUsers(true);
    scanner.ScanCookies();
    EXPECT_THAT(CookiesOf(1), UnorderedElementsAre("site.example in " + mine, "site.example in " + yours));
    EXPECT_THAT(started, SizeIs(2)) << "a profile without cookies is passed over";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CookieScan, AnAbortEndsTheStage) {
    Cookie(Profile("me") + "cookies\\", "1@site.example[1].txt");
    Cookie(Profile("me") + "cookies\\", "2@site.example[1].txt");
    Cookie(Profile("me") + Cache, "3@site.example[1].txt");
    abortAtPoll = 1;
    scanner.ScanCookies();
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(CookiesOf(1), SizeIs(1)) << "the cookie that began is tested";
}

TEST_F(CookieScan, AMachineWithoutACookieFolderHasTheCacheOnly) {
    CurrentScan()->FolderPaths->PathCookies.clear();
    Cookie(Profile("me") + Cache, "1@site.example[1].txt");
    scanner.ScanCookies();
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(started, Each(Field(&HeardStart::type, ScanTypeCookies)));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CookieScan, WithoutFoldersTheStageIsReported) {
    CurrentScan()->FolderPaths.reset();
    scanner.ScanCookies();
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modScannerCookies");
    EXPECT_EQ(Reported()[0].procedure, "ScanCookies");
    EXPECT_EQ(Reported()[0].number, "91");
}

}  // namespace
}  // namespace kel::test
