// Processes of a dry run.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "decorators/DryRunJournal.h"
#include "decorators/ForwardingSystem.h"

namespace kel::decorators {

/// What was ended is listed no more and can't be opened. A process ends with its last thread.
class DryRunProcesses final : public ForwardingProcesses {
public:
    /// All must outlive the object.
    DryRunProcesses(const platform::Platform& inner, const DryRunJournal& journal);

    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override;
    platform::Result<std::vector<std::string>> SnapshotModules(std::uint32_t processId) override;
    platform::Result<std::vector<platform::ThreadEntry>> SnapshotThreads(std::uint32_t processId) override;
    platform::Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t most) override;
    platform::Result<std::vector<std::string>> ModulePaths(std::uint32_t processId, std::uint32_t most,
                                                           std::uint32_t capacity) override;
    platform::SysError CanOpen(std::uint32_t processId, std::uint32_t access) override;
    platform::Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                  std::uint32_t capacity) override;
    platform::Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t access) override;
    platform::SysError EndThread(std::uint32_t threadId, std::uint32_t access, std::uint32_t exitCode) override;
    platform::SysError SetPriorityClass(std::uint32_t priorityClass) override;
    platform::SysError SetThreadPriority(std::int32_t priority) override;

private:
    friend class DryRunProcess;

    [[nodiscard]] bool Ended(std::uint32_t processId) const { return ended_.contains(processId); }
    void End(std::uint32_t processId, std::uint32_t exitCode);

    const DryRunJournal& journal_;
    bool running_;                                  // the machine has processes
    bool rights_;                                   // handles have rights: not on Windows 95, 98 and ME
    std::map<std::uint32_t, std::uint32_t> ended_;  // exit codes by process
    std::set<std::uint32_t> endedThreads_;
};

}  // namespace kel::decorators
