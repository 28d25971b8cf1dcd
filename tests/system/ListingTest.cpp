#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Items.h"
#include "support/EngineTest.h"
#include "system/modKvFileExplorer.h"

namespace kel {
namespace {

using test::Items;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// A tree: two files, an empty folder, and a folder of two levels.
class Listings : public test::EngineTest {
protected:
    struct CountingLoop : platform::MessageLoop {
        int turns = 0;
        void DoEvents() override { ++turns; }
    };

    Listings() : root_(Folder() + "root\\") {
        MakeFolder(root_ + "empty");
        MakeFolder(root_ + "sub\\deep");
        WriteFile(root_ + "a.txt", "a");
        WriteFile(root_ + "b.dat", "b");
        WriteFile(root_ + "sub\\c.txt", "c");
        WriteFile(root_ + "sub\\deep\\d.txt", "d");
        WriteFile(root_ + "sub\\ends.dot.x", "e");
        auto machine = Machine();
        machine.loop = &loop_;
        Install(machine);
        State().Calls.StartingLocation = [this](std::string_view location, std::int32_t scanType) {
            EXPECT_EQ(scanType, 2);
            events_.emplace_back(location);
            if (events_.size() == abortAfter_) {
                ScanAbortFlag() = true;
            }
        };
    }

    std::string root_;
    CountingLoop loop_;
    std::vector<std::string> events_;
    std::size_t abortAfter_ = 0;
};

TEST_F(Listings, CountIncludesFoldersAndNotTheDots) {
    std::string path = Folder() + "root";
    EXPECT_EQ(modKvFileExplorer::FilesCountShallow(path, "*.*"), 4);
    EXPECT_EQ(path, root_);
    EXPECT_EQ(modKvFileExplorer::FilesCountShallow(path, "*.txt"), 1);
    path = root_ + "empty";
    EXPECT_EQ(modKvFileExplorer::FilesCountShallow(path, "*.*"), 0);
}

TEST_F(Listings, CountOfAnEmptyPathIsZeroAndLeavesIt) {
    std::string path;
    EXPECT_EQ(modKvFileExplorer::FilesCountShallow(path, "*.*"), 0);
    EXPECT_EQ(path, "");
}

TEST_F(Listings, ShallowListHoldsSubfoldersToo) {
    EXPECT_THAT(Items(modKvFileExplorer::FilesListShallow(Folder() + "root", "*.*")),
                UnorderedElementsAre("a.txt", "b.dat", "empty", "sub"));
    EXPECT_THAT(Items(modKvFileExplorer::FilesListShallow(root_, "*.t?t")), ElementsAre("a.txt"));
}

TEST_F(Listings, GiveTheMessageLoopATurnAfterEachEntry) {
    modKvFileExplorer::FilesListShallow(root_, "*.*");
    // The four entries, "." and "..".
    EXPECT_EQ(loop_.turns, 6);
}

TEST_F(Listings, OfAMissingFolderAreEmpty) {
    std::string missing = Folder() + "missing";
    EXPECT_EQ(modKvFileExplorer::FilesListShallow(missing, "*.*").Count(), 0U);
    EXPECT_EQ(modKvFileExplorer::FilesListDeep(missing, true, true).Count(), 0U);
    EXPECT_EQ(modKvFileExplorer::UserCookieFoldersList(missing).Count(), 0U);
    EXPECT_EQ(modKvFileExplorer::FoldersList(missing).Count(), 0U);
    EXPECT_EQ(missing, Folder() + "missing\\");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Listings, FoldersListHoldsOnlyFolders) {
    std::string path = Folder() + "root";
    EXPECT_THAT(Items(modKvFileExplorer::FoldersList(path)), UnorderedElementsAre("empty", "sub"));
    EXPECT_EQ(path, root_);
}

TEST_F(Listings, DeepListHoldsAllLevelsBehindTheFoldersOwnEntries) {
    const auto list = Items(modKvFileExplorer::FilesListDeep(Folder() + "root", true, false));
    EXPECT_THAT(list, UnorderedElementsAre(root_ + "a.txt", root_ + "b.dat", root_ + "empty", root_ + "sub",
                                           root_ + "sub\\c.txt", root_ + "sub\\deep", root_ + "sub\\deep\\d.txt",
                                           root_ + "sub\\ends.dot.x"));
    EXPECT_THAT(std::vector(list.begin(), list.begin() + 4),
                UnorderedElementsAre(root_ + "a.txt", root_ + "b.dat", root_ + "empty", root_ + "sub"));
    EXPECT_THAT(events_, IsEmpty());
}

TEST_F(Listings, WithoutSubfoldersTheFirstLevelBelowIsStillListed) {
    EXPECT_THAT(Items(modKvFileExplorer::FilesListDeep(root_, false, false)),
                UnorderedElementsAre(root_ + "a.txt", root_ + "b.dat", root_ + "empty", root_ + "sub",
                                     root_ + "sub\\c.txt", root_ + "sub\\deep", root_ + "sub\\ends.dot.x"));
}

TEST_F(Listings, ReportEachPathToTheScan) {
    const auto list = Items(modKvFileExplorer::FilesListDeep(root_, false, true));
    EXPECT_EQ(events_, list);
}

// The folder below a subfolder is reported when it is found and again when the list takes it over.
TEST_F(Listings, ReportDeeperFoldersTwice) {
    modKvFileExplorer::FilesListDeep(root_, true, true);
    EXPECT_EQ(std::count(events_.begin(), events_.end(), root_ + "sub\\deep"), 2);
    EXPECT_EQ(std::count(events_.begin(), events_.end(), root_ + "sub\\deep\\d.txt"), 1);
    EXPECT_EQ(std::count(events_.begin(), events_.end(), root_ + "sub"), 1);
}

TEST_F(Listings, EndAtTheAbortFlag) {
    abortAfter_ = 2;
    EXPECT_EQ(modKvFileExplorer::FilesListDeep(root_, true, true).Count(), 2U);
    EXPECT_EQ(events_.size(), 2U);
}

TEST_F(Listings, WithoutNotifyingIgnoreTheAbortFlagOnTheFirstLevel) {
    ScanAbortFlag() = true;
    EXPECT_EQ(modKvFileExplorer::FilesListDeep(root_, false, false).Count(), 7U);
}

TEST_F(Listings, WithoutACurrentScanNotifyNobody) {
    State().Calls.StartingLocation = nullptr;
    EXPECT_EQ(modKvFileExplorer::FilesListDeep(root_, true, true).Count(), 8U);
}

TEST_F(Listings, CookieFoldersAreThoseOfVisibleProfilesWithoutADot) {
    const std::string profiles = Folder() + "users\\";
    for (const char* name : {"Ann", "Bob", "ann.old", "Hidden"}) {
        MakeFolder(profiles + name);
    }
    ASSERT_EQ(Machine().files->SetAttributes(profiles + "Hidden", platform::AttributeHidden),
              platform::SysError::Success);
    EXPECT_THAT(Items(modKvFileExplorer::UserCookieFoldersList(Folder() + "users")),
                UnorderedElementsAre(profiles + "Ann\\cookies", profiles + "Bob\\cookies"));
}

TEST_F(Listings, AllUsersCookieFoldersLieBesideThatOfTheScan) {
    // The folder of all profiles is what stands before the second backslash.
    MakeFolder(Folder() + "profile");
    State().Calls.ScanCookiesFolder = [this] { return Folder() + "Ann\\Cookies\\"; };
    const auto list = Items(modKvFileExplorer::AllUsersCookieFolders());
    const std::string parent = Folder().substr(0, Folder().find('\\', 3) + 1);
    EXPECT_THAT(list,
                ::testing::Each(::testing::AllOf(::testing::StartsWith(parent), ::testing::EndsWith("\\cookies"))));
    EXPECT_FALSE(list.empty());
}

TEST_F(Listings, AllUsersCookieFoldersWithoutAScanAreReported) {
    State().Calls.ScanCookiesFolder = nullptr;
    EXPECT_EQ(modKvFileExplorer::AllUsersCookieFolders().Count(), 0U);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modKvFileExplorer");
    EXPECT_EQ(Reported()[0].number, "91");
}

}  // namespace
}  // namespace kel
