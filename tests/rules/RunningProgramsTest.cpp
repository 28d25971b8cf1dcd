// Whether a program runs, and the end of its processes.
#include "rules/RunningPrograms.h"

#include <gmock/gmock.h>

#include "rules/ProcessWalk.h"
#include "rules/modCleanerHelper.h"
#include "support/MadeMachine.h"

namespace kel::test {
namespace {

using modCleanerHelper::errProcessCannotOpenProcessFailed;
using modCleanerHelper::errProcessGetExitCodeProcessFailed;
using modCleanerHelper::errProcessTerminateProcessFailed;
using platform::SysError;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class RunningPrograms : public MadeMachineTest {
protected:
    void SetUp() override {
        Begin();
        Run(MadeProcesses::Own, "own.exe", Bytes(2000, 'o'));
    }
    [[nodiscard]] static std::string Spy() { return Bytes(2000, 's'); }
    [[nodiscard]] static std::string Good() { return Bytes(2000, 'g'); }
    [[nodiscard]] std::string CleanerLogText() {
        const std::string path = UserFolder() + "logs\\cleaner.log";
        return Exists(path) ? ReadFile(path) : std::string();
    }
};

// Is it running?

TEST_F(RunningPrograms, WithoutAHashTheFirstProcessWithAPathDecides) {
    processes.entries.clear();
    RunNameless(4, "system");
    const std::string first = Run(20, "spy.exe", Spy());
    const std::string second = Run(21, "good.exe", Good());
    EXPECT_TRUE(modCleanerHelper::IsProcessRunning(UCase(first)));
    EXPECT_FALSE(modCleanerHelper::IsProcessRunning(second)) << "it runs, and is not looked at";
    EXPECT_TRUE(modCleanerHelper::IsProcessRunning("\"" + first + "\" /quiet")) << "the path may hold more";
}

TEST_F(RunningPrograms, WithAHashEveryProcessIsLookedAt) {
    Run(20, "good.exe", Good());
    Run(21, "spy.exe", Spy());
    EXPECT_TRUE(modCleanerHelper::IsProcessRunning("whatever", HashOf(Spy())));
    EXPECT_FALSE(modCleanerHelper::IsProcessRunning(Folder() + "spy.exe", HashOf(Bytes(2000, 'x'))));
}

TEST_F(RunningPrograms, On2000ThePathIsComparedAndTheHashIsNot) {
    On2000();
    Run(20, "good.exe", Good());
    const std::string spy = Run(21, "spy.exe", Spy());
    EXPECT_TRUE(modCleanerHelper::IsProcessRunning(UCase(spy)));
    EXPECT_TRUE(modCleanerHelper::IsProcessRunning(spy, HashOf(Bytes(2000, 'x'))));
    EXPECT_FALSE(modCleanerHelper::IsProcessRunning(Folder() + "other.exe", HashOf(Spy())));
    EXPECT_FALSE(modCleanerHelper::IsProcessRunning("\"" + spy + "\""));
    EXPECT_TRUE(modCleanerHelper::IsProcessRunningNT(spy, "ignored"));
    EXPECT_FALSE(modCleanerHelper::IsProcessRunningNT(""));
}

TEST_F(RunningPrograms, AProcessIsFoundByTheContentsOfItsProgram) {
    Run(20, "good.exe", Good());
    Run(21, "renamed.exe", Spy());
    WriteFile(Folder() + "spy.exe", Spy());
    for (const std::uint32_t minor : {0U, 1U}) {
        Runs(5, minor);
        std::int32_t id = 0;
        EXPECT_TRUE(modCleanerHelper::IsRunningProcess(Folder() + "spy.exe", id));
        EXPECT_EQ(id, 21);
        EXPECT_TRUE(modCleanerHelper::IsRunningProcessId(Folder() + "spy.exe"));
    }
    EXPECT_GE(processes.snapshots, 4) << "by a snapshot on 2000 too";
}

TEST_F(RunningPrograms, AFileThatDoesNotRunLeavesTheNumberAsItIs) {
    WriteFile(Folder() + "spy.exe", Spy());
    std::int32_t id = 77;
    EXPECT_FALSE(modCleanerHelper::IsRunningProcess(Folder() + "spy.exe", id));
    EXPECT_EQ(id, 77);
    EXPECT_FALSE(modCleanerHelper::IsRunningProcessId(Folder() + "spy.exe"));
}

TEST_F(RunningPrograms, AProcessWithoutANumberRunsButIsNone) {
    Run(0, "spy.exe", Spy());
    std::int32_t id = 77;
    EXPECT_TRUE(modCleanerHelper::IsRunningProcess(Folder() + "spy.exe", id));
    EXPECT_FALSE(modCleanerHelper::IsRunningProcessId(Folder() + "spy.exe"));
}

TEST_F(RunningPrograms, AProgramWithoutAHashMatchesNothing) {
    Run(20, "tiny.exe", "tiny");
    WriteFile(Folder() + "other.exe", "other");
    std::int32_t id = 0;
    EXPECT_FALSE(modCleanerHelper::IsRunningProcess(Folder() + "other.exe", id));
    EXPECT_FALSE(modCleanerHelper::IsRunningProcess(Folder() + "tiny.exe", id));
    EXPECT_EQ(modCleanerHelper::KillRunningProcess(Folder() + "tiny.exe"), 0);
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(RunningPrograms, TheAnswerForAnInvalidFileIsNoHash) {
    EXPECT_EQ(walk::Meaningful("invalid file!"), "");
    EXPECT_EQ(walk::Meaningful(""), "");
    EXPECT_EQ(walk::Meaningful(HashOf(Spy())), HashOf(Spy()));
}

TEST_F(RunningPrograms, WithoutAListOfProcessesNothingRunsAndNothingFails) {
    processes.lists = false;
    WriteFile(Folder() + "spy.exe", Spy());
    for (const std::uint32_t minor : {0U, 1U}) {
        Runs(5, minor);
        std::int32_t id = 0;
        EXPECT_FALSE(modCleanerHelper::IsProcessRunning(Folder() + "spy.exe"));
        EXPECT_FALSE(modCleanerHelper::IsRunningProcess(Folder() + "spy.exe", id));
        EXPECT_EQ(modCleanerHelper::KillRunningProcess(Folder() + "spy.exe"), 0);
        EXPECT_EQ(modCleanerHelper::KillRunningProcessName("spy.exe"), 0);
        EXPECT_EQ(modCleanerHelper::KillRunningProcessTree(Folder() + "spy.exe"), 0);
        EXPECT_EQ(modCleanerHelper::GetProcessList().Count(), 0U);
        EXPECT_EQ(modCleanerHelper::GetThreatList().Count(), 0U);
    }
    EXPECT_THAT(Reported(), IsEmpty());
}

// The end of one process.

TEST_F(RunningPrograms, AProcessIsEndedWithTheExitCodeThatItHas) {
    Run(20, "spy.exe", Spy());
    processes.exitCode = 42;
    EXPECT_EQ(modCleanerHelper::HelperKillRunningProcessLocal(20), 0);
    EXPECT_THAT(processes.ended, ElementsAre("20 with 42 by 1025"));
    EXPECT_THAT(Reported(), IsEmpty());
}

struct FailedKill {
    std::map<std::uint32_t, SysError> MadeProcesses::*step;
    std::int32_t result;
    const char* text;
};

class KillThatFails : public RunningPrograms, public ::testing::WithParamInterface<FailedKill> {};

TEST_P(KillThatFails, AnswersTheStepAndReportsIt) {
    Run(20, "spy.exe", Spy());
    (processes.*GetParam().step)[20] = SysError::AccessDenied;
    EXPECT_EQ(modCleanerHelper::HelperKillRunningProcessLocal(20), GetParam().result);
    EXPECT_THAT(processes.ended, IsEmpty());
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].description, "HelperKillRunningProcessLocal Error: " + std::string(GetParam().text));
    EXPECT_EQ(Reported()[0].number, std::to_string(GetParam().result));
    EXPECT_EQ(Reported()[0].module, "modCleanerHelper");
    EXPECT_EQ(Reported()[0].procedure, "HelperKillRunningProcessLocal");
}

INSTANTIATE_TEST_SUITE_P(
    Steps, KillThatFails,
    ::testing::Values(FailedKill{&MadeProcesses::openErrors, 300, "errProcessCannotOpenProcessFailed"},
                      FailedKill{&MadeProcesses::exitCodeErrors, 301, "errProcessGetExitCodeProcessFailed"},
                      FailedKill{&MadeProcesses::endErrors, 302, "errProcessTerminateProcessFailed"}));

// By contents.

TEST_F(RunningPrograms, AllCopiesOfAProgramAreEndedAndAChangedOneIsNot) {
    modCleanerHelper::EnableLog() = true;
    const std::string spy = Run(20, "spy.exe", Spy());
    Run(21, "good.exe", Good());
    const std::string copy = Run(22, "windows\\helper.exe", Spy());
    Run(23, "windows\\spy.exe", Bytes(2001, 's'));
    EXPECT_EQ(modCleanerHelper::KillRunningProcess(Folder() + "spy.exe"), 0);
    EXPECT_THAT(processes.ended, ElementsAre("20 with 259 by 1025", "22 with 259 by 1025"));
    const std::string log = CleanerLogText();
    const auto killing = log.find("::Killing process - " + spy + "\r\n");
    const auto completed = log.find("::Completed Kill - " + spy + "\r\n");
    const auto next = log.find("::Killing process - " + copy + "\r\n");
    EXPECT_LT(killing, completed);
    EXPECT_LT(completed, next);
    EXPECT_NE(next, std::string::npos) << log;
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunningPrograms, TheOwnProcessIsNeverEnded) {
    EXPECT_EQ(modCleanerHelper::KillRunningProcess(Folder() + "own.exe"), 0);
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName(Folder() + "own.exe"), 0);
    EXPECT_EQ(modCleanerHelper::KillRunningProcessNameNT(Folder() + "own.exe"), 0);
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(RunningPrograms, AKillThatFailsLeavesTheOthersAndTheResult) {
    Run(20, "spy.exe", Spy());
    Run(21, "copy.exe", Spy());
    processes.endErrors[20] = SysError::AccessDenied;
    EXPECT_EQ(modCleanerHelper::KillRunningProcess(Folder() + "spy.exe"), 0);
    EXPECT_THAT(processes.ended, ElementsAre("21 with 259 by 1025"));
    EXPECT_THAT(Reported(), SizeIs(1));
}

// By name.

TEST_F(RunningPrograms, EveryProcessOfANameIsEnded) {
    RunNameless(20, "Spy.exe");
    RunNameless(21, "spy.exe.exe");
    RunNameless(22, "SPY.EXE");
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName("spY.exe"), 0);
    EXPECT_THAT(processes.ended, ElementsAre("20 with 259 by 1025", "22 with 259 by 1025"));
}

TEST_F(RunningPrograms, TheResultByNameIsThatOfTheLastKill) {
    RunNameless(20, "spy.exe");
    RunNameless(21, "spy.exe");
    processes.openErrors[20] = SysError::AccessDenied;
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName("spy.exe"), 0);
    RunNameless(22, "spy.exe");
    processes.openErrors[22] = SysError::AccessDenied;
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName("spy.exe"), errProcessCannotOpenProcessFailed);
    EXPECT_THAT(processes.ended, ElementsAre("21 with 259 by 1025"));
}

TEST_F(RunningPrograms, On2000ABareNameFindsNothing) {
    On2000();
    const std::string spy = Run(20, "spy.exe", Spy());
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName("spy.exe"), 0);
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName(UCase(spy)), 0);
    EXPECT_THAT(processes.ended, ElementsAre("20 with 259 by 1025")) << "a full path does";
}

TEST_F(RunningPrograms, On2000TheFirstKillThatFailsEndsTheWalk) {
    On2000();
    const std::string spy = Run(20, "spy.exe", Spy());
    Run(21, "spy.exe", Spy());
    processes.endErrors[20] = SysError::AccessDenied;
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName(spy), errProcessTerminateProcessFailed);
    EXPECT_THAT(processes.ended, IsEmpty());
}

// With the tree.

TEST_F(RunningPrograms, TheTreeStopperIsToldMinusOneAndNotWaitedFor) {
    const std::string spy = Run(20, "spy.exe", Spy());
    EXPECT_EQ(modCleanerHelper::KillRunningProcessTree(spy), 0);
    EXPECT_THAT(shell.started, ElementsAre("open|" + Folder() + "app\\kvASThreatAuditpk.exe|-1|0"));
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(RunningPrograms, ATreeStopperThatDoesNotStartIs302) {
    const std::string spy = Run(20, "spy.exe", Spy());
    shell.answer = SysError::FileNotFound;
    EXPECT_EQ(modCleanerHelper::KillRunningProcessTree(spy), errProcessTerminateProcessFailed);
}

TEST_F(RunningPrograms, ForAProgramThatDoesNotRunNoTreeStopperStarts) {
    WriteFile(Folder() + "spy.exe", Spy());
    EXPECT_EQ(modCleanerHelper::KillRunningProcessTree(Folder() + "spy.exe"), 0);
    EXPECT_THAT(shell.started, IsEmpty());
}

TEST_F(RunningPrograms, ThreeProgramsAreNeverSentToTheTreeStopperUnderAnyFolderYetEndedByTheirContents) {
    std::uint32_t id = 20;
    for (const char* name : {"Explorer.exe", "dllhost.EXE", "svchost.exe"}) {
        const std::string path = Run(id, name, Bytes(2000, name[0]));
        EXPECT_FALSE(modCleanerHelper::ShouldUIKill(path));
        EXPECT_EQ(modCleanerHelper::KillRunningProcessTree(path), 0);
        EXPECT_THAT(shell.started, IsEmpty());
        EXPECT_EQ(modCleanerHelper::KillRunningProcess(path), 0);
        EXPECT_THAT(processes.ended, SizeIs(id - 19)) << name;
        ++id;
    }
    EXPECT_TRUE(modCleanerHelper::ShouldUIKill(Folder() + "explorer.exe.exe"));
    EXPECT_FALSE(modCleanerHelper::ShouldUIKill("EXPLORER.EXE"));
}

TEST_F(RunningPrograms, ProgramsBesideTheEngineAreSparedAtTheRootOfADriveAlone) {
    State().App.Path = "C:\\";
    EXPECT_FALSE(modCleanerHelper::ShouldUIKill("c:\\spy.exe"));
    EXPECT_TRUE(modCleanerHelper::ShouldUIKill("c:\\dir\\spy.exe"));
    State().App.Path = "C:\\Engine";
    EXPECT_TRUE(modCleanerHelper::ShouldUIKill("C:\\Engine\\spy.exe"));
}

}  // namespace
}  // namespace kel::test
