// The host's side of file access: descriptors, error numbers and opens that never leave their folder.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <utility>

#include "platform/Result.h"

namespace kel::offline {

/// The platform's number for one of the host's.
[[nodiscard]] platform::SysError FromErrno(int number);

/// A descriptor that is closed by its owner's end.
class HostFd {
public:
    HostFd() = default;
    explicit HostFd(int fd) : fd_(fd) {}
    HostFd(HostFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    HostFd& operator=(HostFd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~HostFd();

    [[nodiscard]] int Get() const { return fd_; }
    [[nodiscard]] bool Valid() const { return fd_ >= 0; }
    /// Leaves the descriptor to the caller.
    [[nodiscard]] int Release() { return std::exchange(fd_, -1); }

private:
    int fd_ = -1;
};

/// Opens one entry of a folder: never through a link, never outside. Invalid with errno set when it fails.
/// @param name one component of the host's, without a slash
[[nodiscard]] HostFd OpenBeneath(int folder, const std::string& name, int flags, mode_t mode = 0);

/// The same for an existing plain file. A pipe, a socket or a device is refused with ENXIO, without waiting for it and
/// without touching it; a folder with EISDIR, a link with ELOOP.
[[nodiscard]] HostFd OpenPlainFile(int folder, const std::string& name, int flags);

/// A path for the calls on extended attributes that take no folder. Its last component must not be followed.
[[nodiscard]] std::string ProcPath(int folder, std::string_view name);

}  // namespace kel::offline
