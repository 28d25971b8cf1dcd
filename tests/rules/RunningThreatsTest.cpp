// The end of processes that really run: a stand-in for a threat with a child of its own. The suite runs under every
// version of Windows that there is a branch for.
#ifdef _WIN32

#include <gmock/gmock.h>
#include <windows.h>

#include "catalogue/clsResuscitator.h"
#include "child/CarriedPrograms.h"
#include "child/ChildProcess.h"
#include "core/Text.h"
#include "results/IgnoredThreats.h"
#include "rules/RunningPrograms.h"
#include "support/ScanTest.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"
#include "system/modWinAPI.h"

namespace kel::test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t Spy = 7;
constexpr std::int32_t Hook = 8;
constexpr std::uint32_t StillActive = 259;
constexpr std::int32_t NoProcess = 0x7FFFFFF0;
constexpr std::string_view RunKey = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)";

// Names and contents are this test's own: others may run at the same time. The programs stand in the Windows folder,
// since the process list of most versions names programs without their folders.
class RunningThreats : public ScanTest {
protected:
    RunningThreats() {
        own_ = std::to_string(Machine().processes->CurrentId());
        tables.threats = {{Spy, "Spy"}, {Hook, "Hook"}};
        tables.md5 = {{Spy, HashOf(Program("spy"))}, {Hook, HashOf(ChildModule())}};
    }
    void SetUp() override { Begin(); }

    [[nodiscard]] static bool OnNT() { return modWinAPI::GetOSVersionName() == "NT"; }
    [[nodiscard]] static bool WithLibraries() {
        const std::string word = modWinAPI::GetOSVersionName();
        return word != "NT" && word != "98" && word != "ME";
    }
    [[nodiscard]] std::string Name(const std::string& name) const { return "kel" + name + own_ + ".exe"; }
    [[nodiscard]] std::string Path(const std::string& name) const {
        return modFolderPaths::GetWindowsFolder() + Name(name);
    }
    [[nodiscard]] std::string Tail(const std::string& kind) const { return kind + own_; }
    [[nodiscard]] std::string Program(const std::string& kind) const {
        return std::string(ChildProgram()) + Tail(kind);
    }
    [[nodiscard]] ChildOptions Kind(const std::string& kind) const { return {.tail = Tail(kind)}; }
    [[nodiscard]] std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const FailureRecord& record : Reported()) {
            texts.push_back(record.number + " " + LCase(record.description));
        }
        return texts;
    }
    [[nodiscard]] static std::string Lower(const char* what, std::uint32_t id, const std::string& path) {
        return LCase("0 " + std::string(what) + ". PID = " + std::to_string(id) + " Name = " + path);
    }

    std::string own_;
};

TEST_F(RunningThreats, TheSweepEndsAThreatAndItsChild) {
    const ChildProcess good(Machine(), Path("good"), Kind("good"));
    const ChildProcess spy(Machine(), Path("spy"), {.tail = Tail("spy"), .childPath = Path("helper")});
    modCleanerHelper::SuspendActiveThreats();
    ASSERT_TRUE(spy.Ended());
    EXPECT_EQ(spy.ExitCode(), 1U);
    if (OnNT()) {
        EXPECT_TRUE(spy.ChildRuns()) << "no parents are known there";
        EXPECT_THAT(Texts(), Contains(Lower("Terminating child process", spy.Id(), Path("spy"))));
    } else {
        ASSERT_TRUE(spy.ChildEnded());
        EXPECT_EQ(spy.ChildExitCode(), 1U);
        EXPECT_THAT(Texts(), Contains(Lower("Terminating child process", spy.ChildId(), Path("helper"))));
    }
    EXPECT_THAT(Texts(), Contains(Lower("Terminating process", spy.Id(), Path("spy"))));
    EXPECT_THAT(Texts(), SizeIs(2));
    EXPECT_TRUE(good.Runs());
    ASSERT_THAT(FilesOf(Spy), SizeIs(1));
    EXPECT_EQ(LCase(FilesOf(Spy)[0]), LCase(Path("spy")));
}

TEST_F(RunningThreats, AScanSweepsOnDemandAlone) {
    const ChildProcess spy(Machine(), Path("spy"), Kind("spy"));
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_TRUE(spy.Runs());
    scanner.SetSuspendActive(true);
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_TRUE(spy.Ended());
    EXPECT_THAT(FilesOf(Spy), SizeIs(1));
}

TEST_F(RunningThreats, AnIgnoredThreatKeepsRunning) {
    const ChildProcess spy(Machine(), Path("spy"), Kind("spy"));
    IgnoredThreats().AddIgnoredThreat(Spy);
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_TRUE(spy.Runs());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunningThreats, AProgramWithALibraryOfTheFamilyEndsWhereLibrariesAreSearchedFor) {
    const std::string library = LCase(Folder()) + "newdot7.dll";
    ChildOptions options = Kind("host");
    options.modulePath = library;
    const ChildProcess host(Machine(), Path("host"), options);
    modCleanerHelper::SuspendActiveThreats();
    if (WithLibraries()) {
        EXPECT_TRUE(host.Ended());
        ASSERT_THAT(FilesOf(Hook), SizeIs(1));
        EXPECT_EQ(LCase(FilesOf(Hook)[0]), library);
    } else {
        EXPECT_TRUE(host.Runs());
        EXPECT_THAT(FilesOf(Hook), IsEmpty());
    }
}

TEST_F(RunningThreats, AProgramIsFoundAndEndedByItsContents) {
    const ChildProcess spy(Machine(), Path("spy"), Kind("spy"));
    const ChildProcess copy(Machine(), Path("copy"), Kind("spy"));
    const ChildProcess good(Machine(), Path("good"), Kind("good"));
    const std::string sample = Folder() + "sample.exe";
    WriteFile(sample, Program("spy"));
    std::int32_t id = 0;
    EXPECT_TRUE(modCleanerHelper::IsRunningProcess(sample, id));
    EXPECT_TRUE(id == static_cast<std::int32_t>(spy.Id()) || id == static_cast<std::int32_t>(copy.Id())) << id;
    EXPECT_TRUE(modCleanerHelper::IsRunningProcessId(sample));
    EXPECT_TRUE(OnNT() || modCleanerHelper::IsProcessRunning(sample, HashOf(Program("spy"))));
    EXPECT_TRUE(!OnNT() || modCleanerHelper::IsProcessRunning(UCase(Path("spy"))));
    EXPECT_TRUE(modCleanerHelper::IsProcessRunningNT(UCase(Path("spy"))));

    EXPECT_EQ(modCleanerHelper::KillRunningProcess(sample), 0);
    ASSERT_TRUE(spy.Ended());
    ASSERT_TRUE(copy.Ended());
    EXPECT_EQ(spy.ExitCode(), StillActive) << "with the code that it had";
    EXPECT_TRUE(good.Runs());
    EXPECT_FALSE(modCleanerHelper::IsRunningProcessId(sample));
    EXPECT_FALSE(modCleanerHelper::IsProcessRunning(sample, HashOf(Program("spy"))));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunningThreats, AProgramIsEndedByItsNameButOnNTByItsPathAlone) {
    const ChildProcess spy(Machine(), Path("spy"), Kind("spy"));
    EXPECT_EQ(modCleanerHelper::KillRunningProcessName(UCase(Name("spy"))), 0);
    if (OnNT()) {
        EXPECT_TRUE(spy.Runs());
        EXPECT_EQ(modCleanerHelper::KillRunningProcessName(UCase(Path("spy"))), 0);
    }
    EXPECT_TRUE(spy.Ended());
}

TEST_F(RunningThreats, OneProcessIsEndedByItsNumberAndAMissingOneCantBeOpened) {
    const ChildProcess spy(Machine(), Path("spy"), Kind("spy"));
    EXPECT_EQ(modCleanerHelper::HelperKillRunningProcessLocal(static_cast<std::int32_t>(spy.Id())), 0);
    EXPECT_TRUE(spy.Ended());
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_EQ(modCleanerHelper::HelperKillRunningProcessLocal(NoProcess), 300);
    EXPECT_THAT(Texts(), SizeIs(1));
}

TEST_F(RunningThreats, TheTreeStopperBesideTheEngineIsStarted) {
    const std::string stopper = AppFolder() + "kvASThreatAuditpk.exe";
    const ChildProcess spy(Machine(), Path("spy"), Kind("spy"));
    EXPECT_EQ(modCleanerHelper::KillRunningProcessTree(Path("spy")), 302) << "it is not there";
    WriteFile(stopper, ChildProgram());
    EXPECT_EQ(modCleanerHelper::KillRunningProcessTree(Path("spy")), 0);
    std::string told;
    for (int tries = 0; tries < 200 && told.empty(); ++tries) {
        ::Sleep(50);
        if (Machine().files->Length(stopper + ".txt").ValueOr(0) > 0) {
            told = ReadFile(stopper + ".txt");
        }
    }
    EXPECT_EQ(told, "-1");
    EXPECT_TRUE(spy.Runs()) << "which names no process";
}

TEST_F(RunningThreats, AResuscitatorEndsButOnNTAndItsRunValueGoes) {
    const std::string value = "kelres" + own_;
    const auto key = Machine().registry->Create(platform::HiveLocalMachine, RunKey);
    ASSERT_TRUE(key.Ok());
    ASSERT_EQ((*key)->Set(value, platform::ValueType::Sz, Path("ping") + '\0'), platform::SysError::Success);
    const ChildProcess ping(Machine(), Path("ping"), Kind("ping"));
    const ChildProcess good(Machine(), Path("good"), Kind("good"));
    const auto row = std::make_shared<clsResuscitator>();
    row->ResExeMD5 = HashOf(Program("ping"));
    row->ResDeleteRegKey = true;
    State().Resuscitators = std::make_shared<Collection<std::shared_ptr<clsResuscitator>>>();
    State().Resuscitators->Add(row);
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_TRUE(OnNT() ? ping.Runs() : ping.Ended());
    EXPECT_TRUE(good.Runs());
    EXPECT_FALSE(modRegistry::RegValueExists(platform::HiveLocalMachine, RunKey, value));
    (void)(*key)->RemoveValue(value);
}

}  // namespace
}  // namespace kel::test

#endif
