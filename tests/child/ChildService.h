// A service of a test's own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Platform.h"

namespace kel::test {

/// Named after this process, so that no other has its name. Installed and running from the constructor on; the
/// destructor stops and deletes it, and removes its program. Fails the running test when it can't be had.
class ChildService {
public:
    /// @param programPath where the program is written
    ChildService(const platform::Platform& platform, std::string programPath);
    ~ChildService();
    ChildService(const ChildService&) = delete;
    ChildService& operator=(const ChildService&) = delete;

    [[nodiscard]] const std::string& Name() const;
    [[nodiscard]] bool IsRunning() const;
    /// Waits up to ten seconds.
    [[nodiscard]] bool Stops() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::test
