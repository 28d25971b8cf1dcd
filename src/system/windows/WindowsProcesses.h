// Running processes by the tool help and process status calls.
#pragma once

#include "platform/Processes.h"

namespace kel::windows {

class WindowsProcesses final : public platform::Processes {
public:
    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override;
    platform::SysError CanOpen(std::uint32_t processId, std::uint32_t access) override;
    platform::Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                  std::uint32_t capacity) override;
    std::uint32_t CurrentId() override;
    platform::SysError SetPriorityClass(std::uint32_t priorityClass) override;
    platform::SysError SetThreadPriority(std::int32_t priority) override;
};

}  // namespace kel::windows
