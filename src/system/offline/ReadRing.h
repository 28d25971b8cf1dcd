// Files that the kernel opens and reads beside us, while we digest others.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "offline/KernelRing.h"

namespace kel::offline {

class Folder;

/// Requests to the kernel that it works off by a thread of its own (io_uring with a polled submission queue), so that
/// the engine has one thread and files from memory are still copied beside its work; those of a slow medium wait beside
/// each other. For one thread. Nothing here fails for the caller: a kernel without it gives no ring, and a request that
/// fails has an error number as its result.
class ReadRing {
public:
    /// A file on its way. Given out by Open, given back by Close.
    class Request {
    public:
        [[nodiscard]] const Folder& In() const { return *folder_; }
        [[nodiscard]] const std::string& Name() const { return name_; }

    private:
        friend class ReadRing;
        enum class State : std::uint8_t { Idle, Opening, Reading, Abandoned };
        State state_ = State::Idle;
        int result_ = 0;
        bool opened_ = false;             // the result is a descriptor, and still ours
        std::string name_;                // the kernel reads it until the file is open
        std::shared_ptr<Folder> folder_;  // as long
    };

    /// Null where the kernel has none, doesn't let us use it, or there is one processor only.
    static std::shared_ptr<ReadRing> Make();
    /// Waits for what the kernel still works on.
    ~ReadRing();
    ReadRing(const ReadRing&) = delete;
    ReadRing& operator=(const ReadRing&) = delete;

    /// Begins to open an entry of a folder.
    /// @param name one component of the host's
    Request& Open(std::shared_ptr<Folder> folder, const char* name, int flags);
    /// Waits for it and gives the descriptor, which is the caller's then, or -errno.
    int Opened(Request& request);
    /// Begins to read. Result: bytes or -errno. `into` must stay until the request is at rest.
    void Read(Request& request, int fd, std::span<std::byte> into, std::uint64_t position);
    /// Whether the kernel has done what was asked for last. Doesn't wait.
    [[nodiscard]] bool IsAtRest(Request& request);
    /// Waits for it and gives its result.
    int Result(Request& request);
    /// Ends a request, which is no longer valid then. Waits for a read; what is still being opened closes by itself.
    /// With the last request it waits for all that, so that nothing stays open.
    void Close(Request& request, int fd);

private:
    explicit ReadRing(KernelRing ring);

    io_uring_sqe& Entry();
    void Written(bool urgent);
    void Submit();
    void Reap();
    void Wait();
    void Drain();
    void CloseDescriptor(int fd);
    void Free(Request& request);

    KernelRing ring_;
    std::size_t inFlight_ = 0;
    std::size_t users_ = 0;                           // requests that were not given back
    unsigned written_ = 0;                            // and not yet shown to the kernel
    std::vector<std::unique_ptr<Request>> requests_;  // all that there ever were
    std::vector<Request*> free_;
};

}  // namespace kel::offline
