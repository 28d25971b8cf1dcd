#include "offline/OfflineFilesOpen.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

namespace kel::offline {

using platform::FileView;
using platform::Result;
using platform::SysError;

namespace {

// Up to this size a read is cheaper than a mapping.
constexpr std::size_t MostRead = 64 * 1024;

class ReadView : public FileView {
public:
    explicit ReadView(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
    [[nodiscard]] std::span<const std::byte> Bytes() const override { return bytes_; }

private:
    std::vector<std::byte> bytes_;
};

class MappedView : public FileView {
public:
    MappedView(void* start, std::size_t size) : start_(start), size_(size) {}
    ~MappedView() override { munmap(start_, size_); }
    MappedView(const MappedView&) = delete;
    MappedView& operator=(const MappedView&) = delete;
    [[nodiscard]] std::span<const std::byte> Bytes() const override {
        return {static_cast<const std::byte*>(start_), size_};
    }
    void LetGo(std::span<const std::byte> bytes) override {
        const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        const auto first = reinterpret_cast<std::uintptr_t>(bytes.data());
        // The pages that lie in it whole, and the last one of the file.
        const std::uintptr_t from = (first + page - 1) / page * page;
        const bool toEnd = bytes.data() + bytes.size() == Bytes().data() + size_;
        const std::uintptr_t to = (first + bytes.size() + (toEnd ? page - 1 : 0)) / page * page;
        if (from < to) {
            std::byte* const begin =
                static_cast<std::byte*>(start_) + (from - reinterpret_cast<std::uintptr_t>(start_));
            static_cast<void>(madvise(begin, to - from, MADV_DONTNEED));
        }
    }

private:
    void* start_;
    std::size_t size_;
};

Result<std::unique_ptr<FileView>> ReadWhole(int fd, std::size_t size) {
    std::vector<std::byte> bytes(size);
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = read(fd, bytes.data() + filled, size - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return FromErrno(errno);
        }
        if (count == 0) {
            break;  // shorter than it said
        }
        filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return std::unique_ptr<FileView>(std::make_unique<ReadView>(std::move(bytes)));
}

}  // namespace

Result<std::size_t> HostFile::Read(std::span<std::byte> into) {
    for (;;) {
        const ssize_t count = read(fd_.Get(), into.data(), into.size());
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            // A file that was not opened for reading.
            return errno == EBADF ? SysError::AccessDenied : FromErrno(errno);
        }
    }
}

SysError HostFile::Write(std::span<const std::byte> from) {
    while (!from.empty()) {
        const ssize_t count = write(fd_.Get(), from.data(), from.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return errno == EBADF ? SysError::AccessDenied : FromErrno(errno);
        }
        if (count == 0) {
            return SysError::DiskFull;
        }
        from = from.subspan(static_cast<std::size_t>(count));
    }
    return SysError::Success;
}

SysError HostFile::Seek(std::uint64_t position) {
    if (position > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) {
        return SysError::InvalidParameter;
    }
    return lseek(fd_.Get(), static_cast<off_t>(position), SEEK_SET) < 0 ? FromErrno(errno) : SysError::Success;
}

SysError HostFile::SetEnd() {
    const off_t position = lseek(fd_.Get(), 0, SEEK_CUR);
    int result = -1;
    do {
        result = position < 0 ? -1 : ftruncate(fd_.Get(), position);
    } while (result != 0 && errno == EINTR);
    // A file that was not opened for writing.
    return result == 0 ? SysError::Success : errno == EINVAL ? SysError::AccessDenied : FromErrno(errno);
}

Result<std::uint64_t> HostFile::Size() {
    struct stat status {};
    if (fstat(fd_.Get(), &status) != 0) {
        return FromErrno(errno);
    }
    return static_cast<std::uint64_t>(status.st_size);
}

SysError HostFile::Flush() {
    return fsync(fd_.Get()) != 0 ? FromErrno(errno) : SysError::Success;
}

Result<std::unique_ptr<FileView>> ViewOf(HostFd fd) {
    struct stat status {};
    if (fstat(fd.Get(), &status) != 0) {
        return FromErrno(errno);
    }
    const auto length = static_cast<std::uint64_t>(status.st_size);
    if (length > std::numeric_limits<std::size_t>::max() / 2) {
        return SysError::NotEnoughMemory;
    }
    const auto size = static_cast<std::size_t>(length);
    if (size > MostRead) {
        void* start = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd.Get(), 0);
        if (start != MAP_FAILED) {
            return std::unique_ptr<FileView>(std::make_unique<MappedView>(start, size));
        }
    }
    try {
        return ReadWhole(fd.Get(), size);
    } catch (const std::bad_alloc&) {
        return SysError::NotEnoughMemory;
    }
}

SysError CopyBytes(int from, int to) {
    std::vector<std::byte> buffer(256 * 1024);
    HostFile target(HostFd(dup(to)));
    for (;;) {
        const ssize_t count = read(from, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return FromErrno(errno);
        }
        if (count == 0) {
            return SysError::Success;
        }
        const SysError error = target.Write(std::span(buffer).first(static_cast<std::size_t>(count)));
        if (error != SysError::Success) {
            return error;
        }
    }
}

}  // namespace kel::offline
