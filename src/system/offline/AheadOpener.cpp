#include "offline/AheadOpener.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string_view>
#include <utility>

namespace kel::offline {

using platform::AheadFile;
using platform::FileStamp;

namespace {

constexpr const char* Variable = "KEL_READ_RING";

constexpr std::int64_t Second = 1'000'000'000;

// Times that somebody set may lie anywhere. Before 1970 is long ago, and all behind 2200 is to come.
std::int64_t Nanoseconds(const timespec& time) {
    constexpr std::int64_t Latest = 230LL * 366 * 86'400;
    return std::clamp<std::int64_t>(time.tv_sec, 0, Latest) * Second + time.tv_nsec;
}

// Any two of 500 years differ.
std::uint64_t TimeStamp(const timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * static_cast<std::uint64_t>(Second) +
           static_cast<std::uint64_t>(time.tv_nsec);
}

// Whether a further change would give the file other times: the last one is longer ago than a tick of the kernel, or
// than the grain of the file system.
bool IsSettled(const struct stat& status) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    const std::int64_t last = std::max(Nanoseconds(status.st_mtim), Nanoseconds(status.st_ctim));
    const bool coarse = status.st_mtim.tv_nsec % 10'000'000 == 0 && status.st_ctim.tv_nsec % 10'000'000 == 0;
    return Nanoseconds(now) - last > (coarse ? 2 * Second : Second / 50);
}

// Opening a device can already do something; a link leads out of the folder.
constexpr int AheadFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

HostFd OpenAhead(int folder, const char* name) {
    HostFd fd(openat(folder, name, AheadFlags | O_NOATIME));
    if (!fd.Valid() && errno == EPERM) {
        fd = HostFd(openat(folder, name, AheadFlags));  // another owner's
    }
    return fd;
}

// The stamp of a plain file at rest.
std::optional<FileStamp> SettledStamp(const AheadOpener& opener, const HostFd& fd) {
    struct stat status;
    if (!fd.Valid() || opener.IsForOthers(fd.Get()) || fstat(fd.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !IsSettled(status)) {
        return std::nullopt;
    }
    return StampOf(status);
}

class HostAheadFile : public AheadFile {
public:
    HostAheadFile(std::shared_ptr<AheadOpener> opener, HostFd fd, const FileStamp& stamp)
        : opener_(std::move(opener)), fd_(std::move(fd)) {
        stamp_ = stamp;
    }
    ~HostAheadFile() override {
        if (queue_) {
            queue_->Close(request_, std::move(fd_));
        }
    }
    HostAheadFile(const HostAheadFile&) = delete;
    HostAheadFile& operator=(const HostAheadFile&) = delete;

    std::size_t Read(std::span<std::byte> into) override {
        if (queue_) {
            queue_->Begin(request_);  // and all behind it, before this process waits for it
        }
        for (;;) {
            const ssize_t count = read(fd_.Get(), into.data(), into.size());
            if (count >= 0) {
                opener_->WasRead(static_cast<std::size_t>(count));
                return static_cast<std::size_t>(count);
            }
            if (errno != EINTR) {
                return 0;
            }
        }
    }
    void WillBeRead() override {
        queue_ = opener_->Queue();
        request_ = queue_->AskForFile(fd_.Get());
        if (request_ == 0) {
            queue_.reset();
            posix_fadvise(fd_.Get(), 0, 0, POSIX_FADV_WILLNEED);
        }
    }
    std::optional<bool> InMemory() override {
        std::byte first{};
        const iovec into{&first, 1};
        if (preadv2(fd_.Get(), &into, 1, 0, RWF_NOWAIT) >= 0) {
            return true;
        }
        return errno == EAGAIN ? std::optional(false) : std::nullopt;
    }

private:
    std::shared_ptr<AheadOpener> opener_;
    HostFd fd_;
    std::shared_ptr<KernelQueue> queue_;  // null unless the file was asked for there
    std::uint64_t request_ = 0;
};

// A file that the kernel opens and reads beside us.
class RingAheadFile : public AheadFile {
public:
    RingAheadFile(std::shared_ptr<AheadOpener> opener, const std::shared_ptr<Folder>& folder, const char* name)
        : opener_(std::move(opener)), request_(opener_->Ring().Open(folder, name, AheadFlags | O_NOATIME)) {}
    ~RingAheadFile() override { opener_->Ring().Close(request_, fd_.Release()); }
    RingAheadFile(const RingAheadFile&) = delete;
    RingAheadFile& operator=(const RingAheadFile&) = delete;

    bool Opened() override {
        if (!looked_) {
            looked_ = true;
            const int result = opener_->Ring().Opened(request_);
            fd_ = result == -EPERM ? OpenAhead(request_.In().Fd(), request_.Name().c_str()) : HostFd(result);
            const auto stamp = SettledStamp(*opener_, fd_);
            opened_ = stamp.has_value();
            stamp_ = stamp.value_or(FileStamp());
        }
        return opened_;
    }
    bool IsAtRest() override { return opener_->Ring().IsAtRest(request_); }
    std::size_t Read(std::span<std::byte> into) override { return BeginRead(into) ? EndRead() : 0; }
    bool BeginRead(std::span<std::byte> into) override {
        opener_->Ring().Read(request_, fd_.Get(), into, position_);
        return true;
    }
    std::size_t EndRead() override {
        const int result = opener_->Ring().Result(request_);
        const std::size_t got = result > 0 ? static_cast<std::size_t>(result) : 0;
        position_ += got;
        opener_->WasRead(got);
        return got;
    }
    // What waits for the medium waits beside the others.
    void WillBeRead() override {}

private:
    std::shared_ptr<AheadOpener> opener_;
    ReadRing::Request& request_;
    HostFd fd_;
    std::uint64_t position_ = 0;
    bool looked_ = false;
    bool opened_ = false;
};

}  // namespace

FileStamp StampOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), TimeStamp(status.st_mtim),
            TimeStamp(status.st_ctim)};
}

AheadOpener::Use AheadOpener::Wanted() {
    const char* const wanted = std::getenv(Variable);
    return wanted == nullptr ? Use::WhereFaster : std::string_view(wanted) == "0" ? Use::Never : Use::Always;
}

// A quarter of the process's descriptors is left to all others.
void AheadOpener::BeginFolder() {
    rlimit limit{};
    constexpr rlim_t Many = 1U << 20;
    const bool known = getrlimit(RLIMIT_NOFILE, &limit) == 0;
    firstForOthers_ = known ? static_cast<int>(std::min(limit.rlim_cur, Many) / 4 * 3) : 0;
}

bool AheadOpener::GoesBeside() {
    if (use_ == Use::Never || firstForOthers_ < EnoughDescriptors ||
        (use_ == Use::WhereFaster && faster_.Next() == FasterWay::Way::Alone)) {
        return false;
    }
    if (!ring_) {
        ring_ = ReadRing::Make();
        use_ = ring_ ? use_ : Use::Never;
    }
    return ring_ != nullptr;
}

std::unique_ptr<AheadFile> AheadOpener::Open(const std::shared_ptr<Folder>& folder, const char* name) {
    beside_ = GoesBeside();
    if (beside_) {
        return std::make_unique<RingAheadFile>(shared_from_this(), folder, name);
    }
    HostFd fd = OpenAhead(folder->Fd(), name);
    const auto stamp = SettledStamp(*this, fd);
    return stamp ? std::make_unique<HostAheadFile>(shared_from_this(), std::move(fd), *stamp) : nullptr;
}

std::shared_ptr<KernelQueue> AheadOpener::Queue() {
    auto queue = queue_.lock();
    if (!queue) {
        queue = std::make_shared<KernelQueue>();
        queue_ = queue;
    }
    return queue;
}

}  // namespace kel::offline
