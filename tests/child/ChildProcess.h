// A process of a test's own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace kel::test {

struct ChildOptions {
    unsigned threads = 0;         ///< beside the first one
    std::string modulePath = {};  ///< where the module is written that the child loads; empty: none
    std::string tail = {};        ///< bytes behind those of the program, for a hash of its own
    std::string childPath = {};   ///< where a program is written that the child starts as its own child; empty: none
};

/// Runs from the constructor on, which returns when the module is loaded and the threads are there, until the
/// destructor, which ends it and removes its files. Fails the running test when it can't be had.
class ChildProcess {
public:
    /// @param programPath where the program is written
    ChildProcess(const platform::Platform& platform, std::string programPath, ChildOptions options = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    [[nodiscard]] std::uint32_t Id() const;
    /// Waits up to ten seconds for its end; false when it still runs.
    [[nodiscard]] bool Ended() const;
    /// Only when it has ended.
    [[nodiscard]] std::uint32_t ExitCode() const;
    /// Whether it runs at this moment.
    [[nodiscard]] bool Runs() const;

    // The same of the child that it started.
    [[nodiscard]] std::uint32_t ChildId() const;
    [[nodiscard]] bool ChildEnded() const;
    [[nodiscard]] std::uint32_t ChildExitCode() const;
    [[nodiscard]] bool ChildRuns() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::test
