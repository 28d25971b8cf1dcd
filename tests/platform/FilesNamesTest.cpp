// Long and short names, drives, the current folder, pattern lists.
#include <gmock/gmock.h>

#include <algorithm>

#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::DriveKind;
using platform::SysError;
using ::testing::StrCaseEq;

using FilesLongNames = PlatformTest;
using FilesDrives = PlatformTest;
using FilesMatchSpec = PlatformTest;

constexpr const char* LongName = "Long File Name.extension";

TEST_F(FilesLongNames, ShortAndLongPathNameTheSameFile) {
    Folder("Folder with blanks");
    const std::string whole = Path("Folder with blanks\\") + LongName;
    WriteFile(Machine(), whole, "text");
    const std::string shortPath = Files().ShortPath(whole).ValueOr("");
    ASSERT_NE(shortPath, "");
    EXPECT_EQ(shortPath.find(' '), std::string::npos) << shortPath;
    EXPECT_TRUE(Files().PathExists(shortPath));
    EXPECT_EQ(ReadFile(Machine(), shortPath), "text");
    EXPECT_EQ(Files().LongPath(shortPath).ValueOr(""), whole);
}

TEST_F(FilesLongNames, ShortPathHoldsTheAlternateName) {
    Write(LongName, "x");
    platform::FindData entry;
    ASSERT_TRUE(Files().FindFirst(Path(LongName), entry).Ok());
    EXPECT_EQ(Files().ShortPath(Path(LongName)).ValueOr(""), Path(entry.alternateName));
}

TEST_F(FilesLongNames, ShortNamesAreTheirOwnShortForm) {
    Write("plain.txt", "x");
    EXPECT_EQ(Files().ShortPath(Path("plain.txt")).ValueOr(""), Path("plain.txt"));
    EXPECT_EQ(Files().LongPath(Path("plain.txt")).ValueOr(""), Path("plain.txt"));
}

TEST_F(FilesLongNames, LongPathHasTheCaseOfTheDisk) {
    // Names of eight letters at most: Wine takes longer ones as they are given.
    Folder("MixCase");
    Write("MixCase\\File.Txt", "x");
    EXPECT_EQ(Files().LongPath(Path("MIXCASE\\file.txt")).ValueOr(""), Path("MixCase\\File.Txt"));
}

TEST_F(FilesLongNames, TrailingBackslashIsKept) {
    Folder("dir");
    EXPECT_EQ(Files().LongPath(Path("dir\\")).ValueOr(""), Path("dir\\"));
    EXPECT_EQ(Files().ShortPath(Path("dir\\")).ValueOr(""), Path("dir\\"));
}

TEST_F(FilesLongNames, MissingPathIsNotFound) {
    EXPECT_EQ(Files().LongPath(Path("missing")).Error(), SysError::FileNotFound);
    EXPECT_EQ(Files().ShortPath(Path("missing")).Error(), SysError::FileNotFound);
}

TEST_F(FilesDrives, ListHoldsTheSystemDriveInOrder) {
    const auto drives = Files().LogicalDrives();
    EXPECT_THAT(drives, ::testing::Contains("C:\\"));
    EXPECT_TRUE(std::is_sorted(drives.begin(), drives.end()));
    for (const std::string& root : drives) {
        EXPECT_EQ(root.substr(1), ":\\");
        EXPECT_TRUE(root[0] >= 'A' && root[0] <= 'Z') << root;
        EXPECT_NE(Files().DriveType(root), DriveKind::NoRoot);
    }
}

TEST_F(FilesDrives, SystemDriveIsFixed) {
    EXPECT_EQ(Files().DriveType("C:\\"), DriveKind::Fixed);
    EXPECT_EQ(Files().DriveType("c:\\"), DriveKind::Fixed);
    EXPECT_EQ(Files().DriveType("Q:\\"), DriveKind::NoRoot);
}

class FilesCurrentFolder : public PlatformTest {
protected:
    ~FilesCurrentFolder() override { Files().SetCurrentFolder("C:\\"); }
    std::string Bare(std::string_view name = {}) const {
        std::string path = Path(name);
        if (path.back() == '\\') {
            path.pop_back();
        }
        return path;
    }
};

TEST_F(FilesCurrentFolder, RelativePathsStartThere) {
    Write("a.txt", "text");
    Folder("dir");
    ASSERT_EQ(Files().SetCurrentFolder(Bare()), SysError::Success);
    EXPECT_EQ(ReadFile(Machine(), "a.txt"), "text");
    EXPECT_TRUE(Files().PathExists("dir"));
    EXPECT_TRUE(Files().PathExists("C:a.txt"));
    EXPECT_TRUE(Files().PathExists(Path("a.txt").substr(2)));
    ASSERT_EQ(Files().SetCurrentFolder("dir"), SysError::Success);
    EXPECT_THAT(Files().CurrentFolder(), StrCaseEq(Bare("dir")));
    EXPECT_FALSE(Files().PathExists("a.txt"));
    EXPECT_TRUE(Files().PathExists("..\\a.txt"));
}

TEST_F(FilesCurrentFolder, HasNoTrailingBackslashBelowTheRoot) {
    ASSERT_EQ(Files().SetCurrentFolder(Path("")), SysError::Success);
    EXPECT_THAT(Files().CurrentFolder(), StrCaseEq(Bare()));
    ASSERT_EQ(Files().SetCurrentFolder("C:\\"), SysError::Success);
    EXPECT_THAT(Files().CurrentFolder(), StrCaseEq("C:\\"));
}

TEST_F(FilesCurrentFolder, MustBeAFolder) {
    Write("a.txt", "x");
    const std::string before = Files().CurrentFolder();
    EXPECT_EQ(Files().SetCurrentFolder(Path("missing")), SysError::FileNotFound);
    EXPECT_EQ(Files().SetCurrentFolder(Path("missing\\sub")), SysError::PathNotFound);
    EXPECT_EQ(Files().SetCurrentFolder(Path("a.txt")), SysError::Directory);
    EXPECT_EQ(Files().CurrentFolder(), before);
}

struct SpecRow {
    const char* name;
    const char* spec;
    bool matches;
};

constexpr SpecRow SpecRows[] = {
    // one pattern
    {"a.txt", "*.txt", true},
    {"a.TXT", "*.txt", true},
    {"a.txt", "*.TXT", true},
    {"a.txt", "a.txt", true},
    {"a.txt", "A.t?t", true},
    {"a.txt", "a.tx", false},
    {"a.tx", "a.txt", false},
    {"a.txt", "?.txt", true},
    {"ab.txt", "?.txt", false},
    {"a", "a?", false},
    {"a", "a*", true},
    {"a", "**", true},
    {"ab", "a**b", true},
    {"abc", "*b*", true},
    {"abc", "*?c", true},
    {"abc", "?*", true},
    {"abcbc", "a*bc", true},
    {".txt", "*.txt", true},
    {"txt", "*txt", true},
    {"a.txt.exe", "*.txt", false},
    {"a.txt.exe", "*.exe", true},
    {"a b.txt", "a b.*", true},
    {"C:\\x\\a.txt", "*.txt", true},
    // all names
    {"noext", "*.*", true},
    {"noext", "*", true},
    {"a.b.c", "*.*", true},
    {"noext", "*.", false},
    {"noext.", "*.", true},
    // nothing
    {"a.txt", "", false},
    {"", "", false},
    {"", "*", true},
    {"", "?", false},
    // lists
    {"a.txt", "*.exe;*.txt", true},
    {"a.exe", "*.exe;*.txt", true},
    {"a.com", "*.exe;*.txt", false},
    {"x.cab", "*.zip;*.cab", true},
    {"x.ca", "*.zip;*.cab", false},
    {"a.txt", ";", false},
    {"a.txt", ";*.txt", true},
    {"a.txt", "*.exe;;*.txt", true},
    {"a.txt", "*.txt;", true},
    {"a;b", "a;b", false},
    {"b", "a;b", true},
    // blanks before a pattern are skipped, behind it they count
    {"a.txt", " *.txt", true},
    {"a.txt", "   *.txt", true},
    {"a.txt", "*.exe; *.txt", true},
    {"a.txt", "*.txt ", false},
    {"a.txt ", "*.txt ", true},
    {"a.exe", "*.exe ; *.txt", false},
    {"a.txt", "*.exe ; *.txt", true},
};

TEST_F(FilesMatchSpec, Table) {
    for (const SpecRow& row : SpecRows) {
        EXPECT_EQ(Files().MatchSpec(row.name, row.spec), row.matches) << '"' << row.name << "\" \"" << row.spec << '"';
    }
}

TEST_F(FilesMatchSpec, LettersBeyondAsciiFoldToo) {
    const std::string lower = Machine().text->FromUtf8("\xC3\xA9t\xC3\xA9.txt");
    const std::string upper = Machine().text->FromUtf8("\xC3\x89T\xC3\x89.*");
    EXPECT_TRUE(Files().MatchSpec(lower, upper));
    EXPECT_TRUE(Files().MatchSpec(lower, "?t?.txt"));
}

}  // namespace
}  // namespace kel::test
