#include <gmock/gmock.h>

#include "CountingLoop.h"
#include "StagedScanTest.h"
#include "decorators/ForwardingFiles.h"
#include "scanner/modScannerTactics.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::Hive;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::string_view Winlogon = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\Winlogon)";
constexpr std::string_view Class = "{01234567-89AB-CDEF-0123-456789ABCDEF}";

// A shell link whose text fields stand directly behind its fixed part.
std::string ShellLink(std::string_view target) {
    std::string link(122, '\1');
    link[76] = link[77] = '\0';
    link += "label";
    link += '\0';
    link += target;
    link += '\0';
    return link;
}

class Tactics : public StagedScanTest {};

TEST_F(Tactics, NameThemselvesInTheirOrderAndNothingElse) {
    scanner.ScanCommonTactics();
    EXPECT_THAT(StartedLocations(),
                ElementsAre("Scanning start up programs", "Scanning start up registry programs",
                            "Scanning Browser Helper Objects (BHOs)", "Scanning Internet Explorer Extensions",
                            "Scanning Internet Explorer Toolbars", "Scanning Internet Explorer Explorer Bars",
                            "Scanning Internet Explorer ShellBrowser", "Scanning Internet Explorer WebBrowser",
                            "Scanning Internet Explorer URLSearchHooks", "Scanning ShellExecuteHooks",
                            "Scanning ActiveX Programs", "Scanning Winlogon Shell Programs",
                            "Scanning Winlogon Shell Programs"));
    EXPECT_THAT(started, Each(Field(&HeardStart::type, ScanTypeFiles)));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Tactics, YieldOnceForEachPlace) {
    platform::Platform machine = Stage().View();
    CountingLoop loop;
    machine.loop = &loop;
    Install(machine);
    scanner.ScanCommonTactics();
    EXPECT_GE(loop.turns, 13);
    const int turns = loop.turns;
    Stage().AddText(HiveLocalMachine, modScannerTactics::Run, "a", AddEvil(Folder() + "a.exe"));
    loop.turns = 0;
    scanner.ScanCommonTactics();
    EXPECT_EQ(loop.turns, turns) << "not for each path";
}

TEST_F(Tactics, APlaceThatFailsIsReportedByItsNameAndTheNextGoesOn) {
    SetCurrentScan(nullptr);
    scanner.ScanCommonTactics();
    std::vector<std::string> procedures;
    for (const FailureRecord& record : Reported()) {
        EXPECT_EQ(record.module, "modScannerTactics");
        procedures.push_back(record.procedure);
    }
    EXPECT_THAT(
        procedures,
        ElementsAre("ScanCommonTacticsStartupFiles", "ScanCommonTacticsAutoRegistry", "ScanCommonTacticsBHOs",
                    "ScanCommonTacticsIEExtensions", "ScanCommonTacticsIEToolbars", "ScanCommonTacticsIEExplorerBars",
                    "ScanCommonTacticsIEShellBrowser", "ScanCommonTacticsIEWebBrowser",
                    "ScanCommonTacticsIEURLSearchHooks", "ScanCommonTacticsShellExecuteHooks",
                    "ScanCommonTacticsActiveX", "ScanCommonTacticsWinlogonShell", "ScanCommonTacticsWinlogonUserinit"));
}

TEST_F(Tactics, AnAbortLetsThePlaceFinishAndEndsBeforeTheNext) {
    const std::string file = AddEvil(Folder() + "bar.dll");
    AddClass(Class, file);
    Stage().AddText(HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Toolbar)", Class, "x");
    Stage().AddKey(HiveLocalMachine, R"(Software\Microsoft\Internet Explorer\Explorer Bars\)" + std::string(Class));
    abortAtPoll = 5;
    scanner.ScanCommonTactics();
    EXPECT_TRUE(ScanAbortFlag());
    ASSERT_THAT(started, SizeIs(5));
    EXPECT_EQ(started.back().location, "Scanning Internet Explorer Toolbars");
    EXPECT_THAT(FilesOf(Evil), ElementsAre(file));
}

TEST_F(Tactics, AScanThatIsAbortedAlreadyLooksAtNothing) {
    ScanAbortFlag() = true;
    scanner.ScanCommonTactics();
    EXPECT_THAT(started, IsEmpty());
}

// Passes on, and keeps the paths whose length was asked for: each file that is tested is among them.
class WatchedFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    std::vector<std::string> measured;
    platform::Result<std::uint64_t> Length(std::string_view path) override {
        measured.emplace_back(path);
        return Inner().Length(path);
    }
};

TEST_F(Tactics, TheShellOfTheLogonIsAListOfProgramsEachOnTheSearchPath) {
    const std::string explorer = AddEvil(Windows() + "explorer.exe");
    const std::string evil = AddEvil(System() + "evil.exe");
    Stage().AddText(HiveLocalMachine, Winlogon, "Shell", "Explorer.exe,evil.exe");
    platform::Platform machine = Stage().View();
    WatchedFiles files(*machine.files);
    machine.files = &files;
    Install(machine);
    scanner.ScanCommonTactics();
    Install(Stage().View());
    EXPECT_THAT(files.measured, Contains(explorer));
    EXPECT_THAT(files.measured, Contains(evil));
    EXPECT_THAT(FilesOf(Evil), Contains(evil));
}

TEST_F(Tactics, TheProgramsOfTheLogonMayEndInAComma) {
    const std::string first = AddEvil(Folder() + "first.exe");
    const std::string second = AddEvil(Folder() + "second.exe");
    Stage().AddText(HiveLocalMachine, Winlogon, "Userinit", first + ",," + second + " /x,");
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(first, second));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Tactics, ARunEntryIsTestedWithoutItsArguments) {
    const std::string file = AddEvil(Folder() + "Y.exe");
    Stage().AddText(HiveLocalMachine, modScannerTactics::Run, "y", "\"" + Folder() + "Y.exe\" /start");
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(file));
}

TEST_F(Tactics, ARunEntryMayBeginWithAVariable) {
    const std::string file = AddEvil(System() + "deep.exe");
    Stage().AddText(HiveCurrentUser, modScannerTactics::Run, "d", R"(%SystemRoot%\system32\deep.exe)");
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(file));
}

TEST_F(Tactics, ARunEntryOfALibraryIsTestedAsTheLibrary) {
    const std::string file = AddEvil(Folder() + "bad.dll");
    Stage().AddText(HiveLocalMachine, modScannerTactics::Run, "d", "rundll32.exe " + file + ",Start");
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(file));
}

TEST_F(Tactics, ANameWithAColonHidesARunEntry) {
    Stage().AddText(HiveLocalMachine, modScannerTactics::Run, "a:b", AddEvil(Folder() + "hidden.exe"));
    scanner.ScanCommonTactics();
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Tactics, AFindingIsTheFileAlone) {
    const std::string file = AddEvil(Folder() + "alone.exe");
    Stage().AddText(HiveLocalMachine, modScannerTactics::Run, "alone", file);
    scanner.ScanCommonTactics();
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0], (HeardThreat{file, ScanTypeFiles, Evil, 1}));
    const auto& threat = scanner.Scan()->DetectedThreats()->Item(1);
    ASSERT_EQ(threat->ThreatLocationFiles->Count(), 1U);
    EXPECT_EQ(threat->ThreatLocationFiles->Item(1)->MD5, HashOf(EvilBytes()));
    EXPECT_EQ(threat->ThreatLocationRegKeys->Count(), 0U) << "the entry itself is not pulled in";
    EXPECT_EQ(started.size(), 13U);
}

TEST_F(Tactics, AFileIsTestedAtTheChosenDepth) {
    Stage().AddText(HiveLocalMachine, modScannerTactics::Run, "x", AddEvil(Folder() + "x.exe"));
    scanner.OptScanDepth = scanshallow;
    scanner.ScanCommonTactics();
    EXPECT_THAT(found, IsEmpty());
    scanner.OptScanDepth = scanmedium;
    scanner.ScanCommonTactics();
    EXPECT_THAT(found, SizeIs(1));
}

TEST_F(Tactics, AClassIdentifierOfNineCharactersHasNoFile) {
    const std::string file = AddEvil(Folder() + "short.dll");
    AddClass("123456789", file);
    AddClass("1234567890", file);
    EXPECT_EQ(modRegistry::GetFilePathFromCLSID("123456789"), "");
    EXPECT_EQ(modRegistry::GetFilePathFromCLSID("1234567890"), file);
    const std::string key(modScannerTactics::BrowserHelperObjects);
    Stage().AddKey(HiveLocalMachine, key + "\\123456789");
    scanner.ScanCommonTactics();
    EXPECT_THAT(found, IsEmpty());
    Stage().AddKey(HiveLocalMachine, key + "\\1234567890");
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(file));
}

TEST_F(Tactics, AClassOfAServerOnTheSearchPathIsResolved) {
    const std::string file = AddEvil(System() + "server.dll");
    AddClass(Class, "server.dll");
    EXPECT_EQ(modRegistry::GetFilePathFromCLSID(Class), file);
    EXPECT_EQ(modRegistry::GetFilePathFromCLSID("{no such class}"), "");
}

TEST_F(Tactics, DownloadedComponentsAreResolvedAndNeverDetected) {
    const std::string file = AddEvil(Folder() + "control.ocx");
    AddClass(Class, file);
    const std::string key(modScannerTactics::DistributionUnits);
    Stage().AddKey(HiveLocalMachine, key + "\\" + std::string(Class));
    scanner.ScanCommonTactics();
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(Tactics, ShortcutsOfBothStartupFoldersLeadToTheirTargets) {
    const std::string first = AddEvil(Folder() + "first.exe");
    const std::string second = AddEvil(Folder() + "second.exe");
    MakeFolder(Folder() + "common");
    MakeFolder(Folder() + "user start");
    Stage().Folders()[FolderCommonStartup] = Folder() + "common";
    Stage().Folders()[FolderUserStartup] = Folder() + "user start";
    WriteFile(Folder() + "user start\\a.lnk", ShellLink(first));
    WriteFile(Folder() + "common\\b.lnk", ShellLink(second));
    WriteFile(Folder() + "common\\gone.lnk", ShellLink(Folder() + "gone.exe"));
    WriteFile(Folder() + "common\\desktop.ini", "[x]\r\n");
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(second, first));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Tactics, AProgramThatLiesInAStartupFolderItselfIsNoTarget) {
    MakeFolder(Folder() + "common");
    Stage().Folders()[FolderCommonStartup] = Folder() + "common";
    AddEvil(Folder() + "common\\evil.exe");
    scanner.ScanCommonTactics();
    EXPECT_THAT(found, IsEmpty());
}

struct HookPlace {
    const char* label;
    Hive hive;
    const char* key;
    bool byValue;
};
void PrintTo(const HookPlace& place, std::ostream* stream) {
    *stream << place.label;
}

class HookedClass : public StagedScanTest, public ::testing::WithParamInterface<HookPlace> {};

TEST_P(HookedClass, IsFoundByItsFile) {
    const std::string file = AddEvil(Folder() + "hook.dll");
    AddClass(Class, file);
    if (GetParam().byValue) {
        Stage().AddText(GetParam().hive, GetParam().key, Class, "x");
    } else {
        Stage().AddKey(GetParam().hive, std::string(GetParam().key) + "\\" + std::string(Class));
    }
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(file));
    EXPECT_THAT(Reported(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Places, HookedClass,
    ::testing::Values(
        HookPlace{"BHOs", HiveLocalMachine,
                  R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects)", false},
        HookPlace{"MachineExtensions", HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", false},
        HookPlace{"UserExtensions", HiveCurrentUser, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", false},
        HookPlace{"Toolbars", HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Toolbar)", true},
        HookPlace{"MachineBars", HiveLocalMachine, R"(Software\Microsoft\Internet Explorer\Explorer Bars)", false},
        HookPlace{"UserBars", HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Explorer Bars)", false},
        HookPlace{"ShellBrowser", HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\ShellBrowser)",
                  true},
        HookPlace{"WebBrowser", HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\WebBrowser)", true},
        HookPlace{"URLSearchHooks", HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\URLSearchHooks)", true},
        HookPlace{"ShellExecuteHooks", HiveLocalMachine,
                  R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\ShellExecuteHooks)", true}));

class RunEntry : public StagedScanTest, public ::testing::WithParamInterface<HookPlace> {};

TEST_P(RunEntry, IsFoundByItsFile) {
    const std::string file = AddEvil(Folder() + "started.exe");
    Stage().AddText(GetParam().hive, GetParam().key, "name", file + " -quiet");
    scanner.ScanCommonTactics();
    EXPECT_THAT(FilesOf(Evil), ElementsAre(file));
    EXPECT_THAT(Reported(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Places, RunEntry,
    ::testing::Values(
        HookPlace{"MachineRun", HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)", true},
        HookPlace{"MachineRunOnce", HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)", true},
        HookPlace{"MachineRunOnceEx", HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)", true},
        HookPlace{"UserRun", HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)", true},
        HookPlace{"UserRunOnce", HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)", true},
        HookPlace{"UserRunOnceEx", HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)", true},
        HookPlace{"RunServicesOnce", HiveLocalMachine, R"(Software\Microsoft\Windows\CurrentVersion\RunServicesOnce)",
                  true},
        HookPlace{"MachineRunServices", HiveLocalMachine, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)",
                  true},
        HookPlace{"UserRunServices", HiveCurrentUser, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)",
                  true}));

}  // namespace
}  // namespace kel::test
