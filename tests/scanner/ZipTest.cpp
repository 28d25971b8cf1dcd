#include <gmock/gmock.h>

#include "ScannerPeer.h"
#include "StoredZip.h"
#include "support/ScanTest.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class Zips : public ScanTest {
protected:
    Zips() { tables.md5 = {{1, HashOf(Bad())}}; }
    void SetUp() override {
        Begin();
        scanner.OptScanDepth = scandeep;
        scanner.DoScanZips = true;
        MakeFolder(Folder() + "walk");
        scanner.AddScanDriveAndPath(Folder() + "walk");
    }
    static std::string Bad() { return Bytes(1500, 'a'); }
    std::string Archive(const std::string& name, const std::string& bytes) {
        const std::string path = Folder() + "walk\\" + name;
        WriteFile(path, bytes);
        return path;
    }
    /// The doubled backslash comes from the folder for the data, which ends in one.
    std::string Scratch() const { return UserFolder() + "\\6635zipper"; }
    bool ScratchIsGone() { return !Exists(UserFolder() + "6635zipper"); }
};

TEST_F(Zips, AnEntryIsRecordedUnderItsScratchPathWhichIsGoneAfterwards) {
    const std::string zip = Archive("a.ZIP", StoredZip({{"bad.exe", Bad()}, {"good.txt", "hello"}}));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(found, ElementsAre(HeardThreat{Scratch() + "\\bad.exe", ScanTypeFiles, 1, 1}));
    EXPECT_THAT(FilesOf(1), ElementsAre(Scratch() + "\\bad.exe"));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ThreatLocationFiles->Item(1)->MD5, HashOf(Bad()));
    EXPECT_TRUE(ScratchIsGone());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Zips, OneEventNamesTheFirstEntryAndThenTheArchiveItself) {
    const std::string zip = Archive("a.zip", StoredZip({{"first.txt", "1"}}));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(StartedLocations(), ElementsAre(zip + " - first.txt", zip));
    EXPECT_EQ(scanner.Scan()->ScannedFileCount, 2);
}

TEST_F(Zips, SeveralEntriesStillRaiseOneEvent) {
    Archive("a.zip", StoredZip({{"1.txt", "1"}, {"2.txt", "2"}, {"3.txt", "3"}}));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(started, SizeIs(2));
}

TEST_F(Zips, TheArchiveIsTestedInItsOwnRight) {
    const std::string bytes = StoredZip({{"big.txt", Bytes(2000, 'z')}});
    tables.md5 = {{9, HashOf(bytes)}};
    State().DataInitialized = false;
    Begin();
    scanner.AddScanDriveAndPath(Folder() + "walk");
    const std::string zip = Archive("a.zip", bytes);
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(FilesOf(9), ElementsAre(zip));
}

TEST_F(Zips, WithoutTheOptionAnArchiveIsAFileLikeOthers) {
    scanner.DoScanZips = false;
    const std::string zip = Archive("a.zip", StoredZip({{"bad.exe", Bad()}}));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(StartedLocations(), ElementsAre(zip));
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(Zips, TheLastThreeCharactersMakeAnArchive) {
    Archive("bzip", StoredZip({{"bad.exe", Bad()}}));
    Archive("c.zipx", StoredZip({{"bad.exe", Bad()}}));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(found, SizeIs(1));
}

TEST_F(Zips, EntriesInSubfoldersAreNotTested) {
    Archive("a.zip", StoredZip({{"sub/bad.exe", Bad()}, {"top.txt", "x"}}));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(found, IsEmpty());
    EXPECT_TRUE(ScratchIsGone());
}

TEST_F(Zips, ABrokenArchiveIsALoggedFailureAndNoDetection) {
    const std::string zip = Archive("a.zip", "PK\x03\x04 this is no archive");
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(StartedLocations(), ElementsAre(zip));
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].number, "666");
    EXPECT_EQ(Reported()[0].module, "Scanner");
    EXPECT_EQ(Reported()[0].procedure, "ScanZipFile");
    EXPECT_TRUE(ScratchIsGone());
}

TEST_F(Zips, AnArchiveWithAPasswordIsALoggedFailureAndNoDetection) {
    Archive("a.zip", StoredZip({{"bad.exe", Bad()}}, 1));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(found, IsEmpty());
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].number, "666");
    EXPECT_TRUE(ScratchIsGone());
}

TEST_F(Zips, AnEmptyArchiveLeavesNothingBehind) {
    const std::string zip = Archive("a.zip", StoredZip({}));
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(StartedLocations(), ElementsAre(zip));
    EXPECT_TRUE(ScratchIsGone());
}

TEST_F(Zips, AnAbortDuringTheWalkStillRemovesTheScratchFolder) {
    const std::string zip = Archive("a.zip", StoredZip({{"bad.exe", Bad()}, {"bad2.exe", Bad()}}));
    abortAtPoll = 1;
    EXPECT_TRUE(ScannerPeer::ScanZipFile(scanner, zip, true));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_TRUE(ScratchIsGone());
}

TEST_F(Zips, AScratchFolderLeftByACrashBlocksOneArchive) {
    MakeFolder(UserFolder() + "6635zipper");
    WriteFile(UserFolder() + "6635zipper\\left.txt", "x");
    const std::string zip = Archive("a.zip", StoredZip({{"bad.exe", Bad()}}));
    EXPECT_TRUE(ScannerPeer::ScanZipFile(scanner, zip, true));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_TRUE(ScratchIsGone());
    EXPECT_TRUE(ScannerPeer::ScanZipFile(scanner, zip, true));
    EXPECT_THAT(found, SizeIs(1));
}

TEST_F(Zips, AFailedArchiveAnswersFalse) {
    EXPECT_FALSE(ScannerPeer::ScanZipFile(scanner, Archive("a.zip", "nothing"), false));
    EXPECT_THAT(started, IsEmpty());
}

TEST_F(Zips, WithoutReportingNoEventIsRaised) {
    EXPECT_TRUE(ScannerPeer::ScanZipFile(scanner, Archive("a.zip", StoredZip({{"bad.exe", Bad()}})), false));
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(found, SizeIs(1));
}

}  // namespace
}  // namespace kel::test
