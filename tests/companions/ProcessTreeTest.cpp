// Ending a process with all that it started.
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "LogLines.h"
#include "companions/ProcessTree.h"
#include "decorators/ForwardingSystem.h"
#include "support/EngineTest.h"
#include "support/FakeProcess.h"

namespace kel::test {
namespace {

using companions::EndProcessTree;
using companions::ProcessNumber;
using companions::RunTreeProgram;
using companions::TreeEnd;
using platform::SysError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t Own = 77;

// A machine's processes, by what the test says of them.
class StagedProcesses : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;

    struct Staged {
        std::uint32_t id = 0;
        std::uint32_t parentId = 0;
        std::uint64_t started = 0;
        SysError open = SysError::Success;
        SysError end = SysError::Success;
        bool isGone = false;
        std::string name = "x.exe";
    };

    std::vector<Staged> all;
    std::vector<std::uint32_t> ended;          ///< in the order of their ends
    std::function<void(std::uint32_t)> onEnd;  ///< runs behind each end
    std::function<void(int)> onList;           ///< runs before each list, with its number from 1
    SysError list = SysError::Success;
    bool hasTimes = true;

    [[nodiscard]] Staged& Of(std::uint32_t id) {
        return *std::find_if(all.begin(), all.end(), [id](const Staged& each) { return each.id == id; });
    }

    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        if (onList) {
            onList(++lists_);
        }
        if (list != SysError::Success) {
            return list;
        }
        std::vector<platform::ProcessEntry> entries;
        for (const Staged& each : all) {
            if (!each.isGone) {
                entries.push_back({each.id, each.parentId, each.name});
            }
        }
        return entries;
    }
    platform::Result<std::unique_ptr<platform::Process>> Open(std::uint32_t id, std::uint32_t access) override {
        EXPECT_EQ(access, 1025U);
        const auto found = std::find_if(all.begin(), all.end(), [id](const Staged& each) { return each.id == id; });
        if (found == all.end() || found->isGone) {
            return SysError::InvalidParameter;
        }
        if (found->open != SysError::Success) {
            return found->open;
        }
        using Time = platform::Result<std::uint64_t>;
        return FakeProcess::Make(
            [this, id](std::uint32_t exitCode) {
                EXPECT_EQ(exitCode, 1U);
                if (Of(id).end != SysError::Success) {
                    return Of(id).end;
                }
                Of(id).isGone = true;
                ended.push_back(id);
                if (onEnd) {
                    onEnd(id);
                }
                return SysError::Success;
            },
            FakeProcess::StillActive, hasTimes ? Time(found->started) : Time(SysError::CallNotImplemented));
    }
    std::uint32_t CurrentId() override { return Own; }

private:
    int lists_ = 0;
};

class ProcessTree : public EngineTest {
protected:
    ProcessTree() {
        platform::Platform view = Machine();
        view.processes = &processes;
        Install(view);
        // The system, the user's shell, this program and a tree: 100 started 110 and 120, 110 started 111.
        processes.all = {{0, 0, 0},     {4, 0, 1},    {50, 4, 2},    {Own, 50, 9},
                         {111, 110, 8}, {100, 50, 5}, {110, 100, 6}, {120, 100, 7}};
        processes.Of(0).name = "[System Process]";
        processes.Of(4).name = "System";
    }
    ~ProcessTree() override { Install(Machine()); }

    [[nodiscard]] std::vector<std::string> Log() { return LogLines(Machine(), UserFolder(), "kvASThreatAuditpk"); }

    StagedProcesses processes{*Machine().processes};
    companions::WorkLog log{"kvASThreatAuditpk", UserFolder(), nullptr};
};

TEST_F(ProcessTree, EndsChildrenBeforeTheirParents) {
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Done);
    EXPECT_THAT(processes.ended, ElementsAre(111, 110, 120, 100));
    EXPECT_THAT(Log(), ElementsAre("Ended process 111 (x.exe)", "Ended process 110 (x.exe)",
                                   "Ended process 120 (x.exe)", "Ended process 100 (x.exe)"));
}

TEST_F(ProcessTree, AProcessOlderThanItsParentIsNoChild) {
    processes.Of(110).started = 4;
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Done);
    EXPECT_THAT(processes.ended, ElementsAre(120, 100)) << "the number of the parent was another's before";
}

TEST_F(ProcessTree, WhereStartsAreNotKnownParentsAreBelieved) {
    processes.hasTimes = false;
    processes.Of(110).started = 4;
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Done);
    EXPECT_THAT(processes.ended, ElementsAre(111, 110, 120, 100));
}

TEST_F(ProcessTree, AnotherProcessUnderTheNumberOfAnEndedOneStays) {
    processes.onList = [this](int number) {
        if (number == 2) {
            processes.Of(120).parentId = 50;
        }
    };
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Done);
    EXPECT_THAT(processes.ended, ElementsAre(111, 110, 100)) << "between the list and the opening 120 became another";
}

TEST_F(ProcessTree, WhatIsStartedMeanwhileIsEndedToo) {
    processes.onEnd = [this](std::uint32_t id) {
        if (id == 110) {
            processes.all.push_back({130, 100, 20});
            processes.all.push_back({131, 130, 21});
        }
    };
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Done);
    EXPECT_THAT(processes.ended, ElementsAre(111, 110, 120, 100, 131, 130));
}

TEST_F(ProcessTree, OneThatGoesOnStartingOthersIsGivenUp) {
    std::uint32_t next = 1000;
    processes.onEnd = [&](std::uint32_t id) { processes.all.push_back({next++, id, 20}); };
    EXPECT_EQ(EndProcessTree(120, log), TreeEnd::Partly);
    EXPECT_EQ(Log().back(), "Failed: Process 120 and what it started go on starting others");
}

TEST_F(ProcessTree, NeverEndsItself) {
    EXPECT_EQ(EndProcessTree(Own, log), TreeEnd::Refused);
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("Failed: Process 77 started this program, or is it"));
}

TEST_F(ProcessTree, NeverEndsAProcessThatItDescendsFrom) {
    EXPECT_EQ(EndProcessTree(50, log), TreeEnd::Refused);
    EXPECT_THAT(processes.ended, IsEmpty()) << "no part of that tree";
}

TEST_F(ProcessTree, NeverEndsTheSystem) {
    EXPECT_EQ(EndProcessTree(0, log), TreeEnd::Refused);
    EXPECT_EQ(EndProcessTree(4, log), TreeEnd::Refused);
    processes.all.push_back({8, 0, 1});
    processes.Of(8).name = "System";
    processes.all.push_back({0xFFCFC5A7, 0, 1});
    processes.Of(0xFFCFC5A7).name = "C:\\WINDOWS\\SYSTEM\\KERNEL32.DLL";
    EXPECT_EQ(EndProcessTree(8, log), TreeEnd::Refused);
    EXPECT_EQ(EndProcessTree(0xFFCFC5A7, log), TreeEnd::Refused);
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(ProcessTree, OneThatCantBeEndedIsToldAndTheOthersEnd) {
    processes.Of(110).end = SysError::AccessDenied;
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Partly);
    EXPECT_THAT(processes.ended, ElementsAre(111, 120, 100));
    EXPECT_EQ(Log()[1], "Failed: Process 110 (x.exe) can't be ended: error 5");
}

TEST_F(ProcessTree, OneThatCantBeOpenedIsToldAndTheOthersEnd) {
    processes.Of(120).open = SysError::AccessDenied;
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Partly);
    EXPECT_THAT(processes.ended, ElementsAre(111, 110, 100));
    EXPECT_EQ(Log()[0], "Failed: Process 120 (x.exe) can't be opened: error 5");
}

TEST_F(ProcessTree, AProcessThatCantBeOpenedKeepsItsTree) {
    processes.Of(100).open = SysError::AccessDenied;
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::Partly);
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(ProcessTree, AnUnknownNumberEndsNothing) {
    EXPECT_EQ(EndProcessTree(105, log), TreeEnd::NoSuchProcess);
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("Failed: There is no process 105"));
}

TEST_F(ProcessTree, WithoutAListNothingIsEnded) {
    processes.list = SysError::NotSupported;
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::NoListOfProcesses);
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(ProcessTree, WhatIsNoNumberEndsNothing) {
    const std::string texts[] = {
        "-1",    "",    " ", "+100", "100 ", " 100", "0x64", "1e2", "100.0", "4294967296", "99999999999999999999",
        "x.exe", "-100"};
    for (const std::string& text : texts) {
        EXPECT_EQ(ProcessNumber(text), std::nullopt) << text;
        EXPECT_EQ(RunTreeProgram({text}, log), TreeEnd::NoNumber) << text;
    }
    EXPECT_EQ(RunTreeProgram({}, log), TreeEnd::NoNumber);
    EXPECT_EQ(RunTreeProgram({"100", "110"}, log), TreeEnd::NoNumber);
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_EQ(Log().front(), "Failed: \"-1\" is no process number: nothing is ended");
}

TEST_F(ProcessTree, NumbersAreDecimal) {
    EXPECT_EQ(ProcessNumber("100"), 100U);
    EXPECT_EQ(ProcessNumber("0100"), 100U);
    EXPECT_EQ(ProcessNumber("4294967295"), 4294967295U);
    EXPECT_EQ(RunTreeProgram({"120"}, log), TreeEnd::Done);
    EXPECT_THAT(processes.ended, ElementsAre(120));
}

#ifndef _WIN32
TEST_F(ProcessTree, AMachineThatDoesNotRunHasNoProcesses) {
    Install(Machine());
    EXPECT_EQ(EndProcessTree(100, log), TreeEnd::NoSuchProcess);
}
#endif

}  // namespace
}  // namespace kel::test
