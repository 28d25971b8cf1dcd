// Files that are opened and read ahead: one after the other, and by the kernel beside us.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ctime>
#include <limits>
#include <thread>

#include "HostMachine.h"
#include "offline/ReadRing.h"
#include "support/EnvironmentVariable.h"
#include "support/OpenDescriptors.h"

namespace kel::test {
namespace {

using platform::AheadFile;
using platform::FolderAhead;

// The parameter is the value of the variable: 0 for one after the other, 1 for beside us.
class AheadFiles : public HostMachine, public ::testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        if (Beside() && !offline::ReadRing::Make()) {
            GTEST_SKIP() << "this kernel reads nothing beside us, or there is one processor only";
        }
    }

    [[nodiscard]] static bool Beside() { return GetParam()[0] == '1'; }
    void PutOld(const std::string& name, std::string_view bytes) { Put(Root() / "f" / name, bytes); }
    void SetTime(const std::string& name, time_t seconds) {
        const timespec times[] = {{seconds, 0}, {seconds, 1}};
        EXPECT_EQ(utimensat(AT_FDCWD, (Root() / "f" / name).c_str(), times, 0), 0) << name;
    }
    // After which what was written is taken for being at rest.
    static void Settle() { std::this_thread::sleep_for(std::chrono::milliseconds(60)); }
    [[nodiscard]] std::unique_ptr<FolderAhead> Folder() { return Files().Ahead("C:\\f\\"); }
    static std::unique_ptr<AheadFile> Open(FolderAhead& folder, std::string_view name) {
        return folder.OpenNamed(name);
    }
    [[nodiscard]] static bool IsOpen(const std::unique_ptr<AheadFile>& file) { return file && file->Opened(); }
    // Whole, in pieces of a size.
    static std::string Bytes(AheadFile& file, std::size_t piece) {
        std::string all;
        std::vector<std::byte> buffer(piece);
        for (;;) {
            const std::size_t got = file.BeginRead(buffer) ? file.EndRead() : file.Read(buffer);
            if (got == 0) {
                return all;
            }
            all.append(reinterpret_cast<const char*>(buffer.data()), got);
        }
    }
    // Closings go their way beside us too.
    [[nodiscard]] static bool ComesDownTo(std::size_t descriptors) {
        for (int look = 0; look < 1000; ++look) {
            if (OpenDescriptors() <= descriptors) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }

    const EnvironmentVariable ring_{"KEL_READ_RING", GetParam()};
};

TEST_P(AheadFiles, AreReadWhole) {
    std::string large;
    for (int number = 0; large.size() < 400'000; ++number) {
        large += std::to_string(number);
    }
    PutOld("large.bin", large);
    PutOld("small.bin", "some bytes");
    PutOld("empty.bin", "");
    Settle();
    const auto folder = Folder();
    for (const auto& [name, bytes] :
         {std::pair<const char*, std::string>{"large.bin", large}, {"small.bin", "some bytes"}, {"empty.bin", ""}}) {
        for (const std::size_t piece : {std::size_t{7777}, std::size_t{1} << 17}) {
            const auto file = Open(*folder, name);
            ASSERT_TRUE(IsOpen(file)) << name;
            EXPECT_EQ(file->Stamp(), Files().Stamp("C:\\f\\" + std::string(name)).ValueOr({}));
            EXPECT_EQ(file->Stamp().size, bytes.size());
            EXPECT_EQ(Bytes(*file, piece), bytes) << name;
        }
    }
    EXPECT_EQ(folder->AtOnce() > 1, Beside());
}

TEST_P(AheadFiles, ManyAtOnceAreEachItself) {
    for (int number = 0; number < 300; ++number) {
        PutOld(std::to_string(number),
               std::string(static_cast<std::size_t>(number * 50), static_cast<char>('a' + number % 26)));
    }
    Settle();
    const auto folder = Folder();
    std::vector<std::unique_ptr<AheadFile>> files;
    std::vector<std::array<std::byte, 20'000>> bytes(folder->Count());
    std::vector<bool> begun;
    for (std::size_t index = 0; index < folder->Count(); ++index) {
        files.push_back(folder->Open(index));
    }
    for (std::size_t index = 0; index < files.size(); ++index) {
        ASSERT_TRUE(IsOpen(files[index]));
        begun.push_back(files[index]->BeginRead(bytes[index]));
    }
    for (std::size_t index = files.size(); index-- > 0;) {
        const int number = std::stoi(std::string(folder->Name(index)));
        const std::size_t got = begun[index] ? files[index]->EndRead() : files[index]->Read(bytes[index]);
        const std::string_view text(reinterpret_cast<const char*>(bytes[index].data()), got);
        EXPECT_EQ(text, std::string(static_cast<std::size_t>(number * 50), static_cast<char>('a' + number % 26)));
    }
}

TEST_P(AheadFiles, WhatIsNoPlainFileAnyMoreIsNotOpened) {
    for (const char* name : {"gone", "linked", "pipe", "folder"}) {
        PutOld(name, "bytes");
    }
    Put(Outside() / "secret", "bytes");
    Settle();
    const auto folder = Folder();
    const std::filesystem::path host = Root() / "f";
    for (const char* name : {"gone", "linked", "pipe", "folder"}) {
        std::filesystem::remove(host / name);
    }
    std::filesystem::create_symlink(Outside() / "secret", host / "linked");
    ASSERT_EQ(mkfifo((host / "pipe").c_str(), 0600), 0);
    std::filesystem::create_directory(host / "folder");
    for (const char* name : {"gone", "linked", "pipe", "folder"}) {
        EXPECT_FALSE(IsOpen(Open(*folder, name))) << name;
    }
}

TEST_P(AheadFiles, OneThatHasJustChangedIsNotTrusted) {
    PutOld("new.bin", "bytes");
    SetTime("new.bin", ::time(nullptr) + 3600);  // so that it stays new, however long this takes
    const auto folder = Folder();
    const auto file = Open(*folder, "new.bin");
    EXPECT_FALSE(IsOpen(file));
}

TEST_P(AheadFiles, TimesMayLieAnywhere) {
    constexpr time_t Year2200 = 7'258'118'400;
    for (const time_t time : {std::numeric_limits<time_t>::min(), time_t{-2'000'000'000}, time_t{0}, time_t{1}}) {
        PutOld("old.bin", "bytes");
        SetTime("old.bin", time);
        Settle();
        EXPECT_TRUE(IsOpen(Open(*Folder(), "old.bin"))) << time;
    }
    for (const time_t time : {Year2200, 2 * Year2200, std::numeric_limits<time_t>::max()}) {
        PutOld("to come.bin", "bytes");
        SetTime("to come.bin", time);
        Settle();
        EXPECT_FALSE(IsOpen(Open(*Folder(), "to come.bin"))) << time;
    }
}

TEST_P(AheadFiles, OneThatShrinksEndsEarly) {
    PutOld("shrinks.bin", std::string(50'000, 'x'));
    Settle();
    const auto folder = Folder();
    const auto file = Open(*folder, "shrinks.bin");
    ASSERT_TRUE(IsOpen(file));
    std::filesystem::resize_file(Root() / "f" / "shrinks.bin", 100);
    EXPECT_EQ(Bytes(*file, 4096).size(), 100U);
}

TEST_P(AheadFiles, OnesThatNobodyWaitsForLeaveNoDescriptor) {
    for (int number = 0; number < 200; ++number) {
        PutOld(std::to_string(number), std::string(5000, 'x'));
    }
    Settle();
    const auto folder = Folder();
    Open(*folder, "0");  // the way is there, with its own descriptor
    const std::size_t before = OpenDescriptors();
    for (int turn = 0; turn < 3; ++turn) {
        std::vector<std::unique_ptr<AheadFile>> files;
        std::vector<std::array<std::byte, 5000>> bytes(folder->Count());
        for (std::size_t index = 0; index < folder->Count(); ++index) {
            files.push_back(folder->Open(index));
            if (turn > 0 && index % 3 == 0) {
                // Of the others some are open by now without anybody having looked.
                ASSERT_TRUE(IsOpen(files.back()));
                if (turn > 1) {
                    files.back()->BeginRead(bytes[index]);
                }
            }
        }
        files.clear();
        ASSERT_TRUE(IsOpen(Open(*folder, "1")));
    }
    EXPECT_TRUE(ComesDownTo(before + 1)) << OpenDescriptors() << " and " << before;
}

TEST_P(AheadFiles, WithoutADescriptorLeftNoneIsOpened) {
    for (int number = 0; number < 20; ++number) {
        PutOld(std::to_string(number), "bytes");
    }
    Settle();
    const auto folder = Folder();
    const auto howManyOpen = [&folder] {
        std::vector<std::unique_ptr<AheadFile>> files;
        std::size_t opened = 0;
        for (std::size_t index = 0; index < folder->Count(); ++index) {
            files.push_back(folder->Open(index));
            opened += IsOpen(files.back()) ? 1 : 0;
        }
        return opened;
    };
    ASSERT_TRUE(IsOpen(Open(*folder, "0")));
    const std::size_t kept = OpenDescriptors();
    // First with enough of them: at the first call on a type the sanitizer takes descriptors of its own.
    ASSERT_EQ(howManyOpen(), 20U);
    ASSERT_TRUE(ComesDownTo(kept));
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    // Others may lie above the number of those that are open; the lowest free number decides.
    const int lowest = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(lowest);
    const rlimit few{static_cast<rlim_t>(lowest) + 1, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    const std::size_t opened = howManyOpen();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_LT(opened, 20U);
    EXPECT_TRUE(IsOpen(Open(*folder, "0")));
}

TEST_P(AheadFiles, AreReadOneAfterTheOtherWhereDescriptorsAreFew) {
    PutOld("a.bin", std::string(5000, 'x'));
    Settle();
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{256, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    const auto folder = Folder();
    const auto file = Open(*folder, "a.bin");
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(IsOpen(file));
    EXPECT_EQ(folder->AtOnce(), 1U);
}

TEST_P(AheadFiles, OutliveTheirFolderAndTheMachine) {
    PutOld("a.bin", std::string(5000, 'x'));
    Settle();
    auto folder = Folder();
    auto file = Open(*folder, "a.bin");
    auto other = Open(*folder, "a.bin");
    folder.reset();
    Reopen({});
    ASSERT_TRUE(IsOpen(file));
    EXPECT_EQ(Bytes(*file, 4096).size(), 5000U);
}

INSTANTIATE_TEST_SUITE_P(Ways, AheadFiles, ::testing::Values("0", "1"), [](const auto& way) {
    return way.param[0] == '0' ? std::string("Alone") : std::string("Beside");
});

}  // namespace
}  // namespace kel::test
