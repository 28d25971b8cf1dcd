// FindFirst: order, patterns, short names, what changes meanwhile; PathMatchSpec.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <set>

#include "HostMachine.h"
#include "offline/OfflineFilesPattern.h"
#include "offline/PathResolverSyntax.h"
#include "support/OpenDescriptors.h"

namespace kel::test {

using platform::FindData;
using platform::SysError;
using ::testing::Contains;
using ::testing::ElementsAre;

class Enumeration : public HostMachine {
protected:
    void PutAll(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            Put(Root() / "f" / name);
        }
    }
    [[nodiscard]] std::string ShortName(const std::string& name) {
        const auto entry = Entry("C:\\f\\" + name);
        EXPECT_TRUE(entry) << name;
        return entry ? entry->alternateName : "?";
    }
};

TEST_F(Enumeration, IsByFoldedNameWithTheDotsFirst) {
    PutAll({"b.txt", "A.txt", "c", "_", "Ä", "Z", "a"});
    EXPECT_THAT(Names("C:\\f\\*.*"), ElementsAre(".", "..", "a", "A.txt", "b.txt", "c", "Z", "_", "Ä"));
}

TEST_F(Enumeration, ARootHasNoDots) {
    Put(Root() / "x");
    EXPECT_THAT(Names("C:\\*"), ElementsAre("x"));
    EXPECT_EQ(FindError("C:\\*.exe"), SysError::FileNotFound);
}

TEST_F(Enumeration, AnEmptyFolderHasItsDotsOnly) {
    Mkdir(Root() / "f");
    EXPECT_THAT(Names("C:\\f\\*"), ElementsAre(".", ".."));
    EXPECT_EQ(FindError("C:\\f\\*.txt"), SysError::FileNotFound);
    EXPECT_EQ(Entry("C:\\f\\*")->attributes & platform::AttributeDirectory, platform::AttributeDirectory);
}

TEST_F(Enumeration, AnEmptyRootHasNothing) {
    EXPECT_EQ(FindError("C:\\*"), SysError::FileNotFound);
}

TEST_F(Enumeration, ANameWithoutWildcardsFindsItself) {
    Put(Root() / "Folder" / "File.bin", "12345");
    const auto file = Entry("c:\\folder\\FILE.BIN");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->name, "File.bin");
    EXPECT_EQ(file->size, 5U);
    const auto folder = Entry("C:\\FOLDER");
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->name, "Folder");
    EXPECT_EQ(folder->attributes & platform::AttributeDirectory, platform::AttributeDirectory);
    EXPECT_EQ(folder->size, 0U);
}

TEST_F(Enumeration, PatternsHaveTheRulesOfDos) {
    PutAll({"a", "ab", "a.b", "abc.txt", "noext", "x.y.z", ".dot"});
    // The short name of .dot, DOT~1, has no dot.
    EXPECT_THAT(Names("C:\\f\\*."), ElementsAre(".", "..", ".dot", "a", "ab", "noext"));
    EXPECT_THAT(Names("C:\\f\\a*"), ElementsAre("a", "a.b", "ab", "abc.txt"));
    EXPECT_THAT(Names("C:\\f\\A?"), ElementsAre("a", "ab"));
    EXPECT_THAT(Names("C:\\f\\a.*"), ElementsAre("a", "a.b"));
    EXPECT_THAT(Names("C:\\f\\*.TXT"), ElementsAre("abc.txt"));
    EXPECT_THAT(Names("C:\\f\\?.?"), ElementsAre("a", "a.b"));
    EXPECT_THAT(Names("C:\\f\\*.z"), ElementsAre("x.y.z"));
    EXPECT_THAT(Names("C:\\f\\x*z"), ElementsAre("x.y.z"));
    EXPECT_THAT(Names("C:\\f\\???.txt"), ElementsAre("abc.txt"));
    EXPECT_THAT(Names("C:\\f\\?????.txt"), ElementsAre("abc.txt"));
    EXPECT_EQ(FindError("C:\\f\\??.txt"), SysError::FileNotFound);
}

TEST_F(Enumeration, ShortNamesMatchPatternsToo) {
    PutAll({"page one.html", "other.htm"});
    EXPECT_THAT(Names("C:\\f\\*.htm"), ElementsAre("other.htm", "page one.html"));
    EXPECT_THAT(Names("C:\\f\\PAGE*~1*"), ElementsAre("page one.html"));
}

TEST_F(Enumeration, ShortNamesCountInTheOrderOfNames) {
    PutAll({"Program Files", "Program Data", "programs.longext", "short.txt", "a b", ".hidden", "two.dots.txt",
            "plus+.txt"});
    EXPECT_EQ(ShortName("Program Data"), "PROGRA~1");
    EXPECT_EQ(ShortName("Program Files"), "PROGRA~2");
    EXPECT_EQ(ShortName("programs.longext"), "PROGRA~1.LON");
    EXPECT_EQ(ShortName("short.txt"), "");
    EXPECT_EQ(ShortName("a b"), "AB~1");
    EXPECT_EQ(ShortName(".hidden"), "HIDDEN~1");
    EXPECT_EQ(ShortName("two.dots.txt"), "TWODOT~1.TXT");
    EXPECT_EQ(ShortName("plus+.txt"), "PLUS_~1.TXT");
}

TEST_F(Enumeration, ShortNamesOpenTheirFiles) {
    Put(Root() / "Program Files" / "My Application" / "read me first.txt", "found");
    EXPECT_EQ(Read("C:\\PROGRA~1\\myappl~1\\README~1.TXT"), "found");
    EXPECT_FALSE(Files().PathExists("C:\\PROGRA~2"));
}

TEST_F(Enumeration, AShortNameThatAFileHasIsNotGivenAgain) {
    PutAll({"longna~1.txt", "long name here.txt"});
    EXPECT_EQ(ShortName("long name here.txt"), "LONGNA~2.TXT");
    EXPECT_EQ(ShortName("longna~1.txt"), "");
}

TEST_F(Enumeration, ManyShortNamesAreAllDifferentAndValid) {
    Mkdir(Root() / "f");
    for (int number = 0; number < 1200; ++number) {
        Put(Root() / "f" / ("same beginning " + std::to_string(number) + (number % 2 == 0 ? ".text" : ".texture")));
    }
    std::set<std::string> seen;
    FindData entry;
    auto find = Files().FindFirst("C:\\f\\*.*", entry);
    ASSERT_TRUE(find.Ok());
    do {
        if (entry.name[0] != '.') {
            EXPECT_TRUE(offline::IsShortName(entry.alternateName)) << entry.alternateName;
            EXPECT_TRUE(seen.insert(entry.alternateName).second) << entry.alternateName;
        }
    } while ((*find)->Next(entry) == SysError::Success);
    EXPECT_EQ(seen.size(), 1200U);
    EXPECT_TRUE(seen.contains("SAMEBE~9.TEX"));
    EXPECT_TRUE(seen.contains("SAMEB~10.TEX"));
    EXPECT_TRUE(seen.contains("SAME~100.TEX"));
}

TEST_F(Enumeration, OfNamesThatDifferByCaseOnlyTheSecondHasAShortName) {
    PutAll({"README", "readme"});
    EXPECT_EQ(ShortName("README"), "");
    EXPECT_EQ(ShortName("readme"), "README~1");
    EXPECT_EQ(*Files().LongPath("C:\\f\\README~1"), "C:\\f\\readme");
}

TEST_F(Enumeration, DeletingWhileEnumeratingLosesNothing) {
    for (int number = 0; number < 500; ++number) {
        Put(Root() / "f" / ("file " + std::to_string(number)));
    }
    FindData entry;
    auto find = Files().FindFirst("C:\\f\\*", entry);
    ASSERT_TRUE(find.Ok());
    int removed = 0;
    do {
        if (entry.name[0] != '.') {
            EXPECT_EQ(Files().Remove("C:\\f\\" + entry.name), SysError::Success) << entry.name;
            ++removed;
        }
    } while ((*find)->Next(entry) == SysError::Success);
    EXPECT_EQ(removed, 500);
    EXPECT_TRUE(std::filesystem::is_empty(Root() / "f"));
    EXPECT_EQ(Files().RemoveFolder("C:\\f"), SysError::Success) << "an open enumeration does not hold it";
}

TEST_F(Enumeration, EntriesThatGoAwayMeanwhileAreLeftOut) {
    PutAll({"a", "b", "c"});
    FindData entry;
    auto find = Files().FindFirst("C:\\f\\?", entry);
    ASSERT_TRUE(find.Ok());
    std::filesystem::remove(Root() / "f" / "b");
    EXPECT_EQ((*find)->Next(entry), SysError::Success);
    EXPECT_EQ(entry.name, "c");
    EXPECT_EQ((*find)->Next(entry), SysError::NoMoreFiles);
    EXPECT_EQ((*find)->Next(entry), SysError::NoMoreFiles);
}

TEST_F(Enumeration, ChangesOfTheHostAreSeenAtOnce) {
    PutAll({"first"});
    EXPECT_THAT(Names("C:\\f\\*"), ElementsAre(".", "..", "first"));
    for (int round = 0; round < 200; ++round) {
        const std::string name = "new" + std::to_string(round);
        Put(Root() / "f" / name);
        EXPECT_TRUE(Files().PathExists("C:\\F\\" + name));
        EXPECT_THAT(Names("C:\\f\\*"), Contains(name));
        std::filesystem::remove(Root() / "f" / name);
        EXPECT_FALSE(Files().PathExists("C:\\F\\" + name));
    }
}

TEST_F(Enumeration, OwnChangesAreSeenAtOnce) {
    Mkdir(Root() / "f");
    for (int round = 0; round < 200; ++round) {
        const std::string name = "C:\\f\\New" + std::to_string(round);
        EXPECT_EQ(Write(name, "x"), SysError::Success);
        EXPECT_TRUE(Files().PathExists("C:\\F\\NEW" + std::to_string(round)));
        EXPECT_EQ(Files().Rename(name, name + ".moved"), SysError::Success);
        EXPECT_FALSE(Files().PathExists(name));
        EXPECT_TRUE(Entry(name + ".MOVED"));
    }
    EXPECT_EQ(Names("C:\\f\\*.moved").size(), 200U);
}

TEST_F(Enumeration, AFolderThatWasReplacedIsLookedAtAnew) {
    Put(Root() / "a" / "old.txt");
    EXPECT_TRUE(Files().PathExists("C:\\a\\old.txt"));
    std::filesystem::rename(Root() / "a", Root() / "b");
    Put(Root() / "a" / "new.txt");
    EXPECT_FALSE(Files().PathExists("C:\\a\\old.txt"));
    EXPECT_TRUE(Files().PathExists("C:\\a\\new.txt"));
    EXPECT_TRUE(Files().PathExists("C:\\b\\old.txt"));
    EXPECT_EQ(Files().Rename("C:\\a", "C:\\c"), SysError::Success);
    EXPECT_EQ(Files().Rename("C:\\b", "C:\\a"), SysError::Success);
    EXPECT_TRUE(Files().PathExists("C:\\a\\old.txt"));
    EXPECT_TRUE(Files().PathExists("C:\\c\\new.txt"));
}

// The walk of a disk in which every folder is visited and forgotten again.
std::size_t ResidentKilobytes() {
    std::ifstream status("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    status >> total >> resident;
    return resident * 4;
}

TEST_F(Enumeration, AWalkOverManyFoldersHoldsFewOfThem) {
    for (int number = 0; number < 400; ++number) {
        Put(Root() / ("folder " + std::to_string(number)) / "sub" / "file");
    }
    for (const std::string& folder : Names("C:\\*")) {
        EXPECT_EQ(Names("C:\\" + folder + "\\sub\\*").size(), 3U);
    }
    EXPECT_LT(OpenDescriptors(), 100U);
}

TEST_F(Enumeration, AFolderOf100000FilesIsCheap) {
    const auto folder = Root() / "many";
    Mkdir(folder);
    for (int number = 0; number < 100'000; ++number) {
        // Half of them with long names, that need short ones.
        const std::string name = (number % 2 == 0 ? "f" : "a longer file name ") + std::to_string(number) + ".dat";
        ASSERT_EQ(mknod((folder / name).c_str(), S_IFREG | 0644, 0), 0);
    }
    std::size_t first = 0;
    for (int round = 0; round < 3; ++round) {
        FindData entry;
        auto find = Files().FindFirst("C:\\many\\*.*", entry);
        ASSERT_TRUE(find.Ok());
        int count = 1;
        while ((*find)->Next(entry) == SysError::Success) {
            ++count;
        }
        EXPECT_EQ(count, 100'002);
        first = round == 0 ? ResidentKilobytes() : first;
    }
#ifndef __SANITIZE_ADDRESS__  // which keeps freed memory for a while
    EXPECT_LT(ResidentKilobytes(), first + 20'000) << "a second walk needs no more memory";
#endif
    EXPECT_TRUE(Files().PathExists("C:\\MANY\\F77776.DAT"));
    EXPECT_TRUE(Files().PathExists("C:\\MANY\\A LONGER FILE NAME 77777.DAT"));
}

TEST(MatchSpec, ListsBlanksAndCase) {
    using offline::MatchSpecList;
    EXPECT_TRUE(MatchSpecList("a.EXE", "*.exe"));
    EXPECT_TRUE(MatchSpecList("a.dll", "*.exe;*.dll"));
    EXPECT_TRUE(MatchSpecList("a.dll", "*.exe;  *.DLL"));
    EXPECT_FALSE(MatchSpecList("a.txt", "*.exe;*.dll"));
    EXPECT_TRUE(MatchSpecList("noext", "*.*"));
    EXPECT_TRUE(MatchSpecList("noext", "*.exe;*.*"));
    EXPECT_FALSE(MatchSpecList("noext", "*.exe"));
    EXPECT_TRUE(MatchSpecList("x", "*"));
    EXPECT_FALSE(MatchSpecList("x", ""));
    EXPECT_FALSE(MatchSpecList("x", ";"));
    EXPECT_TRUE(MatchSpecList("x", ";x;"));
    EXPECT_TRUE(MatchSpecList("ÄB.txt", "?b.TXT"));
    EXPECT_FALSE(MatchSpecList("ab.txt", "?.txt"));
    EXPECT_TRUE(MatchSpecList("a.b.c", "*.c"));
    EXPECT_TRUE(MatchSpecList("aXbXc", "a*x*C"));
    EXPECT_FALSE(MatchSpecList("a", "a.*"));
    EXPECT_FALSE(MatchSpecList("abc", "ab"));
}

TEST(MatchSpec, HostilePatternsTakeNoTime) {
    const std::string name(250, 'a');
    std::string pattern;
    for (int star = 0; star < 100; ++star) {
        pattern += "*a";
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(offline::MatchSpecList(name, pattern + "b"));
    EXPECT_FALSE(offline::FindPattern(pattern + "b").Matches(std::string(250, 'A')));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

}  // namespace kel::test
