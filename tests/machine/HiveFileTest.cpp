// How a changed hive gets onto the disk, and what stops it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>

#include "HiveFileFixture.h"
#include "offline/OfflineFilesHost.h"
#include "offline/OfflinePlatform.h"
#include "offline/OfflineRegistry.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using offline::HiveFile;
using offline::OfflineRegistry;
using offline::OpenError;
namespace regf = offline::regf;
using platform::SysError;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using HiveFileCommit = HiveFileTest;

// Whether the host lends files, and by that says who has one open.
bool CanTellWhoReads(const fs::path& path) {
    const offline::HostFd file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
    return ::fcntl(file.Get(), F_SETLEASE, F_WRLCK) == 0 && ::fcntl(file.Get(), F_SETLEASE, F_UNLCK) == 0;
}

TEST_F(HiveFileCommit, WhatIsReadAgainHasTheEdits) {
    for (const std::uint32_t minor : {1U, 3U, 6U}) {
        const fs::path path = PutHive("SYSTEM", minor);
        const auto hive = HiveFile::Open(path);
        Edit(*hive);
        EXPECT_TRUE(hive->Changed());
        EXPECT_EQ(hive->Commit(), SysError::Success);
        EXPECT_FALSE(hive->Changed());
        EXPECT_EQ(ContentAt(path), EditedContent()) << minor;
        EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
    }
}

TEST_F(HiveFileCommit, CanBeRepeated) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    Make(*hive, u"Second");
    EXPECT_EQ(hive->SetValue(At(*hive, u"New"), u"large", 3, Pattern(50'000)), SysError::Success);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ContentAt(path), Content(*hive));
    EXPECT_EQ(DeleteTree(*hive, hive->Root(), u"Second"), SysError::Success);
    EXPECT_EQ(hive->DeleteValue(At(*hive, u"New"), u"large"), SysError::Success);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ContentAt(path), EditedContent());
}

// From the third commit on only what changed is written, into the file before the last one.
TEST_F(HiveFileCommit, AgainAndAgainTheFileIsWhatIsInMemory) {
    const fs::path path = PutHive();
    auto hive = HiveFile::Open(path);
    std::vector<ino_t> files;
    for (std::uint32_t round = 0; round < 8; ++round) {
        const std::u16string name{u'K', static_cast<char16_t>(u'0' + round)};
        Make(*hive, name);
        // The sixth round lets go what the others took, the next ones take it again.
        if (round == 5) {
            EXPECT_EQ(hive->DeleteValue(At(*hive, u"K2"), u"data"), SysError::Success);
            EXPECT_EQ(hive->DeleteValue(At(*hive, u"K3"), u"data"), SysError::Success);
        } else {
            EXPECT_EQ(hive->SetValue(At(*hive, name), u"data", 3, Pattern(3'000 + 20'000 * (round % 3))),
                      SysError::Success);
        }
        if (round == 6) {
            hive->Discard();
            Make(*hive, u"Instead");
        }
        ASSERT_EQ(hive->Commit(), SysError::Success);
        files.push_back(StatusOf(path).st_ino);
        const auto written = ReadFileBytes(path);
        EXPECT_EQ(ContentAt(path), Content(*hive)) << round;
        const auto memory = hive->Render();
        ASSERT_EQ(written.size(), memory.size()) << round;
        EXPECT_TRUE(std::equal(written.begin() + 4096, written.end(), memory.begin() + 4096)) << round;
    }
    if (CanTellWhoReads(path)) {
        EXPECT_EQ(files[3], files[1]);
        EXPECT_EQ(files[4], files[2]);
        EXPECT_EQ(Names().size(), 2U);
    }
    hive.reset();
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
}

TEST_F(HiveFileCommit, AnotherNameOfAFileInBetweenKeepsItsBytes) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    std::vector<Bytes> states;
    for (char16_t round = u'0'; round < u'6'; ++round) {
        Make(*hive, std::u16string{u'K', round});
        ASSERT_EQ(hive->Commit(), SysError::Success);
        states.push_back(ReadFileBytes(path));
        fs::create_hard_link(path, Folder() / ("copy" + std::to_string(states.size())));
    }
    for (std::size_t round = 0; round < states.size(); ++round) {
        EXPECT_EQ(ReadFileBytes(Folder() / ("copy" + std::to_string(round + 1))), states[round]) << round;
    }
    EXPECT_EQ(ContentAt(path), Content(*hive));
}

TEST_F(HiveFileCommit, WhoHasAFileInBetweenOpenReadsOneStateOfIt) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    std::vector<Bytes> states;
    std::vector<offline::HostFd> readers;
    for (char16_t round = u'0'; round < u'6'; ++round) {
        Make(*hive, std::u16string{u'K', round});
        ASSERT_EQ(hive->Commit(), SysError::Success);
        states.push_back(ReadFileBytes(path));
        readers.emplace_back(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    }
    for (std::size_t round = 0; round < states.size(); ++round) {
        Bytes bytes(states[round].size() + 1);
        const ssize_t got = ::pread(readers[round].Get(), bytes.data(), bytes.size(), 0);
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        EXPECT_EQ(bytes, states[round]) << round;
    }
    EXPECT_EQ(ContentAt(path), Content(*hive));
}

TEST_F(HiveFileCommit, WithoutAChangeBytesAndTimeStay) {
    const fs::path path = PutHive();
    const Bytes before = ReadFileBytes(path);
    const auto status = StatusOf(path);
    const auto hive = HiveFile::Open(path);
    EXPECT_EQ(hive->Prepare(), SysError::Success);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    Edit(*hive);
    hive->Discard();
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ReadFileBytes(path), before);
    EXPECT_EQ(StatusOf(path).st_ino, status.st_ino);
    EXPECT_EQ(StatusOf(path).st_mtim.tv_sec, Long);
}

TEST_F(HiveFileCommit, ARefusedChangeIsNone) {
    const fs::path path = PutHive();
    const auto status = StatusOf(path);
    const auto hive = HiveFile::Open(path);
    EXPECT_EQ(hive->DeleteValue(At(*hive, u"A"), u"none"), SysError::FileNotFound);
    EXPECT_EQ(hive->DeleteKey(hive->Root(), u"none"), SysError::FileNotFound);
    EXPECT_TRUE(hive->CreateKey(hive->Root(), u"A").Ok());
    EXPECT_FALSE(hive->CreateKey(hive->Root(), u"a\\b").Ok());
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(StatusOf(path).st_ino, status.st_ino);
}

TEST_F(HiveFileCommit, ReplacesTheFileWholeSoThatAnotherNameOfItKeepsTheOldOne) {
    const fs::path path = PutHive();
    fs::create_hard_link(path, Folder() / "copy");
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ReadFileBytes(Folder() / "copy"), HiveBytes());
    EXPECT_EQ(ContentAt(path), EditedContent());
}

TEST_F(HiveFileCommit, CarriesModeOwnerAndAttributesOver) {
    const fs::path path = PutHive();
    ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(path.c_str(), 1234, 2345), 0);
    }
    const bool attributes = ::setxattr(path.c_str(), "user.DOSATTRIB", "0x26", 4, 0) == 0;
    const auto before = StatusOf(path);
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    const auto after = StatusOf(path);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    if (attributes) {
        std::string value(8, '\0');
        EXPECT_EQ(::getxattr(path.c_str(), "user.DOSATTRIB", value.data(), value.size()), 4);
        EXPECT_THAT(value, StartsWith("0x26"));
    }
}

TEST_F(HiveFileCommit, TheFileIsNewAsOfTheCommit) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    hive->SetClock([] { return Now + 77; });
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_GT(StatusOf(path).st_mtim.tv_sec, Long);
    EXPECT_EQ(ReadHive(ReadFileBytes(path))->Reader().Base().written, Now + 77);
}

TEST_F(HiveFileCommit, AFileThatChangedSinceItWasReadIsLeftAlone) {
    const Bytes other = HiveBytes(5);
    ASSERT_EQ(other.size(), HiveBytes().size());
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    Put("SYSTEM", other);
    EXPECT_EQ(hive->Commit(), SysError::SharingViolation);
    EXPECT_EQ(hive->Prepare(), SysError::SharingViolation);
    EXPECT_EQ(ReadFileBytes(path), other);
    EXPECT_TRUE(hive->Changed());
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
}

TEST_F(HiveFileCommit, AFileThatAnotherTookThePlaceOfIsLeftAlone) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    fs::rename(PutHive("other"), path);
    EXPECT_EQ(hive->Commit(), SysError::SharingViolation);
    EXPECT_EQ(ReadFileBytes(path), HiveBytes());
}

TEST_F(HiveFileCommit, AFileThatIsGoneIsNotMadeAnew) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    fs::remove(path);
    EXPECT_EQ(hive->Commit(), SysError::FileNotFound);
    EXPECT_TRUE(hive->Changed());
    EXPECT_THAT(Names(), ElementsAre());
}

TEST_F(HiveFileCommit, AFileThatChangedBetweenTheHalvesIsLeftAlone) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->Prepare(), SysError::Success);
    EXPECT_EQ(Names().size(), 2U);
    const Bytes other = HiveBytes(5);
    Put("SYSTEM", other);
    EXPECT_EQ(hive->Commit(), SysError::SharingViolation);
    EXPECT_EQ(ReadFileBytes(path), other);
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
}

TEST_F(HiveFileCommit, PreparingLeavesTheOldFileAsItIs) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->Prepare(), SysError::Success);
    EXPECT_EQ(hive->Prepare(), SysError::Success) << "once more changes nothing";
    EXPECT_EQ(ReadFileBytes(path), HiveBytes());
    EXPECT_EQ(Names().size(), 2U);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ContentAt(path), EditedContent());
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
}

TEST_F(HiveFileCommit, AChangeAfterPreparingIsInTheFile) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Make(*hive, u"Early");
    EXPECT_EQ(hive->Prepare(), SysError::Success);
    EXPECT_EQ(hive->DeleteKey(hive->Root(), u"Early"), SysError::Success);
    EXPECT_THAT(Names(), ElementsAre("SYSTEM")) << "what was prepared is void";
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ContentAt(path), EditedContent());
}

// A refusal may have moved cells before it came to that.
TEST_F(HiveFileCommit, ARefusedChangeAfterPreparingVoidsWhatWasPrepared) {
    Bytes bytes = HiveBytes();
    const auto sound = ReadHive(bytes);
    const auto field = [&](std::uint32_t cell, std::size_t at) {
        return bytes.data() + 4096 + sound->Reader().FieldAt(cell, at);
    };
    const std::uint32_t list = regf::Load32(field(At(*sound, u"A"), regf::nk::ValueListAt));
    regf::Store32(field(list, 0), 8);  // its value is lost
    const fs::path path = Put("SYSTEM", bytes);
    const auto hive = HiveFile::Open(path);
    Make(*hive, u"Early");
    EXPECT_EQ(hive->Prepare(), SysError::Success);
    EXPECT_EQ(Names().size(), 2U);
    EXPECT_EQ(hive->SetValue(At(*hive, u"A"), u"new", 3, Pattern(10)), SysError::RegistryCorrupt);
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
    EXPECT_EQ(hive->Commit(), SysError::Success);
    const auto written = ReadFileBytes(path);
    const auto memory = hive->Render();
    ASSERT_EQ(written.size(), memory.size());
    EXPECT_TRUE(std::equal(written.begin() + 4096, written.end(), memory.begin() + 4096));
}

TEST_F(HiveFileCommit, WhatIsAbandonedLeavesNothingBehindAndCanBeCommittedLater) {
    const fs::path path = PutHive();
    {
        const auto hive = HiveFile::Open(path);
        Edit(*hive);
        EXPECT_EQ(hive->Prepare(), SysError::Success);
        hive->Abandon();
        EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
        EXPECT_TRUE(hive->Changed());
        EXPECT_EQ(hive->Prepare(), SysError::Success);
    }
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
    EXPECT_EQ(ReadFileBytes(path), HiveBytes());
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->Prepare(), SysError::Success);
    hive->Abandon();
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ContentAt(path), EditedContent());
}

TEST_F(HiveFileCommit, DiscardGoesBackToTheFile) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    const auto before = Content(*hive, true);
    Edit(*hive);
    EXPECT_EQ(hive->Prepare(), SysError::Success);
    hive->Discard();
    EXPECT_FALSE(hive->Changed());
    EXPECT_EQ(Content(*hive, true), before);
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_EQ(ReadFileBytes(path), HiveBytes());
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    Make(*hive, u"Gone");
    hive->Discard();
    EXPECT_EQ(Content(*hive), EditedContent()) << "what was committed stays";
}

TEST_F(HiveFileCommit, AFullDiskIsToldAndTheOldFileStays) {
    const fs::path path = PutHive();
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->SetValue(At(*hive, u"A"), u"large", 3, Pattern(50'000)), SysError::Success);
    {
        const FullDisk full(20'000);
        EXPECT_EQ(hive->Commit(), SysError::DiskFull);
    }
    EXPECT_EQ(ReadFileBytes(path), HiveBytes());
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
    EXPECT_TRUE(hive->Changed());
    EXPECT_EQ(hive->Commit(), SysError::Success) << "there is room again";
    EXPECT_EQ(ContentAt(path), Content(*hive));
}

TEST_F(HiveFileCommit, AFolderThatMayNotBeWrittenIsToldAndTheOldFileStays) {
    const fs::path path = PutHive();
    fs::permissions(path, fs::perms::others_read, fs::perm_options::add);
    fs::permissions(Folder(), fs::perms::owner_write, fs::perm_options::remove);
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    {
        const OrdinaryUser user;
        EXPECT_EQ(hive->Commit(), SysError::AccessDenied);
    }
    EXPECT_EQ(ReadFileBytes(path), HiveBytes());
    EXPECT_TRUE(hive->Changed());
}

TEST_F(HiveFileCommit, AFileWhoseOwnerCannotBeKeptIsNotReplaced) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    const fs::path path = PutHive();
    fs::permissions(Folder(), fs::perms::all);
    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    {
        const OrdinaryUser user;
        EXPECT_EQ(hive->Commit(), SysError::AccessDenied);
    }
    EXPECT_EQ(ReadFileBytes(path), HiveBytes());
    EXPECT_THAT(Names(), ElementsAre("SYSTEM"));
}

TEST_F(HiveFileCommit, ALinkedHiveIsReplacedWhereItLies) {
    const fs::path real = PutHive("real");
    fs::create_symlink("real", Folder() / "link");
    const auto hive = HiveFile::Open(Folder() / "link");
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    EXPECT_TRUE(fs::is_symlink(Folder() / "link"));
    EXPECT_EQ(ContentAt(real), EditedContent());
}

/// Several hives of one registry, which change together or not at all.
class SeveralHives : public HiveFileTest {
protected:
    SeveralHives() {
        registry_.Add({u"MACHINE", u"SYSTEM"}, HiveFile::Open(PutHive("SYSTEM")));
        registry_.Add({u"MACHINE", u"SOFTWARE"}, HiveFile::Open(PutHive("SOFTWARE")));
        registry_.Add({u"USER", u"S-1"}, HiveFile::Open(PutHive("USER")));
        registry_.SetCurrentUser(u"S-1");
        registry_.SetWritable(true);
    }
    void EditAll() {
        for (const char* key : {"SYSTEM\\New", "SOFTWARE\\New"})
            ASSERT_TRUE(registry_.Create(platform::HiveLocalMachine, key).Ok());
        ASSERT_TRUE(registry_.Create(platform::HiveCurrentUser, "New").Ok());
    }
    void ExpectAllAsTheyWere() const {
        for (const char* name : {"SYSTEM", "SOFTWARE", "USER"})
            EXPECT_EQ(ReadFileBytes(Folder() / name), HiveBytes()) << name;
        EXPECT_THAT(Names(), ElementsAre("SOFTWARE", "SYSTEM", "USER"));
    }
    [[nodiscard]] bool HasNew(std::string_view name) const {
        return At(*ReadHive(ReadFileBytes(Folder() / name)), u"New") != offline::NoKey;
    }

    OfflineRegistry registry_;
};

TEST_F(SeveralHives, AreCommittedTogether) {
    EditAll();
    EXPECT_EQ(registry_.Commit(), SysError::Success);
    for (const char* name : {"SYSTEM", "SOFTWARE", "USER"})
        EXPECT_TRUE(HasNew(name)) << name;
    EXPECT_THAT(Names(), ElementsAre("SOFTWARE", "SYSTEM", "USER"));
}

TEST_F(SeveralHives, OnlyThoseThatChangedAreWritten) {
    ASSERT_TRUE(registry_.Create(platform::HiveLocalMachine, "SOFTWARE\\New").Ok());
    EXPECT_EQ(registry_.Commit(), SysError::Success);
    EXPECT_TRUE(HasNew("SOFTWARE"));
    EXPECT_EQ(ReadFileBytes(Folder() / "SYSTEM"), HiveBytes());
    EXPECT_EQ(ReadFileBytes(Folder() / "USER"), HiveBytes());
}

TEST_F(SeveralHives, OneThatDoesNotFitOnTheDiskLeavesAllAsTheyWere) {
    EditAll();
    const auto key = registry_.Open(platform::HiveCurrentUser, "New", platform::AccessMaximumAllowed);
    ASSERT_TRUE(key.Ok());
    ASSERT_EQ((*key)->Set("large", platform::ValueType::Binary, std::string(50'000, 'x')), SysError::Success);
    {
        const FullDisk full(20'000);
        EXPECT_EQ(registry_.Commit(), SysError::DiskFull);
    }
    ExpectAllAsTheyWere();
    EXPECT_EQ(registry_.Commit(), SysError::Success) << "there is room again";
    for (const char* name : {"SYSTEM", "SOFTWARE", "USER"})
        EXPECT_TRUE(HasNew(name)) << name;
}

TEST_F(SeveralHives, OneThatChangedMeanwhileLeavesAllAsTheyWere) {
    EditAll();
    const Bytes other = HiveBytes(5);
    Put("USER", other);
    EXPECT_EQ(registry_.Commit(), SysError::SharingViolation);
    EXPECT_EQ(ReadFileBytes(Folder() / "USER"), other);
    Put("USER", HiveBytes());
    ExpectAllAsTheyWere();
    registry_.Discard();
    EXPECT_FALSE(registry_.Open(platform::HiveLocalMachine, "SYSTEM\\New", platform::AccessMaximumAllowed).Ok());
    EXPECT_EQ(registry_.Commit(), SysError::Success) << "nothing is left to write";
    ExpectAllAsTheyWere();
}

TEST_F(SeveralHives, AreAllForgottenByDiscard) {
    EditAll();
    registry_.Discard();
    EXPECT_EQ(registry_.Commit(), SysError::Success);
    ExpectAllAsTheyWere();
}

}  // namespace
}  // namespace kel::test
