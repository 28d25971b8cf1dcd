// What is left to the machine's next start, and the work on it.
#include <gmock/gmock.h>

#include <string>

#include "RemovalTest.h"
#include "cleaner/BootLists.h"
#include "decorators/FaultInjectingPlatform.h"

namespace kel::test {
namespace {

using platform::Hive;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* CleanerExe = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe)";
constexpr const char* DelFolders = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFolders)";
constexpr const char* DelFiles = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFiles)";
constexpr const char* DelRegKeys = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelRegKeys)";
constexpr const char* DelRegValues = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelRegValues)";
constexpr const char* RunOnce = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)";

class NextStart : public RemovalTest {
protected:
    [[nodiscard]] bool IsScheduled() { return Data(HiveCurrentUser, RunOnce, "OmbrelaneCleaner") != "absent"; }
    /// Names of the values of a list, in the registry's order.
    [[nodiscard]] std::vector<std::string> Names(std::string_view list) {
        std::vector<std::string> names;
        if (const auto open = Stage().View().registry->Open(HiveCurrentUser, list)) {
            for (std::uint32_t index = 0;; ++index) {
                const auto value = (*open)->EnumValue(index);
                if (!value) {
                    break;
                }
                names.push_back(value->name);
            }
        }
        return names;
    }
    void LeaveToNextStart(std::string_view path, std::string_view reason = "it stays") {
        CleanerPeer::LeaveToNextStart(cleaner, Threat, reason, path);
    }
};

// What a threat needs.

TEST_F(NextStart, AFileIsListedWithItsThreatAndTheProgramIsScheduled) {
    const std::string path = AddThing("some.exe");
    LeaveToNextStart(path);
    EXPECT_EQ(Data(HiveCurrentUser, DelFiles, path), "1");
    EXPECT_EQ(Data(HiveCurrentUser, CleanerExe, "7"), "scan one");
    EXPECT_EQ(Data(HiveCurrentUser, RunOnce, "OmbrelaneCleaner"), Folder() + "app\\kelASCleaner.exe");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFolders));
    EXPECT_TRUE(cleaner.IsRebootRequired());
    EXPECT_TRUE(CleanerPeer::IsThreatLeft(cleaner, Threat));
    EXPECT_FALSE(CleanerPeer::IsThreatLeft(cleaner, Threat + 1));
    EXPECT_TRUE(CleanerPeer::IsFileLeft(cleaner, path));
    EXPECT_THAT(Log(), ElementsAre("Special cleaner required to remove threat on restart, reason: it stays"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(NextStart, AFolderIsListedAmongFolders) {
    const std::string path = AddThing("evil\\");
    LeaveToNextStart(path);
    EXPECT_EQ(Data(HiveCurrentUser, DelFolders, path), "1");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFiles));
    EXPECT_TRUE(CleanerPeer::IsFolderLeft(cleaner, path));
    EXPECT_FALSE(CleanerPeer::IsFileLeft(cleaner, path));
}

TEST_F(NextStart, ARestrictedFolderNeedsTheStartAndIsNotListed) {
    LeaveToNextStart(Windows());
    EXPECT_TRUE(CleanerPeer::IsFolderLeft(cleaner, Windows()));
    EXPECT_TRUE(cleaner.IsRebootRequired());
    EXPECT_EQ(Data(HiveCurrentUser, CleanerExe, "7"), "scan one");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFolders));
}

TEST_F(NextStart, TheSameFileTwiceIsListedOnceAndTheSecondCallFails) {
    const std::string path = AddThing("some.exe");
    LeaveToNextStart(path);
    LeaveToNextStart(path, "again");
    EXPECT_THAT(Names(DelFiles), ElementsAre(path));
    EXPECT_THAT(Log(), SizeIs(1));
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].number, "457");
    EXPECT_EQ(Reported()[0].module, "Cleaner");
    EXPECT_EQ(Reported()[0].procedure, "AddCleanerRequiredforThreat");
}

TEST_F(NextStart, TwoFilesOfAThreatAreOneThreat) {
    LeaveToNextStart(AddThing("one.exe"));
    LeaveToNextStart(AddThing("two.exe"));
    EXPECT_THAT(Names(DelFiles), SizeIs(2));
    EXPECT_THAT(Names(CleanerExe), ElementsAre("7"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(NextStart, TheProgramAtWorkDoesNotScheduleTheThreatAgain) {
    cleaner.IsCleanerRunning = true;
    const std::string path = Windows();
    LeaveToNextStart(path);
    EXPECT_FALSE(cleaner.IsRebootRequired());
    EXPECT_FALSE(KeyExists(HiveCurrentUser, CleanerExe));
    EXPECT_FALSE(IsScheduled());
    EXPECT_TRUE(CleanerPeer::IsThreatLeft(cleaner, Threat));
    EXPECT_THAT(
        Log(), ElementsAre("Special cleaner required to remove threat on restart, reason: it stays (CLEANER RUNNING)"));
}

TEST_F(NextStart, AMachineThatDoesNotRunHasNone) {
    platform::Platform view = Staged();
    view.can.live = false;
    decorators::FaultInjectingPlatform faults(view);
    Install(faults.View());
    const std::string path = AddThing("some.txt");
    faults.Lock(path);
    Remove(path);
    modCleanerHelper::AddCleanerFolder(Things());
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "SOFTWARE\\Evil");
    modCleanerHelper::AddCleanerRegValue(HiveLocalMachine, "SOFTWARE\\Evil", "x");
    EXPECT_TRUE(Exists(path));
    EXPECT_TRUE(cleaner.IsRebootRequired()) << "the front end must hear of what stayed";
    EXPECT_FALSE(KeyExists(HiveCurrentUser, "SOFTWARE"));
    EXPECT_FALSE(KeyExists(HiveLocalMachine, "SYSTEM"));
    EXPECT_FALSE(Exists(Windows() + "WININIT.INI"));
}

TEST_F(NextStart, ListsOfAMachineThatDoesNotRunStayForItsOwnStart) {
    const std::string path = AddThing("some.txt");
    modCleanerHelper::AddCleanerFile(path);
    platform::Platform view = Staged();
    view.can.live = false;
    Install(view);
    cleaner.RunAllCleanerFiles();
    EXPECT_TRUE(Exists(path));
    EXPECT_THAT(Names(DelFiles), ElementsAre(path));
}

// The writers.

TEST_F(NextStart, AFolderIsListedOnceWithTheProgramScheduled) {
    modCleanerHelper::AddCleanerFolder("C:\\Evil\\");
    modCleanerHelper::AddCleanerFolder("c:\\EVIL\\");
    EXPECT_THAT(Names(DelFolders), ElementsAre("C:\\Evil\\"));
    EXPECT_EQ(Data(HiveCurrentUser, DelFolders, "C:\\Evil\\"), "1");
    EXPECT_TRUE(IsScheduled());
}

TEST_F(NextStart, WhatMustStayIsNotListed) {
    modCleanerHelper::AddCleanerFolder(Windows());
    modCleanerHelper::AddCleanerFile("C:\\x\\winforms.dll");
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "SOFTWARE\\Classes");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, CleanerExe));
    EXPECT_FALSE(IsScheduled());
}

TEST_F(NextStart, AKeyIsListedOnceUnderTheNameOfItsHive) {
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "SOFTWARE\\Evil");
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "software\\evil");
    modCleanerHelper::AddCleanerRegKey(HiveCurrentUser, "SOFTWARE\\Evil");
    EXPECT_THAT(Names(DelRegKeys), ::testing::UnorderedElementsAre("HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil",
                                                                   "HKEY_CURRENT_USER\\SOFTWARE\\Evil"));
    EXPECT_EQ(Data(HiveCurrentUser, DelRegKeys, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil"), "1");
    EXPECT_TRUE(IsScheduled());
}

TEST_F(NextStart, AShortKeyIsNotListed) {
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "abcde");
    modCleanerHelper::AddCleanerRegValue(HiveLocalMachine, "abcde", "x");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, CleanerExe));
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "abcdef");
    EXPECT_THAT(Names(DelRegKeys), ElementsAre("HKEY_LOCAL_MACHINE\\abcdef"));
}

TEST_F(NextStart, ValuesAreNumberedAndListedAgain) {
    modCleanerHelper::AddCleanerRegValue(HiveLocalMachine, "SOFTWARE\\Evil", "one");
    modCleanerHelper::AddCleanerRegValue(HiveLocalMachine, "SOFTWARE\\Evil", "one");
    modCleanerHelper::AddCleanerRegValue(HiveCurrentUser, "SOFTWARE\\Evil", "two");
    EXPECT_EQ(Data(HiveCurrentUser, DelRegValues, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil 1"), "one");
    EXPECT_EQ(Data(HiveCurrentUser, DelRegValues, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil 2"), "one");
    EXPECT_EQ(Data(HiveCurrentUser, DelRegValues, "HKEY_CURRENT_USER\\SOFTWARE\\Evil 3"), "two");
    EXPECT_TRUE(IsScheduled());
}

TEST_F(NextStart, AWriteThatFailsIsSilent) {
    decorators::FaultInjectingPlatform faults(Staged());
    faults.FailWritesFrom(1, platform::SysError::AccessDenied);
    Install(faults.View());
    modCleanerHelper::AddCleanerFolder("C:\\Evil\\");
    modCleanerHelper::AddCleanerRegValue(HiveLocalMachine, "SOFTWARE\\Evil", "one");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, CleanerExe));
    EXPECT_THAT(Reported(), IsEmpty());
}

class KeyWrittenBack : public NextStart, public ::testing::WithParamInterface<const char*> {};

TEST_P(KeyWrittenBack, IsListed) {
    const std::string key = "SOFTWARE\\x\\" + std::string(GetParam()) + "\\y";
    modCleanerHelper::AddCleanerRegKeyByLocation(HiveLocalMachine, key);
    EXPECT_THAT(Names(DelRegKeys), ElementsAre("HKEY_LOCAL_MACHINE\\" + key));
}

INSTANTIATE_TEST_SUITE_P(All, KeyWrittenBack,
                         ::testing::Values(R"(CurrentVersion\Explorer\Browser Helper Objects)",
                                           R"(currentversion\explorer\browser helper objects)",
                                           R"(Internet Explorer\Extensions)",
                                           R"(Code Store Database\Distribution Units)"));

class ValueWrittenBack : public NextStart, public ::testing::WithParamInterface<const char*> {};

TEST_P(ValueWrittenBack, IsListed) {
    const std::string key = "SOFTWARE\\x\\" + std::string(GetParam());
    modCleanerHelper::AddCleanerRegValueByLocation(HiveCurrentUser, key, "name");
    EXPECT_THAT(Names(DelRegValues), ElementsAre("HKEY_CURRENT_USER\\" + key + " 1"));
    EXPECT_EQ(Data(HiveCurrentUser, DelRegValues, "HKEY_CURRENT_USER\\" + key + " 1"), "name");
}

INSTANTIATE_TEST_SUITE_P(All, ValueWrittenBack,
                         ::testing::Values(R"(PROTOCOLS\Filter)", R"(Internet Explorer\Toolbar\ShellBrowser)",
                                           R"(Internet Explorer\Toolbar\WebBrowser)",
                                           R"(Internet Explorer\Explorer Bars)", R"(Internet Explorer\Toolbar)",
                                           R"(Internet Explorer\URLSearchHooks)", R"(Explorer\ShellExecuteHooks)",
                                           R"(CurrentVersion\ShellServiceObjectDelayLoad)", R"(CurrentVersion\Run)",
                                           R"(CURRENTVERSION\RUN)", R"(CurrentVersion\RunServices)"));

TEST_F(NextStart, OtherPlacesAreNotWrittenBack) {
    modCleanerHelper::AddCleanerRegKeyByLocation(HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)");
    modCleanerHelper::AddCleanerRegValueByLocation(HiveLocalMachine, R"(SOFTWARE\Evil)", "x");
    modCleanerHelper::AddCleanerRegValueByLocation(HiveLocalMachine, R"(SOFTWARE\Internet Explorer\Extensions)", "x");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, CleanerExe));
}

// The work behind the start.

TEST_F(NextStart, WithoutListsNothingIsDoneAndLogged) {
    cleaner.RunAllCleanerFolders();
    cleaner.RunAllCleanerFiles();
    cleaner.RunAllCleanerRegistryKeys();
    cleaner.RunAllCleanerRegistryValues();
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(NextStart, ListedFilesAreDeletedAndTheListGoes) {
    const std::string path = AddThing("some.exe");
    modCleanerHelper::AddCleanerFile(path);
    cleaner.RunAllCleanerFiles();
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFiles));
    EXPECT_TRUE(KeyExists(HiveCurrentUser, CleanerExe));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelFiles", "File delete complete for " + path));
}

TEST_F(NextStart, AMissingListedFileIsNotLoggedAndTheListGoes) {
    modCleanerHelper::AddCleanerFile(Things() + "gone.exe");
    cleaner.RunAllCleanerFiles();
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFiles));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelFiles"));
}

TEST_F(NextStart, AListedFileThatStaysIsNotLoggedAndNotTriedAgain) {
    const std::string path = AddThing("some.exe");
    modCleanerHelper::AddCleanerFile(path);
    decorators::FaultInjectingPlatform faults(Staged());
    faults.Lock(path);
    Install(faults.View());
    cleaner.RunAllCleanerFiles();
    EXPECT_TRUE(Exists(path));
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFiles));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelFiles"));
}

TEST_F(NextStart, ListedFoldersAreDeletedWithTheirContents) {
    const std::string path = AddThing("evil\\");
    AddThing("evil\\sub\\x.txt");
    modCleanerHelper::AddCleanerFolder(path);
    modCleanerHelper::AddCleanerFolder(Things() + "gone\\");
    cleaner.RunAllCleanerFolders();
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFolders));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelFolders", "Folder delete complete for " + path));
}

TEST_F(NextStart, AListedFolderThatStaysIsLogged) {
    const std::string path = AddThing("evil\\");
    const std::string held = AddThing("evil\\x.txt");
    modCleanerHelper::AddCleanerFolder(path);
    decorators::FaultInjectingPlatform faults(Staged());
    faults.Lock(held);
    Install(faults.View());
    cleaner.RunAllCleanerFolders();
    EXPECT_TRUE(Exists(held));
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelFolders));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelFolders", "Folder delete failed for " + path));
}

TEST_F(NextStart, ListedKeysAreDeletedWithTheirSubkeys) {
    Stage().AddKey(HiveLocalMachine, "SOFTWARE\\Evil Thing\\sub");
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "SOFTWARE\\Evil Thing");
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "SOFTWARE\\Gone");
    cleaner.RunAllCleanerRegistryKeys();
    EXPECT_FALSE(KeyExists(HiveLocalMachine, "SOFTWARE\\Evil Thing"));
    EXPECT_TRUE(KeyExists(HiveLocalMachine, "SOFTWARE"));
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelRegKeys));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelRegKeys",
                                   "Registry key delete complete for HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil Thing"));
}

// Such a key is deleted through its hive, which does not count as done.
TEST_F(NextStart, AListedKeyDirectlyBelowItsHiveIsLoggedAsFailed) {
    Stage().AddKey(HiveLocalMachine, "EvilThing");
    modCleanerHelper::AddCleanerRegKey(HiveLocalMachine, "EvilThing");
    cleaner.RunAllCleanerRegistryKeys();
    EXPECT_FALSE(KeyExists(HiveLocalMachine, "EvilThing"));
    EXPECT_THAT(Log(), Contains("Registry key delete failed for HKEY_LOCAL_MACHINE\\EvilThing"));
}

TEST_F(NextStart, AListedKeyWithoutAHiveIsPassedOver) {
    Stage().AddText(HiveCurrentUser, DelRegKeys, "SOFTWARE\\Evil", "1");
    Stage().AddKey(HiveLocalMachine, "SOFTWARE\\Evil");
    cleaner.RunAllCleanerRegistryKeys();
    EXPECT_TRUE(KeyExists(HiveLocalMachine, "SOFTWARE\\Evil"));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelRegKeys"));
}

// The number behind the blank is cut off, and with it the entry that holds the value's name.
TEST_F(NextStart, AListedValueIsNotFoundUnderItsCutName) {
    Stage().AddText(HiveLocalMachine, "SOFTWARE\\Evil", "one", "x");
    modCleanerHelper::AddCleanerRegValue(HiveLocalMachine, "SOFTWARE\\Evil", "one");
    cleaner.RunAllCleanerRegistryValues();
    EXPECT_EQ(Data(HiveLocalMachine, "SOFTWARE\\Evil", "one"), "x");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelRegValues));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelRegValues"));
}

TEST_F(NextStart, AListedValueOfAKeyWithABlankMeansAShorterKey) {
    const std::string key = R"(SOFTWARE\Microsoft\Internet Explorer\Toolbar)";
    Stage().AddText(HiveLocalMachine, key, "one", "x");
    Stage().AddText(HiveLocalMachine, key, "", "default");
    modCleanerHelper::AddCleanerRegValue(HiveLocalMachine, key, "one");
    cleaner.RunAllCleanerRegistryValues();
    EXPECT_EQ(Data(HiveLocalMachine, key, "one"), "x");
    EXPECT_EQ(Data(HiveLocalMachine, key, ""), "default");
}

TEST_F(NextStart, AListedValueWithoutANumberIsDeleted) {
    Stage().AddText(HiveLocalMachine, "SOFTWARE\\Evil", "one two", "x");
    Stage().AddText(HiveCurrentUser, DelRegValues, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil", "one two");
    cleaner.RunAllCleanerRegistryValues();
    EXPECT_EQ(Data(HiveLocalMachine, "SOFTWARE\\Evil", "one two"), "absent");
    EXPECT_FALSE(KeyExists(HiveCurrentUser, DelRegValues));
    EXPECT_THAT(Log(), ElementsAre("---Starting Quick Cleaner DelRegValues",
                                   "Registry value delete complete for HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil[one two]"));
}

TEST_F(NextStart, AListIsWorkedOnce) {
    const std::string path = AddThing("some.exe");
    modCleanerHelper::AddCleanerFile(path);
    cleaner.RunAllCleanerFiles();
    AddThing("some.exe");
    cleaner.RunAllCleanerFiles();
    EXPECT_TRUE(Exists(path));
    EXPECT_THAT(Log(), SizeIs(2));
}

}  // namespace
}  // namespace kel::test
