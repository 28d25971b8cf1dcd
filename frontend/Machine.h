// The machine that a command works on: an offline one on Linux, the live one on Windows.
#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "frontend/SessionOptions.h"
#include "platform/Platform.h"

namespace kel::frontend {

/// The machine, a data folder or the user data folder is not there or can't be used; the text names it.
class MachineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Machine {
public:
    /// Opens it read-only unless the options say otherwise. Throws MachineError, also for a machine that can't be
    /// written and was to be. Options that name nothing are a machine without drives, which is what
    /// commands need that look at host folders alone.
    explicit Machine(const SessionOptions& options);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    [[nodiscard]] platform::Platform View();
    /// The engine's path of a folder of the host, with a trailing backslash. Throws MachineError when it is no folder.
    [[nodiscard]] std::string HostFolder(const std::string& folder);
    /// The same; a missing folder is made first.
    [[nodiscard]] std::string MakeHostFolder(const std::string& folder);
    /// The host's path behind one of the engine's; empty when it is not there.
    [[nodiscard]] std::string HostPath(const std::string& path) const;
    /// How the machine is called in the output.
    [[nodiscard]] std::string Name() const;
    /// What people should know of its registry: a hive brought up to date from its logs, damaged or left out.
    [[nodiscard]] std::vector<std::string> Notes() const;
    /// Called at every DoEvents.
    void OnYield(std::function<void()> function);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::frontend
