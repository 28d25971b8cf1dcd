#include "system/modProcesses.h"

#include <algorithm>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/RuntimeError.h"
#include "platform/Platform.h"

namespace kel::modProcesses {

namespace {

constexpr std::string_view Module = "modProcesses";
// The name under which log readers know the two procedures that end the threads of processes.
constexpr std::string_view EndingProcedure = "ResumeThreads";

// Suspend and resume, not terminate. It has always been asked for this one.
constexpr std::uint32_t ThreadAccess = 2;
constexpr std::uint32_t ThreadExitCode = 0;
constexpr std::int32_t NoThread = -1;

struct ThreadList {
    std::vector<platform::ThreadEntry> threads;
};

platform::Processes& Processes() {
    return *platform::Current().processes;
}

// `above`: the processes that the walk is in. Numbers of processes are used again, so parents can form a ring.
void TerminateTree(std::int32_t processId, bool children, std::vector<std::int32_t>& above) {
    if (processId == 0 || std::find(above.begin(), above.end(), processId) != above.end()) {
        return;
    }
    Trap(Module, EndingProcedure, [&] {
        TerminateProcessThreads(processId);
        if (!children) {
            return;
        }
        const auto below = GetProcessChildren(processId);
        if (!below) {
            Raise(ErrObjectNotSet);
        }
        above.push_back(processId);
        for (const std::int32_t child : *below) {
            TerminateTree(child, children, above);
        }
        above.pop_back();
    });
}

}  // namespace

std::int32_t Thread32_Enum(std::vector<platform::ThreadEntry>& threads, std::int32_t processId) {
    std::int32_t last = NoThread;
    Trap(Module, "Thread32_Enum", [&] {
        threads.clear();
        auto listed = Processes().SnapshotThreads(static_cast<std::uint32_t>(processId));
        if (listed) {
            threads = *std::move(listed);
            last = static_cast<std::int32_t>(threads.size()) - 1;
        }
    });
    return last;
}

void Thread_Terminate(std::int32_t threadId) {
    // The log has this module's name cut.
    Trap("modProcess", "Thread_Terminate",
         [&] { (void)Processes().EndThread(static_cast<std::uint32_t>(threadId), ThreadAccess, ThreadExitCode); });
}

void TerminateProcessThreads(std::int32_t processId) {
    Trap(Module, EndingProcedure, [&] {
        auto& threads = ModuleData<ThreadList>().threads;
        const std::int32_t last = Thread32_Enum(threads, processId);
        for (std::int32_t place = 0; place <= last; ++place) {
            const platform::ThreadEntry& thread = threads[static_cast<std::size_t>(place)];
            if (thread.ownerId == static_cast<std::uint32_t>(processId)) {
                Thread_Terminate(static_cast<std::int32_t>(thread.id));
            }
        }
    });
}

void TerminateThreadTree(std::int32_t processId, bool children) {
    std::vector<std::int32_t> above;
    TerminateTree(processId, children, above);
}

std::shared_ptr<Collection<std::int32_t>> GetProcessChildren(std::int32_t processId) {
    std::shared_ptr<Collection<std::int32_t>> children;
    Trap(Module, "GetProcessChildren", [&] {
        const auto processes = Processes().Snapshot();
        if (!processes || processes->empty()) {
            return;
        }
        children = std::make_shared<Collection<std::int32_t>>();
        // The walk begins with the second process.
        std::for_each(processes->begin() + 1, processes->end(), [&](const platform::ProcessEntry& process) {
            if (process.parentId == static_cast<std::uint32_t>(processId)) {
                children->Add(static_cast<std::int32_t>(process.id));
            }
        });
    });
    return children;
}

}  // namespace kel::modProcesses
