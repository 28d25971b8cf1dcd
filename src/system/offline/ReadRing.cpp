#include "offline/ReadRing.h"

#include <fcntl.h>
#include <liburing.h>
#include <sched.h>
#include <unistd.h>

#include <utility>

#include "offline/PathResolver.h"

namespace kel::offline {

namespace {

// More than one caller ever has under way: opens, a read of each lane, closings.
constexpr unsigned Entries = 512;
// Milliseconds that the kernel's thread looks for work before it sleeps.
constexpr unsigned IdleMilliseconds = 1;
// Files that a slow medium is asked for beside each other.
constexpr unsigned WaitingWorkers = 32;
// To show requests to the kernel's thread makes it and us fetch what the other one wrote, so that short ones go
// together.
constexpr unsigned Together = 8;
constexpr std::size_t LongRead = std::size_t{16} << 10;
// Looks before we let the kernel wake us, which takes longer than most of its work.
constexpr int Looks = 2000;

bool HasSecondProcessor() {
    cpu_set_t usable;
    return sched_getaffinity(0, sizeof usable, &usable) == 0 && CPU_COUNT(&usable) > 1;
}

void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

}  // namespace

std::shared_ptr<ReadRing> ReadRing::Make() {
    if (!HasSecondProcessor()) {
        return nullptr;
    }
    io_uring_params wanted{};
    wanted.flags = IORING_SETUP_SQPOLL;
    wanted.sq_thread_idle = IdleMilliseconds;
    int error = 0;
    // Older kernels take registered descriptors alone.
    KernelRing ring = MakeKernelRing(Entries, wanted, IORING_FEAT_SQPOLL_NONFIXED, error, io_uring_queue_init_params);
    if (!ring) {
        return nullptr;
    }
    unsigned workers[2] = {WaitingWorkers, 0};
    io_uring_register_iowq_max_workers(ring.get(), workers);
    return std::shared_ptr<ReadRing>(new ReadRing(std::move(ring)));
}

ReadRing::ReadRing(KernelRing ring) : ring_(std::move(ring)) {
}

ReadRing::~ReadRing() {
    Drain();
}

ReadRing::Request& ReadRing::Open(std::shared_ptr<Folder> folder, const char* name, int flags) {
    if (free_.empty()) {
        requests_.push_back(std::make_unique<Request>());
        free_.push_back(requests_.back().get());
    }
    Request& request = *free_.back();
    free_.pop_back();
    ++users_;
    request.state_ = Request::State::Opening;
    request.name_ = name;
    request.folder_ = std::move(folder);
    io_uring_sqe& entry = Entry();
    io_uring_prep_openat(&entry, request.folder_->Fd(), request.name_.c_str(), flags, 0);
    io_uring_sqe_set_data(&entry, &request);
    Written(false);
    return request;
}

int ReadRing::Opened(Request& request) {
    const int result = Result(request);
    request.opened_ = false;
    return result;
}

void ReadRing::Read(Request& request, int fd, std::span<std::byte> into, std::uint64_t position) {
    request.state_ = Request::State::Reading;
    io_uring_sqe& entry = Entry();
    io_uring_prep_read(&entry, fd, into.data(), static_cast<unsigned>(into.size()), position);
    io_uring_sqe_set_data(&entry, &request);
    Written(into.size() >= LongRead);
}

bool ReadRing::IsAtRest(Request& request) {
    if (request.state_ != Request::State::Idle) {
        Reap();
    }
    return request.state_ == Request::State::Idle;
}

int ReadRing::Result(Request& request) {
    while (!IsAtRest(request)) {
        Wait();
    }
    return request.result_;
}

void ReadRing::Close(Request& request, int fd) {
    if (!IsAtRest(request) && request.state_ == Request::State::Opening) {
        request.state_ = Request::State::Abandoned;
    } else {
        const int result = Result(request);
        if (fd >= 0 || request.opened_) {
            CloseDescriptor(fd >= 0 ? fd : result);
        }
        Free(request);
    }
    if (--users_ == 0) {
        Drain();
    }
}

void ReadRing::Drain() {
    while (inFlight_ > 0) {
        Wait();
    }
}

void ReadRing::CloseDescriptor(int fd) {
    io_uring_sqe& entry = Entry();
    io_uring_prep_close(&entry, fd);
    io_uring_sqe_set_data(&entry, nullptr);
    Written(false);
}

void ReadRing::Free(Request& request) {
    request.opened_ = false;
    request.folder_.reset();
    free_.push_back(&request);
}

io_uring_sqe& ReadRing::Entry() {
    for (;;) {
        // The queue of answers is twice as long as that of requests, so that none is ever lost.
        if (inFlight_ < Entries) {
            if (io_uring_sqe* const entry = io_uring_get_sqe(ring_.get())) {
                ++inFlight_;
                return *entry;
            }
        }
        Submit();
        Reap();
        Pause();
    }
}

void ReadRing::Written(bool urgent) {
    if (++written_ >= Together || urgent) {
        Submit();
    }
}

void ReadRing::Submit() {
    written_ = 0;
    io_uring_submit(ring_.get());
}

void ReadRing::Reap() {
    unsigned head = 0;
    unsigned count = 0;
    io_uring_cqe* answer = nullptr;
    // What an abandoned file needs is asked for behind the loop: it moves the queue.
    std::vector<int> unwanted;
    io_uring_for_each_cqe(ring_.get(), head, answer) {
        ++count;
        --inFlight_;
        auto* const request = static_cast<Request*>(io_uring_cqe_get_data(answer));
        if (request == nullptr) {
            continue;
        }
        request->result_ = answer->res;
        const Request::State was = std::exchange(request->state_, Request::State::Idle);
        request->opened_ = was != Request::State::Reading && answer->res >= 0;
        if (was == Request::State::Abandoned) {
            if (request->opened_) {
                unwanted.push_back(answer->res);
            }
            Free(*request);
        }
    }
    if (count > 0) {
        io_uring_cq_advance(ring_.get(), count);
    }
    for (const int fd : unwanted) {
        CloseDescriptor(fd);
    }
}

// Until there is at least one answer more.
void ReadRing::Wait() {
    Submit();
    for (int look = 0; look < Looks; ++look) {
        if (io_uring_cq_ready(ring_.get()) > 0) {
            Reap();
            return;
        }
        Pause();
    }
    io_uring_cqe* answer = nullptr;
    io_uring_wait_cqe(ring_.get(), &answer);
    Reap();
}

}  // namespace kel::offline
