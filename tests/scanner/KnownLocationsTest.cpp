#include <gmock/gmock.h>

#include "CountingLoop.h"
#include "core/Text.h"
#include "results/IgnoredThreats.h"
#include "support/ScanTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class KnownLocations : public ScanTest {
protected:
    KnownLocations() { tables.threats = {{1, "One"}, {2, "Two"}, {3, "Three"}}; }
    std::string Top() const { return Folder() + "known\\"; }
    std::string File(const std::string& name, std::string_view bytes = "x") {
        MakeFolder(Top());
        WriteFile(Top() + name, bytes);
        return Top() + name;
    }
    // Folders of a threat with the scan type of its detection, as texts.
    std::vector<std::string> FoldersOf(std::int32_t threat) {
        std::vector<std::string> texts;
        for (const auto& detected : *CurrentScan()->DetectedThreats()) {
            if (detected->ThreatID == threat) {
                for (const auto& location : *detected->ThreatLocationFolders) {
                    texts.push_back(Text(detected->ScanType) + ": " + location->DetectedFolderPath());
                }
            }
        }
        return texts;
    }
    // Turns of the message loop in a stage.
    template <class Stage>
    int Turns(Stage&& stage) {
        CountingLoop loop;
        platform::Platform machine = Machine();
        machine.loop = &loop;
        Install(machine);
        stage();
        Install(Machine());
        return loop.turns;
    }
};

TEST_F(KnownLocations, AFileThatIsThereIsADetectionWhateverItsHash) {
    const std::string path = File("a.exe", Bytes(1000, 'a'));
    tables.paths = {{1, Top() + "missing.exe"}, {2, path, 1}};
    tables.md5 = {{3, HashOf(Bytes(1000, 'a'))}};
    Begin();
    scanner.SetOptMaxOptionLevel(1);
    scanner.ScanKnownLocations();
    EXPECT_THAT(started,
                ElementsAre(HeardStart{Top() + "missing.exe", ScanTypeFiles, 1}, HeardStart{path, ScanTypeFiles, 2}));
    EXPECT_THAT(found, ElementsAre(HeardThreat{path, ScanTypeFiles, 2, 1}));
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->OptionLevel, 1);
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ThreatLocationFiles->Item(1)->MD5, HashOf(Bytes(1000, 'a')));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(KnownLocations, VariablesAreResolved) {
    File("a.exe");
    tables.paths = {{1, "%Program_Files%\\a.exe"}};
    tables.folders = {{2, "%Program_Files%\\sub"}};
    MakeFolder(Top() + "sub");
    Begin();
    CurrentScan()->FolderPaths->PathProgramFiles = LCase(Top());
    scanner.ScanKnownLocations();
    scanner.ScanKnownFolders();
    EXPECT_THAT(FilesOf(1), ElementsAre(LCase(Top()) + "a.exe"));
    EXPECT_THAT(FoldersOf(2), ElementsAre("5: " + LCase(Top()) + "sub"));
}

TEST_F(KnownLocations, VariablesThatCanNotBeResolvedGiveNothing) {
    tables.paths = {{1, "%nowhere%\\a.exe"}};
    tables.folders = {{1, "%nowhere%\\a"}};
    Begin();
    scanner.ScanKnownLocations();
    scanner.ScanKnownFolders();
    EXPECT_THAT(StartedLocations(), ElementsAre("%nowhere%\\a.exe"));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(KnownLocations, AnIgnoredThreatRaisesNoEventAndDoesNotYield) {
    const std::string path = File("a.exe");
    tables.paths = {{1, path}};
    tables.folders = {{1, Top()}};
    Begin();
    IgnoredThreats().AddIgnoredThreat(1);
    EXPECT_EQ(Turns([&] { scanner.ScanKnownLocations(); }), 0);
    EXPECT_EQ(Turns([&] { scanner.ScanKnownFolders(); }), 0);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_EQ(polls, 0);
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(KnownLocations, ALevelAboveTheLimitRaisesNoEventAndYields) {
    const std::string path = File("a.exe");
    tables.paths = {{1, File("b.exe"), 3}, {2, path, 2}};
    tables.folders = {{1, Top(), 3}};
    Begin();
    scanner.SetOptMaxOptionLevel(2);
    EXPECT_EQ(Turns([&] { scanner.ScanKnownLocations(); }), 2);
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(found, ElementsAre(HeardThreat{path, ScanTypeFiles, 2, 1}));
    polls = 0;
    EXPECT_EQ(Turns([&] { scanner.ScanKnownFolders(); }), 1);
    EXPECT_EQ(polls, 0);
}

TEST_F(KnownLocations, WhatMustNotBeRemovedIsNamedAndNoDetection) {
    const std::string file = File("forms.dll");
    std::string folder;
    {
        clsFolderPaths folders;
        folders.LoadFolderPaths();
        folder = folders.PathWindows;
    }
    ASSERT_TRUE(Exists(folder));
    tables.paths = {{1, file}};
    tables.folders = {{2, folder}};
    Begin();
    scanner.ScanKnownLocations();
    scanner.ScanKnownFolders();
    EXPECT_THAT(StartedLocations(), ElementsAre(file));
    EXPECT_EQ(polls, 2) << "the folder was asked for too";
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(KnownLocations, AWildcardStandsForTheFirstFileThatItFinds) {
    const std::string path = File("virus1.exe");
    tables.paths = {{1, Top() + "vir?s*.exe"}, {2, Top() + "b*.exe"}};
    Begin();
    scanner.ScanKnownLocations();
    EXPECT_THAT(StartedLocations(), ElementsAre(Top() + "vir?s*.exe", Top() + "b*.exe"));
    EXPECT_THAT(FilesOf(1), ElementsAre(path));
    EXPECT_THAT(FilesOf(2), IsEmpty());
}

TEST_F(KnownLocations, AFolderIsADetectionOfItsOwnTypeWithItsContents) {
    File("a.exe");
    tables.folders = {{1, Top() + "missing"}, {2, Top()}};
    Begin();
    scanner.ScanKnownFolders();
    EXPECT_THAT(started, IsEmpty()) << "folders are not counted";
    EXPECT_EQ(polls, 2);
    EXPECT_THAT(FoldersOf(2), ElementsAre("5: " + Top()));
    EXPECT_THAT(FilesOf(2), ElementsAre(LCase(Top()) + "a.exe"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(KnownLocations, TablesWithoutLevelsCountAsLevelNull) {
    const std::string path = File("a.exe");
    tables.paths = {{1, path}};
    tables.folders = {{2, Top()}};
    tables.withLevels = false;
    Begin();
    LastOptionalScan() = 7;
    scanner.ScanKnownLocations();
    EXPECT_EQ(LastOptionalScan(), 0);
    scanner.ScanKnownFolders();
    EXPECT_THAT(FilesOf(1), ElementsAre(path));
    EXPECT_THAT(FoldersOf(2), SizeIs(1));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(KnownLocations, AnAbortEndsTheStage) {
    tables.paths = {{1, Top() + "a.exe"}, {2, Top() + "b.exe"}};
    Begin();
    abortAtPoll = 1;
    scanner.ScanKnownLocations();
    EXPECT_THAT(started, SizeIs(1));
}

TEST_F(KnownLocations, WithoutTablesTheStagesAreReportedUnderTheirNames) {
    Begin();
    State().FilePathDataTable.reset();
    State().FolderDataTable.reset();
    scanner.ScanKnownLocations();
    scanner.ScanKnownFolders();
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[0].module + "." + Reported()[0].procedure, "Scanner.ScanKnownLocations");
    EXPECT_EQ(Reported()[1].module + "." + Reported()[1].procedure, "Scanner.ScanKnownFolders");
}

// The folders where software usually lives, each with one file that bears its place in the order.
class CommonLocations : public KnownLocations {
protected:
    void SetUp() override {
        Begin();
        for (std::size_t place = 0; place < std::size(Order); ++place) {
            const std::string name(1, static_cast<char>('a' + place));
            MakeFolder(Top() + name);
            WriteFile(Top() + name + "\\" + name + ".txt", "x");
            (*CurrentScan()->FolderPaths).*Order[place] = Top() + name + "\\";
            expected.push_back(name + ".txt");
        }
    }
    static constexpr std::string clsFolderPaths::*Order[] = {
        &clsFolderPaths::PathWindows,
        &clsFolderPaths::PathProgramFiles,
        &clsFolderPaths::PathStartUpFilesAllUsers,
        &clsFolderPaths::PathStartUpFilesUser,
        &clsFolderPaths::PathProfile,
        &clsFolderPaths::PathDownloadedProgramFiles,
        &clsFolderPaths::PathDesktop,
        &clsFolderPaths::PathPrograms,
        &clsFolderPaths::PathFavorites,
        &clsFolderPaths::PathStartMenu,
        &clsFolderPaths::PathCommonStartMenu,
        &clsFolderPaths::PathCommonPrograms,
        &clsFolderPaths::PathCommonFavorites,
        &clsFolderPaths::PathLocalAppData,
        &clsFolderPaths::PathLocalSettings,
    };
    std::vector<std::string> expected;
};

TEST_F(CommonLocations, AreListedInTheirOrder) {
    scanner.ScanCommonLocations();
    EXPECT_EQ(StartedLocations(), expected);
    EXPECT_EQ(scanner.ScannerState(), ScannerStateReady);
}

TEST_F(CommonLocations, AreListedDeeplyWhenTheOptionSaysSo) {
    WriteFile(Top() + "c\\deep.txt", "x");
    scanner.OptRecursiveFileScan = true;
    scanner.OptIncludeFolders = true;
    scanner.ScanCommonLocations(true);
    EXPECT_THAT(StartedLocations(), Contains(Top() + "c\\deep.txt"));
}

TEST_F(CommonLocations, AnAbortEndsThemInTheirState) {
    abortAtPoll = 2;
    scanner.ScanCommonLocations();
    EXPECT_THAT(started, SizeIs(2));
    EXPECT_EQ(scanner.ScannerState(), ScannerStateScanningCommonLocations);
}

}  // namespace
}  // namespace kel::test
