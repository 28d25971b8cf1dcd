// Files read ahead one after the other, as far as only the host's side shows it.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "HostMachine.h"
#include "support/EnvironmentVariable.h"

namespace kel::test {
namespace {

using platform::AheadFile;

class AheadOnHost : public HostMachine {
protected:
    AheadOnHost() {
        for (int number = 0; number < 60; ++number) {
            Put(Root() / (std::to_string(number) + ".bin"), std::string(20'000, 'x'));
        }
        Mkdir(Root() / "sub");
        // A file that was written just now is not opened ahead.
        const auto anHourAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
        for (const auto& entry : std::filesystem::directory_iterator(Root())) {
            std::filesystem::last_write_time(entry, anHourAgo);
        }
        do {
            folder_ = Files().Ahead("C:\\");
        } while (folder_->OpenNamed("59.bin") == nullptr);
    }
    // The medium's own copy is all that is left of it.
    void Forget(const std::filesystem::path& path) {
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        fsync(fd);
        posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
        close(fd);
    }
    std::unique_ptr<AheadFile> Open(const std::string& name) { return folder_->OpenNamed(name); }

    const EnvironmentVariable alone_{"KEL_READ_RING", "0"};
    std::unique_ptr<platform::FolderAhead> folder_;
};

TEST_F(AheadOnHost, WhatTheMediumAloneHasIsNotInMemoryUntilItIsRead) {
    Forget(Root() / "1.bin");
    const auto file = Open("1.bin");
    ASSERT_NE(file, nullptr);
    if (file->InMemory().value_or(true)) {
        GTEST_SKIP() << "the files of tests lie in memory here";
    }
    EXPECT_EQ(file->InMemory(), false) << "to ask brings nothing into memory";
    std::array<std::byte, 100> some{};
    EXPECT_EQ(file->Read(some), some.size());
    EXPECT_EQ(file->InMemory(), true);
}

TEST_F(AheadOnHost, WhatIsAskedForIsReadWhole) {
    std::vector<std::unique_ptr<AheadFile>> files;
    for (int number = 0; number < 60; ++number) {
        Forget(Root() / (std::to_string(number) + ".bin"));
        files.push_back(Open(std::to_string(number) + ".bin"));
        ASSERT_NE(files.back(), nullptr);
        files.back()->WillBeRead();
    }
    for (const auto& file : files) {
        std::string all(30'000, ' ');
        EXPECT_EQ(file->Read(std::as_writable_bytes(std::span(all))), 20'000U);
        EXPECT_EQ(std::count(all.begin(), all.end(), 'x'), 20'000);
    }
}

TEST_F(AheadOnHost, AFolderThatIsAskedForIsEnteredAsEver) {
    ASSERT_EQ(folder_->Name(folder_->Count() - 1), "sub");
    for (int i = 0; i < 20; ++i) {
        folder_->WillBeEntered(folder_->Count() - 1);
    }
    EXPECT_NE(Files().Ahead("C:\\sub\\"), nullptr);
}

TEST_F(AheadOnHost, FilesAreOpenedAheadOnlyWhileDescriptorsAreLeftForOthers) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{64, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    folder_ = Files().Ahead("C:\\");
    std::vector<std::unique_ptr<AheadFile>> files;
    for (int number = 0; number < 60; ++number) {
        files.push_back(Open(std::to_string(number) + ".bin"));
        if (files.back()) {
            files.back()->WillBeRead();
        }
    }
    const auto opened = files.size() - static_cast<std::size_t>(std::count(files.begin(), files.end(), nullptr));
    const bool readable = Read("C:\\0.bin") == std::string(20'000, 'x');
    files.clear();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_GT(opened, 10U);
    EXPECT_LE(opened, 48U);
    EXPECT_TRUE(readable);
}

}  // namespace
}  // namespace kel::test
