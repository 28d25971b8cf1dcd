#include "offline/WineServerLock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>

namespace kel::offline {

namespace {

// Only the owner of a prefix can run a server for it, so a server's folder that its owner hides from us counts as held
// when the prefix is that owner's.
bool IsHeld(const std::filesystem::path& root, const std::filesystem::path& lock, uid_t prefixOwner) {
    const int file = ::open(lock.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        struct stat status {};
        return errno == EACCES && ::stat(root.c_str(), &status) == 0 && status.st_uid == prefixOwner;
    }
    struct flock request {};
    request.l_type = F_WRLCK;
    request.l_whence = SEEK_SET;
    const bool asked = ::fcntl(file, F_GETLK, &request) == 0;
    ::close(file);
    return asked && request.l_type != F_UNLCK;
}

bool IsServerRoot(std::string_view name) {
    return name.starts_with(".wine-") || name.starts_with("wine-");
}

}  // namespace

std::string HeldServerLock(const std::filesystem::path& prefix) {
    struct stat status {};
    if (::stat(prefix.c_str(), &status) != 0) {
        return {};
    }
    std::array<char, 64> server{};
    std::snprintf(server.data(), server.size(), "server-%llx-%llx", static_cast<unsigned long long>(status.st_dev),
                  static_cast<unsigned long long>(status.st_ino));
    std::error_code ignored;
    // Servers keep their folders in /tmp, whatever TMPDIR says: one root for each user, or one for each prefix.
    for (auto entry = std::filesystem::directory_iterator("/tmp", ignored);
         entry != std::filesystem::directory_iterator(); entry.increment(ignored)) {
        if (!IsServerRoot(entry->path().filename().native())) {
            continue;
        }
        const std::filesystem::path lock = entry->path() / server.data() / "lock";
        if (IsHeld(entry->path(), lock, status.st_uid)) {
            return lock.string();
        }
    }
    return {};
}

}  // namespace kel::offline
