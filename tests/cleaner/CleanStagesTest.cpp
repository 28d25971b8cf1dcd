// The stages of a clean, each by itself: registry entries, cookies, custom locations, scripts, and what the history
// still knows.
#include <gmock/gmock.h>

#include "CleanTest.h"
#include "catalogue/ThreatLite.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingRegistry.h"
#include "quarantine/QuarantineTables.h"
#include "results/ScanHistory.h"
#include "system/clsFolderPaths.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr std::int32_t Threat = 7;

class CleanStages : public CleanTest {
protected:
    CleanStages() { tables.threats = {{.id = Threat, .name = "Evil"}}; }

    void SetScript(std::string_view type, std::string_view data) {
        tables.threats[0].removalType = type;
        tables.threats[0].customData = data;
    }
    enCleanerErrors Quarantine() { return cleaner->QuarantineThreat(Threat); }
    static std::vector<std::vector<std::string>> RegRows() {
        return Rows(quarantine::RegKeys, {"RegHive", "RegKey", "RegValueName", "RegValueData", "RegValueDataType"});
    }
};

// Registry.

TEST_F(CleanStages, AValueGoesOnlyWhileItHoldsTheDataOfTheScan) {
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Same", "Data");
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Changed", "new");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Same", "data");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Changed", "old");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\Evil", "Same"), "absent");
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\Evil", "Changed"), "new");
    EXPECT_THAT(Log(), Contains("Delete registry value HKEY_LOCAL_MACHINE\\Software\\Evil [Same=data]"));
    EXPECT_THAT(Log(), Not(Contains(HasSubstr("Changed"))));
    EXPECT_THAT(RegRows(), ElementsAre(ElementsAre("-2147483646", "Software\\Evil", "Same", "data", "1"),
                                       ElementsAre("-2147483646", "Software\\Evil", "Changed", "old", "1")));
}

TEST_F(CleanStages, AValueWithoutDataGoesWhateverItHolds) {
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", "present");
    Stage().AddText(HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run", "Start", "missing.exe");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Name");
    DetectRegKey(Threat, HiveLocalMachine, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run", "Start");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\Evil", "Name"), "absent");
    EXPECT_THAT(Log(), Contains("Delete registry value HKEY_LOCAL_MACHINE\\Software\\Evil [Name=present]"));
    EXPECT_EQ(Data(HiveCurrentUser, "SOFTWARE\\Kelvane Software\\Ombrelane\\CleanerExe\\DelRegValues",
                   "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run 1"),
              "Start")
        << "a running threat writes it back";
}

TEST_F(CleanStages, AKeyGoesWithItsTreeAndItsLaterValuesHaveNoType) {
    Stage().AddText(HiveLocalMachine, "Software\\Evil\\Deep\\Deeper", "Name", "Data");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil\\Deep\\Deeper", "Name", "Data");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_FALSE(KeyExists(HiveLocalMachine, "Software\\Evil"));
    ASSERT_THAT(RegRows(), SizeIs(2));
    EXPECT_THAT(RegRows()[0], ElementsAre("-2147483646", "Software\\Evil", "", "", "0"));
    EXPECT_THAT(RegRows()[1], ElementsAre("-2147483646", "Software\\Evil\\Deep\\Deeper", "Name", "Data", "0"));
    EXPECT_THAT(Reported(), SizeIs(2)) << "one line for each that can't be typed";
}

TEST_F(CleanStages, AProtectedKeyStaysWithoutARow) {
    Stage().AddText(HiveLocalMachine, "SOFTWARE\\Classes\\Interface", "Name", "Data");
    DetectRegKey(Threat, HiveLocalMachine, "SOFTWARE\\Classes\\Interface");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_TRUE(KeyExists(HiveLocalMachine, "SOFTWARE\\Classes\\Interface"));
    EXPECT_THAT(RegRows(), IsEmpty());
    EXPECT_THAT(heard, Contains("Evil: Removing registry entry HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\Interface..."));
}

TEST_F(CleanStages, AKeyTakesTheFileBehindItAlong) {
    const std::string exe = AddThing("started.exe");
    constexpr const char* Run = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
    Stage().AddText(HiveLocalMachine, Run, "Start", exe + " /quiet");
    DetectRegKey(Threat, HiveLocalMachine, Run, "Start");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_FALSE(Exists(exe));
    EXPECT_THAT(Rows(quarantine::Files, {"ThreatTypeFile"}), ElementsAre(ElementsAre("1")));
}

TEST_F(CleanStages, AValueThatCanNotBeDeletedIsTheResult) {
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", "Data");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Name", "Data");
    Begin();
    struct KeepingKey : decorators::ForwardingKey {
        using ForwardingKey::ForwardingKey;
        platform::SysError RemoveValue(std::string_view) override { return platform::SysError::AccessDenied; }
    };
    struct KeepingRegistry : decorators::ForwardingRegistry {
        using ForwardingRegistry::ForwardingRegistry;
        platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                      std::uint32_t access) override {
            auto open = Inner().Open(hive, key, access);
            if (!open) {
                return open.Error();
            }
            return std::unique_ptr<platform::RegistryKey>(std::make_unique<KeepingKey>(*std::move(open)));
        }
    } registry(*Stage().View().registry);
    platform::Platform machine = Staged();
    machine.registry = &registry;
    Install(machine);
    EXPECT_EQ(Quarantine(), errCannotQuarantineThreat);
    Install(Staged());
    EXPECT_EQ(heard.back(), "finish Evil") << "the clean goes on";
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\Evil", "Name"), "Data");
}

TEST_F(CleanStages, LongDataAreCutInTheRow) {
    const std::string data(300, 'x');
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", data);
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Name", data);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Data(HiveLocalMachine, "Software\\Evil", "Name"), "absent");
    EXPECT_EQ(RegRows().at(0).at(3), std::string(255, 'x'));
}

// Cookies.

TEST_F(CleanStages, ACookieMovesWithTheMark) {
    const std::string path = AddThing("me@evil[1].txt", "crumbs");
    DetectCookie(Threat, "evil", path);
    DetectCookie(Threat, "gone", Things() + "gone.txt");
    DetectCookie(Threat, "nowhere", "");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_FALSE(Exists(path));
    const auto rows = Rows(quarantine::Cookies, {"OriginalPath", "QFileName"});
    ASSERT_THAT(rows, SizeIs(1));
    EXPECT_EQ(rows[0][0], path);
    EXPECT_EQ(ReadFile(Rows(quarantine::Threats, {"QuarantinePath"})[0][0] + rows[0][1]), "crumbs6635\r\n");
    EXPECT_THAT(heard, Contains("Evil: Removing cookie evil..."));
    EXPECT_THAT(heard, Not(Contains(HasSubstr("gone"))));
}

TEST_F(CleanStages, OneCookieThatStaysLeavesTheRowsBehindItPending) {
    const std::string locked = AddThing("me@locked[1].txt", "one");
    const std::string second = AddThing("me@second[1].txt", "two");
    const std::string third = AddThing("me@third[1].txt", "three");
    for (const auto& [cookie, path] : {std::pair("locked", locked), {"second", second}, {"third", third}}) {
        DetectCookie(Threat, cookie, path);
    }
    Begin();
    decorators::FaultInjectingPlatform faults(Staged());
    faults.Lock(locked);
    Install(faults.View());
    EXPECT_EQ(Quarantine(), errNone);
    Install(Staged());
    EXPECT_TRUE(Exists(locked));
    EXPECT_FALSE(Exists(third));
    EXPECT_TRUE(cleaner->IsRebootRequired());
    EXPECT_THAT(Log(), Contains("Special cleaner required to remove threat on restart, reason: Could not quarantine "
                                "cookie " +
                                locked + ", moving cookie failed."));
    EXPECT_THAT(Rows(quarantine::Cookies, {"OriginalPath"}), ElementsAre(ElementsAre(locked), ElementsAre(second)))
        << "the next row commits the one before; nothing commits the last";
}

// Custom locations.

TEST_F(CleanStages, OnlyCustomLocationsForTheEndAreCleaned) {
    constexpr const char* Command = "SOFTWARE\\Classes\\txtfile\\shell\\open\\command";
    DetectCustom(Threat, 40921, CustomCleanPriorityPre, "before");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Data(HiveLocalMachine, Command, ""), "absent");
    EXPECT_THAT(heard, Contains("Evil: Running special post cleaning before..."));
    EXPECT_THAT(Log(), Not(Contains(HasSubstr("Run custom cleaner"))));
    DetectCustom(Threat, 40921, CustomCleanPriorityPost, "after");
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Data(HiveLocalMachine, Command, ""), "%SystemRoot%\\system32\\NOTEPAD.EXE %1");
    EXPECT_THAT(Log(), Contains("Run custom cleaner after (40921)"));
}

// Scripts.

TEST_F(CleanStages, AScriptAloneLeavesTheLocationsUntouched) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    SetScript("7", "PRE -AddRegistrySetting HKEY_CURRENT_USER|Software\\Fixed|Name|Data|REG_SZ");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_TRUE(Exists(exe));
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Fixed", "Name"), "Data");
    EXPECT_THAT(heard, ElementsAre("start Evil", "Evil: Running cleaner script...", "Evil: Storing clean data...",
                                   "Evil: Finalizing Quarantine...", "finish Evil"));
    EXPECT_THAT(Log(), Contains("Running custom cleaner script"));
}

TEST_F(CleanStages, AnEmptyScriptFallsThroughToTheLocations) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    SetScript("7", "");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_FALSE(Exists(exe));
    EXPECT_THAT(Log(), Contains("Error running custom cleaner script"));
    EXPECT_THAT(heard, Not(Contains("Evil: Running custom removal script..."))) << "no step at the end";
}

TEST_F(CleanStages, AScriptRunsBeforeAndBehindTheLocations) {
    SetScript("5",
              "PRE -AddRegistrySetting HKEY_CURRENT_USER|Software\\Fixed|Pre|1|REG_SZ\r\n"
              "POST -AddRegistrySetting HKEY_CURRENT_USER|Software\\Fixed|Post|2|REG_SZ");
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Fixed", "Pre"), "1");
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Fixed", "Post"), "2");
    ExpectGolden("ScriptEvents", heard);
    ExpectGolden("ScriptLog", Log());
}

TEST_F(CleanStages, AScriptThatFailsAtTheEndIsTheResult) {
    SetScript("5", "");
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errCustomScriptFailedScriptBlank);
    EXPECT_THAT(Log(), Contains("Error running custom cleaner script"));
    EXPECT_THAT(Log(), Contains("Running custom removal script failed"));
    EXPECT_EQ(heard.back(), "finish Evil");
}

TEST_F(CleanStages, ADownloadedScriptIsFetchedTwice) {
    SetScript("4", "http://host/script");
    (void)Detected(Threat);
    services.page =
        "POST -AddRegistrySetting HKEY_CURRENT_USER|Software\\Fixed|Post|2|REG_SZ\r\n"
        "PRE -AddRegistrySetting HKEY_CURRENT_USER|Software\\Fixed|Pre|1|REG_SZ\r\n";
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Fixed", "Pre"), "1");
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Fixed", "Post"), "2");
    ASSERT_THAT(services.downloads, SizeIs(2));
    for (const std::string& download : services.downloads) {
        EXPECT_THAT(download, StartsWith("http://host/script|" + UserFolder() + "\\"));
        EXPECT_FALSE(Exists(download.substr(download.find('|') + 1)));
    }
    ExpectGolden("DownloadEvents", heard);
    ExpectGolden("DownloadLog", Log());
}

TEST_F(CleanStages, ADownloadThatFailsIsLookedAtOnlyAtTheEnd) {
    SetScript("4", "http://host/script");
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errCustomScriptFailedScriptBlank);
    EXPECT_THAT(Log(), Not(Contains(HasSubstr("Error"))));
    EXPECT_THAT(services.downloads, SizeIs(2));
}

TEST_F(CleanStages, ADownloadedScriptAloneFallsThroughWhenItFails) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    SetScript("6", "http://host/script");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_FALSE(Exists(exe));
    EXPECT_THAT(Log(), Contains("Error downloading and running custom cleaner script"));
    EXPECT_THAT(services.downloads, SizeIs(1));
}

TEST_F(CleanStages, ADownloadedScriptAloneLeavesTheLocationsUntouched) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    services.page = "nothing to do\r\n";
    SetScript("6", "http://host/script");
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_TRUE(Exists(exe));
}

TEST_F(CleanStages, AnUninstallerIsOnlyAnnounced) {
    SetScript("3", "setup.exe /uninstall");
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    ASSERT_GE(heard.size(), 3U);
    EXPECT_EQ(heard[1], "Evil: Running application uninstaller...");
    EXPECT_EQ(heard[2], "Evil: Disabling driver files...");
}

TEST_F(CleanStages, ARemovalTypeThatIsNoNumberEndsTheClean) {
    SetScript("none", "");
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_THAT(heard, ElementsAre("start Evil"));
    ASSERT_THAT(Reported(), Not(IsEmpty()));
    EXPECT_EQ(Reported().back().procedure, "QuarantineThreat");
    EXPECT_EQ(Reported().back().number, "13");
}

// From the history.

TEST_F(CleanStages, AThreatCleanedFromTheHistoryLosesItsRegistryEntriesAndFolders) {
    const std::string exe = AddThing("program.exe");
    const std::string cookie = AddThing("me@evil[1].txt", "cookie");
    AddThing("folder\\inside.txt");
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", "Data");
    DetectFile(Threat, exe);
    DetectFolder(Threat, Things() + "folder\\");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil");
    DetectCookie(Threat, "evil", cookie);
    Begin();
    ScanHistory().Add(scan);
    cleaner->UninitializeClean();
    scan->DetectedThreats() = std::make_shared<Scan::DetectedThreatCollection>();
    InitializeClean();
    heard.clear();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_FALSE(Exists(exe));
    EXPECT_FALSE(Exists(cookie));
    EXPECT_TRUE(Exists(Things() + "folder\\inside.txt"));
    EXPECT_TRUE(KeyExists(HiveLocalMachine, "Software\\Evil"));
    EXPECT_THAT(heard, Contains("Evil: Removing cookie ..."));
    EXPECT_EQ(heard.back(), "finish Evil");
}

TEST_F(CleanStages, TheHistoryGivesTheDetectionsTextsAndPlaces) {
    tables.threats[0].level = 3;
    DetectFile(Threat, AddThing("program.exe"));
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil");
    Begin();
    ScanHistory().Add(scan);
    const auto made = CleanerPeer::Generate(*cleaner, Threat);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->ThreatID, Threat);
    EXPECT_EQ(made->ScanID, ScanID);
    EXPECT_EQ(made->Threat->ThreatName, "Evil");
    EXPECT_EQ(made->Threat->Category, "adware");
    EXPECT_EQ(made->Threat->ThreatLevel, 3);
    ASSERT_EQ(made->ThreatLocationFiles->Count(), 1U);
    EXPECT_EQ(made->ThreatLocationFiles->Item(1)->DetectedFilePath(), Things() + "program.exe");
    ASSERT_EQ(made->ThreatLocationRegKeys->Count(), 1U);
    EXPECT_EQ(made->ThreatLocationRegKeys->Item(1)->RegHive(), 0);
    EXPECT_EQ(CleanerPeer::Generate(*cleaner, 8), nullptr);
    CleanerPeer::SetScanID(*cleaner, "");
    EXPECT_EQ(CleanerPeer::Generate(*cleaner, Threat), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
}

// Lookups that nothing calls.

TEST_F(CleanStages, TheLastFileOfAHashGivesThePath) {
    for (const char* name : {"a.bin", "b.bin"}) {
        DetectFile(Threat, AddThing(name));
        Detected(Threat).ThreatLocationFiles->Item(Detected(Threat).ThreatLocationFiles->Count())->MD5 = "abcdef";
    }
    Begin();
    EXPECT_EQ(CleanerPeer::FileOf(*cleaner, Threat, "ABCDEF"), Things() + "b.bin");
    EXPECT_EQ(CleanerPeer::FileOf(*cleaner, Threat, ""), "");
    EXPECT_EQ(CleanerPeer::FileOf(*cleaner, Threat, "123456"), "");
    EXPECT_EQ(CleanerPeer::FileOf(*cleaner, 8, "abcdef"), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(CleanStages, ACookieIsFoundByItsDetectionAndElseByItsName) {
    DetectCookie(Threat, "Evil.example", Things() + "detected.txt");
    AddThing("cookies\\plain.txt");
    AddThing("cookies\\me@other.example[2].txt");
    AddThing("cookies\\me@other.example[3].txt");
    Begin();
    EXPECT_EQ(CleanerPeer::CookieOf(*cleaner, Threat, "evil.EXAMPLE"), Things() + "detected.txt");
    cleaner->FolderPaths->PathCookies = "";
    EXPECT_EQ(CleanerPeer::CookieOf(*cleaner, Threat, "other.example"), "");
    cleaner->FolderPaths->PathCookies = Things() + "cookies\\";
    EXPECT_THAT(CleanerPeer::CookieOf(*cleaner, Threat, "OTHER.example"),
                StartsWith(Things() + "cookies\\me@other.example["));
    EXPECT_EQ(CleanerPeer::CookieOf(*cleaner, Threat, "unknown"), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

// The store, and a machine that does not run.

TEST_F(CleanStages, ATableThatCanNotBeWrittenStaysInMemory) {
    (void)Detected(Threat);
    Begin();
    MakeFolder(UserFolder() + "KelQCookies.sdb");
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(heard.back(), "finish Evil");
    EXPECT_TRUE(Exists(UserFolder() + "KelQuarantined.sdb"));
    EXPECT_TRUE(Exists(UserFolder() + "KelQSpecials.sdb")) << "those behind it are written";
}

TEST_F(CleanStages, TheRegistryOfAMachineThatDoesNotRunIsWrittenBehindItsRecord) {
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", "Data");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Name", "Data");
    Begin();
    struct WatchedRegistry : decorators::ForwardingRegistry {
        using ForwardingRegistry::ForwardingRegistry;
        std::string record;
        std::vector<bool> recorded;
        platform::SysError Commit() override {
            recorded.push_back(platform::Current().files->PathExists(record));
            return Inner().Commit();
        }
    } registry(*Stage().View().registry);
    registry.record = UserFolder() + "KelQSpecials.sdb";
    platform::Platform machine = Staged();
    machine.registry = &registry;
    machine.can.live = false;
    Install(machine);
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_THAT(registry.recorded, ElementsAre(true));
    registry.recorded.clear();
    platform::Current().files->Remove(UserFolder() + "KelQCookies.sdb");
    MakeFolder(UserFolder() + "KelQCookies.sdb");
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_THAT(registry.recorded, IsEmpty()) << "no record, no change";
    ASSERT_THAT(Reported(), Not(IsEmpty()));
    EXPECT_THAT(Reported().back().description, HasSubstr("The registry was not written"));
    Install(Staged());
}

TEST_F(CleanStages, ACleanThatEndsEarlyWritesNothingToTheRegistryOfAMachineThatDoesNotRun) {
    SetScript("none", "");
    (void)Detected(Threat);
    Begin();
    struct CountingRegistry : decorators::ForwardingRegistry {
        using ForwardingRegistry::ForwardingRegistry;
        int commits = 0;
        int discards = 0;
        platform::SysError Commit() override {
            ++commits;
            return Inner().Commit();
        }
        void Discard() override {
            ++discards;
            Inner().Discard();
        }
    } registry(*Stage().View().registry);
    platform::Platform machine = Staged();
    machine.registry = &registry;
    machine.can.live = false;
    Install(machine);
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(registry.commits, 0);
    EXPECT_EQ(registry.discards, 1) << "the next threat's record must not write them";
    cleaner->InitializeClean(ScanID);
    EXPECT_EQ(registry.discards, 2) << "changes without a record are forgotten with it";
    Install(Staged());
}

}  // namespace
}  // namespace kel::test
