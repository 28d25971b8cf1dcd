#include "offline/OfflineFilesHost.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace kel::offline {

using platform::SysError;

SysError FromErrno(int number) {
    switch (number) {
        case 0:
            return SysError::Success;
        case ENOENT:
            return SysError::FileNotFound;
        case ENOTDIR:
            return SysError::PathNotFound;
        case EEXIST:
            return SysError::AlreadyExists;
        case ENOTEMPTY:
            return SysError::DirNotEmpty;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return SysError::DiskFull;
        case EROFS:
            return SysError::WriteProtect;
        case EMFILE:
        case ENFILE:
            return SysError::TooManyOpenFiles;
        case ENOMEM:
            return SysError::NotEnoughMemory;
        case ENAMETOOLONG:
            return SysError::InvalidName;
        case EXDEV:
            return SysError::NotSameDevice;
        case EINVAL:
            return SysError::InvalidParameter;
        case ETXTBSY:
        case EBUSY:
            return SysError::SharingViolation;
        case EIO:
            return SysError::GeneralFailure;
        default:
            // EACCES, EPERM, ELOOP, EISDIR, ENXIO: there, and not to be used.
            return SysError::AccessDenied;
    }
}

HostFd::~HostFd() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

HostFd OpenBeneath(int folder, const std::string& name, int flags, mode_t mode) {
    static bool missing = false;  // of the process, as the kernel is
    if (!missing) {
        open_how how{};
        // With O_PATH nothing else is allowed.
        how.flags = static_cast<__u64>(flags | O_CLOEXEC | O_NOFOLLOW | ((flags & O_PATH) != 0 ? 0 : O_NOCTTY));
        how.mode = (flags & O_CREAT) != 0 ? mode : 0;
        how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
        const long fd = syscall(SYS_openat2, folder, name.c_str(), &how, sizeof how);
        // Containers may forbid the call with EPERM; then it is as good as missing.
        if (fd >= 0 || (errno != ENOSYS && errno != EPERM)) {
            return HostFd(static_cast<int>(fd));
        }
        missing = errno == ENOSYS;
    }
    // One component: without following it there is no way out.
    if (name.empty() || name == ".." || name.find('/') != std::string::npos) {
        errno = EXDEV;
        return HostFd();
    }
    return HostFd(openat(folder, name.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY, mode));
}

HostFd OpenPlainFile(int folder, const std::string& name, int flags) {
    // Looked at first, because opening a device can already do something; looked at again, because it can be swapped.
    struct stat status {};
    if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return HostFd();
    }
    const auto refusal = [](mode_t mode) {
        return S_ISREG(mode) ? 0 : S_ISDIR(mode) ? EISDIR : S_ISLNK(mode) ? ELOOP : ENXIO;
    };
    if (const int error = refusal(status.st_mode); error != 0) {
        errno = error;
        return HostFd();
    }
    HostFd fd = OpenBeneath(folder, name, flags | O_NONBLOCK);
    if (!fd.Valid()) {
        return fd;
    }
    if (fstat(fd.Get(), &status) != 0) {
        return HostFd();
    }
    if (const int error = refusal(status.st_mode); error != 0) {
        errno = error;
        return HostFd();
    }
    return fd;
}

std::string ProcPath(int folder, std::string_view name) {
    std::string path = "/proc/self/fd/" + std::to_string(folder) + "/";
    path += name;
    return path;
}

}  // namespace kel::offline
