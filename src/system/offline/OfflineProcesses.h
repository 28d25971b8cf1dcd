// The processes of a machine that does not run: none.
#pragma once

#include "platform/Processes.h"

namespace kel::offline {

class OfflineProcesses : public platform::Processes {
public:
    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        return std::vector<platform::ProcessEntry>{};
    }
    platform::Result<std::vector<std::string>> SnapshotModules(std::uint32_t) override {
        return platform::SysError::NotSupported;
    }
    platform::Result<std::vector<platform::ThreadEntry>> SnapshotThreads(std::uint32_t) override {
        return std::vector<platform::ThreadEntry>{};
    }
    platform::Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t) override {
        return std::vector<std::uint32_t>{};
    }
    platform::Result<std::vector<std::string>> ModulePaths(std::uint32_t, std::uint32_t, std::uint32_t) override {
        return platform::SysError::NotSupported;
    }
    platform::SysError CanOpen(std::uint32_t, std::uint32_t) override { return platform::SysError::NotSupported; }
    platform::Result<std::string> FirstModulePath(std::uint32_t, std::uint32_t, std::uint32_t) override {
        return platform::SysError::NotSupported;
    }
    platform::Result<std::unique_ptr<platform::Process>> Open(std::uint32_t, std::uint32_t) override {
        return platform::SysError::NotSupported;
    }
    platform::SysError EndThread(std::uint32_t, std::uint32_t, std::uint32_t) override {
        return platform::SysError::NotSupported;
    }
    /// The host's number of this program.
    std::uint32_t CurrentId() override;
    platform::SysError SetPriorityClass(std::uint32_t) override { return platform::SysError::NotSupported; }
    platform::SysError SetThreadPriority(std::int32_t) override { return platform::SysError::NotSupported; }
};

}  // namespace kel::offline
