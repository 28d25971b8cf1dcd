// Attributes, times, opening, reading, writing, moving and deleting.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <span>

#include "HostMachine.h"
#include "offline/OfflineFilesHost.h"

namespace kel::test {

namespace fs = std::filesystem;
using platform::AttributeArchive;
using platform::AttributeDirectory;
using platform::AttributeHidden;
using platform::AttributeNormal;
using platform::AttributeReadOnly;
using platform::AttributeSystem;
using platform::OpenMode;
using platform::SysError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FileOperations : public HostMachine {
protected:
    [[nodiscard]] std::uint32_t Attributes(std::string_view path) {
        auto attributes = Files().Attributes(path);
        EXPECT_TRUE(attributes.Ok()) << path;
        return attributes.ValueOr(0xFFFFFFFFU);
    }
    [[nodiscard]] mode_t Mode(const fs::path& path) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }
    SysError WriteTo(platform::OpenFile& file, std::string_view bytes) {
        return file.Write(std::as_bytes(std::span(bytes)));
    }
    [[nodiscard]] std::string ReadFrom(platform::OpenFile& file, std::size_t most) {
        std::vector<std::byte> bytes(most);
        auto count = file.Read(bytes);
        EXPECT_TRUE(count.Ok());
        return {reinterpret_cast<const char*>(bytes.data()), count.ValueOr(0)};
    }
};

TEST_F(FileOperations, AttributesOfWhatIsThere) {
    Put(Root() / "file");
    Mkdir(Root() / "folder");
    EXPECT_EQ(Attributes("C:\\file"), AttributeArchive);
    EXPECT_EQ(Attributes("C:\\folder"), AttributeDirectory);
    EXPECT_EQ(Attributes("C:\\") & AttributeDirectory, AttributeDirectory);
    EXPECT_EQ(Files().PathIsDirectory("C:\\folder"), 16);
    EXPECT_EQ(Files().PathIsDirectory("C:\\file"), 0);
    EXPECT_EQ(Files().PathIsDirectory("C:\\missing"), 0);
    EXPECT_TRUE(Files().PathExists("C:\\folder"));
    EXPECT_EQ(Files().SetAttributes("C:\\missing", AttributeNormal), SysError::FileNotFound);
}

TEST_F(FileOperations, AttributesOfAFileAreKept) {
    Put(Root() / "file");
    const mode_t before = Mode(Root() / "file");
    EXPECT_EQ(Files().SetAttributes("C:\\file", AttributeReadOnly | AttributeHidden | AttributeSystem),
              SysError::Success);
    EXPECT_EQ(Attributes("C:\\file"), AttributeReadOnly | AttributeHidden | AttributeSystem | AttributeArchive);
    EXPECT_EQ(Mode(Root() / "file") & 0222U, 0U);
    Reopen({.machine = {}, .drives = {}, .user = {}, .writable = true});
    EXPECT_EQ(Attributes("C:\\file"), AttributeReadOnly | AttributeHidden | AttributeSystem | AttributeArchive);
    EXPECT_EQ(Files().SetAttributes("C:\\file", AttributeNormal), SysError::Success);
    EXPECT_EQ(Attributes("C:\\file"), AttributeArchive);
    EXPECT_EQ(Mode(Root() / "file") & 0200U, before & 0200U);
    char value[16];
    EXPECT_LT(getxattr((Root() / "file").c_str(), "user.DOSATTRIB", value, sizeof value), 0) << "nothing is left";
}

TEST_F(FileOperations, AReadOnlyFolderStaysUsableOnTheHost) {
    Mkdir(Root() / "folder");
    EXPECT_EQ(Files().SetAttributes("C:\\folder", AttributeReadOnly), SysError::Success);
    EXPECT_EQ(Attributes("C:\\folder"), AttributeReadOnly | AttributeDirectory);
    EXPECT_NE(Mode(Root() / "folder") & 0200U, 0U);
    EXPECT_EQ(Write("C:\\folder\\file", "x"), SysError::Success);
    EXPECT_EQ(Files().Remove("C:\\folder\\file"), SysError::Success);
    EXPECT_EQ(Files().RemoveFolder("C:\\folder"), SysError::AccessDenied);
    EXPECT_EQ(Files().SetAttributes("C:\\folder", AttributeNormal), SysError::Success);
    EXPECT_EQ(Files().RemoveFolder("C:\\folder"), SysError::Success);
}

TEST_F(FileOperations, AttributesThatAnotherProgramStoredAreSeen) {
    Put(Root() / "file");
    ASSERT_EQ(setxattr((Root() / "file").c_str(), "user.DOSATTRIB", "0x6", 3, 0), 0);
    EXPECT_EQ(Attributes("C:\\file"), AttributeHidden | AttributeSystem | AttributeArchive);
    ASSERT_EQ(setxattr((Root() / "file").c_str(), "user.DOSATTRIB", "rubbish", 7, 0), 0);
    EXPECT_EQ(Attributes("C:\\file"), AttributeArchive);
    chmod((Root() / "file").c_str(), 0444);
    EXPECT_EQ(Attributes("C:\\file"), AttributeReadOnly | AttributeArchive);
}

TEST_F(FileOperations, WhatTheHostForbidsIsDenied) {
    Put(Root() / "closed" / "inside");
    Put(Root() / "secret");
    Put(Root() / "fixed" / "file");
    chmod((Root() / "closed").c_str(), 0);
    chmod((Root() / "secret").c_str(), 0200);
    chmod((Root() / "fixed").c_str(), 0555);
    const bool superuser = geteuid() == 0;
    if (superuser) {
        ASSERT_EQ(seteuid(65534), 0);
    }
    EXPECT_EQ(FindError("C:\\closed\\*"), SysError::AccessDenied);
    EXPECT_EQ(AttributesError("C:\\closed\\inside"), SysError::AccessDenied);
    EXPECT_EQ(Attributes("C:\\closed") & AttributeDirectory, AttributeDirectory);
    EXPECT_EQ(Files().Open("C:\\secret", OpenMode::Read).Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().View("C:\\secret").Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().Remove("C:\\fixed\\file"), SysError::AccessDenied);
    EXPECT_EQ(Write("C:\\fixed\\new", "x"), SysError::AccessDenied);
    EXPECT_EQ(Files().MakeFolder("C:\\fixed\\sub"), SysError::AccessDenied);
    if (superuser) {
        ASSERT_EQ(seteuid(0), 0);
    }
    chmod((Root() / "closed").c_str(), 0755);
    chmod((Root() / "fixed").c_str(), 0755);
}

TEST_F(FileOperations, TimesAndSizeAreTheHosts) {
    Put(Root() / "file", "12345");
    const timespec times[2] = {{1'000'000'000, 100}, {1'100'000'000, 12'345'600}};
    ASSERT_EQ(utimensat(AT_FDCWD, (Root() / "file").c_str(), times, 0), 0);
    const auto entry = Entry("C:\\file");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->size, 5U);
    EXPECT_EQ(entry->lastAccess, (1'000'000'000ULL + 11'644'473'600ULL) * 10'000'000ULL + 1);
    EXPECT_EQ(entry->lastWrite, (1'100'000'000ULL + 11'644'473'600ULL) * 10'000'000ULL + 123'456);
    EXPECT_NE(entry->creation, 0U);
    EXPECT_EQ(*Files().Length("C:\\file"), 5U);
    Mkdir(Root() / "folder");
    EXPECT_EQ(Files().Length("C:\\folder").Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().Length("C:\\").Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().Length("C:\\missing").Error(), SysError::FileNotFound);
}

TEST_F(FileOperations, OpenModesDoWhatTheySay) {
    EXPECT_EQ(Files().Open("C:\\f", OpenMode::Read).Error(), SysError::FileNotFound);
    {
        auto file = Files().Open("C:\\f", OpenMode::CreateNew);
        ASSERT_TRUE(file.Ok());
        EXPECT_EQ(WriteTo(**file, "hello"), SysError::Success);
        EXPECT_EQ((*file)->Seek(1), SysError::Success);
        EXPECT_EQ(ReadFrom(**file, 3), "ell");
        EXPECT_EQ((*file)->Flush(), SysError::Success);
        EXPECT_EQ(*(*file)->Size(), 5U);
    }
    EXPECT_EQ(Files().Open("C:\\F", OpenMode::CreateNew).Error(), SysError::FileExists);
    {
        auto file = Files().Open("C:\\F", OpenMode::ReadWrite);
        ASSERT_TRUE(file.Ok());
        EXPECT_EQ(WriteTo(**file, "J"), SysError::Success);
    }
    EXPECT_EQ(Get(Root() / "f"), "Jello");
    {
        auto file = Files().Open("C:\\F", OpenMode::Append);
        ASSERT_TRUE(file.Ok());
        EXPECT_EQ((*file)->Seek(0), SysError::Success);
        EXPECT_EQ(WriteTo(**file, "!"), SysError::Success);
    }
    EXPECT_EQ(Get(Root() / "f"), "Jello!");
    {
        auto file = Files().Open("C:\\F", OpenMode::Read);
        ASSERT_TRUE(file.Ok());
        EXPECT_EQ(ReadFrom(**file, 100), "Jello!");
        EXPECT_EQ(ReadFrom(**file, 100), "");
        EXPECT_EQ(WriteTo(**file, "x"), SysError::AccessDenied);
    }
    ASSERT_TRUE(Files().Open("C:\\F", OpenMode::Create).Ok());
    EXPECT_EQ(Get(Root() / "f"), "");
    ASSERT_TRUE(Files().Open("C:\\appended", OpenMode::Append).Ok());
    EXPECT_TRUE(fs::exists(Root() / "appended"));
}

TEST_F(FileOperations, FoldersAndReadOnlyFilesAreNotOpenedForWriting) {
    Mkdir(Root() / "folder");
    Put(Root() / "file");
    chmod((Root() / "file").c_str(), 0444);
    for (const OpenMode mode : {OpenMode::ReadWrite, OpenMode::Create, OpenMode::Append}) {
        EXPECT_EQ(Files().Open("C:\\folder", mode).Error(), SysError::AccessDenied);
        EXPECT_EQ(Files().Open("C:\\file", mode).Error(), SysError::AccessDenied);
    }
    EXPECT_EQ(Files().Open("C:\\folder", OpenMode::Read).Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().Open("C:\\", OpenMode::Read).Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().View("C:\\folder").Error(), SysError::AccessDenied);
    EXPECT_TRUE(Files().Open("C:\\file", OpenMode::Read).Ok());
    EXPECT_EQ(Get(Root() / "file"), "x");
}

TEST_F(FileOperations, ViewsOfEverySize) {
    for (const std::size_t size : {0U, 1U, 65536U, 65537U, 3'000'000U}) {
        std::string bytes(size, '\0');
        for (std::size_t at = 0; at < size; ++at) {
            bytes[at] = static_cast<char>(at * 31 % 251);
        }
        Put(Root() / "file", bytes);
        EXPECT_EQ(Read("C:\\file"), bytes) << size;
    }
}

TEST_F(FileOperations, AViewOutlivesItsFile) {
    Put(Root() / "file", std::string(200'000, 'v'));
    auto view = Files().View("C:\\file");
    ASSERT_TRUE(view.Ok());
    EXPECT_EQ(Files().Remove("C:\\file"), SysError::Success);
    EXPECT_EQ((*view)->Bytes().size(), 200'000U);
    EXPECT_EQ((*view)->Bytes().back(), std::byte{'v'});
}

TEST_F(FileOperations, DeletingIsRefusedWhereWindowsRefusesIt) {
    Put(Root() / "file");
    Mkdir(Root() / "folder");
    EXPECT_EQ(Files().Remove("C:\\folder"), SysError::AccessDenied);
    EXPECT_EQ(Files().Remove("C:\\missing"), SysError::FileNotFound);
    EXPECT_EQ(Files().Remove("C:\\missing\\x"), SysError::PathNotFound);
    EXPECT_EQ(Files().SetAttributes("C:\\file", AttributeReadOnly), SysError::Success);
    EXPECT_EQ(Files().Remove("C:\\file"), SysError::AccessDenied);
    EXPECT_EQ(Files().SetAttributes("C:\\file", AttributeNormal), SysError::Success);
    EXPECT_EQ(Files().Remove("C:\\FILE"), SysError::Success);
    EXPECT_FALSE(fs::exists(Root() / "file"));
    EXPECT_EQ(Files().Remove("C:\\"), SysError::AccessDenied);
}

TEST_F(FileOperations, MakingAndRemovingFolders) {
    EXPECT_EQ(Files().MakeFolder("C:\\New"), SysError::Success);
    EXPECT_EQ(Files().MakeFolder("C:\\NEW"), SysError::AlreadyExists);
    EXPECT_EQ(Files().MakeFolder("C:\\a\\b"), SysError::PathNotFound);
    EXPECT_EQ(Files().MakeFolder("C:\\"), SysError::AccessDenied);
    EXPECT_TRUE(fs::is_directory(Root() / "New"));
    EXPECT_EQ(Files().MakeFolder("C:\\new\\Sub\\"), SysError::Success);
    EXPECT_EQ(Files().RemoveFolder("C:\\new"), SysError::DirNotEmpty);
    EXPECT_EQ(Files().RemoveFolder("C:\\new\\sub"), SysError::Success);
    EXPECT_EQ(Files().RemoveFolder("C:\\new\\sub"), SysError::FileNotFound);
    EXPECT_EQ(Files().RemoveFolder("C:\\none\\sub"), SysError::PathNotFound);
    EXPECT_EQ(Files().RemoveFolder("C:\\new"), SysError::Success);
    Put(Root() / "file");
    EXPECT_EQ(Files().RemoveFolder("C:\\file"), SysError::Directory);
    EXPECT_EQ(Files().RemoveFolder("C:\\"), SysError::AccessDenied);
}

TEST_F(FileOperations, MovingOnOneDrive) {
    Put(Root() / "a" / "One", "one");
    Put(Root() / "a" / "two", "two");
    EXPECT_EQ(Files().Rename("C:\\a\\one", "C:\\a\\TWO"), SysError::AlreadyExists);
    EXPECT_EQ(Get(Root() / "a" / "two"), "two");
    EXPECT_EQ(Files().Rename("C:\\a\\one", "C:\\Three"), SysError::Success);
    EXPECT_EQ(Get(Root() / "Three"), "one");
    EXPECT_EQ(Files().Rename("C:\\A", "C:\\B"), SysError::Success);
    EXPECT_EQ(Read("C:\\b\\two"), "two");
    EXPECT_EQ(Files().Rename("C:\\missing", "C:\\x"), SysError::FileNotFound);
    EXPECT_EQ(Files().Rename("C:\\missing\\y", "C:\\x"), SysError::PathNotFound);
    EXPECT_EQ(Files().Rename("C:\\three", "C:\\none\\x"), SysError::PathNotFound);
    EXPECT_NE(Files().Rename("C:\\b", "C:\\b\\inside"), SysError::Success);
    EXPECT_EQ(Read("C:\\b\\two"), "two");
}

TEST_F(FileOperations, OnlyTheCaseOfANameCanBeMoved) {
    Put(Root() / "name", "x");
    EXPECT_EQ(Files().Rename("C:\\name", "C:\\NAME"), SysError::Success);
    EXPECT_TRUE(fs::exists(Root() / "NAME"));
    EXPECT_FALSE(fs::exists(Root() / "name"));
    EXPECT_THAT(Names("C:\\*"), ElementsAre("NAME"));
    EXPECT_EQ(Files().Rename("C:\\NAME", "C:\\NAME"), SysError::Success);
    EXPECT_EQ(Read("C:\\name"), "x");
}

TEST_F(FileOperations, AReadOnlyFileCanBeMoved) {
    Put(Root() / "file");
    EXPECT_EQ(Files().SetAttributes("C:\\file", AttributeReadOnly), SysError::Success);
    EXPECT_EQ(Files().Rename("C:\\file", "C:\\moved"), SysError::Success);
    EXPECT_EQ(Attributes("C:\\moved") & AttributeReadOnly, AttributeReadOnly);
}

TEST_F(FileOperations, AcrossDrivesAFileIsCopiedWithAllThatBelongsToIt) {
    const std::string host = Machine().MountHost(Outside());
    const std::string bytes(1'000'000, 'b');
    Put(Root() / "file", bytes);
    EXPECT_EQ(Files().SetAttributes("C:\\file", AttributeHidden | AttributeSystem), SysError::Success);
    ASSERT_EQ(setxattr((Root() / "file").c_str(), "user.note", "kept", 4, 0), 0);
    const timespec times[2] = {{1'000'000'000, 0}, {1'100'000'000, 5'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, (Root() / "file").c_str(), times, 0), 0);
    chmod((Root() / "file").c_str(), 0440);
    const auto before = Entry("C:\\file");

    EXPECT_EQ(Files().Rename("C:\\file", host + "Kept"), SysError::Success);
    EXPECT_FALSE(fs::exists(Root() / "file"));
    EXPECT_EQ(Get(Outside() / "Kept"), bytes);
    const auto after = Entry(host + "kept");
    ASSERT_TRUE(before && after);
    EXPECT_EQ(after->attributes, before->attributes);
    EXPECT_EQ(after->lastWrite, before->lastWrite);
    EXPECT_EQ(Mode(Outside() / "Kept"), 0440U);
    char value[8] = {};
    EXPECT_EQ(getxattr((Outside() / "Kept").c_str(), "user.note", value, sizeof value), 4);

    EXPECT_EQ(Files().Rename(host + "Kept", "C:\\back"), SysError::Success);
    EXPECT_EQ(Entry("C:\\back")->attributes, before->attributes);
    EXPECT_EQ(Entry("C:\\back")->lastWrite, before->lastWrite);
    EXPECT_TRUE(fs::is_empty(Outside())) << "no passing name is left";
}

TEST_F(FileOperations, AcrossDrivesFoldersAndExistingNamesAreRefused) {
    const std::string host = Machine().MountHost(Outside());
    Mkdir(Root() / "folder");
    Put(Root() / "file", "mine");
    Put(Outside() / "there", "theirs");
    EXPECT_EQ(Files().Rename("C:\\folder", host + "folder"), SysError::AccessDenied);
    EXPECT_EQ(Files().Rename("C:\\file", host + "THERE"), SysError::AlreadyExists);
    EXPECT_EQ(Get(Outside() / "there"), "theirs");
    EXPECT_EQ(Get(Root() / "file"), "mine");
    EXPECT_EQ(Files().Rename("C:\\file", host + "none\\x"), SysError::PathNotFound);
}

TEST_F(FileOperations, TheShellDeletesTreesWithReadOnlyParts) {
    Put(Root() / "tree" / "a" / "b" / "file");
    Put(Root() / "tree" / "readonly");
    EXPECT_EQ(Files().SetAttributes("C:\\tree\\readonly", AttributeReadOnly), SysError::Success);
    EXPECT_EQ(Files().SetAttributes("C:\\tree\\a", AttributeReadOnly | AttributeHidden), SysError::Success);
    EXPECT_EQ(Files().SetAttributes("C:\\tree", AttributeReadOnly), SysError::Success);
    SysError error = SysError::AccessDenied;
    EXPECT_EQ(Machine().View().shell->Delete("C:\\TREE\\", 20, error), 0);
    EXPECT_EQ(error, SysError::Success);
    EXPECT_FALSE(fs::exists(Root() / "tree"));
    Put(Root() / "file");
    EXPECT_EQ(Machine().View().shell->Delete("C:\\file", 20, error), 0);
    EXPECT_FALSE(fs::exists(Root() / "file"));
    EXPECT_NE(Machine().View().shell->Delete("C:\\missing", 20, error), 0);
    EXPECT_EQ(error, SysError::FileNotFound);
    EXPECT_NE(Machine().View().shell->Delete("C:\\missing\\x", 20, error), 0);
    EXPECT_EQ(error, SysError::PathNotFound);
}

TEST(HostErrors, HaveThePlatformsNumbers) {
    using offline::FromErrno;
    EXPECT_EQ(FromErrno(0), SysError::Success);
    EXPECT_EQ(FromErrno(ENOENT), SysError::FileNotFound);
    EXPECT_EQ(FromErrno(ENOTDIR), SysError::PathNotFound);
    EXPECT_EQ(FromErrno(EACCES), SysError::AccessDenied);
    EXPECT_EQ(FromErrno(ELOOP), SysError::AccessDenied);
    EXPECT_EQ(FromErrno(ENOSPC), SysError::DiskFull);
    EXPECT_EQ(FromErrno(EDQUOT), SysError::DiskFull);
    EXPECT_EQ(FromErrno(EROFS), SysError::WriteProtect);
    EXPECT_EQ(FromErrno(ENOTEMPTY), SysError::DirNotEmpty);
    EXPECT_EQ(FromErrno(EMFILE), SysError::TooManyOpenFiles);
}

// The limit on the size of files stands in for a disk without room: both are DiskFull to the machine.
TEST_F(FileOperations, AFullDiskIsToldAsOne) {
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const SysError error = Write("C:\\big", std::string(10'000, 'x'));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(error, SysError::DiskFull);
    EXPECT_EQ(*Files().Length("C:\\big"), 4096U);
}

TEST_F(FileOperations, AMoveAcrossDrivesThatFindsNoRoomLeavesTheFile) {
    const std::string host = Machine().MountHost(Outside());
    Put(Root() / "file", std::string(10'000, 'x'));
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const SysError error = Files().Rename("C:\\file", host + "copy");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(error, SysError::DiskFull);
    EXPECT_EQ(*Files().Length("C:\\file"), 10'000U);
    EXPECT_TRUE(fs::is_empty(Outside()));
}

TEST_F(FileOperations, PositionsBeyondAnyFileAreRefused) {
    auto file = Files().Open("C:\\f", OpenMode::Create);
    ASSERT_TRUE(file.Ok());
    EXPECT_EQ((*file)->Seek(0xFFFF'FFFF'FFFF'FFFFULL), SysError::InvalidParameter);
    EXPECT_EQ((*file)->Seek(1'000'000), SysError::Success);
    EXPECT_EQ(ReadFrom(**file, 10), "");
}

}  // namespace kel::test
