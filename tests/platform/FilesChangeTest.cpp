// Attributes, deleting, renaming, folders.
#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::AttributeArchive;
using platform::AttributeDirectory;
using platform::AttributeHidden;
using platform::AttributeNormal;
using platform::AttributeReadOnly;
using platform::AttributeSystem;
using platform::SysError;

constexpr std::uint32_t Settable = AttributeReadOnly | AttributeHidden | AttributeSystem;

using FilesExistence = PlatformTest;
using FilesAttributes = PlatformTest;
using FilesRemove = PlatformTest;
using FilesRename = PlatformTest;
using FilesFolders = PlatformTest;

TEST_F(FilesExistence, FileAndFolderExist) {
    Write("a.txt", "x");
    Folder("dir");
    EXPECT_TRUE(Files().PathExists(Path("a.txt")));
    EXPECT_TRUE(Files().PathExists(Path("A.TXT")));
    EXPECT_TRUE(Files().PathExists(Path("dir")));
    EXPECT_TRUE(Files().PathExists(Path("dir\\")));
    EXPECT_TRUE(Files().PathExists("C:\\"));
    EXPECT_FALSE(Files().PathExists(Path("missing")));
    EXPECT_FALSE(Files().PathExists(Path("missing\\a.txt")));
    EXPECT_FALSE(Files().PathExists(Path("*.txt")));
    EXPECT_FALSE(Files().PathExists("Q:\\"));
    EXPECT_FALSE(Files().PathExists(""));
}

TEST_F(FilesExistence, FolderIsSixteen) {
    Write("a.txt", "x");
    Folder("dir");
    EXPECT_EQ(Files().PathIsDirectory(Path("dir")), 16);
    EXPECT_EQ(Files().PathIsDirectory(Path("dir\\")), 16);
    EXPECT_EQ(Files().PathIsDirectory("C:\\"), 16);
    EXPECT_EQ(Files().PathIsDirectory(Path("a.txt")), 0);
    EXPECT_EQ(Files().PathIsDirectory(Path("missing")), 0);
    EXPECT_EQ(Files().PathIsDirectory(""), 0);
}

TEST_F(FilesAttributes, AreReadBackAsSet) {
    Write("a.txt", "x");
    for (const std::uint32_t bits : {0U, 1U, 2U, 4U, 3U, 7U}) {
        SetAttributes("a.txt", bits);
        EXPECT_EQ(Files().Attributes(Path("a.txt")).ValueOr(0) & Settable, bits);
    }
    ASSERT_EQ(Files().SetAttributes(Path("a.txt"), AttributeNormal), SysError::Success);
    EXPECT_EQ(Files().Attributes(Path("a.txt")).ValueOr(99) & Settable, 0U);
}

TEST_F(FilesAttributes, NewFileIsNotReadOnly) {
    Write("a.txt", "x");
    const std::uint32_t bits = Files().Attributes(Path("a.txt")).ValueOr(0);
    EXPECT_NE(bits & (AttributeArchive | AttributeNormal), 0U);
    EXPECT_EQ(bits & (Settable | AttributeDirectory), 0U);
}

TEST_F(FilesAttributes, OfAFolderHoldTheDirectoryBit) {
    Folder("dir");
    ASSERT_EQ(Files().SetAttributes(Path("dir"), AttributeHidden), SysError::Success);
    EXPECT_EQ(Files().Attributes(Path("dir")).ValueOr(0), AttributeDirectory | AttributeHidden);
    ASSERT_EQ(Files().SetAttributes(Path("dir"), AttributeDirectory | AttributeSystem), SysError::Success);
    EXPECT_EQ(Files().Attributes(Path("dir")).ValueOr(0) & Settable, AttributeSystem);
    EXPECT_EQ(Files().SetAttributes(Path("dir"), AttributeNormal), SysError::Success);
}

TEST_F(FilesAttributes, DirectoryBitDoesNotMakeAFolder) {
    Write("a.txt", "x");
    EXPECT_EQ(Files().SetAttributes(Path("a.txt"), AttributeDirectory | AttributeHidden), SysError::Success);
    EXPECT_EQ(Files().PathIsDirectory(Path("a.txt")), 0);
    EXPECT_EQ(Files().Attributes(Path("a.txt")).ValueOr(0) & Settable, AttributeHidden);
}

TEST_F(FilesAttributes, MissingFileAndMissingPathDiffer) {
    EXPECT_EQ(Files().Attributes(Path("missing")).Error(), SysError::FileNotFound);
    EXPECT_EQ(Files().Attributes(Path("missing\\a.txt")).Error(), SysError::PathNotFound);
    EXPECT_EQ(Files().SetAttributes(Path("missing"), AttributeNormal), SysError::FileNotFound);
    EXPECT_EQ(Files().SetAttributes(Path("missing\\a.txt"), AttributeNormal), SysError::PathNotFound);
    EXPECT_EQ(Files().Attributes("").Error(), SysError::PathNotFound);
    EXPECT_EQ(Files().Attributes(Path("*")).Error(), SysError::InvalidName);
}

TEST_F(FilesAttributes, AreEnumerated) {
    Write("a.txt", "x");
    SetAttributes("a.txt", AttributeHidden | AttributeReadOnly);
    platform::FindData entry;
    ASSERT_TRUE(Files().FindFirst(Path("a.txt"), entry).Ok());
    EXPECT_EQ(entry.attributes & Settable, AttributeHidden | AttributeReadOnly);
}

TEST_F(FilesRemove, FileGoes) {
    Write("a.txt", "x");
    EXPECT_EQ(Files().Remove(Path("A.txt")), SysError::Success);
    EXPECT_FALSE(Files().PathExists(Path("a.txt")));
}

TEST_F(FilesRemove, ReadOnlyFileStays) {
    Write("a.txt", "x");
    Files().SetAttributes(Path("a.txt"), AttributeReadOnly);
    EXPECT_EQ(Files().Remove(Path("a.txt")), SysError::AccessDenied);
    EXPECT_TRUE(Files().PathExists(Path("a.txt")));
    Files().SetAttributes(Path("a.txt"), AttributeNormal);
    EXPECT_EQ(Files().Remove(Path("a.txt")), SysError::Success);
}

TEST_F(FilesRemove, HiddenSystemFileGoes) {
    Write("a.txt", "x");
    Files().SetAttributes(Path("a.txt"), AttributeHidden | AttributeSystem);
    EXPECT_EQ(Files().Remove(Path("a.txt")), SysError::Success);
}

TEST_F(FilesRemove, FolderStays) {
    Folder("dir");
    EXPECT_EQ(Files().Remove(Path("dir")), SysError::AccessDenied);
    EXPECT_TRUE(Files().PathExists(Path("dir")));
}

TEST_F(FilesRemove, MissingFileAndMissingPathDiffer) {
    EXPECT_EQ(Files().Remove(Path("missing")), SysError::FileNotFound);
    EXPECT_EQ(Files().Remove(Path("missing\\a.txt")), SysError::PathNotFound);
    EXPECT_EQ(Files().Remove(""), SysError::PathNotFound);
}

TEST_F(FilesRename, FileMovesBetweenFolders) {
    Write("a.txt", "text");
    Folder("dir");
    EXPECT_EQ(Files().Rename(Path("a.txt"), Path("dir\\b.txt")), SysError::Success);
    EXPECT_FALSE(Files().PathExists(Path("a.txt")));
    EXPECT_EQ(Read("dir\\b.txt"), "text");
}

TEST_F(FilesRename, FolderMovesWithItsContents) {
    Folder("dir\\sub");
    Write("dir\\sub\\a.txt", "text");
    EXPECT_EQ(Files().Rename(Path("dir"), Path("moved")), SysError::Success);
    EXPECT_EQ(Read("moved\\sub\\a.txt"), "text");
    EXPECT_FALSE(Files().PathExists(Path("dir")));
}

TEST_F(FilesRename, DestinationIsNeverReplaced) {
    Write("a.txt", "a");
    Write("b.txt", "b");
    Folder("dir");
    EXPECT_EQ(Files().Rename(Path("a.txt"), Path("B.TXT")), SysError::AlreadyExists);
    EXPECT_EQ(Files().Rename(Path("a.txt"), Path("dir")), SysError::AlreadyExists);
    EXPECT_EQ(Files().Rename(Path("dir"), Path("a.txt")), SysError::AlreadyExists);
    EXPECT_EQ(Read("a.txt"), "a");
    EXPECT_EQ(Read("b.txt"), "b");
}

TEST_F(FilesRename, OnlyTheCaseCanChange) {
    Write("a.txt", "text");
    EXPECT_EQ(Files().Rename(Path("a.txt"), Path("A.Txt")), SysError::Success);
    platform::FindData entry;
    ASSERT_TRUE(Files().FindFirst(Path("a.txt"), entry).Ok());
    if (!UnderWine()) {  // which succeeds and changes nothing
        EXPECT_EQ(entry.name, "A.Txt");
    }
    EXPECT_EQ(Files().Rename(Path("A.Txt"), Path("A.Txt")), SysError::Success);
}

TEST_F(FilesRename, ReadOnlyFileMovesAndKeepsItsAttributes) {
    Write("a.txt", "text");
    SetAttributes("a.txt", AttributeReadOnly | AttributeHidden);
    EXPECT_EQ(Files().Rename(Path("a.txt"), Path("b.txt")), SysError::Success);
    EXPECT_EQ(Files().Attributes(Path("b.txt")).ValueOr(0) & Settable, AttributeReadOnly | AttributeHidden);
}

TEST_F(FilesRename, MissingFileAndMissingPathDiffer) {
    Write("a.txt", "x");
    EXPECT_EQ(Files().Rename(Path("missing"), Path("b.txt")), SysError::FileNotFound);
    EXPECT_EQ(Files().Rename(Path("missing\\a.txt"), Path("b.txt")), SysError::PathNotFound);
    EXPECT_EQ(Files().Rename(Path("a.txt"), Path("missing\\b.txt")), SysError::PathNotFound);
    EXPECT_TRUE(Files().PathExists(Path("a.txt")));
}

TEST_F(FilesFolders, AreMadeOneLevelAtATime) {
    EXPECT_EQ(Files().MakeFolder(Path("a\\b")), SysError::PathNotFound);
    EXPECT_EQ(Files().MakeFolder(Path("a")), SysError::Success);
    EXPECT_EQ(Files().MakeFolder(Path("a\\b")), SysError::Success);
    EXPECT_EQ(Files().MakeFolder(Path("c\\")), SysError::Success);
    EXPECT_EQ(Files().PathIsDirectory(Path("c")), 16);
}

TEST_F(FilesFolders, ExistingOneIsAnError) {
    Folder("dir");
    Write("a.txt", "x");
    EXPECT_EQ(Files().MakeFolder(Path("DIR")), SysError::AlreadyExists);
    EXPECT_EQ(Files().MakeFolder(Path("a.txt")), SysError::AlreadyExists);
    EXPECT_EQ(Files().MakeFolder(""), SysError::PathNotFound);
    EXPECT_EQ(Files().MakeFolder(Path("a<b")), SysError::InvalidName);
}

TEST_F(FilesFolders, EmptyOneIsRemoved) {
    Folder("dir");
    EXPECT_EQ(Files().RemoveFolder(Path("dir")), SysError::Success);
    EXPECT_FALSE(Files().PathExists(Path("dir")));
}

TEST_F(FilesFolders, OneWithContentsStays) {
    Folder("dir");
    Write("dir\\a.txt", "x");
    EXPECT_EQ(Files().RemoveFolder(Path("dir")), SysError::DirNotEmpty);
    EXPECT_TRUE(Files().PathExists(Path("dir\\a.txt")));
}

TEST_F(FilesFolders, RemovingWhatIsNotThereTellsWhatIsMissing) {
    Write("a.txt", "x");
    EXPECT_EQ(Files().RemoveFolder(Path("missing")), SysError::FileNotFound);
    EXPECT_EQ(Files().RemoveFolder(Path("missing\\sub")), SysError::PathNotFound);
    EXPECT_EQ(Files().RemoveFolder(Path("a.txt")), SysError::Directory);
    EXPECT_TRUE(Files().PathExists(Path("a.txt")));
}

TEST_F(FilesFolders, ReadOnlyOneStays) {
    if (UnderWine()) {
        GTEST_SKIP() << "Wine removes it";
    }
    Folder("dir");
    Files().SetAttributes(Path("dir"), AttributeReadOnly);
    EXPECT_EQ(Files().RemoveFolder(Path("dir")), SysError::AccessDenied);
    Files().SetAttributes(Path("dir"), AttributeNormal);
    EXPECT_EQ(Files().RemoveFolder(Path("dir")), SysError::Success);
}

}  // namespace
}  // namespace kel::test
