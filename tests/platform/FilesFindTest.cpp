#include <gmock/gmock.h>

#include <algorithm>

#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::FindData;
using platform::SysError;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

class FilesFind : public PlatformTest {
protected:
    SysError FindError(std::string_view path) {
        FindData entry;
        return Files().FindFirst(path, entry).Error();
    }
};

TEST_F(FilesFind, SelfAndParentComeFirst) {
    Write("a.txt", "x");
    Folder("dir");
    for (const char* pattern : {"*.*", "*"}) {
        const auto names = Names(pattern);
        ASSERT_EQ(names.size(), 4U) << pattern;
        EXPECT_EQ(names[0], ".");
        EXPECT_EQ(names[1], "..");
    }
}

TEST_F(FilesFind, RootHasNoSelfAndNoParent) {
    FindData entry;
    auto find = Files().FindFirst("C:\\*", entry);
    ASSERT_TRUE(find.Ok());
    do {
        EXPECT_NE(entry.name, ".");
        EXPECT_NE(entry.name, "..");
    } while ((*find)->Next(entry) == SysError::Success);
}

TEST_F(FilesFind, EmptyFolderHasOnlySelfAndParent) {
    EXPECT_THAT(Names("*.*"), ElementsAre(".", ".."));
    EXPECT_EQ(FindError(Path("*.txt")), SysError::FileNotFound);
}

TEST_F(FilesFind, StarDotStarMatchesNamesWithoutADot) {
    Write("noext", "x");
    Write("two.dots.txt", "x");
    EXPECT_THAT(Names("*.*"), UnorderedElementsAre(".", "..", "noext", "two.dots.txt"));
}

TEST_F(FilesFind, StarDotMatchesNamesWithoutADotOnly) {
    Write("noext", "x");
    Write("with.ext", "x");
    Folder("dir");
    const auto names = Names("*.");
    EXPECT_THAT(names, AllOf(Contains("noext"), Contains("dir")));
    if (!UnderWine()) {  // which takes the pattern for a plain star
        EXPECT_THAT(names, Not(Contains("with.ext")));
    }
}

TEST_F(FilesFind, QuestionMarkIsOneCharacter) {
    for (const char* name : {"a.txt", "ab.txt", "abc.txt", "b.txt"}) {
        Write(name, "x");
    }
    const auto names = Names("a?.txt");
    EXPECT_THAT(names, Contains("ab.txt"));
    EXPECT_THAT(names, Not(Contains("abc.txt")));
    EXPECT_THAT(names, Not(Contains("b.txt")));
}

TEST_F(FilesFind, StarMatchesBeginningsAndEnds) {
    for (const char* name : {"setup.exe", "setup.ini", "reset.exe", "noext"}) {
        Write(name, "x");
    }
    EXPECT_THAT(Names("set*"), UnorderedElementsAre("setup.exe", "setup.ini"));
    EXPECT_THAT(Names("*.exe"), UnorderedElementsAre("setup.exe", "reset.exe"));
    EXPECT_THAT(Names("*set*.e*"), UnorderedElementsAre("setup.exe", "reset.exe"));
    EXPECT_THAT(Names("noext.*"), ElementsAre("noext"));
}

TEST_F(FilesFind, CaseDoesNotCount) {
    Write("MixedCase.Txt", "x");
    EXPECT_THAT(Names("mixedCASE.tXT"), ElementsAre("MixedCase.Txt"));
    EXPECT_THAT(Names("MIXED*.TXT"), ElementsAre("MixedCase.Txt"));
}

TEST_F(FilesFind, PlainNameFindsFileAndFolder) {
    Write("a.txt", "four");
    Folder("dir");
    FindData entry;
    ASSERT_TRUE(Files().FindFirst(Path("a.txt"), entry).Ok());
    EXPECT_EQ(entry.name, "a.txt");
    EXPECT_EQ(entry.size, 4U);
    EXPECT_EQ(entry.attributes & platform::AttributeDirectory, 0U);
    ASSERT_TRUE(Files().FindFirst(Path("DIR"), entry).Ok());
    EXPECT_EQ(entry.name, "dir");
    EXPECT_NE(entry.attributes & platform::AttributeDirectory, 0U);
}

TEST_F(FilesFind, PlainNameIsNoBeginning) {
    Write("x.y.z", "x");
    EXPECT_EQ(FindError(Path("x.y")), SysError::FileNotFound);
    EXPECT_EQ(FindError(Path("x")), SysError::FileNotFound);
}

TEST_F(FilesFind, AlternateNameIsTriedToo) {
    Write("Long File Name.extension", "x");
    FindData entry;
    ASSERT_TRUE(Files().FindFirst(Path("Long*"), entry).Ok());
    const std::string alternate = entry.alternateName;
    ASSERT_NE(alternate, "");
    EXPECT_LE(alternate.size(), 12U);
    EXPECT_THAT(Names(alternate), ElementsAre("Long File Name.extension"));
    EXPECT_THAT(Names("*~*"), ElementsAre("Long File Name.extension"));
}

TEST_F(FilesFind, ShortNamesHaveNoAlternateName) {
    Write("plain.txt", "x");
    FindData entry;
    ASSERT_TRUE(Files().FindFirst(Path("plain.txt"), entry).Ok());
    EXPECT_EQ(entry.alternateName, "");
}

TEST_F(FilesFind, MissingFolderIsPathNotFound) {
    EXPECT_EQ(FindError(Path("missing\\*.*")), SysError::PathNotFound);
    EXPECT_EQ(FindError("Q:\\*"), SysError::PathNotFound);
    EXPECT_EQ(FindError(""), SysError::PathNotFound);
}

TEST_F(FilesFind, TrailingBackslashFindsNothing) {
    Folder("dir");
    EXPECT_EQ(FindError(Path("dir\\")), SysError::FileNotFound);
    EXPECT_EQ(FindError("C:\\"), SysError::FileNotFound);
}

TEST_F(FilesFind, DoubledBackslashesAndDotsInThePathAreResolved) {
    Folder("dir");
    Write("a.txt", "x");
    EXPECT_THAT(Names("dir\\..\\a.txt"), ElementsAre("a.txt"));
    EXPECT_THAT(Names(".\\a.txt"), ElementsAre("a.txt"));
    EXPECT_THAT(Names("\\\\a.txt"), ElementsAre("a.txt"));
}

TEST_F(FilesFind, TimesAreThoseOfTheLastWrite) {
    Write("a.txt", "x");
    FindData entry;
    ASSERT_TRUE(Files().FindFirst(Path("a.txt"), entry).Ok());
    constexpr platform::FileTime year2020 = 132223104000000000ULL;
    EXPECT_GT(entry.lastWrite, year2020);
    EXPECT_GT(entry.lastAccess, year2020);
}

TEST_F(FilesFind, DeletingWhileEnumeratingVisitsEveryEntryOnce) {
    constexpr int count = 40;
    for (int number = 0; number < count; ++number) {
        Write("file" + std::to_string(number) + ".tmp", "x");
    }
    FindData entry;
    auto find = Files().FindFirst(Path("*.tmp"), entry);
    ASSERT_TRUE(find.Ok());
    std::vector<std::string> seen;
    do {
        seen.push_back(entry.name);
        EXPECT_EQ(Files().Remove(Path(entry.name)), SysError::Success);
    } while ((*find)->Next(entry) == SysError::Success);
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::unique(seen.begin(), seen.end()), seen.end());
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(count));
}

TEST_F(FilesFind, EndIsAnsweredAgain) {
    Write("a.txt", "x");
    FindData entry;
    auto find = Files().FindFirst(Path("a.txt"), entry);
    ASSERT_TRUE(find.Ok());
    EXPECT_EQ((*find)->Next(entry), SysError::NoMoreFiles);
    EXPECT_EQ((*find)->Next(entry), SysError::NoMoreFiles);
}

}  // namespace
}  // namespace kel::test
