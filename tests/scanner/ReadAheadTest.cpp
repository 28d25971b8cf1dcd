// What is read ahead changes nothing that a scan says, counts, records or logs.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <utility>

#include "AheadTest.h"
#include "catalogue/SignatureTable.h"
#include "support/OpenDescriptors.h"
#include "system/LookAhead.h"
#include "system/modMD5.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace kel::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class ReadAhead : public AheadTest {
protected:
    ReadAhead() {
        tables.threats = {{1, "One"}, {2, "Two"}};
        tables.md5 = {{1, HashOf(Bytes(1000, 'a'))}, {1, HashOf(Bytes(140'000, 'b'))}, {2, HashOf(Bytes(70'000, 'c'))}};
    }
    void SetUp() override {
        MakeFolder(Top());
        tables.paths = {{2, Top() + "known.exe"}, {2, Top() + "sub\\known too.exe"}};
        tables.folders = {{1, Top() + "badware"}};
        InstallCounted(Machine());
        Begin();
        scanner.OptScanDepth = scandeep;
    }
    std::string Top() const { return Folder() + "ahead\\"; }
    void File(const std::string& name, std::string_view bytes) {
        const std::string path = Top() + name;
        MakeFolder(path.substr(0, path.rfind('\\')));
        WriteFile(path, bytes);
    }
    // More files than any kernel has lanes, of all kinds of sizes, some of them threats.
    void FillFolders() {
        std::mt19937 random(1);
        for (int number = 0; number < 120; ++number) {
            const std::size_t size = number % 7 == 0 ? random() % 1200 : random() % 9000;
            File((number % 3 == 0   ? ""
                  : number % 3 == 1 ? "sub\\"
                                    : "sub\\deeper\\") +
                     std::to_string(number) + ".bin",
                 Bytes(size, static_cast<char>('d' + number % 20)));
        }
        File("bad.bin", Bytes(1000, 'a'));
        File("sub\\bad.bin", Bytes(140'000, 'b'));
        File("sub\\deeper\\BAD too.bin", Bytes(70'000, 'c'));
        File("known.exe", "small");
        File("sub\\known too.exe", Bytes(1001, 'q'));
        File("Quarantine\\bad.bin", Bytes(1000, 'a'));
        File(".hidden\\bad.bin", Bytes(1000, 'a'));
        File("empty.bin", "");
        Settle();
    }
    void WalkTop() {
        scanner.AddScanDriveAndPath(Top());
        scanner.ScanDriveOrFolder();
    }
};

TEST_F(ReadAhead, AWalkLeavesTheSameTracesWithAndWithoutIt) {
    FillFolders();
    const Traces without = Run("0", [&] { WalkTop(); });
    EXPECT_THAT(files.ahead, IsEmpty());
    EXPECT_THAT(without.found, SizeIs(4));
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    EXPECT_THAT(files.ahead, Not(IsEmpty()));
    EXPECT_EQ(Run("1", [&] { WalkTop(); }), without);
}

TEST_F(ReadAhead, FilesThatOthersHoldLeaveTheSameTraces) {
    FillFolders();
    files.locked = "bad.bin";
    const Traces without = Run("0", [&] { WalkTop(); });
    EXPECT_THAT(without.found, SizeIs(2)) << "known.exe by its path, and BAD too.bin";
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    EXPECT_THAT(files.opened, Contains(Top() + "sub\\bad.bin")) << "at its turn it is tried again";
    files.inMemory = false;
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    const Traces folder = Run("0", [&] { scanner.ScanFolder(Top(), true, true); });
    EXPECT_EQ(Run(nullptr, [&] { scanner.ScanFolder(Top(), true, true); }), folder);
}

#ifdef __GLIBC__
TEST_F(ReadAhead, ItsMemoryStaysWithinTheLimit) {
    const std::size_t empty = mallinfo2().uordblks;
    const std::string some(100'000, 'x');
    if (mallinfo2().uordblks < empty + some.size()) {
        GTEST_SKIP() << "the heap is a sanitizer's";
    }
    for (int number = 0; number < 300; ++number) {
        File(std::to_string(number) + ".bin", Bytes(number % 3 == 0 ? 600'000 : 30'000, static_cast<char>('d')));
    }
    Settle();
    // What a walk takes at most, in bytes.
    const auto most = [this](const char* limit) {
        const auto used = [] {
            const struct mallinfo2 heap = mallinfo2();
            return heap.uordblks + heap.hblkhd;
        };
        std::size_t peak = 0;
        const std::size_t before = used();
        loop.call = [&] { peak = std::max(peak, used()); };
        Run(limit, [&] { WalkTop(); });
        loop.call = [] {};
        EXPECT_THAT(files.ahead.size(), limit == std::string_view("0") ? 0U : 300U);
        return peak - std::min(before, peak);
    };
    most("1");  // what is made once
    const std::size_t without = most("0");
    EXPECT_LT(most("1"), without + (std::size_t{1} << 20));
    EXPECT_GT(most("1"), without + (std::size_t{1} << 18));
    EXPECT_LT(most("2"), without + (std::size_t{2} << 20));
    EXPECT_LT(most("64"), without + (std::size_t{16} << 20));
}
#endif

TEST_F(ReadAhead, EveryKernelLeavesTheSameTraces) {
    FillFolders();
    const Traces without = Run("0", [&] { WalkTop(); });
    for (const Md5Kernel& kernel : Md5Kernels()) {
        EXPECT_EQ(Run(
                      nullptr, [&] { WalkTop(); }, kernel.name),
                  without)
            << kernel.name;
    }
}

TEST_F(ReadAhead, AFolderScanLeavesTheSameTracesWithAndWithoutIt) {
    FillFolders();
    MakeFolder(Top() + "badware");
    File("badware\\inner.dll", Bytes(5000, 'x'));
    for (const bool folders : {false, true}) {
        const Traces without = Run("0", [&] { scanner.ScanFolder(Top(), true, folders); });
        EXPECT_EQ(Run(nullptr, [&] { scanner.ScanFolder(Top(), true, folders); }), without) << folders;
        EXPECT_THAT(without.found, Not(IsEmpty()));
    }
}

TEST_F(ReadAhead, KnownPlacesLeaveTheSameTracesWithAndWithoutIt) {
    FillFolders();
    State().FilePathDataTable = std::make_shared<SignatureTable>(KeyForm::Texts);
    SignatureTable& table = *State().FilePathDataTable;
    for (int number = 0; number < 300; ++number) {
        const std::string folder = number % 3 == 0 ? "" : number % 3 == 1 ? "sub\\" : "sub\\deeper\\";
        table.Add(Top() + folder + std::to_string(number) + ".bin", {1, static_cast<std::int16_t>(number % 11 == 0)});
    }
    table.Add(Top() + "bad*.bin", {2, 0});
    table.Add("%nowhere%\\x.bin", {2, 0});
    table.Add(Top() + "sub\\BAD.bin", {2, 0});
    const Traces without = Run("0", [&] { scanner.ScanKnownLocations(); });
    EXPECT_THAT(without.found, Not(IsEmpty()));
    EXPECT_THAT(files.ahead, IsEmpty());
    EXPECT_EQ(Run(nullptr, [&] { scanner.ScanKnownLocations(); }), without);
    EXPECT_THAT(files.ahead, Not(IsEmpty()));
    scanner.OptScanDepth = scanshallow;
    EXPECT_EQ(Run(nullptr, [&] { scanner.ScanKnownLocations(); }), without);
    EXPECT_THAT(files.ahead, IsEmpty());
}

TEST_F(ReadAhead, AWalkForKnownKindsOfFilesReadsNoOthers) {
    FillFolders();
    State().FileExtensionFilter = "*.exe";
    const Traces without = Run("0", [&] { scanner.ScanKnownFiles(Top()); });
    EXPECT_EQ(Run(nullptr, [&] { scanner.ScanKnownFiles(Top()); }), without);
    for (const std::string& name : files.ahead) {
        EXPECT_TRUE(name.ends_with(".exe")) << name;
    }
}

TEST_F(ReadAhead, FilesThatWereHashedAreNotOpenedAgain) {
    for (int number = 0; number < 50; ++number) {
        File(std::to_string(number) + ".bin", Bytes(3000, static_cast<char>('e' + number % 20)));
    }
    Settle();
    Run(nullptr, [&] { WalkTop(); });
    EXPECT_THAT(files.opened, IsEmpty());
    EXPECT_THAT(files.ahead, SizeIs(50));
    EXPECT_EQ(files.bytesAhead, 150'000U);
}

TEST_F(ReadAhead, ASlowMediumIsToldEarlyOfTheNextFiles) {
    FillFolders();
    const Traces without = Run("0", [&] { WalkTop(); });
    files.slow = std::chrono::milliseconds(1);
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    EXPECT_THAT(files.asked, ::testing::Gt(0U));
}

TEST_F(ReadAhead, FilesThatAreNotInMemoryAreAskedForFromTheFirstOn) {
    FillFolders();
    const Traces without = Run("0", [&] { WalkTop(); });
    files.inMemory = true;
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    EXPECT_EQ(files.asked, 0U);
    files.inMemory = false;
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    const std::size_t asked = files.asked;
    EXPECT_THAT(asked, ::testing::Gt(90U)) << "all that are hashed";
    EXPECT_THAT(asked, ::testing::Le(files.ahead.size()));
}

TEST_F(ReadAhead, FoldersOfASlowMediumAreAskedForOnceAndOnlyThoseThatAreEntered) {
    for (int number = 10; number < 70; ++number) {
        File("sub " + std::to_string(number) + "\\a.bin", Bytes(2000, 'a'));
    }
    File("a.bin", Bytes(2000, 'b'));
    File("sub 20 Quarantine\\a.bin", Bytes(2000, 'a'));
    File(".sub\\a.bin", Bytes(2000, 'a'));
    Settle();
    const Traces without = Run("0", [&] { WalkTop(); });
    EXPECT_THAT(files.folders, IsEmpty());
    files.inMemory = true;
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    EXPECT_THAT(files.folders, IsEmpty());
    files.inMemory = false;
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    EXPECT_THAT(files.folders, SizeIs(::testing::AllOf(::testing::Ge(50U), ::testing::Le(60U))));
    EXPECT_THAT(files.folders, ::testing::Each(SizeIs(std::string_view("sub 10").size())));
    std::sort(files.folders.begin(), files.folders.end());
    EXPECT_EQ(std::unique(files.folders.begin(), files.folders.end()), files.folders.end());
}

// Nobody asks for the hash of one that is too small, so that nothing tells how far the walk has come.
TEST_F(ReadAhead, ARunOfFilesWithoutAHashIsPassed) {
    File("00 first.bin", Bytes(2000, 'f'));
    for (int number = 1000; number < 4000; ++number) {
        File("10 " + std::to_string(number) + ".txt", "small");
    }
    for (int number = 10; number < 60; ++number) {
        File("20 " + std::to_string(number) + ".bin", Bytes(2000, static_cast<char>('d' + number % 20)));
    }
    Settle();
    const Traces without = Run("0", [&] { WalkTop(); });
#ifdef __linux__
    const std::size_t before = OpenDescriptors();
    std::size_t most = before;
    loop.call = [&] { most = std::max(most, OpenDescriptors()); };
#endif
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    loop.call = [] {};
#ifdef __linux__
    EXPECT_LE(most, before + 200);
#endif
    EXPECT_THAT(files.opened, Not(Contains(Top() + "20 59.bin"))) << "it was hashed ahead";
    EXPECT_THAT(files.opened.size(), ::testing::Le(40U));
}

TEST_F(ReadAhead, ARunOfNamesWithoutAFileIsPassed) {
    File("first.bin", Bytes(2000, 'f'));
    std::vector<std::string> names = {Top() + "first.bin"};
    for (int number = 0; number < 3000; ++number) {
        names.push_back(Top() + "none " + std::to_string(number));
    }
    for (int number = 10; number < 60; ++number) {
        File(std::to_string(number) + ".bin", Bytes(2000, static_cast<char>('d' + number % 20)));
        names.push_back(Top() + std::to_string(number) + ".bin");
    }
    Settle();
    const LookAhead ahead(std::make_unique<ListedFiles>(names));
    EXPECT_EQ(modMD5::FileMD5(names[0]), HashOf(Bytes(2000, 'f')));
    for (int number = 10; number < 60; ++number) {
        EXPECT_EQ(modMD5::FileMD5(Top() + std::to_string(number) + ".bin"),
                  HashOf(Bytes(2000, static_cast<char>('d' + number % 20))));
    }
    EXPECT_THAT(files.opened, Not(Contains(Top() + "59.bin"))) << "it was hashed ahead";
    EXPECT_THAT(files.opened, SizeIs(::testing::Le(40U)));
}

// As those in archives and those behind relations are.
TEST_F(ReadAhead, QuestionsForOtherFilesDoNotDriveOutWhatIsToCome) {
    constexpr int Count = 4000;
    const std::string others = Folder() + "others\\";
    MakeFolder(others);
    for (int number = 0; number < 60; ++number) {
        WriteFile(others + std::to_string(number), Bytes(1500, 'o'));
    }
    for (int number = 0; number < Count; ++number) {
        File(std::to_string(10'000 + number), Bytes(1000, static_cast<char>('d' + number % 20)));
    }
    Settle();
    int turns = 0;
    loop.call = [&] {
        if (++turns == 500) {
            for (int number = 0; number < 60; ++number) {
                EXPECT_EQ(modMD5::FileMD5(others + std::to_string(number)), HashOf(Bytes(1500, 'o')));
            }
        }
    };
    Run(nullptr, [&] { WalkTop(); });
    loop.call = [] {};
    EXPECT_GT(turns, 500);
    EXPECT_THAT(files.opened, SizeIs(::testing::AllOf(::testing::Ge(60U), ::testing::Le(70U))));
    EXPECT_THAT(files.ahead, SizeIs(Count));
}

// What is listed ahead on the way to a file that fits must not hold up the file at hand.
TEST_F(ReadAhead, ManyFoldersWithoutAFileThatFitsAreListedByAndBy) {
    State().FileExtensionFilter = "*.exe";
    File("0.exe", Bytes(900'000, 'f'));  // digested in many steps
    for (int number = 1000; number < 3500; ++number) {
        MakeFolder(Top() + std::to_string(number));
    }
    File("9\\9.exe", Bytes(2000, 'f'));
    Settle();
    const Traces without = Run("0", [&] { scanner.ScanKnownFiles(Top()); });
    std::size_t before = 0;
    std::size_t most = 0;
    loop.call = [&] { most = std::max(most, files.listed - std::exchange(before, files.listed)); };
    files.listed = 0;
    EXPECT_EQ(Run(nullptr, [&] { scanner.ScanKnownFiles(Top()); }), without);
    loop.call = [] {};
    EXPECT_THAT(files.ahead, Contains("0.exe"));
    EXPECT_GT(files.listed, 1000U);
    EXPECT_LT(most, 1100U);
}

TEST_F(ReadAhead, FilesOutsideOfTheLimitsAreNotRead) {
    File("small.bin", Bytes(999, 'a'));
    File("large.bin", Bytes(5001, 'a'));
    File("right.bin", Bytes(5000, 'a'));
    Settle();
    OptMaxMD5Len() = 5000;
    Run(nullptr, [&] { WalkTop(); });
    EXPECT_EQ(files.bytesAhead, 5000U);
}

TEST_F(ReadAhead, NothingIsReadAheadAtShallowDepth) {
    FillFolders();
    scanner.OptScanDepth = scanshallow;
    Run(nullptr, [&] {
        WalkTop();
        scanner.ScanFolder(Top(), true, true);
    });
    EXPECT_THAT(files.ahead, IsEmpty());
}

// At the event of one file the next ones are hashed already; what changes then must count.
TEST_F(ReadAhead, AFileThatChangesAfterItWasHashedIsHashedAgain) {
    for (const char* name : {"1.bin", "2.bin", "3.bin", "4.bin"}) {
        File(name, Bytes(1000, 'z'));
    }
    Settle();
    const auto run = [&] {
        WriteFile(Top() + "3.bin", Bytes(1000, 'z'));
        Settle();
        CurrentScan()->Callback->Subscribe({});
        ScannerEvents events;
        events.StartingLocation = [&](std::string_view location, enScanType, std::int32_t) {
            if (location.ends_with("2.bin")) {
                WriteFile(Top() + "3.bin", Bytes(1000, 'a'));  // as long as before, and a threat now
            }
        };
        CurrentScan()->Callback->Subscribe(std::move(events));
        WalkTop();
    };
    Run("0", run);
    EXPECT_THAT(FilesOf(1), ElementsAre(Top() + "3.bin"));
    Run(nullptr, run);
    EXPECT_THAT(FilesOf(1), ElementsAre(Top() + "3.bin"));
    EXPECT_THAT(files.opened, Contains(Top() + "3.bin"));
}

TEST_F(ReadAhead, AFileThatGoesAfterItWasHashedIsNoThreat) {
    for (const char* name : {"1.bin", "2.bin", "3.bin"}) {
        File(name, Bytes(1000, name[0] == '3' ? 'a' : 'z'));
    }
    Settle();
    for (const char* limit : {"0", static_cast<const char*>(nullptr)}) {
        File("3.bin", Bytes(1000, 'a'));
        Settle();
        Run(limit, [&] {
            ScannerEvents events;
            events.StartingLocation = [&](std::string_view location, enScanType, std::int32_t) {
                if (location.ends_with("3.bin")) {
                    Machine().files->Remove(Top() + "3.bin");
                }
            };
            CurrentScan()->Callback->Subscribe(std::move(events));
            WalkTop();
        });
        EXPECT_THAT(FilesOf(1), IsEmpty());
        EXPECT_THAT(Reported(), IsEmpty());
    }
}

TEST_F(ReadAhead, AnAbortEndsTheWalkAtTheSameFile) {
    FillFolders();
    for (const int poll : {1, 2, 40, 100}) {
        abortAtPoll = poll;
        const Traces without = Run("0", [&] { WalkTop(); });
        EXPECT_EQ(without.files, poll);
        for (const bool inMemory : {true, false}) {
            files.inMemory = inMemory;
            EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
        }
        abortAtPoll = 0;
    }
}

TEST_F(ReadAhead, WithoutTheHashObjectNothingHasAHash) {
    FillFolders();
    State().FileHashObject = nullptr;
    const Traces without = Run("0", [&] { WalkTop(); });
    EXPECT_EQ(Run(nullptr, [&] { WalkTop(); }), without);
    EXPECT_EQ(FilesOf(1), std::vector<std::string>());
}

TEST_F(ReadAhead, AListThatIsWrongCostsNothingButTime) {
    File("1.bin", Bytes(1000, 'a'));
    File("2.bin", Bytes(2000, 'b'));
    Settle();
    const LookAhead ahead(std::make_unique<ListedFiles>(
        std::vector<std::string>{Top() + "none.bin", "relative", Top() + "1.bin", Top(), Top() + "no\\such\\folder"}));
    EXPECT_EQ(modMD5::FileMD5(Top() + "2.bin"), HashOf(Bytes(2000, 'b')));
    EXPECT_EQ(modMD5::FileMD5(Top() + "1.bin"), HashOf(Bytes(1000, 'a')));
    EXPECT_EQ(modMD5::FileMD5(Top() + "1.bin"), HashOf(Bytes(1000, 'a')));
    EXPECT_EQ(modMD5::FileMD5(Top() + "none.bin"), "");
}

}  // namespace
}  // namespace kel::test
