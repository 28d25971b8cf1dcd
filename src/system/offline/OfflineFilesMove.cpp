#include "offline/OfflineFilesMove.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "offline/OfflineFilesAttributes.h"
#include "offline/OfflineFilesOpen.h"

namespace kel::offline {

using platform::SysError;

namespace {

SysError RenameNames(int fromFolder, const std::string& from, int toFolder, const std::string& to, bool sameEntry) {
    if (renameat2(fromFolder, from.c_str(), toFolder, to.c_str(), RENAME_NOREPLACE) == 0) {
        return SysError::Success;
    }
    // EINVAL, ENOSYS: a mount that does not know the flag (or a folder that is to go into itself, which fails again).
    // EEXIST: a host that folds case sees the name itself when only the case changes.
    if (errno != EINVAL && errno != ENOSYS && !(errno == EEXIST && sameEntry)) {
        return FromErrno(errno);
    }
    struct stat status {};
    if (!sameEntry && fstatat(toFolder, to.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        return SysError::AlreadyExists;
    }
    return renameat(fromFolder, from.c_str(), toFolder, to.c_str()) == 0 ? SysError::Success : FromErrno(errno);
}

std::string PassingName() {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) {
        number = static_cast<std::uint64_t>(getpid());
    }
    return "~kel" + std::to_string(number) + ".tmp";
}

}  // namespace

SysError RenameEntry(const Place& from, const Place& to) {
    const bool sameEntry = to.exists && from.folder == to.folder && from.name == to.name;
    // Of an entry that is there under another case, the wanted spelling is the last component as it was asked for.
    return RenameNames(from.folder->Fd(), from.OnHost(), to.folder->Fd(), to.WantedOnHost(), sameEntry);
}

SysError MoveAcross(const Place& from, const Place& to) {
    const HostFd source = OpenPlainFile(from.folder->Fd(), from.OnHost(), O_RDONLY);
    if (!source.Valid()) {
        return FromErrno(errno);
    }
    const int target = to.folder->Fd();
    const std::string passing = PassingName();
    {
        const HostFd copy = OpenBeneath(target, passing, O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
        if (!copy.Valid()) {
            return FromErrno(errno);
        }
        SysError error = CopyBytes(source.Get(), copy.Get());
        if (error == SysError::Success) {
            CopyFileTraits(source.Get(), copy.Get());
            error = fsync(copy.Get()) == 0 ? SysError::Success : FromErrno(errno);
        }
        if (error != SysError::Success) {
            unlinkat(target, passing.c_str(), 0);
            return error;
        }
    }
    const std::string name = to.WantedOnHost();
    if (const SysError error = RenameNames(target, passing, target, name, false); error != SysError::Success) {
        unlinkat(target, passing.c_str(), 0);
        return error;
    }
    if (const HostFd named = OpenPlainFile(target, name, O_RDONLY); named.Valid()) {
        CopyShortName(source.Get(), named.Get());
    }
    // The new name must be on the medium before the old one goes.
    fsync(target);
    if (unlinkat(from.folder->Fd(), from.OnHost().c_str(), 0) != 0) {
        const SysError error = FromErrno(errno);
        unlinkat(target, name.c_str(), 0);
        return error;
    }
    return SysError::Success;
}

}  // namespace kel::offline
