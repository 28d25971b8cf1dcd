// The order of the work at the start of the machine, with an engine that answers what a test wants.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "StartTest.h"
#include "cleaner/BootLists.h"
#include "core/Text.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using companions::EngineFailure;
using companions::StartEnd;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class RecordingEngine final : public companions::Engine {
public:
    std::vector<std::string> calls;
    std::set<std::string> failing;                              ///< calls that don't reach it
    std::string userData;                                       ///< what another client chose
    std::map<std::int32_t, std::string> records;                ///< of the quarantine, by threat
    std::set<std::string> stuck;                                ///< records that can't be destroyed
    std::set<std::string> stuckFolders;                         ///< and those whose folder alone stays
    std::map<std::int32_t, std::vector<std::string>> detected;  ///< paths, by threat
    bool removes = true;                                        ///< a removal removes the detected files
    bool worksLists = true;

    void Start() override { Called("Start"); }
    std::string UserDataFolder() override { return userData; }
    void SetUserDataFolder(std::string_view folder) override { Called("SetUserDataFolder", folder); }
    void RunAllCleanerFolders() override { RunList("RunAllCleanerFolders", DelFolders); }
    void RunAllCleanerFiles() override { RunList("RunAllCleanerFiles", DelFiles); }
    void RunAllCleanerRegistryKeys() override { RunList("RunAllCleanerRegistryKeys", DelRegKeys); }
    void RunAllCleanerRegistryValues() override { RunList("RunAllCleanerRegistryValues", DelRegValues); }
    void InitializeClean(std::string_view scanID) override { Called("InitializeClean", scanID); }
    void UninitializeClean() override { Called("UninitializeClean"); }
    std::int32_t QuarantineThreat(std::int32_t threatID) override {
        Called("QuarantineThreat", Text(threatID));
        RemoveFilesOf(threatID);
        return 0;
    }
    void DestroyThreat(std::int32_t threatID) override {
        Called("DestroyThreat", Text(threatID));
        RemoveFilesOf(threatID);
    }
    std::string QuarantineID(std::int32_t threatID) override {
        Called("QuarantineID", Text(threatID));
        return records.contains(threatID) ? records[threatID] : std::string();
    }
    bool IsQuarantined(std::string_view quarantineID) override { return stuck.contains(std::string(quarantineID)); }
    bool DestroyQuarantined(std::string_view quarantineID) override {
        Called("DestroyQuarantined", quarantineID);
        return !stuck.contains(std::string(quarantineID)) && !stuckFolders.contains(std::string(quarantineID));
    }
    std::vector<std::string> DetectedPaths(std::string_view scanID, std::int32_t threatID) override {
        Called("DetectedPaths", std::string(scanID) + " " + Text(threatID));
        return detected[threatID];
    }
    void AddDeletedThreat(std::string_view scanID, std::int32_t threatID) override {
        Called("AddDeletedThreat", std::string(scanID) + " " + Text(threatID));
    }
    void PersistHistory() override { Called("PersistHistory"); }

private:
    void Called(const std::string& name, std::string_view argument = {}) {
        const std::string call = argument.empty() ? name : name + " " + std::string(argument);
        calls.push_back(call);
        if (failing.contains(call)) {
            throw EngineFailure(name + ": 0x800706BE");
        }
    }
    void RunList(const std::string& name, std::string_view key) {
        Called(name);
        if (worksLists) {
            modRegistry::DeleteRegistryKeyTree(platform::HiveCurrentUser, key);
        }
    }
    void RemoveFilesOf(std::int32_t threatID) {
        for (const std::string& path : detected[threatID]) {
            if (removes) {
                platform::Current().files->Remove(path);
            }
        }
    }
};

class StartWork : public StartTest {
protected:
    RecordingEngine engine;
};

TEST_F(StartWork, WithNothingListedNoEngineIsCreated) {
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_THAT(engine.calls, IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("Started", "Nothing is left to this start", "Ended with code 0"));
}

TEST_F(StartWork, RunsTheListsThenTheThreatsThenTheDestructions) {
    List(DelRegValues, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil 1", "x");
    List(DelRegKeys, "HKEY_LOCAL_MACHINE\\SOFTWARE\\Evil", "1");
    List(DelFiles, Things() + "a.exe", "1");
    List(DelFolders, Things() + "evil", "1");
    List(CleanerExe, "7", "scan one");
    List(Destroy, "8", "scan two");
    engine.records[8] = "record";
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_THAT(engine.calls,
                ElementsAre("Start", "SetUserDataFolder " + UserFolder(), "RunAllCleanerFolders", "RunAllCleanerFiles",
                            "RunAllCleanerRegistryKeys", "RunAllCleanerRegistryValues", "DetectedPaths scan one 7",
                            "InitializeClean scan two", "QuarantineID 8", "DestroyQuarantined record",
                            "AddDeletedThreat scan two 8", "UninitializeClean"));
    EXPECT_FALSE(KeyExists(CleanerExe)) << "all that was done is removed";
    EXPECT_THAT(Work(), ElementsAre("DelFolders: " + Things() + "evil: was not there",
                                    "DelFiles: " + Things() + "a.exe: was not there",
                                    R"(DelRegKeys: HKEY_LOCAL_MACHINE\SOFTWARE\Evil: was not there)",
                                    R"(DelRegValues: HKEY_LOCAL_MACHINE\SOFTWARE\Evil 1 [x]: worked)",
                                    "Threat 7 of scan scan one: nothing is left of it",
                                    "Destroying threat 8 of scan scan two: record is destroyed"));
}

TEST_F(StartWork, AListThatIsNotThereIsNotRun) {
    List(DelFiles, Things() + "a.exe", "1");
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_THAT(engine.calls, ElementsAre("Start", "SetUserDataFolder " + UserFolder(), "RunAllCleanerFiles"));
}

TEST_F(StartWork, AListedFileThatStaysIsTold) {
    WriteFile(Things() + "a.exe", "evil");
    List(DelFiles, Things() + "a.exe", "1");
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_THAT(Work(), ElementsAre("Failed: DelFiles: " + Things() + "a.exe is still there"));
}

TEST_F(StartWork, AListThatStaysIsTold) {
    engine.worksLists = false;
    List(DelFiles, Things() + "a.exe", "1");
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_THAT(Work(), Contains("Failed: The list DelFiles is still there"));
    EXPECT_THAT(Names(DelFiles), ElementsAre(Things() + "a.exe"));
}

TEST_F(StartWork, AThreatOfWhichAFileIsLeftIsRemovedAgain) {
    WriteFile(Things() + "a.exe", "evil");
    engine.detected[7] = {Things() + "gone.exe", Things() + "a.exe"};
    List(CleanerExe, "7", "scan one");
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_THAT(engine.calls, ElementsAre("Start", "SetUserDataFolder " + UserFolder(), "DetectedPaths scan one 7",
                                          "InitializeClean scan one", "QuarantineThreat 7", "PersistHistory",
                                          "UninitializeClean", "DetectedPaths scan one 7"));
    EXPECT_THAT(Names(CleanerExe), IsEmpty());
}

TEST_F(StartWork, AThreatThatStaysKeepsItsEntryAndIsNotDestroyedYet) {
    WriteFile(Things() + "a.exe", "evil");
    engine.detected[7] = {Things() + "a.exe"};
    engine.removes = false;
    engine.records[7] = "record";
    List(CleanerExe, "7", "scan one");
    List(Destroy, "7", "scan one");
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_THAT(engine.calls, Contains("DestroyThreat 7")) << "it is removed as one to be destroyed";
    EXPECT_THAT(engine.calls, Not(Contains("QuarantineThreat 7")));
    EXPECT_THAT(engine.calls, Not(Contains("DestroyQuarantined record")));
    EXPECT_THAT(Names(CleanerExe), ElementsAre("7"));
    EXPECT_THAT(Names(Destroy), ElementsAre("7"));
    EXPECT_THAT(Work(), ElementsAre("Threat 7 of scan scan one: " + Things() + "a.exe is there: removing it again",
                                    "Failed: Threat 7 of scan scan one: " + Things() + "a.exe can't be removed",
                                    "Failed: Destroying threat 7 of scan scan one: it is still on the disk"));
}

TEST_F(StartWork, AThreatWithoutAScanIsDoneWithItsLists) {
    List(CleanerExe, "7", "");
    List(Destroy, "7", "");
    engine.records[7] = "record";
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_THAT(engine.calls, ElementsAre("Start", "SetUserDataFolder " + UserFolder(), "InitializeClean",
                                          "QuarantineID 7", "DestroyQuarantined record", "UninitializeClean"));
    EXPECT_FALSE(KeyExists(CleanerExe));
}

TEST_F(StartWork, ARecordThatCantBeDestroyedKeepsItsEntry) {
    List(Destroy, "7", "scan one");
    engine.records[7] = "record";
    engine.stuck = {"record"};
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_THAT(Names(Destroy), ElementsAre("7"));
    EXPECT_THAT(engine.calls, Not(Contains("AddDeletedThreat scan one 7")));
    EXPECT_THAT(Work(), ElementsAre("Failed: Destroying threat 7 of scan scan one: record can't be destroyed"));
}

TEST_F(StartWork, AFolderThatStaysBehindItsRecordIsTold) {
    List(Destroy, "7", "scan one");
    engine.records[7] = "record";
    engine.stuckFolders = {"record"};
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_FALSE(KeyExists(Destroy)) << "another start could not find it";
    EXPECT_THAT(Work(),
                ElementsAre("Failed: Destroying threat 7 of scan scan one: the folder of record can't be removed"));
}

TEST_F(StartWork, AThreatThatIsNotInTheQuarantineIsDestroyed) {
    List(Destroy, "7", "scan one");
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_FALSE(KeyExists(CleanerExe));
    EXPECT_THAT(Work(), ElementsAre("Destroying threat 7 of scan scan one: the quarantine has nothing of it"));
}

TEST_F(StartWork, AnEntryThatIsNoThreatStays) {
    for (const char* name : {"seven", "-7", "4000000000"}) {
        List(CleanerExe, name, "scan one");
        List(Destroy, name, "scan one");
    }
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_EQ(Names(CleanerExe).size(), 3U);
    EXPECT_EQ(Names(Destroy).size(), 3U);
    EXPECT_THAT(Work(), Contains(R"(Failed: "seven" of the list CleanerExe is no threat's number)"));
    EXPECT_THAT(Work(), Contains(R"(Failed: "-7" of the list CleanerExe\Destroy is no threat's number)"));
}

TEST_F(StartWork, WithoutAnEngineAllEntriesStay) {
    List(DelFiles, Things() + "a.exe", "1");
    List(CleanerExe, "7", "scan one");
    List(Destroy, "7", "scan one");
    engine.failing = {"Start"};
    EXPECT_EQ(Run(engine), StartEnd::NoEngine);
    EXPECT_THAT(Names(DelFiles), ElementsAre(Things() + "a.exe"));
    EXPECT_THAT(Names(CleanerExe), ElementsAre("7"));
    EXPECT_THAT(Names(Destroy), ElementsAre("7"));
    EXPECT_THAT(Work(), ElementsAre("Failed: The engine can't be created: Start: 0x800706BE"));
}

TEST_F(StartWork, AnEngineThatGoesAwayKeepsWhatWasNotDone) {
    List(DelFolders, Things() + "evil", "1");
    List(DelFiles, Things() + "a.exe", "1");
    List(CleanerExe, "7", "scan one");
    List(CleanerExe, "8", "scan one");
    List(Destroy, "7", "scan one");
    List(Destroy, "9", "scan one");
    engine.failing = {"RunAllCleanerFiles", "DetectedPaths scan one 7", "QuarantineID 9"};
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_FALSE(KeyExists(DelFolders));
    EXPECT_THAT(Names(DelFiles), ElementsAre(Things() + "a.exe"));
    EXPECT_THAT(Names(CleanerExe), ElementsAre("7"));
    EXPECT_THAT(Names(Destroy), ::testing::UnorderedElementsAre("7", "9"));
    EXPECT_THAT(Work(), Contains("Failed: DelFiles: RunAllCleanerFiles: 0x800706BE"));
}

TEST_F(StartWork, AListThatCantBeReadIsToldAndTheOthersAreWorked) {
    List(DelFolders, Things() + "evil", "1");
    List(DelFiles, Things() + "a.exe", "1");
    Guard(DelFiles);
    EXPECT_EQ(Run(engine), StartEnd::UnreadableLists);
    EXPECT_THAT(engine.calls, ElementsAre("Start", "SetUserDataFolder " + UserFolder(), "RunAllCleanerFolders"));
    EXPECT_THAT(Work(), Contains("Failed: The list DelFiles can't be read: error 5"));
    EXPECT_THAT(Names(DelFiles), ElementsAre(Things() + "a.exe"));
}

TEST_F(StartWork, WhenNoListCanBeReadNoEngineIsCreated) {
    List(DelFiles, Things() + "a.exe", "1");
    Guard(DelFiles);
    EXPECT_EQ(Run(engine), StartEnd::UnreadableLists);
    EXPECT_THAT(engine.calls, IsEmpty());
}

TEST_F(StartWork, AnEntryThatCantBeRemovedIsTold) {
    List(CleanerExe, "7", "scan one");
    Seal(CleanerExe);
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_THAT(Work(), Contains("Failed: The entry of threat 7 can't be removed: error 5"));
    EXPECT_THAT(Names(CleanerExe), ElementsAre("7"));
}

TEST_F(StartWork, WithoutAFolderForTheUsersDataNothingIsDone) {
    List(DelFiles, Things() + "a.exe", "1");
    EXPECT_EQ(companions::WorkAtStart(engine, "", false, log), StartEnd::NoUserData);
    EXPECT_EQ(companions::WorkAtStart(engine, Things() + "file\\below\\", false, log), StartEnd::Done)
        << "one that is not there is made";
    EXPECT_TRUE(Exists(Things() + "file\\below"));
}

TEST_F(StartWork, AFolderForTheUsersDataThatCantBeMadeIsTold) {
    WriteFile(Things() + "file", "no folder");
    List(DelFiles, Things() + "a.exe", "1");
    EXPECT_EQ(companions::WorkAtStart(engine, Things() + "file\\below\\", false, log), StartEnd::NoUserData);
    EXPECT_THAT(engine.calls, IsEmpty());
    EXPECT_THAT(Work(),
                ElementsAre("Failed: The folder of the user's data can't be made: " + Things() + "file\\below\\"));
    EXPECT_THAT(Names(DelFiles), ElementsAre(Things() + "a.exe"));
}

TEST_F(StartWork, TheFolderThatAnotherClientChoseStays) {
    MakeFolder(Folder() + "other");
    engine.userData = Folder() + "other";
    List(DelFiles, Things() + "a.exe", "1");
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_THAT(engine.calls, ElementsAre("Start", "RunAllCleanerFiles"));
    EXPECT_THAT(Log(Folder() + "other\\"), Contains("DelFiles: " + Things() + "a.exe: was not there"));
}

TEST_F(StartWork, TheFolderOfTheCommandLineStandsAgainstThatOfAnotherClient) {
    engine.userData = Folder() + "other";
    List(DelFiles, Things() + "a.exe", "1");
    const std::string folder = Folder() + "named";
    EXPECT_EQ(companions::RunCleanerProgram(engine, {"/userdata", folder}, log), StartEnd::Done);
    EXPECT_THAT(engine.calls, ElementsAre("Start", "SetUserDataFolder " + folder + "\\", "RunAllCleanerFiles"));
    EXPECT_THAT(Log(folder + "\\"), Contains("Ended with code 0"));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(StartWork, OtherArgumentsAreRefused) {
    List(DelFiles, Things() + "a.exe", "1");
    const std::vector<std::vector<std::string>> wrong = {
        {"/UserData"}, {"/UserData", " "}, {"x"}, {"/x", "y"}, {"/UserData", "a", "b"}};
    for (const auto& arguments : wrong) {
        EXPECT_EQ(companions::RunCleanerProgram(engine, arguments, log), StartEnd::BadArguments);
    }
    EXPECT_THAT(engine.calls, IsEmpty());
    EXPECT_THAT(Log(), Contains("Failed: It takes no arguments but /UserData and a folder"));
}

TEST_F(StartWork, TheUsersDataAreWhereTheProductsKeySays) {
    EXPECT_EQ(companions::UserDataFolder(), "");
    Stage().AddText(platform::HiveCurrentUser, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders)",
                    "Local AppData", Things());
    EXPECT_EQ(LCase(companions::UserDataFolder()), LCase(Things() + R"(Kelvane Software\Ombrelane\)"));
    boot::NameUserData("D:\\data");
    EXPECT_EQ(companions::UserDataFolder(), "D:\\data\\");
}

TEST_F(StartWork, WithoutUserDataTheLogLiesBesideTheProgram) {
    EXPECT_EQ(companions::LogFolder("C:\\x\\kelASCleaner.exe"), "C:\\x\\");
    EXPECT_EQ(companions::LogFolder("kelASCleaner.exe"), "");
}

}  // namespace
}  // namespace kel::test
