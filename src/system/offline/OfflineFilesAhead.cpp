// Files that are read before they are asked for.
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "offline/KernelQueue.h"
#include "offline/OfflineFiles.h"

namespace kel::offline {

using platform::AheadFile;
using platform::FileStamp;
using platform::FolderAhead;
using platform::Result;
using platform::SysError;

namespace {

constexpr std::int64_t Second = 1'000'000'000;

std::int64_t Nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * Second + time.tv_nsec;
}

FileStamp StampOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
            static_cast<std::uint64_t>(Nanoseconds(status.st_mtim)),
            static_cast<std::uint64_t>(Nanoseconds(status.st_ctim))};
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

class HostAheadFile : public AheadFile {
public:
    HostAheadFile(OfflineFiles& files, HostFd fd, const FileStamp& stamp) : files_(files), fd_(std::move(fd)) {
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
                return static_cast<std::size_t>(count);
            }
            if (errno != EINTR) {
                return 0;
            }
        }
    }
    void WillBeRead() override {
        queue_ = files_.Queue();
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
    OfflineFiles& files_;
    HostFd fd_;
    std::shared_ptr<KernelQueue> queue_;  // null unless the file was asked for there
    std::uint64_t request_ = 0;
};

// Files that are read ahead leave a quarter of the process's descriptors to all others.
int FirstDescriptorForOthers() {
    rlimit limit{};
    constexpr rlim_t Many = 1U << 20;
    return getrlimit(RLIMIT_NOFILE, &limit) == 0 ? static_cast<int>(std::min(limit.rlim_cur, Many) / 4 * 3) : 0;
}

class HostFolderAhead : public FolderAhead {
public:
    HostFolderAhead(OfflineFiles& files, std::shared_ptr<Folder> folder, std::shared_ptr<Listing> listing)
        : files_(files), folder_(std::move(folder)), listing_(std::move(listing)) {}

    [[nodiscard]] std::size_t Count() const override { return listing_->Size(); }
    [[nodiscard]] std::string_view Name(std::size_t index) const override { return listing_->Name(index); }
    Kind KindOf(std::size_t index) override {
        unsigned char kind = listing_->Kind(index);
        if (kind == DT_UNKNOWN) {
            struct stat status {};
            const auto host = HostName(listing_->Name(index));
            if (host && fstatat(folder_->Fd(), host->c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
                kind = static_cast<unsigned char>(IFTODT(status.st_mode));
            }
        }
        return kind == DT_REG ? Kind::File : kind == DT_DIR ? Kind::Folder : Kind::Other;
    }

    [[nodiscard]] std::optional<std::size_t> IndexOf(std::string_view name) const override {
        return listing_->Find(name);
    }

    std::unique_ptr<AheadFile> Open(std::size_t index) override {
        // A name as listed is one component of the host's, so that there is no way out of the folder. Opening a device
        // can already do something.
        std::string changed;
        const char* const host = KindOf(index) == Kind::File ? HostNameAt(index, changed) : nullptr;
        if (host == nullptr) {
            return nullptr;
        }
        constexpr int Flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
        HostFd fd(openat(folder_->Fd(), host, Flags | O_NOATIME));
        if (!fd.Valid() && errno == EPERM) {
            fd = HostFd(openat(folder_->Fd(), host, Flags));  // another owner's
        }
        struct stat status;
        if (!fd.Valid() || fd.Get() >= firstForOthers_ || fstat(fd.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
            !IsSettled(status)) {
            return nullptr;
        }
        return std::make_unique<HostAheadFile>(files_, std::move(fd), StampOf(status));
    }
    void WillBeEntered(std::size_t index) override {
        std::string changed;
        if (const char* const host = HostNameAt(index, changed)) {
            if (!queue_) {
                queue_ = files_.Queue();
            }
            queue_->AskForFolder(folder_->Fd(), host);
        }
    }

private:
    // The host's name of an entry, which lies in `changed` where it differs from the shown one; null where it has none.
    const char* HostNameAt(std::size_t index, std::string& changed) const {
        if (listing_->IsPlain(index)) {
            return listing_->Name(index).data();
        }
        auto host = HostName(listing_->Name(index));
        if (!host) {
            return nullptr;
        }
        changed = *std::move(host);
        return changed.c_str();
    }

    OfflineFiles& files_;
    const int firstForOthers_ = FirstDescriptorForOthers();
    std::shared_ptr<Folder> folder_;
    std::shared_ptr<Listing> listing_;
    std::shared_ptr<KernelQueue> queue_;  // null unless folders in it were asked for
};

}  // namespace

Result<FileStamp> OfflineFiles::Stamp(std::string_view path) {
    struct stat status;
    if (IsFileAtOnce(path, status)) {
        return StampOf(status);
    }
    auto place = Existing(path);
    if (!place) {
        return place.Error();
    }
    if (place->IsRoot() || fstatat(place->folder->Fd(), place->OnHost().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(status.st_mode)) {
        return SysError::AccessDenied;
    }
    return StampOf(status);
}

std::shared_ptr<KernelQueue> OfflineFiles::Queue() {
    auto queue = queue_.lock();
    if (!queue) {
        queue = std::make_shared<KernelQueue>();
        queue_ = queue;
    }
    return queue;
}

std::unique_ptr<FolderAhead> OfflineFiles::Ahead(std::string_view folder) {
    auto open = resolver_.FolderAt(folder);
    auto listing = open ? open->List() : SysError::PathNotFound;
    return listing ? std::make_unique<HostFolderAhead>(*this, std::move(open), *listing) : nullptr;
}

}  // namespace kel::offline
