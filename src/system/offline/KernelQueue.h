// What the host's kernel is asked to bring into memory, on its own time.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "offline/OfflineFilesHost.h"

struct io_uring_params;
struct io_uring_sqe;
struct io_uring_cqe;

namespace kel::offline {

/// Asks the kernel to read files and folders, and doesn't wait for it: what a read costs besides the wait, and of a
/// folder the wait too, then falls to the kernel's own workers. Nothing is brought into this process, and nothing
/// that fails is noticed: whoever reads does it then for himself. It asks in batches; at most 128 requests are out.
/// Where the kernel has no such queue (io_uring, 5.7 and later) or grants none, none is taken.
class KernelQueue {
public:
    /// The kernel's calls, which answer -1 with errno set.
    struct Calls {
        int (*setup)(unsigned entries, io_uring_params* params);
        int (*enter)(int queue, unsigned submit, unsigned wait, unsigned flags);
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
    struct Mapping {
        void* at = nullptr;
        std::size_t bytes = 0;
    };

    void Open();
    bool Map(const io_uring_params& params);
    /// Room for one more; null when there is none. `request` becomes its number.
    io_uring_sqe* Add(std::uint64_t& request);
    void Submit();
    void Reap();
    void End();

    const Calls& calls_;
    HostFd queue_;
    Mapping rings_;
    Mapping entries_;
    io_uring_sqe* submissions_ = nullptr;
    unsigned* submitTail_ = nullptr;
    unsigned submitMask_ = 0;
    io_uring_cqe* completions_ = nullptr;
    unsigned* doneHead_ = nullptr;
    unsigned* doneTail_ = nullptr;
    unsigned doneMask_ = 0;

    std::array<Request, Size> requests_;
    std::uint64_t last_ = 0;       // request that was added
    std::uint64_t submitted_ = 0;  // the last one that the kernel has
    unsigned busy_ = 0;
};

}  // namespace kel::offline
