// Lists of processes, modules, threads and services: with a child process where processes run.
#include <gmock/gmock.h>

#include <algorithm>

#include "PlatformTest.h"

#ifdef _WIN32
#include "child/ChildProcess.h"
#endif

namespace kel::test {
namespace {

using platform::SysError;

constexpr std::uint32_t AllAccess = 0x1F0FFF;
constexpr std::uint32_t QueryAndEnd = 1025;
constexpr std::uint32_t StillActive = 259;
constexpr std::uint32_t TerminateThreadAccess = 1;
constexpr std::uint32_t SuspendResume = 2;
constexpr std::uint32_t NoProcess = 0xFFFFFFF0;
constexpr std::uint32_t AllOfManager = 0xF003F;
constexpr std::uint32_t AllOfService = 0xF01FF;

class ProcessLists : public PlatformTest {
protected:
    platform::Processes& All() { return *Machine().processes; }
};

using ServiceList = PlatformTest;

TEST_F(ServiceList, AMissingServiceIsNotOpened) {
    const auto manager = Machine().services->OpenManager("", "ServicesActive", AllOfManager);
    EXPECT_EQ(manager.Ok(), Machine().can.services);
    if (!manager) {
        EXPECT_EQ(manager.Error(), SysError::NotSupported);
        return;
    }
    EXPECT_EQ((*manager)->Open("kel-no-such-service", AllOfService).Error(), SysError::ServiceDoesNotExist);
}

#ifndef _WIN32

TEST_F(ProcessLists, OfAMachineThatDoesNotRunAreEmptyOrNotAvailable) {
    EXPECT_FALSE(Machine().can.processes);
    EXPECT_TRUE(All().Snapshot()->empty());
    EXPECT_TRUE(All().SnapshotThreads(0)->empty());
    EXPECT_TRUE(All().Identifiers(512)->empty());
    EXPECT_EQ(All().SnapshotModules(4).Error(), SysError::NotSupported);
    EXPECT_EQ(All().ModulePaths(4, 512, 512).Error(), SysError::NotSupported);
    EXPECT_EQ(All().Open(4, AllAccess).Error(), SysError::NotSupported);
    EXPECT_EQ(All().Open(All().CurrentId(), AllAccess).Error(), SysError::NotSupported)
        << "the host's processes are none of the machine's";
    EXPECT_EQ(All().EndThread(4, TerminateThreadAccess, 0), SysError::NotSupported);
}

#else

class RunningChild : public ProcessLists {
protected:
    [[nodiscard]] std::string ProgramPath() const { return Path("kelchild.exe"); }
    [[nodiscard]] std::string ModulePath() const { return Path("kelmodule.dll"); }
    [[nodiscard]] std::vector<std::uint32_t> ThreadsOf(std::uint32_t processId) {
        std::vector<std::uint32_t> threads;
        for (const platform::ThreadEntry& thread : All().SnapshotThreads(processId).ValueOr({})) {
            if (thread.ownerId == processId) {
                threads.push_back(thread.id);
            }
        }
        return threads;
    }
    [[nodiscard]] std::unique_ptr<platform::Process> Open(std::uint32_t processId, std::uint32_t access) {
        auto process = All().Open(processId, access);
        EXPECT_TRUE(process.Ok());
        return *std::move(process);
    }
    [[nodiscard]] bool SamePath(const std::string& left, const std::string& right) {
        return Machine().text->ToLower(left) == Machine().text->ToLower(right);
    }
    [[nodiscard]] bool Holds(const std::vector<std::string>& paths, const std::string& path) {
        return std::any_of(paths.begin(), paths.end(), [&](const auto& listed) { return SamePath(listed, path); });
    }
};

TEST_F(RunningChild, IsListedUnderItsParent) {
    const ChildProcess child(Real(), ProgramPath());
    const auto list = All().Snapshot();
    ASSERT_TRUE(list.Ok());
    const auto entry =
        std::find_if(list->begin(), list->end(), [&](const auto& each) { return each.id == child.Id(); });
    ASSERT_NE(entry, list->end());
    EXPECT_EQ(entry->parentId, All().CurrentId());
    EXPECT_THAT(entry->exeFile, ::testing::EndsWith("kelchild.exe"));
}

TEST_F(RunningChild, IsAmongTheIdentifiers) {
    const ChildProcess child(Real(), ProgramPath());
    const auto all = All().Identifiers(512);
    ASSERT_TRUE(all.Ok());
    EXPECT_THAT(*all, ::testing::Contains(child.Id()));
    EXPECT_THAT(*all, ::testing::Contains(All().CurrentId()));
    EXPECT_EQ(All().Identifiers(2)->size(), 2U) << "no more than there is room for";
}

TEST_F(RunningChild, HasItsProgramFirstAndTheModuleThatItLoaded) {
    const ChildProcess child(Real(), ProgramPath(), {.threads = 0, .modulePath = ModulePath()});
    const auto modules = All().ModulePaths(child.Id(), 512, 512);
    ASSERT_TRUE(modules.Ok());
    ASSERT_FALSE(modules->empty());
    EXPECT_TRUE(SamePath(modules->front(), ProgramPath())) << modules->front();
    EXPECT_TRUE(Holds(*modules, ModulePath()));
    EXPECT_EQ(All().ModulePaths(child.Id(), 1, 512)->size(), 1U);
    for (const std::string& cut : All().ModulePaths(child.Id(), 512, 8).ValueOr({})) {
        EXPECT_LE(cut.size(), 8U);
    }
    EXPECT_TRUE(SamePath(All().FirstModulePath(child.Id(), 2048, 512).ValueOr(""), ProgramPath()));
}

TEST_F(RunningChild, HasTheSameModulesInItsSnapshot) {
    const ChildProcess child(Real(), ProgramPath(), {.threads = 0, .modulePath = ModulePath()});
    const auto modules = All().SnapshotModules(child.Id());
    ASSERT_TRUE(modules.Ok());
    EXPECT_TRUE(Holds(*modules, ProgramPath()));
    EXPECT_TRUE(Holds(*modules, ModulePath()));
}

TEST_F(RunningChild, HasItsThreadsAmongThoseOfTheMachine) {
    const ChildProcess child(Real(), ProgramPath(), {.threads = 3, .modulePath = {}});
    EXPECT_GE(ThreadsOf(child.Id()).size(), 4U);
    const auto all = All().SnapshotThreads(child.Id());
    ASSERT_TRUE(all.Ok());
    EXPECT_TRUE(std::any_of(all->begin(), all->end(), [&](const auto& thread) {
        return thread.ownerId == All().CurrentId();
    })) << "the list is not that of one process";
}

TEST_F(RunningChild, LosesAThreadOnlyWithTheRightToEndIt) {
    const ChildProcess child(Real(), ProgramPath(), {.threads = 1, .modulePath = {}});
    const auto threads = ThreadsOf(child.Id());
    ASSERT_GE(threads.size(), 2U);
    EXPECT_EQ(All().EndThread(threads.back(), SuspendResume, 0), SysError::AccessDenied);
    EXPECT_THAT(ThreadsOf(child.Id()), ::testing::Contains(threads.back()));
    for (const std::uint32_t thread : threads) {
        EXPECT_EQ(All().EndThread(thread, TerminateThreadAccess, 7), SysError::Success);
    }
    if (DryRun()) {
        EXPECT_EQ(All().CanOpen(child.Id(), QueryAndEnd), SysError::InvalidParameter);
        EXPECT_TRUE(child.Runs()) << "in truth";
        return;
    }
    EXPECT_TRUE(child.Ended()) << "a process without threads is none";
}

TEST_F(RunningChild, StartedAfterThisProcessWhereStartsAreTold) {
    const ChildProcess child(Real(), ProgramPath());
    const auto own = Open(All().CurrentId(), QueryAndEnd)->StartTime();
    const auto started = Open(child.Id(), QueryAndEnd)->StartTime();
    ASSERT_EQ(started.Ok(), own.Ok());
    if (!started) {
        EXPECT_EQ(started.Error(), SysError::CallNotImplemented);
        return;
    }
    EXPECT_GT(*own, 0U);
    EXPECT_GE(*started, *own);
}

TEST_F(RunningChild, EndsWithTheExitCodeThatItIsGiven) {
    const ChildProcess child(Real(), ProgramPath());
    constexpr std::uint32_t queryOnly = 0x400;
    if (!OnWindows9x()) {
        // There every handle has all rights.
        EXPECT_EQ(Open(child.Id(), queryOnly)->End(5), SysError::AccessDenied);
    }
    const auto process = Open(child.Id(), QueryAndEnd);
    EXPECT_EQ(process->ExitCode().ValueOr(0), StillActive);
    EXPECT_EQ(process->End(5), SysError::Success);
    if (DryRun()) {
        EXPECT_TRUE(child.Runs()) << "in truth";
    } else {
        ASSERT_TRUE(child.Ended());
        EXPECT_EQ(child.ExitCode(), 5U);
    }
    EXPECT_EQ(process->ExitCode().ValueOr(0), 5U);
}

TEST_F(ProcessLists, OfAMissingProcessThereAreNoModulesAndNothingEnds) {
    EXPECT_FALSE(All().ModulePaths(NoProcess, 512, 512).Ok());
    EXPECT_FALSE(All().SnapshotModules(NoProcess).Ok());
    EXPECT_FALSE(All().Open(NoProcess, QueryAndEnd).Ok());
    EXPECT_NE(All().EndThread(NoProcess, TerminateThreadAccess, 0), SysError::Success);
}

#endif

}  // namespace
}  // namespace kel::test
