// Scripts that undo what can't simply be deleted.
#include "cleaner/CustomScripts.h"

#include <gmock/gmock.h>

#include "CleanTest.h"
#include "core/Text.h"
#include "rules/modCleanerHelper.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using modCleanerHelper::RunCustomScript;
using modCleanerHelper::RunCustomScriptWithDownload;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* Zones = "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\ZoneMap\\Domains";

class CustomScripts : public CleanTest {
protected:
    CustomScripts() {
        modCleanerHelper::EnableLog() = true;
        MakeFolder(System() + "drivers");
        MakeFolder(System() + "drivers\\etc");
        WriteFile(Hosts(), "127.0.0.1 localhost\r\n\r\n  10.0.0.1 EVIL.example  \r\nx\r\n10.0.0.2 good.example");
        WriteFile(Windows() + "win.ini", "[windows]\r\nrun=evil.exe\r\nload=\r\n");
        WriteFile(Windows() + "system.ini", "[boot]\r\nshell=explorer.exe evil.exe\r\n");
    }
    std::string Hosts() const { return System() + "drivers\\etc\\hosts"; }
    void Add(std::string_view setting) {
        EXPECT_EQ(RunCustomScript("PRE", "PRE -AddRegistrySetting " + std::string(setting)), errNone);
    }
};

TEST_F(CustomScripts, LinesOfAnotherPhaseDoNothing) {
    const std::string before = ReadFile(Hosts());
    EXPECT_EQ(RunCustomScript("PRE", "POST -HostFileRemove evil\r\nPOST -WinIniRemove evil"), errNone);
    EXPECT_EQ(ReadFile(Hosts()), before);
    EXPECT_EQ(ReadFile(Windows() + "win.ini"), "[windows]\r\nrun=evil.exe\r\nload=\r\n");
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(CustomScripts, AHostLeavesTheHostsFileAndBlankLinesWithIt) {
    EXPECT_EQ(RunCustomScript("PRE", "PRE -HostFileRemove evil.example"), errNone);
    EXPECT_EQ(ReadFile(Hosts()), "127.0.0.1 localhost\r\n10.0.0.2 good.example\r\n");
    EXPECT_THAT(Log(), ElementsAre("Restore host file host evil.example"));
}

TEST_F(CustomScripts, EachLineRunsItsFirstCommandWhateverTheLetterCase) {
    EXPECT_EQ(RunCustomScript("POST",
                              "post -systeminiremove evil.exe\r\n"
                              "\r\nsome remark\r\n"
                              "then POST -WinIniRemove run=\r\n"
                              "POST -HostFileRemove POST -WinIniRemove load"),
              errNone);
    EXPECT_EQ(ReadFile(Windows() + "system.ini"), "[boot]\r\n");
    EXPECT_EQ(ReadFile(Windows() + "win.ini"), "[windows]\r\nrun=evil.exe\r\nload=\r\n")
        << "what stands before the command belongs to its argument, and the first command of a line is the one";
    EXPECT_THAT(Log(), ElementsAre("Restore host file host POST -WinIniRemove load"));
}

TEST_F(CustomScripts, AReadOnlyFileIsReadOnlyAgain) {
    const std::string path = Windows() + "win.ini";
    ASSERT_EQ(Machine().files->SetAttributes(path, platform::AttributeReadOnly), platform::SysError::Success);
    EXPECT_EQ(RunCustomScript("PRE", "PRE -WinIniRemove evil"), errNone);
    EXPECT_EQ(ReadFile(path), "[windows]\r\nload=\r\n");
    EXPECT_NE(Machine().files->Attributes(path).ValueOr(0) & platform::AttributeReadOnly, 0U);
    Machine().files->SetAttributes(path, platform::AttributeNormal);
}

TEST_F(CustomScripts, MissingFilesAreNoFailure) {
    for (const std::string& path : {Hosts(), Windows() + "win.ini", Windows() + "system.ini"}) {
        platform::Current().files->Remove(path);
    }
    EXPECT_EQ(RunCustomScript("PRE", "PRE -HostFileRemove a\r\nPRE -WinIniRemove a\r\nPRE -SystemIniRemove a"),
              errNone);
    EXPECT_FALSE(Exists(Hosts()));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomScripts, ASettingHasFiveParts) {
    Add("HKEY_LOCAL_MACHINE|Software\\A|Name|Data|REG_SZ");
    Add("HKEY_LOCAL_MACHINE|Software\\A|Four|REG_SZ");
    Add("HKEY_LOCAL_MACHINE|Software\\A|Six|Data|REG_SZ|more");
    Add("HKEY_LOCAL_MACHINE");
    Add("HKEY_LOCAL_MACHINE|Software\\A||default|REG_SZ");
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\A", "Name"), "Data");
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\A", "Four"), "absent");
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\A", "Six"), "absent");
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\A", ""), "default");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomScripts, SettingsHaveTheCataloguesTypes) {
    Add("HKEY_CURRENT_USER|Software\\A|Number|5|REG_DWORD");
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\A", "Number"), "absent") << "its number is no type that is written";
    Add("HKEY_CURRENT_USER|Software\\A|Binary|5|REG_BINARY");
    EXPECT_EQ(modRegistry::GetRegistryValueType(HiveCurrentUser, "Software\\A", "Binary"), modRegistry::TypeDword);
}

TEST_F(CustomScripts, ATrustedDomainGoesWithWhatIsBelowIt) {
    for (const char* domain : {"evil.example\\www", "very-EVIL.example", "good.example"}) {
        Stage().AddText(HiveCurrentUser, std::string(Zones) + "\\" + domain, "*", "2");
    }
    EXPECT_EQ(RunCustomScript("PRE", "PRE -RemoveTrustedZone evil.example"), errNone);
    EXPECT_FALSE(KeyExists(HiveCurrentUser, std::string(Zones) + "\\evil.example"));
    EXPECT_FALSE(KeyExists(HiveCurrentUser, std::string(Zones) + "\\very-evil.example"));
    EXPECT_TRUE(KeyExists(HiveCurrentUser, std::string(Zones) + "\\good.example"));
    EXPECT_THAT(Log(), ElementsAre("Remove trusted zone evil.example"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CustomScripts, TheBrowserGetsItsAddressesBack) {
    constexpr const char* Main = "Software\\Microsoft\\Internet Explorer\\Main";
    Stage().AddText(HiveCurrentUser, Main, "Local Page", "http://evil.example/");
    Stage().AddText(HiveCurrentUser, Main, "Search Bar", "");
    EXPECT_EQ(RunCustomScript("PRE", "PRE -RestoreIEURLSettings"), errNone);
    EXPECT_EQ(LCase(Data(HiveCurrentUser, Main, "Local Page")), LCase(System() + "blank.htm"));
    EXPECT_EQ(Data(HiveCurrentUser, Main, "Search Bar"), "") << "an empty value stays so";
    EXPECT_EQ(Data(HiveCurrentUser, Main, "Start Page"), "absent") << "a missing value stays so";
    EXPECT_THAT(Log(), ElementsAre("Restore IE URL settings"));
}

TEST_F(CustomScripts, AScriptOfOneCharacterIsBlank) {
    EXPECT_EQ(RunCustomScript("PRE", ""), errCustomScriptFailedScriptBlank);
    EXPECT_EQ(RunCustomScript("PRE", "   x   "), errCustomScriptFailedScriptBlank);
    EXPECT_EQ(RunCustomScript("PRE", " xx "), errNone);
}

TEST_F(CustomScripts, WhatIsNoAddressIsNotFetched) {
    EXPECT_EQ(RunCustomScriptWithDownload("PRE", "ftp://host/script"), errCustomScriptFailedDownloadURLBlank);
    EXPECT_EQ(RunCustomScriptWithDownload("PRE", ""), errCustomScriptFailedDownloadURLBlank);
    EXPECT_THAT(services.downloads, IsEmpty());
}

TEST_F(CustomScripts, ADownloadThatFailsIsItsOwnError) {
    EXPECT_EQ(RunCustomScriptWithDownload("PRE", "  HTTP://host/script  "), errCustomScriptFailedDownloadDataBlank);
    ASSERT_THAT(services.downloads, SizeIs(1));
    EXPECT_TRUE(services.downloads[0].starts_with("HTTP://host/script|" + UserFolder() + "\\"));
}

TEST_F(CustomScripts, ADownloadedScriptRunsAndIsDeleted) {
    services.page = "PRE -AddRegistrySetting HKEY_CURRENT_USER|Software\\A|Name|Data|REG_SZ\r\n";
    EXPECT_EQ(RunCustomScriptWithDownload("PRE", "http://host/script"), errNone);
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\A", "Name"), "Data");
    ASSERT_THAT(services.downloads, SizeIs(1));
    EXPECT_FALSE(Exists(services.downloads[0].substr(services.downloads[0].find('|') + 1)));
    services.page = "x";
    EXPECT_EQ(RunCustomScriptWithDownload("PRE", "http://host/script"), errNone)
        << "the line end that reading adds makes it long enough";
}

TEST_F(CustomScripts, AMachineThatHasNoNetworkFetchesNothing) {
    platform::Platform machine = Staged();
    machine.internet = Machine().internet;
    Install(machine);
    EXPECT_EQ(RunCustomScriptWithDownload("PRE", "http://127.0.0.1:1/script"), errCustomScriptFailedDownloadDataBlank);
    Install(Staged());
}

}  // namespace
}  // namespace kel::test
