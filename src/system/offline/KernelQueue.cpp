#include "offline/KernelQueue.h"

#include <fcntl.h>
#include <liburing.h>
#include <linux/openat2.h>

#include <cerrno>

namespace kel::offline {

namespace {

// To look for a name in a folder is to read the folder. Nobody has one of this name; the entry that would be opened
// goes to a table that there is not, so that nothing stays open even then.
constexpr std::string_view NobodysName = "/\x01";
constexpr unsigned NoSuchTable = 0;

open_how LookUp = {O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0,
                   RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV};

constexpr std::uint64_t Cancellation = UINT64_MAX - 1;  // the last number is the library's own

}  // namespace

const KernelQueue::Calls& KernelQueue::HostCalls() {
    static constexpr Calls host = {io_uring_queue_init_params, io_uring_submit, io_uring_wait_cqe};
    return host;
}

KernelQueue::KernelQueue(const Calls& calls) : calls_(calls) {
    constexpr unsigned Needed = IORING_FEAT_FAST_POLL;  // came with 5.7
    io_uring_params params{};
    // Without it the kernel interrupts this process for each request that is done.
    params.flags = IORING_SETUP_COOP_TASKRUN;
    int error = 0;
    ring_ = MakeKernelRing(Size, params, Needed, error, calls_.setUp);
    if (error == -EINVAL) {
        params = {};
        ring_ = MakeKernelRing(Size, params, Needed, error, calls_.setUp);
    }
}

KernelQueue::~KernelQueue() {
    if (Outstanding() == 0) {
        return;
    }
    // Requests name descriptors by number: until they are done, the numbers must not come to mean anything else.
    if (io_uring_sqe* const cancel = io_uring_get_sqe(ring_.get())) {
        io_uring_prep_cancel(cancel, nullptr, IORING_ASYNC_CANCEL_ANY | IORING_ASYNC_CANCEL_ALL);
        io_uring_sqe_set_data64(cancel, Cancellation);
        ++last_;
    }
    Submit();
    while (Outstanding() > 0) {
        io_uring_cqe* answer = nullptr;
        const int error = calls_.wait(ring_.get(), &answer);
        if (error < 0 && error != -EINTR) {
            break;
        }
    }
}

io_uring_sqe* KernelQueue::Entry() {
    if (ring_ && At(last_ + 1).busy) {
        Reap();
    }
    return ring_ && !At(last_ + 1).busy ? io_uring_get_sqe(ring_.get()) : nullptr;
}

std::uint64_t KernelQueue::Add(io_uring_sqe& entry) {
    io_uring_sqe_set_data64(&entry, ++last_);
    At(last_).busy = true;
    ++busy_;
    return last_;
}

std::uint64_t KernelQueue::AskForFile(int fd) {
    io_uring_sqe* const entry = Entry();
    if (entry == nullptr) {
        return 0;
    }
    io_uring_prep_fadvise(entry, fd, 0, 0, POSIX_FADV_WILLNEED);
    const std::uint64_t request = Add(*entry);
    if (last_ - submitted_ >= Batch) {
        Submit();
    }
    return ring_ ? request : 0;
}

// By the time that the kernel looks, the folder can be closed and its number another's. There such a name is as
// unlikely, and nothing comes of it.
void KernelQueue::AskForFolder(int parent, std::string_view name) {
    if (io_uring_sqe* const entry = Entry()) {
        std::string& path = At(last_ + 1).path;
        path.assign(name).append(NobodysName);
        io_uring_prep_openat2_direct(entry, parent, path.c_str(), &LookUp, NoSuchTable);
        Add(*entry);
        Submit();
    }
}

void KernelQueue::Begin(std::uint64_t request) {
    if (request > submitted_) {
        Submit();
    }
}

void KernelQueue::Close(std::uint64_t request, HostFd fd) {
    Request& at = At(request);
    if (ring_ && request != 0 && request + Size > last_ && at.busy) {
        Reap();
        if (at.busy) {
            at.fd = std::move(fd);
        }
    }
}

unsigned KernelQueue::Outstanding() {
    Reap();
    return busy_;
}

void KernelQueue::Submit() {
    while (ring_ && submitted_ < last_) {
        const int taken = calls_.submit(ring_.get());
        if (taken == -EINTR) {
            continue;
        }
        if (taken <= 0) {
            End();
            return;
        }
        submitted_ += static_cast<unsigned>(taken);
    }
    Reap();
}

void KernelQueue::Reap() {
    if (!ring_) {
        return;
    }
    unsigned head = 0;
    unsigned count = 0;
    io_uring_cqe* answer = nullptr;
    io_uring_for_each_cqe(ring_.get(), head, answer) {
        ++count;
        const std::uint64_t number = io_uring_cqe_get_data64(answer);
        Request& request = At(number);
        if (number != Cancellation && request.busy) {
            request.busy = false;
            request.fd = HostFd();
            --busy_;
        }
    }
    io_uring_cq_advance(ring_.get(), count);
}

// What the kernel was asked for goes on or not; it needs nothing of this process any more.
void KernelQueue::End() {
    ring_.reset();
    for (Request& request : requests_) {
        request = {};
    }
    busy_ = 0;
}

}  // namespace kel::offline
