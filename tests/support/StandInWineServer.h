// A process that holds the lock of a Wine prefix as the prefix's server does.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace kel::test {

/// From the start there is a lock that nobody holds, in a folder named like those that servers make. For the life of
/// the object.
class StandInWineServer {
public:
    explicit StandInWineServer(const std::filesystem::path& prefix) {
        struct stat status {};
        EXPECT_EQ(::stat(prefix.c_str(), &status), 0);
        std::string pattern = "/tmp/.wine-kel-XXXXXX";
        EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
        root_ = pattern;
        std::array<char, 64> name{};
        std::snprintf(name.data(), name.size(), "server-%lx-%lx", static_cast<unsigned long>(status.st_dev),
                      static_cast<unsigned long>(status.st_ino));
        lock_ = root_ / name.data() / "lock";
        std::filesystem::create_directory(lock_.parent_path());
        const std::ofstream made(lock_);
    }
    ~StandInWineServer() {
        Release();
        std::filesystem::remove_all(root_);
    }
    StandInWineServer(const StandInWineServer&) = delete;
    StandInWineServer& operator=(const StandInWineServer&) = delete;

    [[nodiscard]] const std::filesystem::path& Root() const { return root_; }
    [[nodiscard]] const std::filesystem::path& Lock() const { return lock_; }

    /// Returns when the lock is held.
    void Hold() {
        std::array<int, 2> ready{};
        ASSERT_EQ(::pipe(ready.data()), 0);
        holder_ = ::fork();
        ASSERT_GE(holder_, 0);
        if (holder_ == 0) {
            const int file = ::open(lock_.c_str(), O_RDWR);
            struct flock request {};
            request.l_type = F_WRLCK;
            request.l_whence = SEEK_SET;
            const char answer = ::fcntl(file, F_SETLK, &request) == 0 ? 'y' : 'n';
            if (::write(ready[1], &answer, 1) == 1) {
                ::pause();
            }
            ::_exit(0);
        }
        char answer = 'n';
        EXPECT_EQ(::read(ready[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        ::close(ready[0]);
        ::close(ready[1]);
    }
    void Release() {
        if (holder_ > 0) {
            ::kill(holder_, SIGKILL);
            ::waitpid(holder_, nullptr, 0);
            holder_ = -1;
        }
    }

private:
    std::filesystem::path root_;
    std::filesystem::path lock_;
    pid_t holder_ = -1;
};

}  // namespace kel::test
