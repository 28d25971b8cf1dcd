// How a changed file gets onto the disk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <fstream>

#include "Scratch.h"
#include "offline/MachineView.h"
#include "offline/OfflinePlatform.h"
#include "offline/OfflineRegistry.h"
#include "offline/WineRegistryFile.h"
#include "offline/WineServerLock.h"
#include "support/StandInWineServer.h"

namespace kel::offline {
namespace {

namespace fs = std::filesystem;
using platform::SysError;
using test::Get;
using test::KeyAt;
using test::RegistryFile;
using test::Wide;

constexpr std::string_view Keys = "\n[A] 1700000000\n#time=1da1747c9e5c000\n\"v\"=\"1\"\n";

class WineCommit : public ::testing::Test {
protected:
    fs::path Put(std::string_view name = "user.reg") { return scratch_.Put(name, RegistryFile(Keys)); }
    static void Edit(WineRegistryFile& file) {
        EXPECT_EQ(file.SetValue(KeyAt(file, u"A"), u"v", 1, Wide("2")), SysError::Success);
    }
    std::size_t FilesThere() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(scratch_.Folder()), fs::directory_iterator()));
    }
    // Not by the superuser, whom the host's permissions do not stop.
    [[nodiscard]] static bool MayEverything() { return ::geteuid() == 0; }

    test::Scratch scratch_;
};

struct stat StatusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status;
}

TEST_F(WineCommit, WithoutAChangeNothingIsWritten) {
    const fs::path path = Put();
    const auto before = StatusOf(path);
    WineRegistryFile file(path);
    EXPECT_EQ(file.Commit(), SysError::Success);
    EXPECT_EQ(StatusOf(path).st_ino, before.st_ino);
}

TEST_F(WineCommit, ReplacesTheFileWhole) {
    const fs::path path = Put();
    const auto before = StatusOf(path);
    WineRegistryFile file(path);
    Edit(file);
    const std::string wanted = file.Render();
    EXPECT_EQ(file.Commit(), SysError::Success);
    EXPECT_EQ(Get(path), wanted);
    EXPECT_NE(wanted, RegistryFile(Keys));
    EXPECT_NE(StatusOf(path).st_ino, before.st_ino);
    EXPECT_EQ(FilesThere(), 1U);
    Edit(file);
    EXPECT_EQ(file.SetValue(KeyAt(file, u"A"), u"w", 1, Wide("3")), SysError::Success);
    EXPECT_EQ(file.Commit(), SysError::Success) << "a second time";
}

TEST_F(WineCommit, CarriesModeOwnerAndAttributesOver) {
    const fs::path path = Put();
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    if (MayEverything()) {
        ASSERT_EQ(::chown(path.c_str(), 1234, 2345), 0);
    }
    const bool attributes = ::setxattr(path.c_str(), "user.note", "kept", 4, 0) == 0;
    const auto before = StatusOf(path);
    WineRegistryFile file(path);
    Edit(file);
    EXPECT_EQ(file.Commit(), SysError::Success);
    const auto after = StatusOf(path);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    if (attributes) {
        std::array<char, 8> value{};
        EXPECT_EQ(::getxattr(path.c_str(), "user.note", value.data(), value.size()), 4);
    }
}

TEST_F(WineCommit, ALinkedFileIsReplacedWhereItLies) {
    const fs::path real = Put("real.reg");
    const fs::path link = scratch_.Folder() / "user.reg";
    fs::create_symlink("real.reg", link);
    WineRegistryFile file(link);
    Edit(file);
    EXPECT_EQ(file.Commit(), SysError::Success);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(Get(real), file.Text());
}

TEST_F(WineCommit, AHardLinkKeepsTheOldText) {
    const fs::path path = Put();
    fs::create_hard_link(path, scratch_.Folder() / "clone.reg");
    WineRegistryFile file(path);
    Edit(file);
    EXPECT_EQ(file.Commit(), SysError::Success);
    EXPECT_EQ(Get(scratch_.Folder() / "clone.reg"), RegistryFile(Keys));
}

TEST_F(WineCommit, AFileThatChangedMeanwhileIsLeftAlone) {
    const fs::path path = Put();
    WineRegistryFile file(path);
    Edit(file);
    const std::string other = RegistryFile("\n[Other] 1\n");
    scratch_.Put("user.reg", other);
    EXPECT_EQ(file.Commit(), SysError::SharingViolation);
    EXPECT_EQ(Get(path), other);
    EXPECT_TRUE(file.Changed());
    EXPECT_EQ(FilesThere(), 1U);
}

TEST_F(WineCommit, AFileThatChangedBetweenTheHalvesIsLeftAlone) {
    const fs::path path = Put();
    WineRegistryFile file(path);
    Edit(file);
    EXPECT_EQ(file.Prepare(), SysError::Success);
    EXPECT_EQ(FilesThere(), 2U);
    const std::string other = RegistryFile("\n[Other] 1\n");
    scratch_.Put("user.reg", other);
    EXPECT_EQ(file.Commit(), SysError::SharingViolation);
    EXPECT_EQ(Get(path), other);
    EXPECT_EQ(FilesThere(), 1U);
}

TEST_F(WineCommit, AChangeAfterPreparingIsInTheFile) {
    const fs::path path = Put();
    WineRegistryFile file(path);
    Edit(file);
    EXPECT_EQ(file.Prepare(), SysError::Success);
    EXPECT_EQ(file.SetValue(KeyAt(file, u"A"), u"late", 1, Wide("x")), SysError::Success);
    EXPECT_EQ(FilesThere(), 1U) << "what was prepared is void";
    EXPECT_EQ(file.Commit(), SysError::Success);
    EXPECT_NE(Get(path).find("\"late\"=\"x\""), std::string::npos);
}

TEST_F(WineCommit, WhatIsAbandonedLeavesNothingBehind) {
    const fs::path path = Put();
    {
        WineRegistryFile file(path);
        Edit(file);
        EXPECT_EQ(file.Prepare(), SysError::Success);
        file.Abandon();
        EXPECT_EQ(FilesThere(), 1U);
        EXPECT_EQ(file.Prepare(), SysError::Success);
    }
    EXPECT_EQ(FilesThere(), 1U);
    EXPECT_EQ(Get(path), RegistryFile(Keys));
}

TEST_F(WineCommit, AFolderThatMayNotBeWrittenIsAnError) {
    if (MayEverything()) {
        GTEST_SKIP() << "the superuser may write everywhere";
    }
    const fs::path path = Put();
    WineRegistryFile file(path);
    Edit(file);
    fs::permissions(scratch_.Folder(), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(file.Commit(), SysError::AccessDenied);
    fs::permissions(scratch_.Folder(), fs::perms::owner_all);
}

TEST_F(WineCommit, AllFilesChangeOrNone) {
    const fs::path system = Put("system.reg");
    const fs::path user = Put("user.reg");
    OfflineRegistry registry;
    registry.Add({u"MACHINE"}, std::make_unique<WineRegistryFile>(system));
    registry.Add({u"USER", u"S-1"}, std::make_unique<WineRegistryFile>(user));
    registry.SetCurrentUser(u"S-1");
    registry.SetWritable(true);
    for (const platform::Hive hive : {platform::HiveLocalMachine, platform::HiveCurrentUser}) {
        auto key = registry.Create(hive, "New");
        ASSERT_TRUE(key.Ok());
    }
    const std::string other = RegistryFile("\n[Other] 1\n");
    scratch_.Put("user.reg", other);
    EXPECT_EQ(registry.Commit(), SysError::SharingViolation);
    EXPECT_EQ(Get(system), RegistryFile(Keys));
    EXPECT_EQ(Get(user), other);
    EXPECT_EQ(FilesThere(), 2U);
    registry.Discard();
    EXPECT_FALSE(registry.Open(platform::HiveLocalMachine, "New", platform::AccessMaximumAllowed).Ok());
    EXPECT_EQ(registry.Commit(), SysError::Success);
}

TEST_F(WineCommit, WhatIsNoFileIsRefused) {
    fs::create_directory(scratch_.Folder() / "folder");
    ASSERT_EQ(::mkfifo((scratch_.Folder() / "pipe").c_str(), 0600), 0);
    for (const char* name : {"folder", "pipe", "missing"}) {
        EXPECT_THROW(WineRegistryFile(scratch_.Folder() / name), OpenError) << name;
    }
}

// A prefix with a server's lock.
class LivePrefix : public WineCommit {
protected:
    void SetUp() override {
        fs::create_directories(scratch_.Folder() / "drive_c" / "windows");
        Put("system.reg");
        Put("user.reg");
    }

    test::StandInWineServer server_{scratch_.Folder()};
};

TEST_F(LivePrefix, IsToldByTheServersLock) {
    EXPECT_EQ(HeldServerLock(scratch_.Folder()), "") << "a lock file that nobody holds is an old one";
    server_.Hold();
    EXPECT_EQ(HeldServerLock(scratch_.Folder()), server_.Lock().string());
    EXPECT_EQ(HeldServerLock(server_.Root()), "") << "another folder";
    server_.Release();
    EXPECT_EQ(HeldServerLock(scratch_.Folder()), "");
}

TEST_F(LivePrefix, CanBeReadAndIsNotOpenedForWriting) {
    server_.Hold();
    MachineOptions options;
    options.machine = scratch_.Folder();
    EXPECT_NO_THROW(OfflinePlatform{options});
    options.writable = true;
    try {
        const OfflinePlatform platform(options);
        FAIL() << "opened";
    } catch (const OpenError& error) {
        EXPECT_NE(std::string(error.what()).find(server_.Lock().string()), std::string::npos) << error.what();
    }
}

TEST_F(LivePrefix, IsNotCommittedWhenItsServerCameMeanwhile) {
    const fs::path path = scratch_.Folder() / "user.reg";
    WineRegistryFile file(path, scratch_.Folder());
    Edit(file);
    server_.Hold();
    EXPECT_EQ(file.Commit(), SysError::SharingViolation);
    EXPECT_EQ(Get(path), RegistryFile(Keys));
    server_.Release();
    EXPECT_EQ(file.Commit(), SysError::Success);
}

}  // namespace
}  // namespace kel::offline
