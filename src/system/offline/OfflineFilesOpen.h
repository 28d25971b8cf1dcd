// Open files and views over descriptors of the host.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "offline/OfflineFilesHost.h"
#include "platform/Files.h"

namespace kel::offline {

class HostFile : public platform::OpenFile {
public:
    explicit HostFile(HostFd fd) : fd_(std::move(fd)) {}
    platform::Result<std::size_t> Read(std::span<std::byte> into) override;
    platform::SysError Write(std::span<const std::byte> from) override;
    platform::SysError Seek(std::uint64_t position) override;
    platform::SysError SetEnd() override;
    platform::Result<std::uint64_t> Size() override;
    platform::SysError Flush() override;

private:
    HostFd fd_;
};

/// The bytes of an open plain file: small ones read, large ones mapped, and read where the file system can't map.
[[nodiscard]] platform::Result<std::unique_ptr<platform::FileView>> ViewOf(HostFd fd);

/// Copies what is behind the positions of both files. Success or the number of what went wrong.
[[nodiscard]] platform::SysError CopyBytes(int from, int to);

}  // namespace kel::offline
