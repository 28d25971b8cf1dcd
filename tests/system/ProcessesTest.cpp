// Threads, children and services, over lists that a test gives.
#include <gmock/gmock.h>

#include "Fakes.h"
#include "support/EngineTest.h"
#include "system/modProcesses.h"
#include "system/modServices.h"
#include "system/modWinAPI.h"

namespace kel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::uint32_t SuspendResume = 2;

class ProcessTree : public test::EngineTest {
protected:
    ProcessTree() : processes_(*Machine().processes), system_(*Machine().system) {
        system_.version = {5, 1, 2600, test::WindowsNt, ""};
        auto machine = Machine();
        machine.processes = &processes_;
        machine.system = &system_;
        Install(machine);
        processes_.entries = {{4, 0, "System"},      {10, 4, "parent.exe"}, {11, 10, "child.exe"},
                              {20, 11, "grand.exe"}, {12, 10, "Other.exe"}, {30, 4, "stranger.exe"}};
        processes_.threads = {{400, 4}, {100, 10}, {200, 20}, {101, 10}, {110, 11}, {120, 12}, {300, 30}};
    }

    [[nodiscard]] std::vector<std::uint32_t> EndedThreads() const {
        std::vector<std::uint32_t> identifiers;
        for (const auto& ended : processes_.endedThreads) {
            identifiers.push_back(ended.id);
        }
        return identifiers;
    }
    static std::vector<std::int32_t> Children(std::int32_t processId) {
        const auto found = modProcesses::GetProcessChildren(processId);
        EXPECT_NE(found, nullptr);
        std::vector<std::int32_t> children;
        for (const std::int32_t child : found ? *found : Collection<std::int32_t>()) {
            children.push_back(child);
        }
        return children;
    }

    test::FakeProcesses processes_;
    test::FakeSystem system_;
};

TEST_F(ProcessTree, TheThreadListHoldsEveryThreadOfTheMachine) {
    std::vector<platform::ThreadEntry> threads{{1, 2}};
    EXPECT_EQ(modProcesses::Thread32_Enum(threads, 10), 6);
    ASSERT_THAT(threads, SizeIs(7));
    EXPECT_EQ(threads[0].id, 400U);
    EXPECT_EQ(threads[6].ownerId, 30U);
}

TEST_F(ProcessTree, WithoutAFirstThreadTheLastPlaceIsMinusOneAndNoThreadEnds) {
    processes_.listsThreads = false;
    std::vector<platform::ThreadEntry> threads{{1, 2}};
    EXPECT_EQ(modProcesses::Thread32_Enum(threads, 10), -1);
    modProcesses::TerminateProcessThreads(10);
    EXPECT_THAT(EndedThreads(), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProcessTree, AnEmptyThreadListIsOneWithoutAFirstThread) {
    processes_.threads.clear();
    std::vector<platform::ThreadEntry> threads;
    EXPECT_EQ(modProcesses::Thread32_Enum(threads, 10), -1);
}

TEST_F(ProcessTree, EndingTheThreadsOfAProcessTouchesNoOthers) {
    modProcesses::TerminateProcessThreads(10);
    EXPECT_THAT(EndedThreads(), ElementsAre(100, 101));
}

TEST_F(ProcessTree, AThreadIsOpenedForSuspendingOnly) {
    modProcesses::Thread_Terminate(100);
    EXPECT_THAT(processes_.endedThreads, ElementsAre(test::FakeProcesses::Ended{100, SuspendResume, 0}));
    EXPECT_THAT(Reported(), IsEmpty()) << "a refused end is no failure";
}

TEST_F(ProcessTree, AParentsThreadsEndBeforeItsChildrensDepthFirst) {
    modProcesses::TerminateThreadTree(10, true);
    EXPECT_THAT(EndedThreads(), ElementsAre(100, 101, 110, 200, 120));
}

TEST_F(ProcessTree, WithoutChildrenOnlyTheProcessItselfIsMeant) {
    modProcesses::TerminateThreadTree(10, false);
    EXPECT_THAT(EndedThreads(), ElementsAre(100, 101));
}

TEST_F(ProcessTree, OfProcessZeroNothingEnds) {
    processes_.threads.push_back({1, 0});
    modProcesses::TerminateThreadTree(0, true);
    EXPECT_THAT(EndedThreads(), IsEmpty());
}

TEST_F(ProcessTree, OfProcessMinusOneNothingEnds) {
    modProcesses::TerminateThreadTree(-1, true);
    EXPECT_THAT(EndedThreads(), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProcessTree, ParentsInARingAreWalkedOnce) {
    processes_.entries.push_back({10, 20, "again.exe"});
    modProcesses::TerminateThreadTree(10, true);
    EXPECT_THAT(EndedThreads(), ElementsAre(100, 101, 110, 200, 120));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ProcessTree, ChildrenComeInTheOrderOfTheList) {
    EXPECT_THAT(Children(10), ElementsAre(11, 12));
}

TEST_F(ProcessTree, AProcessWithoutChildrenHasAnEmptyCollection) {
    EXPECT_THAT(Children(20), IsEmpty());
}

TEST_F(ProcessTree, AChildOfTheFirstProcessIsFound) {
    EXPECT_THAT(Children(4), ElementsAre(10, 30));
}

TEST_F(ProcessTree, TheFirstProcessIsNobodysChild) {
    processes_.entries = {{11, 10, "first.exe"}, {12, 10, "second.exe"}};
    EXPECT_THAT(Children(10), ElementsAre(12));
}

TEST_F(ProcessTree, WithoutAFirstProcessThereIsNoCollection) {
    processes_.listsProcesses = false;
    EXPECT_EQ(modProcesses::GetProcessChildren(10), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
    modProcesses::TerminateThreadTree(10, true);
    EXPECT_THAT(EndedThreads(), ElementsAre(100, 101)) << "the process's own threads come first";
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modProcesses");
    EXPECT_EQ(Reported()[0].procedure, "ResumeThreads");
    EXPECT_EQ(Reported()[0].number, "91");
}

TEST_F(ProcessTree, AMachineThatDoesNotRunHasNeitherThreadsNorChildren) {
    if (Machine().can.processes) {
        GTEST_SKIP() << "processes run here";
    }
    Install(Machine());
    std::vector<platform::ThreadEntry> threads;
    EXPECT_EQ(modProcesses::Thread32_Enum(threads, 10), -1);
    EXPECT_EQ(modProcesses::GetProcessChildren(10), nullptr);
    EXPECT_FALSE(modWinAPI::IsProcessRunning("exe", true));
}

using RunningProgram = ProcessTree;

TEST_F(RunningProgram, IsFoundByAPartOfItsNameWithoutRegardToCase) {
    EXPECT_TRUE(modWinAPI::IsProcessRunning("OTHER.exe", false));
    EXPECT_TRUE(modWinAPI::IsProcessRunning("the", false));
    EXPECT_TRUE(modWinAPI::IsProcessRunning("system", false)) << "the first process counts here";
    EXPECT_FALSE(modWinAPI::IsProcessRunning("absent.exe", false));
    EXPECT_THAT(processes_.endedProcesses, IsEmpty());
}

TEST_F(RunningProgram, BlanksAroundTheListedNameDoNotCount) {
    processes_.entries = {{7, 4, "  x.exe  "}};
    EXPECT_TRUE(modWinAPI::IsProcessRunning("x.exe", false));
    EXPECT_FALSE(modWinAPI::IsProcessRunning(" x.exe", false));
}

TEST_F(RunningProgram, OnlyTheFirstHitIsEnded) {
    EXPECT_TRUE(modWinAPI::IsProcessRunning("r.exe", true));
    EXPECT_THAT(processes_.endedProcesses, ElementsAre(test::FakeProcesses::Ended{12, 0x1F0FFF, 0}));
    processes_.endedProcesses.clear();
    EXPECT_TRUE(modWinAPI::IsProcessRunning(".exe", true)) << "that the end was refused does not count";
    EXPECT_THAT(processes_.endedProcesses, ElementsAre(test::FakeProcesses::Ended{10, 0x1F0FFF, 0}));
}

TEST_F(RunningProgram, IsNeverFoundOnNT) {
    system_.version = {5, 0, 2195, test::WindowsNt, ""};
    EXPECT_FALSE(modWinAPI::IsProcessRunning("other.exe", true));
    EXPECT_THAT(processes_.endedProcesses, IsEmpty());
}

TEST_F(RunningProgram, IsNotFoundWithoutAList) {
    processes_.listsProcesses = false;
    EXPECT_FALSE(modWinAPI::IsProcessRunning("other.exe", true));
    EXPECT_THAT(Reported(), IsEmpty());
}

class ServiceStopping : public test::EngineTest {
protected:
    ServiceStopping() : services_(*Machine().services) {
        services_.service = "Spy";
        auto machine = Machine();
        machine.services = &services_;
        Install(machine);
    }
    test::FakeServices services_;
};

TEST_F(ServiceStopping, AsksAndDoesNotWait) {
    modServices::ServiceStop("", "Spy");
    EXPECT_THAT(services_.calls, ElementsAre("manager  ServicesActive 983103", "service Spy 983551", "control 1",
                                             "close service", "close manager"));
}

TEST_F(ServiceStopping, NamesTheMachine) {
    modServices::ServiceStop("OTHERPC", "Spy");
    EXPECT_EQ(services_.calls[0], "manager OTHERPC ServicesActive 983103");
}

TEST_F(ServiceStopping, ARefusedStopIsNoFailure) {
    services_.answer = platform::SysError::AccessDenied;
    modServices::ServiceStop("", "Spy");
    EXPECT_THAT(services_.calls, SizeIs(5));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ServiceStopping, AServiceThatDoesNotExistIsNoFailure) {
    modServices::ServiceStop("", "absent");
    EXPECT_THAT(services_.calls,
                ElementsAre("manager  ServicesActive 983103", "service absent 983551", "close manager"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ServiceStopping, WithoutAManagerNothingIsOpened) {
    services_.opens = false;
    modServices::ServiceStop("", "Spy");
    EXPECT_THAT(services_.calls, SizeIs(1));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ServiceStopping, OfTheMachinesOwnListAMissingServiceIsNoFailure) {
    Install(Machine());
    modServices::ServiceStop("", "kel-no-such-service");
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel
