// An open process that answers what a test wants.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "platform/Processes.h"

namespace kel::test {

class FakeProcess : public platform::Process {
public:
    using Ending = std::function<platform::SysError(std::uint32_t exitCode)>;

    /// @param end what becomes of an attempt to end it
    /// @param startTime in units of 100 ns
    explicit FakeProcess(Ending end, platform::Result<std::uint32_t> exitCode = StillActive,
                         platform::Result<std::uint64_t> startTime = platform::SysError::CallNotImplemented)
        : end_(std::move(end)), exitCode_(std::move(exitCode)), startTime_(std::move(startTime)) {}

    static constexpr std::uint32_t StillActive = 259;

    /// As the seam gives it.
    static platform::Result<std::unique_ptr<platform::Process>> Make(
        Ending end, platform::Result<std::uint32_t> exitCode = StillActive,
        platform::Result<std::uint64_t> startTime = platform::SysError::CallNotImplemented) {
        return std::unique_ptr<platform::Process>(
            std::make_unique<FakeProcess>(std::move(end), std::move(exitCode), std::move(startTime)));
    }

    platform::Result<std::uint32_t> ExitCode() override { return exitCode_; }
    platform::SysError End(std::uint32_t exitCode) override { return end_(exitCode); }
    platform::Result<std::uint64_t> StartTime() override { return startTime_; }

private:
    Ending end_;
    platform::Result<std::uint32_t> exitCode_;
    platform::Result<std::uint64_t> startTime_;
};

}  // namespace kel::test
