#include "offline/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

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
    return IdentityOf(status);
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

SysError FileReplacement::Prepare(const std::filesystem::path& path, const FileIdentity& identity,
                                  std::string_view bytes) {
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
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) {
        return FromErrno(errno);
    }
    std::string name = (path_.parent_path() / ("." + path_.filename().string() + ".new-XXXXXX")).string();
    Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (!file.Ok()) {
        return FromErrno(errno);
    }
    temporary_ = name;
    if (const Descriptor old(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)); old.Ok()) {
        CopyFileTraits(old.Number(), file.Number(), KeptTimes::Creation);
    }
    const bool ownerKept = ::fchown(file.Number(), status.st_uid, status.st_gid) == 0 || status.st_uid == ::geteuid();
    const bool written = ownerKept && ::fchmod(file.Number(), status.st_mode & 07777) == 0 &&
                         WriteAll(file.Number(), bytes) && ::fsync(file.Number()) == 0 && file.Close();
    if (!written) {
        const SysError reason = FromErrno(errno);
        Abandon();
        return reason;
    }
    return SysError::Success;
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
    if (::rename(temporary_.c_str(), path_.c_str()) != 0) {
        const SysError reason = FromErrno(errno);
        Abandon();
        return reason;
    }
    temporary_.clear();
    if (folder.Ok()) {
        SetNtfsShortName(folder.Number(), name, shortName);
        ::fsync(folder.Number());
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
