// The program's own definitions come before those of the C library.
#include "HostCalls.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace kel::test {

namespace {

HostCalls* current = nullptr;

bool IsFull(int file) {
    if (current == nullptr || !current->isFull || file <= STDERR_FILENO) {
        return false;
    }
    char path[PATH_MAX];
    const ssize_t size = ::readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path, sizeof path);
    return size > 0 && current->isFull({path, static_cast<std::size_t>(size)});
}

}  // namespace

HostCalls::HostCalls() {
    current = this;
}

HostCalls::~HostCalls() {
    current = nullptr;
}

}  // namespace kel::test

extern "C" {

ssize_t write(int file, const void* bytes, size_t count) {
    if (kel::test::current != nullptr && kel::test::current->onWrite) {
        kel::test::current->onWrite({static_cast<const char*>(bytes), count});
    }
    if (kel::test::IsFull(file)) {
        errno = ENOSPC;
        return -1;
    }
    return ::syscall(SYS_write, file, bytes, count);
}

int unlinkat(int folder, const char* name, int flags) noexcept {
    if (kel::test::current != nullptr && kel::test::current->onRemove) {
        kel::test::current->onRemove(name);
    }
    return static_cast<int>(::syscall(SYS_unlinkat, folder, name, flags));
}

}  // extern "C"
