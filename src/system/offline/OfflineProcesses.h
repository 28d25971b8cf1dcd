// The processes of a machine that does not run: none.
#pragma once

#include "platform/Processes.h"

namespace kel::offline {

class OfflineProcesses : public platform::Processes {
public:
    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        return std::vector<platform::ProcessEntry>{};
    }
    platform::SysError CanOpen(std::uint32_t, std::uint32_t) override { return platform::SysError::NotSupported; }
    platform::Result<std::string> FirstModulePath(std::uint32_t, std::uint32_t, std::uint32_t) override {
        return platform::SysError::NotSupported;
    }
    /// The host's number of this program.
    std::uint32_t CurrentId() override;
    platform::SysError SetPriorityClass(std::uint32_t) override { return platform::SysError::NotSupported; }
    platform::SysError SetThreadPriority(std::int32_t) override { return platform::SysError::NotSupported; }
};

}  // namespace kel::offline
