// The C library's calls that change a disk, where a test wants a word with them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kel::test {

/// While it lives, sees files go by their names, and lets writes fail with a full disk.
/// One at a time.
class HostCalls {
public:
    HostCalls();
    ~HostCalls();
    HostCalls(const HostCalls&) = delete;
    HostCalls& operator=(const HostCalls&) = delete;

    /// Called before each removal of a file or folder; that of one that has been copied elsewhere is one too.
    std::function<void(std::string_view name)> onRemove;
    /// Called before each write, with its bytes.
    std::function<void(std::string_view bytes)> onWrite;
    /// Asked before each write to a file of the host, by its path: whether the disk is full.
    std::function<bool(std::string_view path)> isFull;
};

}  // namespace kel::test
