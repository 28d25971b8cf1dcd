// What a file or a folder that was found drags in.
#include <gmock/gmock.h>

#include "RelationsTest.h"
#include "core/Text.h"
#include "scanner/modScannerFiles.h"
#include "support/ProgramFile.h"
#include "support/ShellLink.h"

namespace kel::test {
namespace {

using modScannerFiles::AddDetectedThreatFileRelations;
using modScannerFiles::AddDetectedThreatFolderContents;
using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LibraryRelations : public RelationsTest {
protected:
    // Every place that can mention a class does.
    void MentionEverywhere(const std::string& clsid) {
        const std::string current = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\";
        const std::string browser = "SOFTWARE\\Microsoft\\Internet Explorer\\";
        staged.AddKey(HiveLocalMachine, "SOFTWARE\\Classes\\CLSID\\" + clsid);
        staged.AddText(HiveClassesRoot, "CLSID\\" + clsid + "\\ProgID", "", "Thing.Object");
        staged.AddKey(HiveClassesRoot, "Thing.Object");
        staged.AddKey(HiveLocalMachine, "SOFTWARE\\Classes\\Thing.Object");
        staged.AddText(HiveLocalMachine, "SOFTWARE\\Classes\\PROTOCOLS\\Filter\\text/html", "CLSID", clsid);
        staged.AddText(HiveClassesRoot, "PROTOCOLS\\Filter\\text/plain", "CLSID", clsid);
        staged.AddKey(HiveLocalMachine, current + "Browser Helper Objects\\" + clsid);
        for (const Hive hive : {HiveLocalMachine, HiveCurrentUser}) {
            staged.AddText(hive, browser + "Extensions\\" + clsid, "CLSID", "any");
            staged.AddText(hive, browser + "Extensions\\" + clsid, "BandCLSID", "any");
        }
        staged.AddText(HiveLocalMachine, browser + "Toolbar", clsid, "");
        staged.AddKey(HiveLocalMachine, browser + "Explorer Bars\\" + clsid);
        staged.AddText(HiveCurrentUser, browser + "Toolbar\\ShellBrowser", clsid, "x");
        staged.AddText(HiveCurrentUser, browser + "Toolbar\\WebBrowser", clsid, "x");
        staged.AddText(HiveCurrentUser, browser + "URLSearchHooks", clsid, "x");
        staged.AddKey(HiveLocalMachine, "SOFTWARE\\Microsoft\\Code Store Database\\Distribution Units\\" + clsid);
        staged.AddText(HiveLocalMachine, current + "ShellExecuteHooks", clsid, "x");
    }
};

TEST_F(LibraryRelations, EveryMentionOfAClassIsRecordedInOrder) {
    const std::string clsid(Clsid);
    const std::string library = AddLibrary("thing.dll", {Clsid});
    MentionEverywhere(clsid);
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(
        Keys(),
        ElementsAre(
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\CLSID\\" + clsid, "HKEY_CLASSES_ROOT\\Thing.Object",
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\Thing.Object",
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\PROTOCOLS\\Filter\\text/html",
            "HKEY_CLASSES_ROOT\\PROTOCOLS\\Filter\\text/plain",
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects\\" +
                clsid,
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Internet Explorer\\Extensions\\" + clsid,
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Internet Explorer\\Extensions\\" + clsid,
            "HKEY_CURRENT_USER\\SOFTWARE\\Microsoft\\Internet Explorer\\Extensions\\" + clsid,
            "HKEY_CURRENT_USER\\SOFTWARE\\Microsoft\\Internet Explorer\\Extensions\\" + clsid,
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Internet Explorer\\Toolbar [" + clsid + "]",
            "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Internet Explorer\\Explorer Bars\\" + clsid,
            "HKEY_CURRENT_USER\\Software\\Microsoft\\Internet Explorer\\Toolbar\\ShellBrowser [" + clsid + "]",
            "HKEY_CURRENT_USER\\Software\\Microsoft\\Internet Explorer\\Toolbar\\WebBrowser [" + clsid + "]",
            "HKEY_CURRENT_USER\\Software\\Microsoft\\Internet Explorer\\URLSearchHooks [" + clsid + "]",
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Code Store Database\\Distribution Units\\" + clsid,
            "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ShellExecuteHooks [" + clsid +
                "]"));
    EXPECT_THAT(Files(), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
    ASSERT_EQ(found.size(), 17U);
    for (const HeardThreat& heard : found) {
        EXPECT_EQ(heard.type, ScanTypeRegistry);
        EXPECT_EQ(heard.threat, Threat);
    }
}

TEST_F(LibraryRelations, ALibraryWithoutMentionsHasNone) {
    AddDetectedThreatFileRelations(Threat, AddLibrary("thing.dll", {Clsid}));
    AddDetectedThreatFileRelations(Threat, AddLibrary("things\\other.dll", {}));
    EXPECT_THAT(Keys(), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(LibraryRelations, OnlyTheMentionsOfItsOwnClassesCount) {
    AddLibrary("things\\other.dll", {"{99999999-2222-3333-4444-555555555555}"});
    const std::string library = AddLibrary("thing.dll", {Clsid});
    MentionEverywhere("{99999999-2222-3333-4444-555555555555}");
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(LibraryRelations, ASmallLibraryHasNone) {
    const std::string library = AddLibrary("thing.dll", {Clsid});
    MentionEverywhere(std::string(Clsid));
    WriteFile(library, std::string(999, 'l'));
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(Keys(), IsEmpty());
    WriteFile(library, std::string(1000, 'l'));
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_EQ(Keys().size(), 17U);
}

TEST_F(LibraryRelations, AControlHasNone) {
    const std::string control = AddLibrary("thing.ocx", {Clsid});
    MentionEverywhere(std::string(Clsid));
    AddDetectedThreatFileRelations(Threat, control);
    EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(LibraryRelations, ClassesOfTwentyCharactersOrFewerArePassedOver) {
    const std::string twenty = "{" + std::string(18, '1') + "}";
    const std::string longer = "{" + std::string(19, '1') + "}";
    const std::string library = AddLibrary("thing.dll", {twenty, longer});
    staged.AddKey(HiveLocalMachine, "SOFTWARE\\Classes\\CLSID\\" + twenty);
    staged.AddKey(HiveLocalMachine, "SOFTWARE\\Classes\\CLSID\\" + longer);
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(Keys(), ElementsAre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\CLSID\\" + longer));
}

TEST_F(LibraryRelations, AProgIDWithoutADotIsPassedOver) {
    const std::string library = AddLibrary("thing.dll", {Clsid});
    staged.AddText(HiveClassesRoot, "CLSID\\" + std::string(Clsid) + "\\ProgID", "", "Thing");
    staged.AddKey(HiveClassesRoot, "Thing");
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(LibraryRelations, AProgIDIsRecordedInEachPlaceWhereItIs) {
    const std::string library = AddLibrary("thing.dll", {Clsid});
    staged.AddText(HiveClassesRoot, "CLSID\\" + std::string(Clsid) + "\\ProgID", "", "Thing.Object");
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(Keys(), IsEmpty());
    staged.AddKey(HiveLocalMachine, "SOFTWARE\\Classes\\Thing.Object");
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(Keys(), ElementsAre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\Thing.Object"));
}

TEST_F(LibraryRelations, FiltersAreComparedWithoutRegardToCase) {
    const std::string library = AddLibrary("thing.dll", {"{AAAAAAAA-2222-3333-4444-555555555555}"});
    const std::string filters = "SOFTWARE\\Classes\\PROTOCOLS\\Filter\\";
    staged.AddText(HiveLocalMachine, filters + "a", "CLSID", "{aaaaaaaa-2222-3333-4444-555555555555}");
    staged.AddText(HiveLocalMachine, filters + "b", "CLSID", "{bbbbbbbb-2222-3333-4444-555555555555}");
    staged.AddText(HiveLocalMachine, filters + "c", "Other", "{AAAAAAAA-2222-3333-4444-555555555555}");
    staged.AddText(HiveLocalMachine, filters + "d", "CLSID", "{AAAAAAAA-2222-3333-4444-555555555555}");
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(Keys(), ElementsAre("HKEY_LOCAL_MACHINE\\" + filters + "a", "HKEY_LOCAL_MACHINE\\" + filters + "d"));
}

TEST_F(LibraryRelations, AnIgnoredThreatAddsNothing) {
    const std::string library = AddLibrary("thing.dll", {Clsid});
    MentionEverywhere(std::string(Clsid));
    Ignore();
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(LibraryRelations, WithoutAScanTheyAreAReportedFailure) {
    const std::string library = AddLibrary("thing.dll", {Clsid});
    MentionEverywhere(std::string(Clsid));
    SetCurrentScan(nullptr);
    AddDetectedThreatFileRelations(Threat, library);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modScannerFiles");
    EXPECT_EQ(Reported()[0].procedure, "AddDetectedThreatFileRelations");
    EXPECT_EQ(Reported()[0].number, "91");
}

class ProgramRelations : public RelationsTest {
protected:
    static constexpr std::string_view Current = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\";
    void AddEntry(Hive hive, const std::string& below, const std::string& name, const std::string& command) {
        staged.AddText(hive, std::string(Current) + below, name, command);
    }
    void AddShortcut(const std::string& below, const std::string& target) {
        ShellLink link;
        link.target = target;
        WriteFile(Folder() + below, MakeShellLink(link));
    }
};

TEST_F(ProgramRelations, ARunEntryOfACopyUnderAnotherPathIsAdded) {
    const std::string program = AddFile("things\\thing.exe", 'p');
    const std::string copy = AddFile("copy.exe", 'p');
    AddEntry(HiveLocalMachine, "Run", "Copy", copy);
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_THAT(Keys(), ElementsAre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run [Copy]"));
    EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(ProgramRelations, AnEntryOfAnotherProgramStays) {
    const std::string program = AddFile("thing.exe", 'p');
    AddEntry(HiveLocalMachine, "Run", "Other", AddFile("other.exe", 'q'));
    WriteFile(Folder() + "longer.exe", Bytes(2001, 'p'));
    AddEntry(HiveLocalMachine, "Run", "Longer", Folder() + "longer.exe");
    AddEntry(HiveLocalMachine, "Run", "Missing", Folder() + "missing.exe");
    AddEntry(HiveLocalMachine, "Run", "Empty", "");
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProgramRelations, TheNineRunKeysAreWalkedInOrder) {
    const std::string program = AddFile("thing.exe", 'p');
    const std::vector<std::pair<Hive, std::string>> keys{
        {HiveLocalMachine, "Run"},
        {HiveLocalMachine, "RunOnce"},
        {HiveLocalMachine, "RunOnceEx"},
        {HiveCurrentUser, "Run"},
        {HiveCurrentUser, "RunOnce"},
        {HiveCurrentUser, "RunOnceEx"},
        {HiveLocalMachine, "RunServicesOnce"},
        {HiveLocalMachine, "RunServices"},
        {HiveCurrentUser, "RunServices"},
    };
    std::vector<std::string> expected;
    for (const auto& [hive, below] : keys) {
        expected.push_back(modHelper::GetRegistryHiveNameFromHive(hive) + "\\" + std::string(Current) + below +
                           " [Thing]");
    }
    for (auto entry = keys.rbegin(); entry != keys.rend(); ++entry) {
        AddEntry(entry->first, entry->second, "Thing", program);
    }
    AddEntry(HiveCurrentUser, "RunServicesOnce", "Thing", program);
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_EQ(Keys(), expected);
}

TEST_F(ProgramRelations, ArgumentsVariablesAndBareNamesAreResolved) {
    const std::string program = AddFile("windows\\thing.exe", 'p');
    AddEntry(HiveLocalMachine, "Run", "Arguments", "\"" + program + "\" /start");
    AddEntry(HiveLocalMachine, "Run", "Bare", "THING.EXE");
    AddEntry(HiveLocalMachine, "Run", "Loaded", "rundll32.exe " + program + ",Start");
    AddEntry(HiveLocalMachine, "Run", "Variable", "%SystemRoot%\\thing.exe");
    AddDetectedThreatFileRelations(Threat, program);
    const std::string run = "HKEY_LOCAL_MACHINE\\" + std::string(Current) + "Run [";
    EXPECT_THAT(Keys(),
                ::testing::UnorderedElementsAre(run + "Arguments]", run + "Bare]", run + "Loaded]", run + "Variable]"));
}

TEST_F(ProgramRelations, AStartupShortcutToACopyIsAdded) {
    const std::string program = AddFile("thing.exe", 'p');
    AddShortcut("user startup\\u.lnk", program);
    AddShortcut("common startup\\c.lnk", AddFile("things\\copy.exe", 'p'));
    AddShortcut("common startup\\other.lnk", AddFile("other.exe", 'q'));
    AddShortcut("common startup\\gone.lnk", Folder() + "gone.exe");
    WriteFile(Folder() + "common startup\\desktop.ini", "[x]");
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_THAT(Files(),
                ElementsAre(LCase(Folder()) + "common startup\\c.lnk", LCase(Folder()) + "user startup\\u.lnk"));
    EXPECT_THAT(Keys(), IsEmpty());
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].type, ScanTypeFiles);
}

TEST_F(ProgramRelations, ShortcutsComeBeforeRunEntries) {
    const std::string program = AddFile("thing.exe", 'p');
    AddShortcut("user startup\\u.lnk", program);
    AddEntry(HiveLocalMachine, "Run", "Thing", program);
    AddDetectedThreatFileRelations(Threat, program);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].location, LCase(Folder()) + "user startup\\u.lnk");
    EXPECT_EQ(found[1].type, ScanTypeRegistry);
}

TEST_F(ProgramRelations, ALargeShortcutIsRecordedWithItsHash) {
    const std::string program = AddFile("thing.exe", 'p');
    ShellLink link;
    link.target = program;
    const std::string bytes = MakeShellLink(link) + std::string(1000, '\0');
    WriteFile(Folder() + "user startup\\u.lnk", bytes);
    AddDetectedThreatFileRelations(Threat, program);
    const auto& threat = CurrentScan()->DetectedThreats()->Item(1);
    EXPECT_EQ(threat->ThreatLocationFiles->Item(1)->MD5, HashOf(bytes));
}

TEST_F(ProgramRelations, MachinesWithoutStartupFoldersHaveRunEntriesOnly) {
    staged.Folders().erase(FolderCommonStartup);
    staged.Folders().erase(FolderUserStartup);
    const std::string program = AddFile("thing.exe", 'p');
    AddEntry(HiveCurrentUser, "Run", "Thing", program);
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_EQ(found.size(), 1U);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProgramRelations, WhatStartsAProtectedFileStays) {
    VersionRecord record;
    record.tables = {{0x0409, 0x04E4, {{"CompanyName", "Microsoft Corporation"}}}};
    std::string bytes = MakeProgram(ProgramKind::Pe32, record);
    bytes.resize(std::max<std::size_t>(bytes.size(), 4000), '\0');
    const std::string program = Folder() + "thing.exe";
    WriteFile(program, bytes);
    AddShortcut("user startup\\u.lnk", program);
    AddEntry(HiveLocalMachine, "Run", "Thing", program);
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(ProgramRelations, AProgramHasNoClassesAndALibraryNoRunEntries) {
    const std::string program = AddLibrary("thing.exe", {Clsid});
    staged.AddKey(HiveLocalMachine, "SOFTWARE\\Classes\\CLSID\\" + std::string(Clsid));
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_THAT(found, IsEmpty());
    const std::string library = AddFile("thing.dll", 'p');
    AddEntry(HiveLocalMachine, "Run", "Thing", "rundll32 " + library + ",Start");
    AddDetectedThreatFileRelations(Threat, library);
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(ProgramRelations, DriversAndOtherFilesHaveNone) {
    for (const char* name : {"thing.sys", "thing.com", "thing"}) {
        const std::string file = AddFile(name, 'p');
        AddEntry(HiveLocalMachine, "Run", name, file);
        AddDetectedThreatFileRelations(Threat, file);
    }
    AddDetectedThreatFileRelations(Threat, Folder() + "missing.exe");
    AddDetectedThreatFileRelations(Threat, "");
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProgramRelations, AnIgnoredThreatAddsNothing) {
    const std::string program = AddFile("thing.exe", 'p');
    AddShortcut("user startup\\u.lnk", program);
    AddEntry(HiveLocalMachine, "Run", "Thing", program);
    Ignore();
    AddDetectedThreatFileRelations(Threat, program);
    EXPECT_THAT(found, IsEmpty());
}

class FolderRelations : public RelationsTest {};

TEST_F(FolderRelations, FilesAndFoldersAreRecordedInLowerCase) {
    MakeFolder(Folder() + "Bad\\Sub\\Deep");
    AddFile("Bad\\A.TXT", 'a');
    AddFile("Bad\\Sub\\B.txt", 'b');
    AddFile("Bad\\Sub\\Deep\\C.txt", 'c');
    AddDetectedThreatFolderContents(Threat, Folder() + "Bad", false);
    const std::string bad = LCase(Folder()) + "bad\\";
    EXPECT_THAT(Files(), ElementsAre(bad + "a.txt", bad + "sub\\b.txt", bad + "sub\\deep\\c.txt"));
    EXPECT_THAT(FoldersFound(), ElementsAre(bad + "sub", bad + "sub\\deep"));
    for (const HeardThreat& heard : found) {
        EXPECT_EQ(heard.type, ScanTypeFiles);
    }
}

TEST_F(FolderRelations, TheFlagLeavesOutWhatLiesDeeper) {
    MakeFolder(Folder() + "bad\\sub\\deep");
    AddFile("bad\\sub\\b.txt", 'b');
    AddFile("bad\\sub\\deep\\c.txt", 'c');
    AddDetectedThreatFolderContents(Threat, Folder() + "bad\\", true);
    EXPECT_THAT(Files(), ElementsAre(LCase(Folder()) + "bad\\sub\\b.txt"));
    EXPECT_THAT(FoldersFound(), ElementsAre(LCase(Folder()) + "bad\\sub", LCase(Folder()) + "bad\\sub\\deep"));
}

TEST_F(FolderRelations, AFilesRelationsFollowItAndGoNoFurther) {
    MakeFolder(Folder() + "bad");
    const std::string program = AddFile("bad\\thing.exe", 'p');
    AddFile("bad\\zlast.txt", 'z');
    staged.AddText(HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run", "Thing", program);
    AddDetectedThreatFolderContents(Threat, Folder() + "bad", false);
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0].location, LCase(program));
    EXPECT_EQ(found[1].type, ScanTypeRegistry);
    EXPECT_EQ(found[2].location, LCase(Folder()) + "bad\\zlast.txt");

    AddDetectedThreatFileRelations(Threat + 1, program);
    EXPECT_THAT(FilesOf(Threat + 1), IsEmpty());
    EXPECT_EQ(FoldersFound().size(), 0U);
}

TEST_F(FolderRelations, WhatMustStayIsLeftOut) {
    MakeFolder(Folder() + "windows\\inf");
    AddFile("windows\\system\\winforms.dll", 'f');
    AddFile("windows\\system\\bad.txt", 'b');
    AddDetectedThreatFolderContents(Threat, Folder() + "windows", false);
    EXPECT_THAT(Files(), ElementsAre(LCase(Folder()) + "windows\\system\\bad.txt"));
    EXPECT_THAT(FoldersFound(), ElementsAre(LCase(Folder()) + "windows\\system"));
}

TEST_F(FolderRelations, SmallFilesAreRecordedWithoutAHash) {
    MakeFolder(Folder() + "bad");
    WriteFile(Folder() + "bad\\small.txt", "x");
    const std::string large = AddFile("bad\\large.txt", 'l');
    AddDetectedThreatFolderContents(Threat, Folder() + "bad", false);
    const auto& files = CurrentScan()->DetectedThreats()->Item(1)->ThreatLocationFiles;
    ASSERT_EQ(files->Count(), 2U);
    for (const auto& file : *files) {
        EXPECT_EQ(file->MD5, file->DetectedFilePath() == LCase(large) ? HashOf(Bytes(2000, 'l')) : "");
    }
}

TEST_F(FolderRelations, AnEmptyOrMissingFolderHasNone) {
    MakeFolder(Folder() + "bad");
    AddDetectedThreatFolderContents(Threat, Folder() + "bad", false);
    AddDetectedThreatFolderContents(Threat, Folder() + "missing", false);
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(FolderRelations, AnIgnoredThreatAddsNothing) {
    MakeFolder(Folder() + "bad\\sub");
    AddFile("bad\\a.txt", 'a');
    Ignore();
    AddDetectedThreatFolderContents(Threat, Folder() + "bad", false);
    EXPECT_THAT(found, IsEmpty());
}

class StagesWithRelations : public RelationsTest {
protected:
    void BeginWithTables() {
        State().DataInitialized = false;
        Begin();
        scanner.OptScanDepth = scandeep;
    }
};

TEST_F(StagesWithRelations, AWalkBringsThoseOfWhatItFinds) {
    AddLibrary("things\\thing.dll", {Clsid});
    staged.AddKey(HiveLocalMachine, "SOFTWARE\\Classes\\CLSID\\" + std::string(Clsid));
    tables.md5 = {{Threat, HashOf(Bytes(2000, 'l'))}};
    BeginWithTables();
    scanner.AddScanDriveAndPath(Folder() + "things");
    scanner.ScanDriveOrFolder();
    EXPECT_THAT(Files(), ElementsAre(Folder() + "things\\thing.dll"));
    EXPECT_THAT(Keys(), ElementsAre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\CLSID\\" + std::string(Clsid)));
}

TEST_F(StagesWithRelations, AFolderScanBringsTheContentsOfWhatItFinds) {
    MakeFolder(Folder() + "things\\bad\\sub");
    const std::string file = AddFile("things\\bad\\sub\\b.txt", 'b');
    tables.folders = {{Threat, LCase(Folder()) + "things\\bad"}};
    BeginWithTables();
    scanner.ScanFolder(Folder() + "things", true, true);
    EXPECT_THAT(FoldersFound(), ElementsAre(LCase(Folder()) + "things\\bad", LCase(Folder()) + "things\\bad\\sub"));
    EXPECT_THAT(Files(), ElementsAre(LCase(file)));
}

}  // namespace
}  // namespace kel::test
