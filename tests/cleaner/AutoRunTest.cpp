// What starts a file: run lists, startup folders, ini files, the command that opens programs.
#include <gmock/gmock.h>

#include <vector>

#include "Items.h"
#include "RemovalTest.h"
#include "cleaner/Unhooking.h"
#include "decorators/FaultInjectingPlatform.h"
#include "quarantine/QThreatLocationFile.h"
#include "quarantine/QThreatLocationRegKey.h"
#include "quarantine/QThreatLocationSpecial.h"
#include "support/ShellLink.h"

namespace kel::test {
namespace {

using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::string_view RunList = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)";

class AutoRun : public RemovalTest {
protected:
    const std::string bad = AddThing("bad thing.exe");
    const std::string good = AddThing("good.exe");
};

class RunLists : public AutoRun {
protected:
    static auto Cut(std::string_view path) {
        return Items(modCleanerHelper::HelperKillAutoRunLocationsRegistry(path, HiveLocalMachine, RunList));
    }
};

TEST_F(RunLists, AValueThatStartsTheFileGoesAndIsRecorded) {
    Stage().AddText(HiveLocalMachine, RunList, "Bad", bad);
    Stage().AddText(HiveLocalMachine, RunList, "Good", good);
    const auto cut = Cut(bad);
    ASSERT_THAT(cut, SizeIs(1));
    const QThreatLocationRegKey& record = *cut[0];
    EXPECT_EQ(record.RegHive, HiveLocalMachine);
    EXPECT_EQ(record.Regkey, RunList);
    EXPECT_EQ(record.RegValueName, "Bad");
    EXPECT_EQ(record.RegValueData, bad);
    EXPECT_EQ(record.RegValueDataType, 1);
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "Bad"), "absent");
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "Good"), good);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunLists, ArgumentsQuotesAndLetterCaseDoNotHideIt) {
    const std::string command = "\"" + bad + "\" -quiet";
    Stage().AddText(HiveLocalMachine, RunList, "Quoted", command);
    Stage().AddText(HiveLocalMachine, RunList, "Library", "rundll32.exe " + Things() + "LIB.DLL,Start");
    const auto cut = Cut(Things() + "BAD Thing.EXE");
    ASSERT_THAT(cut, SizeIs(1));
    EXPECT_EQ(cut[0]->RegValueData, command) << "as it stood";
    EXPECT_THAT(Cut(AddThing("lib.dll")), SizeIs(1));
}

TEST_F(RunLists, AVariableDoesNotHideIt) {
    WriteFile(Windows() + "spy.exe", "spy");
    Stage().AddValue(HiveLocalMachine, RunList, "Spy",
                     {platform::ValueType::ExpandSz, std::string("%windir%\\spy.exe /s") + '\0'});
    const auto cut = Cut(Windows() + "spy.exe");
    ASSERT_THAT(cut, SizeIs(1));
    EXPECT_EQ(cut[0]->RegValueData, "%windir%\\spy.exe /s");
    EXPECT_EQ(cut[0]->RegValueDataType, 2);
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "Spy"), "absent");
}

TEST_F(RunLists, ANameWithoutAFolderIsLookedForInTheWindowsFolders) {
    WriteFile(System() + "spy.exe", "spy");
    Stage().AddText(HiveLocalMachine, RunList, "Spy", "spy.exe -s");
    EXPECT_THAT(Cut(System() + "spy.exe"), SizeIs(1));
}

TEST_F(RunLists, SeveralValuesGoAtOnceAndTheRestStays) {
    for (const std::string name : {"a", "b", "c", "d"}) {
        Stage().AddText(HiveLocalMachine, RunList, name, name == "b" ? good : bad);
    }
    Stage().AddValue(HiveLocalMachine, RunList, "number", {platform::ValueType::Dword, std::string(4, '\1')});
    EXPECT_THAT(Cut(bad), SizeIs(3));
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "b"), good);
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "number"), std::string(4, '\1'));
    EXPECT_THAT(Cut(bad), IsEmpty());
}

TEST_F(RunLists, WhatIsGoneStartsNothing) {
    Stage().AddText(HiveLocalMachine, RunList, "Gone", Things() + "gone.exe");
    EXPECT_THAT(Cut(Things() + "gone.exe"), IsEmpty());
    EXPECT_THAT(Cut(""), IsEmpty());
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "Gone"), Things() + "gone.exe");
}

TEST_F(RunLists, AllNineAreWorkedInOrderAndLoggedAtTheEnd) {
    const std::vector<std::pair<Hive, std::string>> lists = {
        {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)"},
        {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)"},
        {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)"},
        {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)"},
        {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)"},
        {HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnceEx)"},
        {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunServicesOnce)"},
        {HiveLocalMachine, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)"},
        {HiveCurrentUser, R"(Software\Microsoft\Windows\CurrentVersion\RunServices)"},
    };
    std::vector<std::string> wanted;
    for (const auto& [hive, key] : lists) {
        Stage().AddText(hive, key, "x", bad + " /run");
        wanted.push_back(std::string("Removed registry auto start HKEY_") +
                         (hive == HiveLocalMachine ? "LOCAL_MACHINE" : "CURRENT_USER") + "\\" + key + " [x=" + bad +
                         " /run]");
    }
    const auto cut = Items(modCleanerHelper::KillAutoRunLocationsRegistry(bad));
    ASSERT_THAT(cut, SizeIs(lists.size()));
    for (std::size_t index = 0; index < lists.size(); ++index) {
        EXPECT_EQ(cut[index]->RegHive, lists[index].first);
        EXPECT_EQ(cut[index]->Regkey, lists[index].second);
        EXPECT_EQ(Data(lists[index].first, lists[index].second, "x"), "absent");
    }
    EXPECT_EQ(Log(), wanted);
}

TEST_F(RunLists, MissingOnesAreNoFailure) {
    EXPECT_THAT(Items(modCleanerHelper::KillAutoRunLocationsRegistry(bad)), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_THAT(Log(), IsEmpty());
}

class StartupFolders : public AutoRun {
protected:
    StartupFolders() {
        MakeFolder(Folder() + "common start");
        MakeFolder(Folder() + "user start");
        Stage().Folders()[FolderCommonStartup] = Folder() + "common start";
        Stage().Folders()[7] = Folder() + "user start";
        Stage().Folders()[FolderUserStartup] = Folder() + "user start";
    }
    std::string Shortcut(std::string_view name, const std::string& target) {
        ShellLink link;
        link.target = target;
        std::string path = Folder() + std::string(name);
        WriteFile(path, MakeShellLink(link));
        return path;
    }
    auto Cut(std::string_view path) { return Items(modCleanerHelper::KillAutoRunLocationsFiles(path, Quarantined())); }
};

TEST_F(StartupFolders, AShortcutToTheFileMovesOutAndAnotherStays) {
    const std::string shortcut = Shortcut("common start\\Bad.lnk", bad);
    const std::string bytes = ReadFile(shortcut);
    const std::string other = Shortcut("common start\\good.lnk", good);
    const auto moved = Cut(Things() + "BAD THING.exe");
    ASSERT_THAT(moved, SizeIs(1));
    const QThreatLocationFile& record = *moved[0];
    EXPECT_THAT(record.OriginalFilePath, ::testing::StrCaseEq(shortcut));
    EXPECT_THAT(record.QuarantineFileName, SizeIs(30));
    EXPECT_EQ(record.ThreatFileType, ThreatFileTypeGeneral);
    EXPECT_FALSE(record.ActionRegisterFile);
    EXPECT_FALSE(Exists(shortcut));
    EXPECT_TRUE(Exists(other));
    EXPECT_EQ(ReadFile(Quarantined() + record.QuarantineFileName), bytes + "6635\r\n");
    EXPECT_THAT(Log(), ElementsAre("Removed auto start file " + record.OriginalFilePath));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(StartupFolders, TheCommonOneComesBeforeTheUsers) {
    Shortcut("user start\\a.lnk", bad);
    Shortcut("common start\\b.lnk", bad);
    const auto moved = Cut(bad);
    ASSERT_THAT(moved, SizeIs(2));
    EXPECT_THAT(moved[0]->OriginalFilePath, ::testing::EndsWith("common start\\b.lnk"));
    EXPECT_THAT(moved[1]->OriginalFilePath, ::testing::EndsWith("user start\\a.lnk"));
    EXPECT_NE(moved[0]->QuarantineFileName, moved[1]->QuarantineFileName);
}

TEST_F(StartupFolders, OtherFilesAndFoldersAreNoShortcuts) {
    WriteFile(Folder() + "user start\\notes.txt", bad);
    WriteFile(Folder() + "user start\\empty.lnk", "");
    MakeFolder(Folder() + "user start\\folder.lnk");
    EXPECT_THAT(Cut(bad), IsEmpty());
    EXPECT_THAT(Cut(""), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(StartupFolders, AMachineWithoutThemHasNothingToMove) {
    Stage().Folders().erase(FolderCommonStartup);
    Stage().Folders().erase(FolderUserStartup);
    Stage().Folders().erase(7);
    EXPECT_THAT(Cut(bad), IsEmpty());
}

TEST_F(StartupFolders, AShortcutThatCannotBeMovedIsDroppedInSilence) {
    const std::string shortcut = Shortcut("common start\\bad.lnk", bad);
    decorators::FaultInjectingPlatform faults(Staged());
    faults.FailWritesFrom(1, platform::SysError::AccessDenied);
    Install(faults.View());
    EXPECT_THAT(Cut(bad), IsEmpty());
    Install(Staged());
    EXPECT_TRUE(Exists(shortcut));
    EXPECT_THAT(Log(), IsEmpty());
}

class IniFiles : public AutoRun {
protected:
    std::string Win() const { return Windows() + "win.ini"; }
    std::string SystemIni() const { return Windows() + "system.ini"; }
    static auto Cut(std::string_view path) { return Items(modCleanerHelper::QuarantineSpecialFileExeParts(path)); }
    static const QThreatLocationSpecial& Special(const std::vector<QuarantineRecord>& records, std::size_t index) {
        return *std::get<std::shared_ptr<QThreatLocationSpecial>>(records.at(index - 1));
    }
    static const QThreatLocationRegKey& Value(const std::vector<QuarantineRecord>& records, std::size_t index) {
        return *std::get<std::shared_ptr<QThreatLocationRegKey>>(records.at(index - 1));
    }
};

TEST_F(IniFiles, BothLinesGoAndTheLastOneIsRecorded) {
    WriteFile(Win(), "[windows]\r\nload=" + bad + "\r\n\r\nrun=\"" + Things() + "BAD THING.EXE\" /x\r\n[fonts]\r\n");
    const auto records = Cut(bad);
    ASSERT_THAT(records, SizeIs(1));
    const QThreatLocationSpecial& record = Special(records, 1);
    const std::string line = "run=\"" + Things() + "BAD THING.EXE\" /x";
    EXPECT_EQ(record.QSpecialType, QSpecialTypeWinIniLine);
    EXPECT_EQ(record.Data1, line);
    EXPECT_EQ(record.Data2 + record.Data3 + record.Data4, "");
    EXPECT_EQ(ReadFile(Win()), "[windows]\r\n\r\n[fonts]\r\n");
    ASSERT_THAT(Log(), SizeIs(1));
    EXPECT_THAT(Log()[0], ::testing::StrCaseEq("Removed entry " + line + " from " + Win()));
}

TEST_F(IniFiles, SystemIniComesSecond) {
    WriteFile(SystemIni(), "[boot]\r\nshell=explorer.exe " + bad + "\r\n");
    WriteFile(Win(), "run=" + bad);
    const auto records = Cut(bad);
    ASSERT_THAT(records, SizeIs(2));
    EXPECT_EQ(Special(records, 1).QSpecialType, QSpecialTypeWinIniLine);
    EXPECT_EQ(Special(records, 2).QSpecialType, QSpecialTypeSystemIniLine);
    EXPECT_EQ(Special(records, 2).Data1, "shell=explorer.exe " + bad);
    EXPECT_EQ(ReadFile(Win()), "");
    EXPECT_EQ(ReadFile(SystemIni()), "[boot]\r\n");
}

TEST_F(IniFiles, OneThatDoesNotNameTheFileStaysAsItIs) {
    const std::string bytes = "[windows]\nload=" + good + "\n\nno end";
    WriteFile(Win(), bytes);
    EXPECT_THAT(Cut(bad), IsEmpty());
    EXPECT_THAT(Cut(""), IsEmpty());
    EXPECT_EQ(ReadFile(Win()), bytes);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(IniFiles, AWriteProtectedOneIsWrittenAndHasNoAttributesThen) {
    WriteFile(Win(), "run=" + bad + "\r\nkept=1\r\n");
    Machine().files->SetAttributes(Win(), platform::AttributeReadOnly);
    EXPECT_THAT(Cut(bad), SizeIs(1));
    EXPECT_EQ(ReadFile(Win()), "kept=1\r\n");
    EXPECT_EQ(Machine().files->Attributes(Win()).ValueOr(0) & platform::AttributeReadOnly, 0U);
}

TEST_F(IniFiles, AFullDiskDoesNotCostTheFile) {
    const std::string bytes = "run=" + bad + "\r\nkept=1\r\n";
    WriteFile(Win(), bytes);
    decorators::FaultInjectingPlatform faults(Staged());
    faults.DiskFullAfter(0);
    Install(faults.View());
    EXPECT_THAT(Cut(bad), IsEmpty());
    Install(Staged());
    EXPECT_EQ(ReadFile(Win()), bytes);
    ASSERT_THAT(Reported(), ::testing::Not(IsEmpty()));
    EXPECT_EQ(Reported()[0].procedure, "QuarantineSpecialFileExeParts");
    EXPECT_EQ(Reported()[0].module, "modCleanerHelper");
}

constexpr std::string_view RootCommand = R"(exefile\shell\open\command)";
constexpr std::string_view MachineCommand = R"(Software\CLASSES\exefile\shell\open\command)";

TEST_F(IniFiles, TheCommandThatOpensProgramsIsReset) {
    const std::string command = Things() + "BAD thing.exe \"%1\" %*";
    Stage().AddText(HiveClassesRoot, RootCommand, "", command);
    Stage().AddText(HiveLocalMachine, MachineCommand, "", command);
    const auto records = Cut(bad);
    ASSERT_THAT(records, SizeIs(2));
    EXPECT_EQ(Value(records, 1).RegHive, HiveClassesRoot);
    EXPECT_EQ(Value(records, 1).Regkey, RootCommand);
    EXPECT_EQ(Value(records, 1).RegValueName, "");
    EXPECT_EQ(Value(records, 1).RegValueData, command);
    EXPECT_EQ(Value(records, 1).RegValueDataType, 1);
    EXPECT_EQ(Value(records, 2).RegHive, HiveLocalMachine);
    EXPECT_EQ(Value(records, 2).Regkey, MachineCommand);
    EXPECT_EQ(Data(HiveClassesRoot, RootCommand, ""), "\"%1\" %*");
    EXPECT_EQ(Data(HiveLocalMachine, MachineCommand, ""), "\"%1\" %*");
    EXPECT_THAT(Log(), ElementsAre(R"(Reset HKEY_CLASSES_ROOT\exefile\shell\open\command)",
                                   R"(Reset HKEY_LOCAL_MACHINE\exefile\shell\open\command)"));
}

TEST_F(IniFiles, TheCommandIsLeftToOtherFilesThanPrograms) {
    const std::string library = AddThing("bad.dll");
    Stage().AddText(HiveClassesRoot, RootCommand, "", library + " \"%1\" %*");
    Stage().AddText(HiveLocalMachine, MachineCommand, "", good + " \"%1\" %*");
    EXPECT_THAT(Cut(library), IsEmpty());
    EXPECT_THAT(Cut(bad), IsEmpty());
    EXPECT_EQ(Data(HiveClassesRoot, RootCommand, ""), library + " \"%1\" %*");
    EXPECT_EQ(Data(HiveLocalMachine, MachineCommand, ""), good + " \"%1\" %*");
}

TEST_F(IniFiles, LinesComeBeforeCommandsInTheAnswer) {
    WriteFile(SystemIni(), "shell=" + bad);
    Stage().AddText(HiveClassesRoot, RootCommand, "", bad);
    const auto records = Cut(bad);
    ASSERT_THAT(records, SizeIs(2));
    EXPECT_EQ(Special(records, 1).Data1, "shell=" + bad);
    EXPECT_EQ(Value(records, 2).RegValueData, bad);
}

}  // namespace
}  // namespace kel::test
