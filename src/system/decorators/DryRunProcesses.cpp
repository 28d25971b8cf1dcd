#include "decorators/DryRunProcesses.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <utility>

namespace kel::decorators {

using platform::ProcessEntry;
using platform::Result;
using platform::SysError;
using platform::ThreadEntry;

namespace {

constexpr std::uint32_t RightTerminate = 1;  // of a process and of a thread
// Normal, idle, high, real time, below and above normal.
constexpr std::uint32_t PriorityClasses[] = {0x20, 0x40, 0x80, 0x100, 0x4000, 0x8000};

}  // namespace

class DryRunProcess final : public ForwardingProcess {
public:
    DryRunProcess(std::unique_ptr<platform::Process> inner, DryRunProcesses& all, std::uint32_t processId,
                  std::uint32_t access)
        : ForwardingProcess(std::move(inner)), all_(all), processId_(processId), access_(access) {}

    Result<std::uint32_t> ExitCode() override {
        const auto found = all_.ended_.find(processId_);
        return found == all_.ended_.end() ? Inner().ExitCode() : found->second;
    }
    SysError End(std::uint32_t exitCode) override {
        // One that has ended can't be ended again.
        if ((all_.rights_ && (access_ & RightTerminate) == 0) || all_.Ended(processId_)) {
            return SysError::AccessDenied;
        }
        all_.End(processId_, exitCode);
        return SysError::Success;
    }

private:
    DryRunProcesses& all_;
    std::uint32_t processId_;
    std::uint32_t access_;
};

DryRunProcesses::DryRunProcesses(const platform::Platform& inner, const DryRunJournal& journal)
    : ForwardingProcesses(*inner.processes), journal_(journal), running_(inner.can.processes) {
    const auto version = inner.system->Version();
    rights_ = !version || version->platformId != 1;
}

void DryRunProcesses::End(std::uint32_t processId, std::uint32_t exitCode) {
    std::string name;
    for (const ProcessEntry& entry : Inner().Snapshot().ValueOr({})) {
        if (entry.id == processId) {
            name = entry.exeFile;
        }
    }
    ended_[processId] = exitCode;
    journal_.Add(WriteKind::ProcessEnded, std::to_string(processId), name);
}

Result<std::vector<ProcessEntry>> DryRunProcesses::Snapshot() {
    auto list = Inner().Snapshot();
    if (list && !ended_.empty()) {
        std::erase_if(*list, [this](const ProcessEntry& entry) { return Ended(entry.id); });
    }
    return list;
}

Result<std::vector<ThreadEntry>> DryRunProcesses::SnapshotThreads(std::uint32_t processId) {
    auto list = Inner().SnapshotThreads(processId);
    if (list && !(ended_.empty() && endedThreads_.empty())) {
        std::erase_if(*list, [this](const ThreadEntry& entry) {
            return Ended(entry.ownerId) || endedThreads_.contains(entry.id);
        });
    }
    return list;
}

Result<std::vector<std::uint32_t>> DryRunProcesses::Identifiers(std::uint32_t most) {
    if (ended_.empty()) {
        return Inner().Identifiers(most);
    }
    const auto hidden = static_cast<std::uint32_t>(ended_.size());
    const std::uint32_t room = std::min(most, std::numeric_limits<std::uint32_t>::max() - hidden) + hidden;
    auto list = Inner().Identifiers(room);
    if (list) {
        std::erase_if(*list, [this](std::uint32_t id) { return Ended(id); });
        list->resize(std::min<std::size_t>(list->size(), most));
    }
    return list;
}

Result<std::vector<std::string>> DryRunProcesses::SnapshotModules(std::uint32_t processId) {
    return Ended(processId) ? SysError::InvalidParameter : Inner().SnapshotModules(processId);
}

Result<std::vector<std::string>> DryRunProcesses::ModulePaths(std::uint32_t processId, std::uint32_t most,
                                                              std::uint32_t capacity) {
    return Ended(processId) ? SysError::InvalidParameter : Inner().ModulePaths(processId, most, capacity);
}

SysError DryRunProcesses::CanOpen(std::uint32_t processId, std::uint32_t access) {
    return Ended(processId) ? SysError::InvalidParameter : Inner().CanOpen(processId, access);
}

Result<std::string> DryRunProcesses::FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                     std::uint32_t capacity) {
    return Ended(processId) ? SysError::InvalidParameter : Inner().FirstModulePath(processId, handleBytes, capacity);
}

Result<std::unique_ptr<platform::Process>> DryRunProcesses::Open(std::uint32_t processId, std::uint32_t access) {
    if (Ended(processId)) {
        return SysError::InvalidParameter;
    }
    auto process = Inner().Open(processId, access);
    if (!process) {
        return process.Error();
    }
    return std::unique_ptr<platform::Process>(
        std::make_unique<DryRunProcess>(*std::move(process), *this, processId, access));
}

SysError DryRunProcesses::EndThread(std::uint32_t threadId, std::uint32_t access, std::uint32_t exitCode) {
    if (!running_) {
        return SysError::NotSupported;
    }
    const auto threads = SnapshotThreads(0);
    if (!threads) {
        return threads.Error();
    }
    const auto thread = std::find_if(threads->begin(), threads->end(),
                                     [threadId](const ThreadEntry& entry) { return entry.id == threadId; });
    if (thread == threads->end()) {
        return SysError::InvalidParameter;
    }
    if ((access & RightTerminate) == 0) {
        return SysError::AccessDenied;
    }
    endedThreads_.insert(threadId);
    journal_.Add(WriteKind::ThreadEnded, std::to_string(threadId));
    // A process without threads is none. It goes without a record of its own: nobody ended it.
    const bool last = std::none_of(threads->begin(), threads->end(), [&](const ThreadEntry& entry) {
        return entry.ownerId == thread->ownerId && entry.id != threadId;
    });
    if (last) {
        ended_[thread->ownerId] = exitCode;
    }
    return SysError::Success;
}

SysError DryRunProcesses::SetPriorityClass(std::uint32_t priorityClass) {
    if (!running_) {
        return SysError::NotSupported;
    }
    if (std::find(std::begin(PriorityClasses), std::end(PriorityClasses), priorityClass) == std::end(PriorityClasses)) {
        return SysError::InvalidParameter;
    }
    journal_.Add(WriteKind::PriorityChanged, {}, std::to_string(priorityClass));
    return SysError::Success;
}

SysError DryRunProcesses::SetThreadPriority(std::int32_t priority) {
    if (!running_) {
        return SysError::NotSupported;
    }
    constexpr std::int32_t idle = 15;
    if (std::abs(priority) > 2 && std::abs(priority) != idle) {
        return SysError::InvalidParameter;
    }
    journal_.Add(WriteKind::PriorityChanged, {}, std::to_string(priority));
    return SysError::Success;
}

}  // namespace kel::decorators
