// Running processes by the tool help and process status calls.
#pragma once

#include "platform/Processes.h"

namespace kel::windows {

class WindowsProcesses final : public platform::Processes {
public:
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
    std::uint32_t CurrentId() override;
    platform::SysError SetPriorityClass(std::uint32_t priorityClass) override;
    platform::SysError SetThreadPriority(std::int32_t priority) override;
};

}  // namespace kel::windows
