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
    explicit FakeProcess(Ending end, platform::Result<std::uint32_t> exitCode = StillActive)
        : end_(std::move(end)), exitCode_(std::move(exitCode)) {}

    static constexpr std::uint32_t StillActive = 259;

    /// As the seam gives it.
    static platform::Result<std::unique_ptr<platform::Process>> Make(
        Ending end, platform::Result<std::uint32_t> exitCode = StillActive) {
        return std::unique_ptr<platform::Process>(std::make_unique<FakeProcess>(std::move(end), std::move(exitCode)));
    }

    platform::Result<std::uint32_t> ExitCode() override { return exitCode_; }
    platform::SysError End(std::uint32_t exitCode) override { return end_(exitCode); }

private:
    Ending end_;
    platform::Result<std::uint32_t> exitCode_;
};

}  // namespace kel::test
