// The process scan over lists that a test gives: which branch runs, and what each process comes to.
#include <gmock/gmock.h>

#include <map>

#include "CountingLoop.h"
#include "core/Text.h"
#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingSystem.h"
#include "results/DetectedThreat.h"
#include "scanner/modScannerProcesses.h"
#include "support/ScanTest.h"
#include "system/clsFolderPaths.h"
#include "system/modFolderPaths.h"

namespace kel::test {
namespace {

using platform::Result;
using platform::SysError;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

class MadeSystem : public decorators::ForwardingSystemInfo {
public:
    using ForwardingSystemInfo::ForwardingSystemInfo;
    platform::OsVersion version{5, 1, 2600, 2, ""};
    Result<platform::OsVersion> Version() override { return version; }
};

// Processes with modules. A process of the list that the two modules' maps do not know can't be opened.
class MadeProcesses : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;
    std::vector<platform::ProcessEntry> entries;
    std::map<std::uint32_t, std::vector<std::string>> modules;
    int snapshots = 0;
    SysError snapshotError = SysError::Success;
    SysError identifiersError = SysError::Success;
    std::uint32_t own = 1;
    std::vector<std::string> calls;

    Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        ++snapshots;
        if (snapshotError != SysError::Success) {
            return snapshotError;
        }
        return entries;
    }
    Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t most) override {
        calls.push_back("identifiers " + std::to_string(most));
        if (identifiersError != SysError::Success) {
            return identifiersError;
        }
        std::vector<std::uint32_t> identifiers;
        for (const platform::ProcessEntry& entry : entries) {
            identifiers.push_back(entry.id);
        }
        return identifiers;
    }
    Result<std::vector<std::string>> SnapshotModules(std::uint32_t processId) override {
        calls.push_back("snapshot of " + std::to_string(processId));
        return Modules(processId);
    }
    Result<std::vector<std::string>> ModulePaths(std::uint32_t processId, std::uint32_t most,
                                                 std::uint32_t capacity) override {
        calls.push_back("modules of " + std::to_string(processId) + ", " + std::to_string(most) + ", " +
                        std::to_string(capacity));
        return Modules(processId);
    }
    Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t, std::uint32_t) override {
        const auto found = Modules(processId);
        return found && !found->empty() ? Result<std::string>(found->front()) : Result<std::string>(found.Error());
    }
    SysError CanOpen(std::uint32_t processId, std::uint32_t) override {
        return modules.contains(processId) ? SysError::Success : SysError::AccessDenied;
    }
    std::uint32_t CurrentId() override { return own; }

private:
    [[nodiscard]] Result<std::vector<std::string>> Modules(std::uint32_t processId) const {
        const auto found = modules.find(processId);
        if (found == modules.end()) {
            return SysError::AccessDenied;
        }
        return found->second;
    }
};

constexpr std::int32_t SpyProgram = 7;
constexpr std::int32_t SpyModule = 8;

class ProcessScan : public ScanTest {
protected:
    ProcessScan() : system_(*Machine().system), processes_(*Machine().processes) {
        tables.paths = {{SpyProgram, Folder() + "spy.exe"}, {SpyModule, Folder() + "hook.dll"}};
        tables.threats = {{SpyProgram, "Spy"}, {SpyModule, "Hook"}};
        for (const char* name : {"own.exe", "spy.exe", "good.exe", "hook.dll", "good.dll"}) {
            WriteFile(Folder() + name, name);
        }
        auto machine = Machine();
        machine.system = &system_;
        machine.processes = &processes_;
        machine.loop = &loop_;
        Install(machine);
    }
    void SetUp() override {
        Begin();
        Add(1, "own.exe", {"good.dll"});
        Add(20, "spy.exe", {"hook.dll", "good.dll"});
        Add(30, "good.exe", {"good.dll"});
    }

    // A process whose list entry is its whole path, as on 9x, and whose first module is its program.
    void Add(std::uint32_t processId, const std::string& name, const std::vector<std::string>& modules) {
        processes_.entries.push_back({processId, 0, Folder() + name});
        auto& all = processes_.modules[processId];
        all.push_back(Folder() + name);
        for (const std::string& module : modules) {
            all.push_back(Folder() + module);
        }
    }
    void Runs(std::uint32_t major, std::uint32_t minor, std::uint32_t platformId = 2) {
        system_.version = {major, minor, 1000, platformId, ""};
    }
    [[nodiscard]] std::string Lower(std::string_view name) const { return LCase(Folder()) + std::string(name); }
    [[nodiscard]] std::string Pid(int processId, std::string_view name) const {
        return "PID " + std::to_string(processId) + ": " + Lower(name);
    }
    [[nodiscard]] std::vector<std::string> LowerStarted() const {
        std::vector<std::string> locations;
        for (const std::string& location : StartedLocations()) {
            locations.push_back(location.starts_with("PID") ? location : LCase(location));
        }
        return locations;
    }

    MadeSystem system_;
    MadeProcesses processes_;
    CountingLoop loop_;
};

TEST_F(ProcessScan, OnXPTheSnapshotIsWalkedAndTheOwnProcessIsLeftOut) {
    scanner.ScanProcesses();
    EXPECT_THAT(LowerStarted(), ElementsAre(Lower("spy.exe"), Lower("good.exe")));
    EXPECT_THAT(processes_.calls, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProcessScan, On2000TheIdentifiersAreWalkedAndTheOwnProcessIsAmongThem) {
    Runs(5, 0);
    scanner.ScanProcesses();
    EXPECT_THAT(LowerStarted(), ElementsAre(Lower("own.exe"), Lower("spy.exe"), Lower("good.exe")));
    EXPECT_THAT(processes_.calls, ElementsAre("identifiers 512"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProcessScan, BothWaysRecordTheSameThreat) {
    for (const std::uint32_t minor : {0U, 1U}) {
        Begin();
        Runs(5, minor);
        scanner.ScanProcesses();
        EXPECT_THAT(FilesOf(SpyProgram), SizeIs(1)) << minor;
        EXPECT_EQ(LCase(FilesOf(SpyProgram)[0]), Lower("spy.exe"));
        EXPECT_EQ(scanner.Scan()->DetectedProcessCount, 1);
        EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->ScanType, ScanTypeProcesses);
    }
}

TEST_F(ProcessScan, AProgramIsKnownByItsPathWhateverTheDepth) {
    scanner.OptScanDepth = scandeep;
    scanner.ScanProcesses();
    EXPECT_THAT(FilesOf(SpyProgram), SizeIs(1));
}

TEST_F(ProcessScan, TheRecordHoldsTheHashOfTheProgram) {
    const std::string program(1500, 'x');
    WriteFile(Folder() + "spy.exe", program);
    scanner.ScanProcesses();
    const auto& detected = scanner.Scan()->DetectedThreats()->Item(1);
    ASSERT_EQ(detected->ThreatLocationFiles->Count(), 1U);
    EXPECT_EQ(LCase(detected->ThreatLocationFiles->Item(1)->MD5), LCase(HashOf(program)));
}

TEST_F(ProcessScan, WithoutModulesThereIsOneEventForEachProcess) {
    scanner.ScanProcesses(false);
    EXPECT_THAT(started, SizeIs(2));
    EXPECT_EQ(scanner.Scan()->ScannedProcessCount, 2);
    EXPECT_THAT(FilesOf(SpyModule), IsEmpty());
}

TEST_F(ProcessScan, WithModulesThereIsAnEventForEachModuleOfEachProcess) {
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(),
                ElementsAre(Lower("spy.exe"), Pid(20, "spy.exe"), Pid(20, "hook.dll"), Pid(20, "good.dll"),
                            Lower("good.exe"), Pid(30, "good.exe"), Pid(30, "good.dll")));
    EXPECT_EQ(scanner.Scan()->ScannedProcessCount, 7) << "events are counted, not processes";
    EXPECT_THAT(FilesOf(SpyModule), ElementsAre(Lower("hook.dll")));
    EXPECT_THAT(FilesOf(SpyProgram), SizeIs(1)) << "found as a program and as a module, recorded once";
    EXPECT_THAT(processes_.calls, ElementsAre("modules of 20, 512, 512", "modules of 30, 512, 512"));
}

TEST_F(ProcessScan, On2000TheModulesOfTheOwnProcessAreTestedToo) {
    Runs(5, 0);
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), Contains(Pid(1, "good.dll")));
    EXPECT_THAT(FilesOf(SpyModule), SizeIs(1));
}

TEST_F(ProcessScan, On9xModulesComeFromASnapshotAndAreNamedByTheirPathsAlone) {
    struct Version {
        std::uint32_t major;
        std::uint32_t minor;
    };
    for (const Version version : {Version{4, 0}, Version{4, 10}, Version{4, 90}}) {
        Begin();
        started.clear();
        processes_.calls.clear();
        Runs(version.major, version.minor, 1);
        processes_.modules[30] = {Folder() + "gone.dll"};
        scanner.ScanProcesses(true);
        EXPECT_THAT(LowerStarted(), ElementsAre(Lower("spy.exe"), Lower("spy.exe"), Lower("hook.dll"),
                                                Lower("good.dll"), Lower("good.exe"), Lower("gone.dll")))
            << "a module whose file is not there is named too";
        EXPECT_THAT(processes_.calls, ElementsAre("snapshot of 20", "snapshot of 30"));
        EXPECT_THAT(FilesOf(SpyModule), SizeIs(1));
    }
}

TEST_F(ProcessScan, OnLaterSystemsTheSnapshotIsWalkedToo) {
    Runs(6, 1);
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), Contains(Pid(20, "hook.dll")));
    EXPECT_THAT(LowerStarted(), Not(Contains(Lower("own.exe"))));
}

TEST_F(ProcessScan, AProcessWithoutAPathIsPassedOverButItsModulesAreNot) {
    processes_.entries[1].exeFile = "unknown.exe";
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), ElementsAre(Pid(20, "spy.exe"), Pid(20, "hook.dll"), Pid(20, "good.dll"),
                                            Lower("good.exe"), Pid(30, "good.exe"), Pid(30, "good.dll")));
    EXPECT_THAT(FilesOf(SpyModule), SizeIs(1));
}

TEST_F(ProcessScan, OneSnapshotServesAllProcesses) {
    for (platform::ProcessEntry& entry : processes_.entries) {
        entry.exeFile = "unknown.exe";
    }
    scanner.ScanProcesses(true);
    EXPECT_EQ(processes_.snapshots, 1);
}

TEST_F(ProcessScan, On2000AProcessThatCantBeOpenedIsLeftOutWithItsModules) {
    Runs(5, 0);
    processes_.modules.erase(20);
    scanner.ScanProcesses(true);
    EXPECT_THAT(FilesOf(SpyProgram), IsEmpty());
    EXPECT_THAT(processes_.calls, Not(Contains(StartsWith("modules of 20"))));
    EXPECT_THAT(LowerStarted(), Contains(Lower("good.exe")));
}

TEST_F(ProcessScan, On2000AnOpenedProcessWithoutAPathKeepsItsModules) {
    Runs(5, 0);
    processes_.modules[20] = {Folder() + "gone.exe", Folder() + "hook.dll"};
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), Contains(Pid(20, "hook.dll")));
    EXPECT_THAT(FilesOf(SpyModule), SizeIs(1));
}

TEST_F(ProcessScan, OfProcessZeroTheModulesAreNotAskedFor) {
    Add(0, "good.exe", {"hook.dll"});
    for (const std::uint32_t minor : {0U, 1U}) {
        Runs(5, minor);
        processes_.calls.clear();
        scanner.ScanProcesses(true);
        EXPECT_THAT(processes_.calls, Not(Contains(StartsWith("modules of 0"))));
    }
}

TEST_F(ProcessScan, PseudoNamesAreLeftOutWithTheirModules) {
    processes_.entries = {{20, 0, "[System Process]"}, {30, 0, "SYSTEM"}};
    scanner.ScanProcesses(true);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(processes_.calls, IsEmpty());
}

TEST_F(ProcessScan, On2000APseudoNameIsAProcessLikeOthers) {
    Runs(5, 0);
    processes_.entries = {{20, 0, "System"}};
    scanner.ScanProcesses();
    EXPECT_THAT(started, SizeIs(1));
}

TEST_F(ProcessScan, AnEntryWhoseNameHasNoEndIsLeftOut) {
    processes_.entries = {{20, 0, std::string(260, 'x')}, {30, 0, std::string(259, 'x')}};
    scanner.ScanProcesses(true);
    EXPECT_THAT(processes_.calls, ElementsAre("modules of 30, 512, 512"));
}

TEST_F(ProcessScan, ASnapshotThatFailsEndsTheStageInSilence) {
    processes_.snapshotError = SysError::AccessDenied;
    scanner.ScanProcesses(true);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProcessScan, AMachineWithoutTheCallsIsReported) {
    Runs(4, 0);
    processes_.identifiersError = SysError::NotSupported;
    scanner.ScanProcesses(true);
    EXPECT_THAT(started, IsEmpty());
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Scanner");
    EXPECT_EQ(Reported()[0].procedure, "ScanProcessesNT");
    EXPECT_EQ(Reported()[0].number, "53");
}

TEST_F(ProcessScan, AFailureInTheModulesOfOneProcessLeavesTheOthers) {
    scanner.Scan()->FolderPaths.reset();
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), ElementsAre(Lower("spy.exe"), Lower("good.exe")));
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[0].module, "modScannerProcesses");
    EXPECT_EQ(Reported()[0].procedure, "ScanProcessModules");
}

TEST_F(ProcessScan, WithoutAScanTheFirstProgramEndsTheStage) {
    SetCurrentScan(nullptr);
    scanner.ScanProcesses();
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].procedure, "ScanProcesses");
    Runs(5, 0);
    scanner.ScanProcesses();
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[1].procedure, "ScanProcessesNT");
    EXPECT_EQ(Reported()[1].module, "Scanner");
}

TEST_F(ProcessScan, AnAbortEndsItBeforeTheNextProgramIsNamed) {
    abortAtPoll = 1;
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), ElementsAre(Lower("spy.exe")));
    EXPECT_THAT(FilesOf(SpyProgram), SizeIs(1)) << "the program that was named is tested";
    EXPECT_THAT(FilesOf(SpyModule), IsEmpty());
}

TEST_F(ProcessScan, AnAbortEndsTheModulesOfAProcess) {
    abortAtPoll = 2;
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), ElementsAre(Lower("spy.exe"), Pid(20, "spy.exe")));
}

TEST_F(ProcessScan, On2000AnAbortEndsTheModulesAndTheProgramsGoOn) {
    Runs(5, 0);
    abortAtPoll = 1;
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), ElementsAre(Lower("own.exe"), Lower("spy.exe"), Lower("good.exe")));
}

TEST_F(ProcessScan, ItYieldsBehindEachProcessButNotOn2000) {
    loop_.turns = 0;
    scanner.ScanProcesses();
    EXPECT_EQ(loop_.turns, 2);
    Runs(5, 0);
    scanner.ScanProcesses();
    EXPECT_EQ(loop_.turns, 2);
}

TEST_F(ProcessScan, AnIgnoredThreatThatRunsIsNotRecorded) {
    State().IgnoredThreatIDs = std::make_shared<Collection<std::int32_t>>();
    State().IgnoredThreatIDs->Add(SpyProgram, std::to_string(SpyProgram));
    scanner.ScanProcesses();
    EXPECT_THAT(FilesOf(SpyProgram), IsEmpty());
    EXPECT_THAT(started, SizeIs(2));
}

TEST_F(ProcessScan, RunningAScanWithTheDeepOptionTestsModules) {
    scanner.DoScanProcesses = true;
    scanner.OptScanProcessesDeep = true;
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_THAT(FilesOf(SpyModule), SizeIs(1));
    EXPECT_THAT(started, SizeIs(7));
}

// How module paths are completed, with a Windows folder `win` of the test's own.
class ModulePath : public ProcessScan {
protected:
    ModulePath() { tables.paths.push_back({SpyModule, Folder() + "win\\system32\\x.dll"}); }
    void SetUp() override {
        Begin();
        MakeFolder(Folder() + "win\\system32");
        WriteFile(Folder() + "win\\system32\\x.dll", "x");
        auto& folders = *scanner.Scan()->FolderPaths;
        folders.PathWindows = LCase(Folder()) + "win\\";
        folders.PathSystem = folders.PathWindows + "system32\\";
    }
    // The one place that a module with that path is named by; empty for none.
    std::string Named(const std::string& module) {
        processes_.modules = {{5, {module}}};
        started.clear();
        modScannerProcesses::ScanProcessModules(5);
        EXPECT_THAT(started, SizeIs(::testing::Le(1U)));
        EXPECT_THAT(Reported(), IsEmpty());
        return started.empty() ? std::string() : started[0].location;
    }
};

TEST_F(ModulePath, BelowSystemRootIsOneBelowTheWindowsFolder) {
    EXPECT_EQ(Named("\\SystemRoot\\system32\\x.dll"), Pid(5, "win\\system32\\x.dll"));
    EXPECT_EQ(Named("\\SYSTEMROOT\\System32\\X.DLL"), Pid(5, "win\\system32\\x.dll"));
}

TEST_F(ModulePath, BelowSystemRootIsTheOneThatIsTested) {
    EXPECT_EQ(Named("\\SystemRoot\\system32\\x.dll"), Pid(5, "win\\system32\\x.dll"));
    EXPECT_THAT(FilesOf(SpyModule), ElementsAre(Lower("win\\system32\\x.dll")));
}

TEST_F(ModulePath, LosesThePrefixOfTheObjectNamespace) {
    EXPECT_EQ(Named("\\??\\" + Folder() + "good.dll"), Pid(5, "good.dll"));
}

TEST_F(ModulePath, EndsAtItsFirstNul) {
    EXPECT_EQ(Named(Folder() + "good.dll" + std::string("\0rest", 5)), Pid(5, "good.dll"));
}

TEST_F(ModulePath, OfABareNameIsCompletedFromTheSystemFolder) {
    EXPECT_EQ(Named("x.dll"), Pid(5, "win\\system32\\x.dll"));
}

TEST_F(ModulePath, ThatLeadsNowhereIsNotNamed) {
    EXPECT_EQ(Named(Folder() + "gone.dll"), "");
    EXPECT_EQ(Named(""), "") << "of a module whose name can't be had";
}

TEST_F(ModulePath, OfAProcessThatCantBeOpenedThereAreNone) {
    processes_.modules.clear();
    modScannerProcesses::ScanProcessModules(5);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

// On the machine itself.
using ProcessScanOfTheMachine = ScanTest;

TEST_F(ProcessScanOfTheMachine, FindsNothingWhereNoProcessesRun) {
    if (Machine().can.processes) {
        GTEST_SKIP() << "processes run here";
    }
    Begin();
    scanner.ScanProcesses(true);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
