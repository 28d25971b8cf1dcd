#include "offline/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "offline/OfflineFilesAttributes.h"

namespace kel::offline {

using platform::Result;
using platform::SysError;

namespace {

/// A file descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int Number() const { return number_; }
    [[nodiscard]] bool Ok() const { return number_ >= 0; }
    /// False when closing reported that written data were lost.
    bool Close() {
        const int number = number_;
        number_ = -1;
        return number < 0 || ::close(number) == 0;
    }

private:
    int number_;
};

SysError FromErrno(int error) {
    switch (error) {
        case ENOENT:
            return SysError::FileNotFound;
        case ENOTDIR:
            return SysError::PathNotFound;
        case EACCES:
        case EPERM:
        case EISDIR:
            return SysError::AccessDenied;
        case EROFS:
            return SysError::WriteProtect;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return SysError::DiskFull;
        case EMFILE:
        case ENFILE:
            return SysError::TooManyOpenFiles;
        default:
            return SysError::IoFailed;
    }
}

FileIdentity IdentityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec};
}

bool Unchanged(const std::filesystem::path& path, const FileIdentity& identity) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && IdentityOf(status) == identity;
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

// Mode, owner and attributes of the file at `path`.
bool TakeTraits(int file, const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return false;
    }
    if (const Descriptor old(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)); old.Ok()) {
        CopyFileTraits(old.Number(), file, KeptTimes::Creation);
    }
    const bool ownerKept = ::fchown(file, status.st_uid, status.st_gid) == 0 || status.st_uid == ::geteuid();
    return ownerKept && ::fchmod(file, status.st_mode & 07777) == 0;
}

// Nobody but us has the file open. To lend it is what the kernel refuses otherwise; a signal that would tell of
// somebody who opens it meanwhile must be one that does nothing.
bool IsOursAlone(int file) {
    return ::fcntl(file, F_SETSIG, SIGURG) == 0 && ::fcntl(file, F_SETLEASE, F_WRLCK) == 0 &&
           ::fcntl(file, F_SETLEASE, F_UNLCK) == 0;
}

}  // namespace

Result<FileIdentity> ReadWhole(const std::filesystem::path& path, std::uint64_t limit,
                               const std::function<char*(std::size_t)>& room) {
    // Without O_NONBLOCK a named pipe in the file's place would hold us for ever.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.Ok() || ::fstat(file.Number(), &status) != 0) {
        return FromErrno(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return SysError::AccessDenied;
    }
    if (static_cast<std::uint64_t>(status.st_size) > limit) {
        return SysError::BadLength;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    char* bytes = room(size);
    if (bytes == nullptr && size != 0) {
        return SysError::NotEnoughMemory;
    }
    for (std::size_t filled = 0; filled < size;) {
        const ssize_t count = ::read(file.Number(), bytes + filled, size - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return FromErrno(errno);
        }
        if (count == 0) {
            return SysError::BadLength;
        }
        filled += static_cast<std::size_t>(count);
    }
    const FileIdentity identity = IdentityOf(status);
    if (::fstat(file.Number(), &status) != 0 || IdentityOf(status) != identity) {
        return SysError::BadLength;
    }
    return identity;
}

Result<WholeFile> ReadWhole(const std::filesystem::path& path, std::uint64_t limit) {
    WholeFile whole;
    const auto identity = ReadWhole(path, limit, [&](std::size_t size) {
        whole.bytes.resize(size);
        return whole.bytes.data();
    });
    if (!identity) {
        return identity.Error();
    }
    whole.identity = *identity;
    return whole;
}

FileReplacement::~FileReplacement() {
    Abandon();
    DropSpare();
}

SysError FileReplacement::Prepare(const std::filesystem::path& path, const FileIdentity& identity,
                                  std::string_view bytes, const std::vector<ByteRange>* changed) {
    Abandon();
    std::error_code error;
    path_ = std::filesystem::canonical(path, error);
    if (error) {
        return FromErrno(error.value());
    }
    identity_ = identity;
    if (!Unchanged(path_, identity_)) {
        return SysError::SharingViolation;
    }
    changed_.reset();
    if (changed != nullptr) {
        changed_ = *changed;
        if (UpdateSpare(bytes, *changed)) {
            return SysError::Success;
        }
    }
    DropSpare();
    if (!WriteNew(bytes)) {
        const SysError reason = FromErrno(errno);
        Abandon();
        return reason;
    }
    return SysError::Success;
}

bool FileReplacement::WriteNew(std::string_view bytes) {
    std::string name = (path_.parent_path() / ("." + path_.filename().string() + ".new-XXXXXX")).string();
    Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (!file.Ok()) {
        return false;
    }
    temporary_ = name;
    return TakeTraits(file.Number(), path_) && WriteAll(file.Number(), bytes) && ::fsync(file.Number()) == 0 &&
           file.Close();
}

// False when there is none, it is not what it was, or somebody still reads it; what is left of it is no use then.
bool FileReplacement::UpdateSpare(std::string_view bytes, const std::vector<ByteRange>& changed) {
    if (!spare_) {
        return false;
    }
    Descriptor file(::open(spare_->path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    struct stat status {};
    // Under a second name it would be another's file as well.
    if (!file.Ok() || ::fstat(file.Number(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink != 1 ||
        IdentityOf(status) != spare_->identity || !IsOursAlone(file.Number())) {
        return false;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    std::vector<ByteRange> ranges = spare_->stale;
    ranges.insert(ranges.end(), changed.begin(), changed.end());
    ranges.push_back({size, std::string_view::npos});
    for (const ByteRange& range : ranges) {
        if (range.offset < bytes.size() && (::lseek(file.Number(), static_cast<off_t>(range.offset), SEEK_SET) < 0 ||
                                            !WriteAll(file.Number(), bytes.substr(range.offset, range.size)))) {
            return false;
        }
    }
    if ((size > bytes.size() && ::ftruncate(file.Number(), static_cast<off_t>(bytes.size())) != 0) ||
        !TakeTraits(file.Number(), path_) || ::fsync(file.Number()) != 0 || !file.Close()) {
        return false;
    }
    temporary_ = spare_->path;
    spare_.reset();
    return true;
}

void FileReplacement::DropSpare() {
    if (spare_) {
        ::unlink(spare_->path.c_str());
        spare_.reset();
    }
}

Result<FileIdentity> FileReplacement::Commit() {
    if (!Prepared()) {
        return SysError::InvalidFunction;
    }
    if (!Unchanged(path_, identity_)) {
        Abandon();
        return SysError::SharingViolation;
    }
    const Descriptor folder(::open(path_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::string name = path_.filename().string();
    const std::string shortName = folder.Ok() ? NtfsShortName(folder.Number(), name) : std::string();
    // The first file is not ours to write to: it may have other names, or be the one that somebody goes back to.
    const bool keep = ours_ && changed_ && folder.Ok() && shortName.empty() &&
                      ::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_EXCHANGE) == 0;
    if (!keep && ::rename(temporary_.c_str(), path_.c_str()) != 0) {
        const SysError reason = FromErrno(errno);
        Abandon();
        return reason;
    }
    const std::filesystem::path replaced = std::exchange(temporary_, {});
    bool flushed = false;
    if (folder.Ok()) {
        SetNtfsShortName(folder.Number(), name, shortName);
        flushed = ::fsync(folder.Number()) == 0;
    }
    ours_ = true;
    if (keep) {
        spare_ = Spare{replaced, identity_, *std::exchange(changed_, {})};
        // It might still be the file that a power cut brings back.
        if (!flushed) {
            DropSpare();
        }
    }
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) {
        return FromErrno(errno);
    }
    return IdentityOf(status);
}

void FileReplacement::Abandon() {
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        temporary_.clear();
    }
}

}  // namespace kel::offline
