#include <gmock/gmock.h>

#include <algorithm>

#include "CountingLoop.h"
#include "ScannerPeer.h"
#include "core/Text.h"
#include "decorators/ForwardingFiles.h"
#include "support/ScanTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

// A machine that keeps a log of the folders that were listed, and may have other drives.
class WatchedFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    std::vector<std::string> listed;
    bool noDrives = false;
    std::string shortName;  ///< of every file, when not empty
    std::string locked;     ///< a folder of this name can't be listed, when not empty

    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view pattern,
                                                                platform::FindData& first) override {
        listed.emplace_back(pattern);
        if (!locked.empty() && pattern.find("\\" + locked + "\\") != std::string_view::npos) {
            return platform::SysError::AccessDenied;
        }
        auto find = Inner().FindFirst(pattern, first);
        if (!find || shortName.empty()) {
            return find;
        }
        first.alternateName = shortName;
        return std::unique_ptr<platform::Find>(std::make_unique<Renaming>(std::move(*find), shortName));
    }
    std::vector<std::string> LogicalDrives() override {
        return noDrives ? std::vector<std::string>{} : Inner().LogicalDrives();
    }

private:
    class Renaming : public platform::Find {
    public:
        Renaming(std::unique_ptr<platform::Find> inner, std::string name)
            : inner_(std::move(inner)), name_(std::move(name)) {}
        platform::SysError Next(platform::FindData& entry) override {
            const platform::SysError error = inner_->Next(entry);
            entry.alternateName = name_;
            return error;
        }

    private:
        std::unique_ptr<platform::Find> inner_;
        std::string name_;
    };
};

class Walk : public ScanTest {
protected:
    Walk() : files(*Machine().files) {
        tables.threats = {{1, "One"}, {2, "Two"}};
        tables.md5 = {{1, HashOf(Bytes(1000, 'a'))}};
    }
    void SetUp() override {
        MakeFolder(Top());
        tables.paths = {{2, Top() + "known.exe"}, {2, Top() + "known long name.exe"}};
        Watch();
        Begin();
        scanner.OptScanDepth = scandeep;
        files.listed.clear();
    }
    void TearDown() override { Install(Machine()); }
    void Watch() {
        platform::Platform machine = Machine();
        machine.files = &files;
        Install(machine);
    }

    std::string Top() const { return Folder() + "walk\\"; }
    std::string File(const std::string& name, std::string_view bytes = "x") {
        const std::string path = Top() + name;
        MakeFolder(path.substr(0, path.rfind('\\')));
        WriteFile(path, bytes);
        return path;
    }
    bool WalkTop() {
        scanner.AddScanDriveAndPath(Top().substr(0, Top().size() - 1));
        return scanner.ScanDriveOrFolder();
    }

    WatchedFiles files;
};

TEST_F(Walk, EveryFileIsNamedOnceAndFilesComeBeforeSubfolders) {
    const std::string inner = File("a\\inner.txt");
    const std::string deep = File("a\\b\\c\\deep.txt");
    const std::string first = File("z.txt");
    const std::string second = File("y.bin");
    EXPECT_TRUE(WalkTop());
    EXPECT_THAT(StartedLocations(), UnorderedElementsAre(first, second, inner, deep));
    const auto place = [&](const std::string& path) {
        return std::find_if(started.begin(), started.end(),
                            [&](const HeardStart& heard) { return heard.location == path; });
    };
    EXPECT_LT(place(first), place(inner));
    EXPECT_LT(place(second), place(inner));
    EXPECT_LT(place(inner), place(deep));
    EXPECT_EQ(scanner.Scan()->ScannedFileCount, 4);
    EXPECT_EQ(started.back().count, 4);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Walk, AMatchBecomesADetectionWithItsHash) {
    const std::string path = File("a\\bad.bin", Bytes(1000, 'a'));
    File("good.bin", Bytes(1000, 'g'));
    WalkTop();
    EXPECT_THAT(found, ElementsAre(HeardThreat{path, ScanTypeFiles, 1, 1}));
    EXPECT_THAT(FilesOf(1), ElementsAre(path));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ThreatLocationFiles->Item(1)->MD5, HashOf(Bytes(1000, 'a')));
}

TEST_F(Walk, ASmallFileIsFoundByItsPath) {
    const std::string path = File("Known.exe", "small");
    WalkTop();
    ASSERT_THAT(FilesOf(2), SizeIs(1));
    EXPECT_EQ(LCase(FilesOf(2)[0]), LCase(path));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ThreatLocationFiles->Item(1)->MD5, "");
}

TEST_F(Walk, AFolderWhoseNameBeginsWithADotIsNotEntered) {
    File(".hidden\\x.txt");
    const std::string file = File(".dotted.txt");
    WalkTop();
    EXPECT_THAT(StartedLocations(), ElementsAre(file));
}

TEST_F(Walk, NoFolderIsEnteredWhosePathHoldsQuarantine) {
    File("My Quarantine\\x\\a.txt");
    File("quarantined\\a.txt");
    const std::string entered = File("Quarant\\x\\a.txt");
    WalkTop();
    EXPECT_THAT(StartedLocations(), ElementsAre(entered));
}

TEST_F(Walk, AStartBelowQuarantineLosesItsSubfolders) {
    const std::string file = File("Quarantine\\a.txt");
    File("Quarantine\\sub\\b.txt");
    scanner.AddScanDriveAndPath(Top() + "Quarantine\\");
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(StartedLocations(), ElementsAre(file));
}

TEST_F(Walk, SeveralStartsAreWalkedInTheirOrder) {
    const std::string b = File("b\\1.txt");
    const std::string a = File("a\\1.txt");
    scanner.AddScanDriveAndPath(Top() + "b");
    scanner.AddScanDriveAndPath(Top() + "no such folder");
    scanner.AddScanDriveAndPath(Top() + "a");
    EXPECT_TRUE(scanner.ScanDriveOrFolder());
    EXPECT_THAT(StartedLocations(), ElementsAre(b, a));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Walk, AFolderThatCanNotBeReadEndsItsOwnLevelOnly) {
    const std::string before = File("a\\1.txt");
    File("locked\\2.txt");
    const std::string behind = File("z\\3.txt");
    files.locked = "locked";
    EXPECT_TRUE(WalkTop());
    EXPECT_THAT(StartedLocations(), UnorderedElementsAre(before, behind));
    EXPECT_THAT(files.listed, Contains(Top() + "locked\\*.*"));
    EXPECT_THAT(Reported(), IsEmpty());
}

class YieldingWalk : public Walk {
protected:
    void SetUp() override {
        Walk::SetUp();
        platform::Platform machine = Machine();
        machine.files = &files;
        machine.loop = &loop;
        Install(machine);
    }
    CountingLoop loop;
};

TEST_F(YieldingWalk, YieldsAfterEachTestedFileAndAfterEachEntry) {
    File("1.txt");
    File("2.txt");
    File("sub\\3.txt");
    WalkTop();
    constexpr int DotEntries = 2;
    // The top: two files tested, three entries entered or passed over. The subfolder: one and one.
    EXPECT_EQ(loop.turns, 2 + (DotEntries + 3) + 1 + (DotEntries + 1));
}

TEST_F(YieldingWalk, ACallThatComesInMayEndTheWalk) {
    for (const char* name : {"1.txt", "2.txt", "sub\\3.txt"}) {
        File(name);
    }
    loop.call = [this] { scanner.AbortScan("enough"); };
    EXPECT_TRUE(WalkTop());
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(aborted, ElementsAre("enough"));
}

TEST_F(YieldingWalk, AFolderScanYieldsAfterEachItem) {
    for (const char* name : {"1.txt", "2.txt", "3.txt"}) {
        File(name);
    }
    loop.call = [this] {
        if (started.size() == 2) {
            scanner.AbortScan("enough");
        }
    };
    scanner.ScanFolder(Top(), true, false);
    EXPECT_THAT(started, SizeIs(2));
}

TEST_F(Walk, NothingToWalkGivesTrueWithoutEvents) {
    files.noDrives = true;
    EXPECT_EQ(scanner.ScanDriveAndPathCount(), 0);
    EXPECT_TRUE(scanner.ScanDriveOrFolder());
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Walk, WithoutNamedStartsTheFixedDrivesAreWalked) {
    abortAtPoll = 1;
    scanner.ScanDriveOrFolder();
    ASSERT_THAT(files.listed, Not(IsEmpty()));
    EXPECT_EQ(files.listed[0], "C:\\*.*");
    EXPECT_THAT(started, SizeIs(1)) << "the walk ends where the front end said so";
}

TEST_F(Walk, AnAbortEndsTheWalkBeforeTheNextFile) {
    for (const char* name : {"1.txt", "2.txt", "3.txt", "sub\\4.txt"}) {
        File(name);
    }
    abortAtPoll = 2;
    EXPECT_TRUE(WalkTop());
    EXPECT_THAT(started, SizeIs(2));
    EXPECT_TRUE(ScanAbortFlag());
}

TEST_F(Walk, AnIgnoredThreatIsFoundButNotRecorded) {
    File("bad.bin", Bytes(1000, 'a'));
    State().IgnoredThreatIDs = std::make_shared<Collection<std::int32_t>>();
    State().IgnoredThreatIDs->Add(1, "1");
    WalkTop();
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
}

TEST_F(Walk, AFileWithAHashIsRecordedUnderItsFullPathWhateverItsShortName) {
    const std::string path = File("bad long name.bin", Bytes(1000, 'a'));
    files.shortName = "BADLON~1.BIN";
    WalkTop();
    EXPECT_THAT(FilesOf(1), ElementsAre(path));
}

TEST_F(Walk, AFileWithoutAHashGoesByItsShortNameAndIsRecordedInLongForm) {
    const std::string path = File("known long name.exe", "small");
    WalkTop();
    EXPECT_THAT(FilesOf(2), ElementsAre(path));
}

// A machine that gives a name which it does not take back, as for characters outside its code page.
class UnspeakableName : public WatchedFiles {
public:
    using WatchedFiles::WatchedFiles;
    platform::Result<std::unique_ptr<platform::Find>> FindFirst(std::string_view pattern,
                                                                platform::FindData& first) override {
        auto find = Inner().FindFirst(pattern, first);
        if (find) {
            Spoil(first);
            return std::unique_ptr<platform::Find>(std::make_unique<Spoiling>(std::move(*find)));
        }
        return find;
    }
    bool PathExists(std::string_view path) override { return !Refuses(path) && Inner().PathExists(path); }
    platform::Result<std::uint64_t> Length(std::string_view path) override {
        return Refuses(path) ? platform::SysError::InvalidName : Inner().Length(path);
    }
    platform::Result<std::string> LongPath(std::string_view path) override {
        std::string text(path.substr(0, path.find('~')));
        return text + "?.bin";
    }

private:
    static bool Refuses(std::string_view path) { return path.find('?') != std::string_view::npos; }
    static void Spoil(platform::FindData& entry) {
        if (entry.name == "BADNAM~1.BIN" || entry.name == "BAD~1.BIN") {
            entry.alternateName = entry.name;
            entry.name = "bad name ?.bin";
        }
    }
    class Spoiling : public platform::Find {
    public:
        explicit Spoiling(std::unique_ptr<platform::Find> inner) : inner_(std::move(inner)) {}
        platform::SysError Next(platform::FindData& entry) override {
            const platform::SysError error = inner_->Next(entry);
            Spoil(entry);
            return error;
        }

    private:
        std::unique_ptr<platform::Find> inner_;
    };
};

TEST_F(Walk, AFileWhoseLongNameFailsIsRecordedUnderItsShortName) {
    File("BADNAM~1.BIN", Bytes(1000, 'a'));
    platform::Platform machine = Machine();
    UnspeakableName unspeakable(*machine.files);
    machine.files = &unspeakable;
    Install(machine);
    WalkTop();
    EXPECT_THAT(StartedLocations(), ElementsAre(Top() + "bad name ?.bin"));
    EXPECT_THAT(FilesOf(1), ElementsAre(Top() + "BADNAM~1.BIN"));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ThreatLocationFiles->Item(1)->MD5, HashOf(Bytes(1000, 'a')));
    EXPECT_THAT(Reported(), IsEmpty());
    Install(Machine());
}

TEST_F(Walk, AShortNameThatDoesNotFillItsFieldIsRecordedWithTheCodesBehindIt) {
    using namespace std::string_literals;
    File("BAD~1.BIN", Bytes(1000, 'a'));
    platform::Platform machine = Machine();
    UnspeakableName unspeakable(*machine.files);
    machine.files = &unspeakable;
    Install(machine);
    WalkTop();
    EXPECT_THAT(FilesOf(1), ElementsAre(Top() + "BAD~1.BIN\0\0"s));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ThreatLocationFiles->Item(1)->MD5, HashOf(Bytes(1000, 'a')));
    EXPECT_THAT(Reported(), IsEmpty());
    Install(Machine());
}

TEST_F(Walk, KnownFilesAreThoseOfTheExtensionFilter) {
    const std::string exe = File("a.EXE");
    const std::string dll = File("sub\\b.dll");
    File("c.txt");
    File("d");
    scanner.ScanKnownFiles(Top().substr(0, Top().size() - 1));
    EXPECT_THAT(StartedLocations(),
                ElementsAre("Loading " + Top().substr(0, Top().size() - 1) + " details...", exe, dll));
    EXPECT_EQ(scanner.Scan()->ScannedFileCount, 3) << "the label counts too";
}

TEST_F(Walk, KnownFilesWithoutAStartAreThoseOfDriveC) {
    abortAtPoll = 1;
    scanner.ScanKnownFiles();
    EXPECT_THAT(StartedLocations(), ElementsAre("Loading drive details..."));
    EXPECT_THAT(files.listed, Contains("C:\\*.*"));
}

TEST_F(Walk, TheCommonFoldersAreSearchedInOrder) {
    const auto folders = std::make_shared<clsFolderPaths>();
    const auto make = [&](const char* name) {
        MakeFolder(Top() + name);
        return Top() + name + "\\";
    };
    folders->PathWindows = make("1");
    folders->PathProgramFiles = make("2");
    folders->PathStartUpFilesAllUsers = make("3");
    folders->PathStartUpFilesUser = make("4");
    folders->PathDownloadedProgramFiles = make("5");
    folders->PathLocalAppData = make("6");
    scanner.Scan()->FolderPaths = folders;
    ScannerPeer::ScanKnownFilesCommon(scanner);
    std::vector<std::string> expected;
    for (const char* name : {"1", "2", "3", "4", "5", "6"}) {
        expected.push_back("Loading " + Top() + name + "\\ details...");
    }
    EXPECT_EQ(StartedLocations(), expected);
    EXPECT_EQ(scanner.ScannerState(), ScannerStateReady);
}

TEST_F(Walk, AnAbortLeavesTheStateOfTheCommonFolders) {
    const auto folders = std::make_shared<clsFolderPaths>();
    folders->PathWindows = folders->PathProgramFiles = folders->PathStartUpFilesAllUsers = Top();
    scanner.Scan()->FolderPaths = folders;
    abortAtPoll = 2;
    ScannerPeer::ScanKnownFilesCommon(scanner);
    EXPECT_THAT(started, SizeIs(2));
    EXPECT_EQ(scanner.ScannerState(), ScannerStateScanningknownFiles);
}

TEST_F(Walk, AFolderListsItsFilesThenTheEntriesOfItsDirectSubfolders) {
    const std::string top = File("top.txt");
    const std::string direct = File("sub\\direct.txt");
    File("sub\\deeper\\far.txt");
    EXPECT_THAT(ScannerPeer::FilesListDeep(scanner, Top(), false, false),
                UnorderedElementsAre(top, Top() + "sub", direct, Top() + "sub\\deeper"));
    EXPECT_THAT(started, IsEmpty());
}

TEST_F(Walk, WithFoldersTheListReachesEveryDepth) {
    const std::string far = File("sub\\deeper\\deepest\\far.txt");
    EXPECT_THAT(ScannerPeer::FilesListDeep(scanner, Top().substr(0, Top().size() - 1), true, false),
                ElementsAre(Top() + "sub", Top() + "sub\\deeper", Top() + "sub\\deeper\\deepest", far));
}

TEST_F(Walk, AReportingListNamesWhatItAddsAndEndsAtAnAbort) {
    for (const char* name : {"1.txt", "2.txt", "3.txt"}) {
        File(name);
    }
    abortAtPoll = 2;
    EXPECT_THAT(ScannerPeer::FilesListDeep(scanner, Top(), true, true), SizeIs(2));
    EXPECT_THAT(started, SizeIs(2));
}

TEST_F(Walk, AMissingFolderListsNothing) {
    EXPECT_THAT(ScannerPeer::FilesListDeep(scanner, Top() + "none", true, false), IsEmpty());
    EXPECT_THAT(ScannerPeer::FilesListShallow(scanner, Top() + "none", "*.*"), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Walk, TheShallowListHoldsBareNamesOfFilesAndFolders) {
    File("a.txt");
    File("b.exe");
    File("sub\\c.txt");
    EXPECT_THAT(ScannerPeer::FilesListShallow(scanner, Top(), "*.*"), UnorderedElementsAre("a.txt", "b.exe", "sub"));
    EXPECT_THAT(ScannerPeer::FilesListShallow(scanner, Top(), "*.txt"), ElementsAre("a.txt"));
}

TEST_F(Walk, AFolderScanTestsEachItemInLowerCase) {
    File("Bad.BIN", Bytes(1000, 'a'));
    scanner.ScanFolder(Top(), true, false);
    EXPECT_THAT(StartedLocations(), ElementsAre(Top() + "Bad.BIN"));
    EXPECT_THAT(FilesOf(1), ElementsAre(LCase(Top() + "bad.bin")));
}

TEST_F(Walk, AFlatFolderScanLooksForBareNamesInTheCurrentFolder) {
    File("a\\Bad.BIN", Bytes(1000, 'a'));
    scanner.ScanFolder(Top() + "a");
    EXPECT_THAT(StartedLocations(), ElementsAre("Bad.BIN"));
    EXPECT_THAT(found, IsEmpty());
    const std::string before = Machine().files->CurrentFolder();
    ASSERT_EQ(Machine().files->SetCurrentFolder(Top() + "a"), platform::SysError::Success);
    scanner.ScanFolder(Top() + "a");
    Machine().files->SetCurrentFolder(before);
    EXPECT_THAT(FilesOf(1), ElementsAre("bad.bin"));
}

TEST_F(Walk, AnItemOfThreeCharactersIsNamedButNotTested) {
    File("a\\bad", Bytes(1000, 'a'));
    const std::string before = Machine().files->CurrentFolder();
    ASSERT_EQ(Machine().files->SetCurrentFolder(Top() + "a"), platform::SysError::Success);
    scanner.ScanFolder(Top() + "a");
    Machine().files->SetCurrentFolder(before);
    EXPECT_THAT(StartedLocations(), ElementsAre("bad"));
    EXPECT_THAT(found, IsEmpty());
}

class FolderWalk : public Walk {
protected:
    FolderWalk() {
        tables.folders = {{1, Top() + "badware"}, {2, Top() + "bad.ware"}, {2, Top() + "dotted.x\\badware"}};
    }
};

TEST_F(FolderWalk, AFolderWithoutADotIsRecordedAsAFolder) {
    MakeFolder(Top() + "Badware");
    scanner.ScanFolder(Top(), true, true);
    ASSERT_EQ(scanner.Scan()->DetectedThreatCount(), 1);
    const DetectedThreat& threat = *scanner.Scan()->DetectedThreats()->Item(1);
    EXPECT_EQ(threat.ScanType, ScanTypeFiles);
    ASSERT_EQ(threat.ThreatLocationFolders->Count(), 1U);
    EXPECT_EQ(threat.ThreatLocationFolders->Item(1)->DetectedFolderPath(), LCase(Top() + "badware"));
}

TEST_F(FolderWalk, ADotAnywhereMakesAFolderAFile) {
    MakeFolder(Top() + "bad.ware");
    MakeFolder(Top() + "dotted.x\\badware");
    scanner.ScanFolder(Top(), true, true);
    EXPECT_THAT(FilesOf(2), UnorderedElementsAre(LCase(Top() + "bad.ware"), LCase(Top() + "dotted.x\\badware")));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ThreatLocationFolders->Count(), 0U);
}

TEST_F(FolderWalk, WithoutFoldersAFolderIsTestedAsAFile) {
    MakeFolder(Top() + "badware");
    scanner.ScanFolder(Top(), true, false);
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
