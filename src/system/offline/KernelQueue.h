// What the host's kernel is asked to bring into memory, on its own time.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "offline/KernelRing.h"
#include "offline/OfflineFilesHost.h"

namespace kel::offline {

/// Asks the kernel to read files and folders, and doesn't wait for it: what a read costs besides the wait, and of a
/// folder the wait too, then falls to the kernel's own workers. Nothing is brought into this process, and nothing
/// that fails is noticed: whoever reads does it then for himself. It asks in batches; at most 128 requests are out.
/// Where the kernel has no such queue (io_uring, 5.7 and later) or grants none, none is taken.
class KernelQueue {
public:
    /// As liburing's calls of these names, which answer with a negative error number.
    struct Calls {
        SetUpRing setUp;
        int (*submit)(io_uring* ring);
        int (*wait)(io_uring* ring, io_uring_cqe** answer);
    };
    static const Calls& HostCalls();

    explicit KernelQueue(const Calls& calls = HostCalls());
    /// Cancels what did not begin, and waits for what did.
    ~KernelQueue();
    KernelQueue(const KernelQueue&) = delete;
    KernelQueue& operator=(const KernelQueue&) = delete;

    /// Asks for a whole file.
    /// @return a number for Begin and Close; 0 when it was not taken
    [[nodiscard]] std::uint64_t AskForFile(int fd);
    /// Asks for what opening and listing a folder will read.
    /// @param name of the folder, one component below `parent`. It is looked up without following links and without
    /// leaving the file system.
    void AskForFolder(int parent, std::string_view name);
    /// Hands over what was asked for so far, when the request is among it.
    void Begin(std::uint64_t request);
    /// Closes the descriptor that a request was for, as soon as the request is done.
    void Close(std::uint64_t request, HostFd fd);

    /// Requests that are not done.
    [[nodiscard]] unsigned Outstanding();

private:
    static constexpr unsigned Size = 128;
    static constexpr unsigned Batch = 16;

    struct Request {
        bool busy = false;
        HostFd fd;         // to be closed with it
        std::string path;  // until the kernel has taken it
    };

    /// Room for the next request; null when there is none.
    io_uring_sqe* Entry();
    /// The request that was written there is one.
    /// @return its number
    std::uint64_t Add(io_uring_sqe& entry);
    [[nodiscard]] Request& At(std::uint64_t request) { return requests_[request % Size]; }
    void Submit();
    void Reap();
    void End();

    const Calls& calls_;
    KernelRing ring_;  // null when there is none, or no more

    std::array<Request, Size> requests_;
    std::uint64_t last_ = 0;       // request that was added
    std::uint64_t submitted_ = 0;  // the last one that the kernel has
    unsigned busy_ = 0;
};

}  // namespace kel::offline
