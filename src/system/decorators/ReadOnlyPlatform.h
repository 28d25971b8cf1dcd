// A platform that refuses to change the machine.
#pragma once

#include <memory>
#include <string_view>

#include "platform/Platform.h"

namespace kel::decorators {

/// Refuses every write to files and to the registry with SysError::WriteProtect, except below the roots that are
/// allowed, and the end of every process and thread, the control of every service and the registration of every
/// component with SysError::AccessDenied. What
/// would fail for another reason (a file to be deleted is not there, a folder to be made is) fails for that one. A move
/// needs both ends allowed.
class ReadOnlyPlatform {
public:
    /// The parts of `inner` must outlive this object.
    explicit ReadOnlyPlatform(const platform::Platform& inner);
    ~ReadOnlyPlatform();
    ReadOnlyPlatform(const ReadOnlyPlatform&) = delete;
    ReadOnlyPlatform& operator=(const ReadOnlyPlatform&) = delete;

    /// The parts, valid as long as this object lives. `can.writable` is false.
    [[nodiscard]] platform::Platform View() const;
    /// Allows writes to a drive (`Z:\`) or a folder and all below it.
    void AllowWrites(std::string_view root);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::decorators
