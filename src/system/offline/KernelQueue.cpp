#include "offline/KernelQueue.h"

#include <fcntl.h>
#include <linux/io_uring.h>
#include <linux/openat2.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

namespace kel::offline {

namespace {

// To look for a name in a folder is to read the folder. Nobody has one of this name; the entry that would be opened
// goes to a table that there is not, so that nothing stays open even then.
constexpr std::string_view NobodysName = "/\x01";
constexpr unsigned NoSuchTable = 1;

constexpr open_how LookUp = {O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0,
                             RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV};

constexpr std::uint64_t Cancellation = UINT64_MAX;

unsigned Get(unsigned* shared) {
    return std::atomic_ref(*shared).load(std::memory_order_acquire);
}

void Set(unsigned* shared, unsigned value) {
    std::atomic_ref(*shared).store(value, std::memory_order_release);
}

int Setup(unsigned entries, io_uring_params* params) {
    return static_cast<int>(syscall(SYS_io_uring_setup, entries, params));
}

int Enter(int queue, unsigned submit, unsigned wait, unsigned flags) {
    return static_cast<int>(syscall(SYS_io_uring_enter, queue, submit, wait, flags, nullptr, 0));
}

}  // namespace

const KernelQueue::Calls& KernelQueue::HostCalls() {
    static constexpr Calls host = {Setup, Enter};
    return host;
}

KernelQueue::KernelQueue(const Calls& calls) : calls_(calls) {
    Open();
}

KernelQueue::~KernelQueue() {
    if (queue_.Valid() && Outstanding() > 0) {
        // Requests name descriptors by number: until they are done, the numbers must not come to mean anything else.
        io_uring_sqe& cancel = submissions_[last_ & submitMask_];
        std::memset(&cancel, 0, sizeof cancel);
        cancel.opcode = IORING_OP_ASYNC_CANCEL;
        cancel.cancel_flags = IORING_ASYNC_CANCEL_ANY | IORING_ASYNC_CANCEL_ALL;
        cancel.user_data = Cancellation;
        ++last_;
        Submit();
        while (queue_.Valid() && Outstanding() > 0) {
            if (calls_.enter(queue_.Get(), 0, 1, IORING_ENTER_GETEVENTS) < 0 && errno != EINTR) {
                break;
            }
        }
    }
    End();
}

void KernelQueue::Open() {
    io_uring_params params{};
    // Without it the kernel interrupts this process for each request that is done.
    params.flags = IORING_SETUP_COOP_TASKRUN;
    queue_ = HostFd(calls_.setup(Size, &params));
    if (!queue_.Valid() && errno == EINVAL) {
        params = {};
        queue_ = HostFd(calls_.setup(Size, &params));
    }
    if (queue_.Valid() && !Map(params)) {
        End();
    }
}

bool KernelQueue::Map(const io_uring_params& params) {
    constexpr unsigned Needed = IORING_FEAT_SINGLE_MMAP | IORING_FEAT_FAST_POLL;
    if ((params.features & Needed) != Needed || params.sq_entries < Size) {
        return false;
    }
    const auto map = [this](std::size_t bytes, off_t what) {
        void* const at = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, queue_.Get(), what);
        return at == MAP_FAILED ? Mapping{} : Mapping{at, bytes};
    };
    rings_ = map(std::max<std::size_t>(params.sq_off.array + params.sq_entries * sizeof(unsigned),
                                       params.cq_off.cqes + params.cq_entries * sizeof(io_uring_cqe)),
                 IORING_OFF_SQ_RING);
    entries_ = map(params.sq_entries * sizeof(io_uring_sqe), IORING_OFF_SQES);
    if (rings_.at == nullptr || entries_.at == nullptr) {
        return false;
    }
    auto* const rings = static_cast<std::byte*>(rings_.at);
    const auto number = [&](unsigned offset) { return reinterpret_cast<unsigned*>(rings + offset); };
    submissions_ = static_cast<io_uring_sqe*>(entries_.at);
    submitTail_ = number(params.sq_off.tail);
    submitMask_ = *number(params.sq_off.ring_mask);
    std::uint64_t at = 0;
    std::generate_n(number(params.sq_off.array), params.sq_entries, [&] { return static_cast<unsigned>(at++); });
    completions_ = reinterpret_cast<io_uring_cqe*>(rings + params.cq_off.cqes);
    doneHead_ = number(params.cq_off.head);
    doneTail_ = number(params.cq_off.tail);
    doneMask_ = *number(params.cq_off.ring_mask);
    return true;
}

io_uring_sqe* KernelQueue::Add(std::uint64_t& request) {
    if (!queue_.Valid()) {
        return nullptr;
    }
    if (requests_[(last_ + 1) % Size].busy) {
        Reap();
        if (requests_[(last_ + 1) % Size].busy) {
            return nullptr;
        }
    }
    io_uring_sqe& entry = submissions_[last_ & submitMask_];
    std::memset(&entry, 0, sizeof entry);
    request = ++last_;
    requests_[request % Size].busy = true;
    ++busy_;
    entry.user_data = request;
    return &entry;
}

std::uint64_t KernelQueue::AskForFile(int fd) {
    std::uint64_t request = 0;
    if (io_uring_sqe* const entry = Add(request)) {
        entry->opcode = IORING_OP_FADVISE;
        entry->fd = fd;
        entry->fadvise_advice = POSIX_FADV_WILLNEED;
        if (last_ - submitted_ >= Batch) {
            Submit();
        }
    }
    return queue_.Valid() ? request : 0;
}

// By the time that the kernel looks, the folder can be closed and its number another's. There such a name is as
// unlikely, and nothing comes of it.
void KernelQueue::AskForFolder(int parent, std::string_view name) {
    std::uint64_t request = 0;
    if (io_uring_sqe* const entry = Add(request)) {
        std::string& path = requests_[request % Size].path;
        path.assign(name).append(NobodysName);
        entry->opcode = IORING_OP_OPENAT2;
        entry->fd = parent;
        entry->addr = reinterpret_cast<std::uintptr_t>(path.c_str());
        entry->len = sizeof LookUp;
        entry->off = reinterpret_cast<std::uintptr_t>(&LookUp);
        entry->file_index = NoSuchTable;
        Submit();
    }
}

void KernelQueue::Begin(std::uint64_t request) {
    if (request > submitted_) {
        Submit();
    }
}

void KernelQueue::Close(std::uint64_t request, HostFd fd) {
    Request& at = requests_[request % Size];
    if (queue_.Valid() && request != 0 && request + Size > last_ && at.busy) {
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
    if (!queue_.Valid()) {
        return;
    }
    Set(submitTail_, static_cast<unsigned>(last_));
    while (submitted_ < last_) {
        const int taken = calls_.enter(queue_.Get(), static_cast<unsigned>(last_ - submitted_), 0, 0);
        if (taken < 0 && errno == EINTR) {
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
    if (!queue_.Valid()) {
        return;
    }
    unsigned head = *doneHead_;
    for (const unsigned tail = Get(doneTail_); head != tail; ++head) {
        const io_uring_cqe& done = completions_[head & doneMask_];
        Request& request = requests_[done.user_data % Size];
        if (done.user_data != Cancellation && request.busy) {
            request.busy = false;
            request.fd = HostFd();
            --busy_;
        }
    }
    Set(doneHead_, head);
}

// What the kernel was asked for goes on or not; it needs nothing of this process any more.
void KernelQueue::End() {
    queue_ = HostFd();
    for (Mapping* const mapping : {&rings_, &entries_}) {
        if (mapping->at != nullptr) {
            munmap(mapping->at, mapping->bytes);
            *mapping = {};
        }
    }
    for (Request& request : requests_) {
        request = {};
    }
    busy_ = 0;
}

}  // namespace kel::offline
