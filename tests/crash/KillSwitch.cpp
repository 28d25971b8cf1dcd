// The C library's calls that change a disk, in front of the library's own: the program's definitions come first.
#include "KillSwitch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstdio>

namespace kel::test::killSwitch {

namespace {

std::uint64_t stepsLeft = 0;

void Step() {
    if (stepsLeft != 0 && --stepsLeft == 0) {
        ::_exit(Killed);
    }
}

template <typename... Arguments>
long Call(long number, Arguments... arguments) {
    Step();
    const long result = ::syscall(number, arguments...);
    Step();
    return result;
}

}  // namespace

void Arm(std::uint64_t step) {
    stepsLeft = step;
}

}  // namespace kel::test::killSwitch

using kel::test::killSwitch::Call;

extern "C" {

ssize_t write(int file, const void* bytes, size_t count) {
    return file <= STDERR_FILENO ? ::syscall(SYS_write, file, bytes, count) : Call(SYS_write, file, bytes, count);
}

int ftruncate(int file, off_t size) noexcept {
    return static_cast<int>(Call(SYS_ftruncate, file, size));
}

int unlink(const char* path) noexcept {
    return static_cast<int>(Call(SYS_unlinkat, AT_FDCWD, path, 0));
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return static_cast<int>(Call(SYS_unlinkat, folder, path, flags));
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
    return static_cast<int>(Call(SYS_mkdirat, folder, path, mode));
}

int rename(const char* from, const char* to) noexcept {
    return static_cast<int>(Call(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0U));
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return static_cast<int>(Call(SYS_renameat2, fromFolder, from, toFolder, to, 0U));
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags) noexcept {
    return static_cast<int>(Call(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int fchmod(int file, mode_t mode) noexcept {
    return static_cast<int>(Call(SYS_fchmod, file, mode));
}

int setxattr(const char* path, const char* name, const void* value, size_t size, int flags) noexcept {
    return static_cast<int>(Call(SYS_setxattr, path, name, value, size, flags));
}

int fsetxattr(int file, const char* name, const void* value, size_t size, int flags) noexcept {
    return static_cast<int>(Call(SYS_fsetxattr, file, name, value, size, flags));
}

}  // extern "C"
