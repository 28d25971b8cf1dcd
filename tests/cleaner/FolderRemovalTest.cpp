// A folder with everything below it.
#include <gmock/gmock.h>

#include <memory>
#include <utility>

#include "RemovalTest.h"
#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingFiles.h"
#include "quarantine/QThreatLocationFolder.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr const char* DelFolders = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFolders)";

class FolderRemoval : public RemovalTest {
protected:
    QuarantineRecords RemoveFolder(const std::string& path) {
        return CleanerPeer::QuarantineFolder(cleaner, Threat, path, Quarantined());
    }
    static std::vector<std::string> Folders(const QuarantineRecords& records) {
        std::vector<std::string> paths;
        for (const auto& record : records) {
            paths.push_back(std::get<std::shared_ptr<QThreatLocationFolder>>(record)->OriginalFolderPath);
        }
        return paths;
    }
};

TEST_F(FolderRemoval, ATreeGoesFileByFileAndThenItself) {
    const std::string top = AddThing("evil\\");
    AddThing("evil\\a.txt", "first");
    AddThing("evil\\sub\\b.txt", "second");
    AddThing("evil\\sub\\deep\\c.txt", "third");
    AddThing("evil\\empty\\");
    const QuarantineRecords records = RemoveFolder(top);
    EXPECT_FALSE(Exists(top));
    EXPECT_THAT(RecordedFiles(), UnorderedElementsAre(top + "sub\\deep\\c.txt", top + "sub\\b.txt", top + "a.txt"));
    for (std::size_t row = 0; row < 3; ++row) {
        EXPECT_TRUE(QuarantinedBytes(row).ends_with("6635\r\n"));
    }
    // Contents go before what holds them.
    EXPECT_EQ(RecordedFiles().back(), top + "a.txt");
    EXPECT_THAT(Folders(records), UnorderedElementsAre(top + "sub\\deep", top + "sub", top + "empty", top));
    EXPECT_EQ(Log().back(), "Delete folder " + top);
    EXPECT_EQ(sent.front(), "Removing folder " + top + "...");
    EXPECT_THAT(sent, Contains("Removing folder " + top + "sub\\deep..."));
    EXPECT_FALSE(cleaner.IsRebootRequired());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(FolderRemoval, AFolderRecordsItsSubfoldersByNameAndALeafItself) {
    const std::string top = AddThing("evil\\");
    AddThing("evil\\sub\\deep\\");
    RemoveFolder(top);
    EXPECT_THAT(
        Rows(quarantine::Folders, {"OriginalFolderPath", "QThreatID"}),
        ElementsAre(ElementsAre("sub", "null"), ElementsAre("deep", "null"), ElementsAre(top + "sub\\deep", "null")));
}

TEST_F(FolderRemoval, APathWithoutItsLastBackslashIsTheSameFolder) {
    const std::string top = AddThing("evil\\");
    AddThing("evil\\sub\\b.txt");
    const std::string bare = top.substr(0, top.size() - 1);
    RemoveFolder(bare);
    EXPECT_FALSE(Exists(top));
    EXPECT_THAT(RecordedFiles(), ElementsAre(top + "sub\\b.txt"));
    EXPECT_EQ(Log().back(), "Delete folder " + bare);
}

TEST_F(FolderRemoval, OnlyTheTopFolderIsDeleted) {
    const std::string top = AddThing("evil\\");
    AddThing("evil\\sub\\b.txt");
    CleanerPeer::QuarantineFolder(cleaner, Threat, top, Quarantined(), true);
    EXPECT_TRUE(Exists(top + "sub"));
    EXPECT_FALSE(Exists(top + "sub\\b.txt"));
}

TEST_F(FolderRemoval, ARestrictedFolderIsNotTouchedAndNotRecorded) {
    const std::string path = Windows();
    EXPECT_EQ(RemoveFolder(path).Count(), 0U);
    EXPECT_TRUE(Exists(path));
    EXPECT_THAT(Rows(quarantine::Folders, {"OriginalFolderPath"}), IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("Restrict Remove Folder " + path));
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(FolderRemoval, AMissingFolderIsNotRecorded) {
    const std::string path = Things() + "gone\\";
    EXPECT_EQ(RemoveFolder(path).Count(), 0U);
    EXPECT_THAT(Rows(quarantine::Folders, {"OriginalFolderPath"}), IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("Folder does not exist " + path));
}

TEST_F(FolderRemoval, AFolderWhoseDeletionFailsIsLeftToTheNextStart) {
    const std::string top = AddThing("evil\\");
    const std::string held = AddThing("evil\\held.txt");
    decorators::FaultInjectingPlatform faults(Staged());
    faults.Lock(held);
    Install(faults.View());
    const QuarantineRecords records = RemoveFolder(top);
    EXPECT_TRUE(Exists(held));
    EXPECT_EQ(records.Count(), 0U);
    const std::string failure = "Could not delete folder " + top + " (error: 32)";
    EXPECT_THAT(Log(), Contains(failure));
    EXPECT_EQ(Log().back(), "Special cleaner required to remove threat on restart, reason: " + failure);
    EXPECT_TRUE(cleaner.IsRebootRequired());
    EXPECT_TRUE(CleanerPeer::IsFolderLeft(cleaner, top));
    EXPECT_TRUE(CleanerPeer::IsFileLeft(cleaner, held));
    EXPECT_EQ(Data(HiveCurrentUser, DelFolders, top), "1");
}

TEST_F(FolderRemoval, AFolderThatIsLeftToTheNextStartIsPassedOverTheSecondTime) {
    const std::string top = AddThing("evil\\");
    const std::string held = AddThing("evil\\held.txt");
    decorators::FaultInjectingPlatform faults(Staged());
    faults.Lock(held);
    Install(faults.View());
    RemoveFolder(top);
    const std::size_t rows = RecordedFiles().size();
    EXPECT_EQ(RemoveFolder(top).Count(), 0U);
    EXPECT_THAT(RecordedFiles(), SizeIs(rows));
    EXPECT_EQ(Log().back(), "Cleaner Required Folder " + top);
}

// One folder is a link to another one.
class FilesWithLink : public decorators::ForwardingFiles {
public:
    FilesWithLink(platform::Files& inner, std::string link) : ForwardingFiles(inner), link_(std::move(link)) {}

    platform::Result<std::uint32_t> Attributes(std::string_view path) override {
        auto attributes = Inner().Attributes(path);
        if (attributes && path == link_) {
            return *attributes | platform::AttributeReparsePoint;
        }
        return attributes;
    }

private:
    std::string link_;
};

TEST_F(FolderRemoval, WhatALinkToAnotherFolderShowsStays) {
    const std::string top = AddThing("evil\\");
    AddThing("evil\\a.txt");
    const std::string shown = AddThing("evil\\link\\mine.txt", "mine");
    FilesWithLink files(*Machine().files, top + "link");
    platform::Platform view = Staged();
    view.files = &files;
    Install(view);
    CleanerPeer::QuarantineFolder(cleaner, Threat, top, Quarantined(), true);
    EXPECT_EQ(ReadFile(shown), "mine");
    EXPECT_THAT(RecordedFiles(), ElementsAre(top + "a.txt"));
}

TEST_F(FolderRemoval, AProtectedFileBelowItGoesWithItUnrecorded) {
    const std::string top = AddThing("evil\\");
    AddThing("evil\\winforms.dll");
    RemoveFolder(top);
    EXPECT_THAT(Log(), Contains("Restrict Remove File " + top + "winforms.dll"));
    EXPECT_THAT(RecordedFiles(), IsEmpty());
    EXPECT_FALSE(Exists(top));
}

}  // namespace
}  // namespace kel::test
