// Nothing of the machine leads out of its folders, and nothing that is no file is waited for.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdio.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "HostMachine.h"
#include "offline/PathResolver.h"
#include "offline/Wtf8.h"

namespace kel::test {

namespace fs = std::filesystem;
using platform::OpenMode;
using platform::SysError;
using ::testing::ElementsAre;

class Containment : public HostMachine {
protected:
    Containment() { Put(Outside() / "secret.txt", "secret"); }

    void ExpectNoWayThrough(const std::string& link) {
        for (const std::string& path : {link + "\\secret.txt", link + "\\..\\outside\\secret.txt", link}) {
            EXPECT_FALSE(Read(path)) << path;
            EXPECT_FALSE(Files().Open(path, OpenMode::ReadWrite).Ok()) << path;
        }
        EXPECT_FALSE(Files().Open(link + "\\new", OpenMode::Create).Ok());
        EXPECT_NE(Files().MakeFolder(link + "\\new"), SysError::Success);
        EXPECT_EQ(FindError(link + "\\*"), SysError::PathNotFound);
        EXPECT_NE(Files().Remove(link + "\\secret.txt"), SysError::Success);
        EXPECT_NE(Files().Rename(link + "\\secret.txt", "C:\\stolen"), SysError::Success);
        EXPECT_NE(Files().SetCurrentFolder(link), SysError::Success);
        EXPECT_EQ(Get(Outside() / "secret.txt"), "secret");
        EXPECT_EQ(std::distance(fs::directory_iterator(Outside()), fs::directory_iterator()), 1);
    }
};

TEST_F(Containment, LinksAreListedAndNotFollowed) {
    fs::create_directory_symlink(Outside(), Root() / "absolute");
    fs::create_directory_symlink("../outside", Root() / "relative");
    fs::create_directory_symlink("/", Root() / "everything");
    Mkdir(Root() / "inside");
    fs::create_directory_symlink("inside", Root() / "within");
    for (const char* link : {"C:\\absolute", "C:\\relative", "C:\\everything", "C:\\within"}) {
        const auto entry = Entry(link);
        ASSERT_TRUE(entry) << link;
        EXPECT_EQ(entry->attributes & platform::AttributeReparsePoint, platform::AttributeReparsePoint) << link;
        EXPECT_EQ(entry->attributes & platform::AttributeDirectory, 0U) << link;
        EXPECT_EQ(Files().PathIsDirectory(link), 0) << link;
        ExpectNoWayThrough(link);
    }
}

TEST_F(Containment, LinksToFilesAreNotOpened) {
    fs::create_symlink(Outside() / "secret.txt", Root() / "link");
    fs::create_symlink("nowhere", Root() / "dangling");
    for (const OpenMode mode : {OpenMode::Read, OpenMode::ReadWrite, OpenMode::Create, OpenMode::Append}) {
        EXPECT_EQ(Files().Open("C:\\link", mode).Error(), SysError::AccessDenied);
        EXPECT_EQ(Files().Open("C:\\dangling", mode).Error(), SysError::AccessDenied);
    }
    EXPECT_EQ(Files().View("C:\\link").Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().Length("C:\\link").Error(), SysError::AccessDenied);
    EXPECT_EQ(Files().SetAttributes("C:\\link", platform::AttributeReadOnly), SysError::AccessDenied);
    EXPECT_EQ(Get(Outside() / "secret.txt"), "secret");
}

TEST_F(Containment, DeletingALinkDeletesTheLink) {
    fs::create_symlink(Outside() / "secret.txt", Root() / "link");
    EXPECT_EQ(Files().Remove("C:\\link"), SysError::Success);
    EXPECT_FALSE(fs::is_symlink(Root() / "link"));
    EXPECT_EQ(Get(Outside() / "secret.txt"), "secret");
}

TEST_F(Containment, TheShellsDeleteDoesNotFollowLinks) {
    Put(Root() / "tree" / "sub" / "file");
    fs::create_directory_symlink(Outside(), Root() / "tree" / "sub" / "out");
    SysError error = SysError::AccessDenied;
    EXPECT_EQ(Machine().View().shell->Delete("C:\\tree", 20, error), 0);
    EXPECT_EQ(error, SysError::Success);
    EXPECT_FALSE(fs::exists(Root() / "tree"));
    EXPECT_EQ(Get(Outside() / "secret.txt"), "secret");
}

TEST_F(Containment, DotsDoNotClimbOverTheRoot) {
    const std::string climb = "C:\\a\\..\\..\\..\\..\\..\\..\\..\\..\\..\\outside\\secret.txt";
    EXPECT_FALSE(Read(climb));
    EXPECT_FALSE(Read("..\\outside\\secret.txt"));
    EXPECT_FALSE(Read("\\\\?\\C:\\..\\outside\\secret.txt"));
    EXPECT_FALSE(Read("C:\\../outside/secret.txt"));
    EXPECT_EQ(Files().LongPath(climb).Error(), SysError::PathNotFound);
    EXPECT_EQ(Machine().HostPath("C:\\.."), Root());
}

TEST_F(Containment, AHostNameThatLooksLikeAPathIsAName) {
    Put(Root() / "..\\outside\\secret.txt", "harmless");
    Put(Root() / "C:\\x", "harmless");
    for (const std::string& name : Names("C:\\*")) {
        EXPECT_EQ(Read("C:\\" + name), "harmless") << name;
    }
    EXPECT_EQ(Names("C:\\*").size(), 2U);
}

TEST_F(Containment, ALinkSwappedInBehindTheCacheIsNotFollowed) {
    Put(Root() / "folder" / "secret.txt", "inside");
    EXPECT_EQ(Read("C:\\folder\\secret.txt"), "inside");
    for (int round = 0; round < 50; ++round) {
        fs::rename(Root() / "folder", Root() / "kept");
        fs::create_directory_symlink(Outside(), Root() / "folder");
        EXPECT_FALSE(Read("C:\\folder\\secret.txt"));
        fs::remove(Root() / "folder");
        fs::rename(Root() / "kept", Root() / "folder");
        EXPECT_EQ(Read("C:\\folder\\secret.txt"), "inside");
    }
}

TEST_F(Containment, ARaceOfFolderAndLinkNeverShowsTheOutside) {
    Put(Root() / "folder" / "secret.txt", "inside");
    fs::create_directory_symlink(Outside(), Root() / "link");
    std::atomic<bool> stop{false};
    std::thread swapper([&] {
        const std::string folder = (Root() / "folder").string();
        const std::string link = (Root() / "link").string();
        while (!stop) {
            renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE);
        }
    });
    int inside = 0;
    int written = 0;
    for (int round = 0; round < 20'000; ++round) {
        const auto text = Read("C:\\folder\\secret.txt");
        EXPECT_NE(text, "secret");
        inside += text == "inside" ? 1 : 0;
        if (round % 16 == 0) {
            written += Write("C:\\folder\\planted", "x") == SysError::Success ? 1 : 0;
        }
    }
    stop = true;
    swapper.join();
    EXPECT_FALSE(fs::exists(Outside() / "planted"));
    EXPECT_GT(inside, 0);
    EXPECT_GT(written, 0);
}

TEST_F(Containment, ARaceOfFileAndLinkNeverShowsTheOutside) {
    Put(Root() / "f" / "file", "inside");
    fs::create_symlink(Outside() / "secret.txt", Root() / "f" / "link");
    std::atomic<bool> stop{false};
    std::thread swapper([&] {
        const std::string file = (Root() / "f" / "file").string();
        const std::string link = (Root() / "f" / "link").string();
        while (!stop) {
            renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE);
        }
    });
    for (int round = 0; round < 20'000; ++round) {
        EXPECT_NE(Read("C:\\f\\file"), "secret");
    }
    stop = true;
    swapper.join();
    EXPECT_EQ(Get(Outside() / "secret.txt"), "secret");
}

TEST_F(Containment, AttributesAreNeverSetThroughALinkSwappedIn) {
    chmod((Outside() / "secret.txt").c_str(), 0444);
    Put(Root() / "f" / "file", "inside");
    fs::create_symlink(Outside() / "secret.txt", Root() / "f" / "link");
    std::atomic<bool> stop{false};
    std::thread swapper([&] {
        const std::string file = (Root() / "f" / "file").string();
        const std::string link = (Root() / "f" / "link").string();
        while (!stop) {
            renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE);
        }
    });
    for (int round = 0; round < 20'000; ++round) {
        Files().SetAttributes("C:\\f\\file", platform::AttributeNormal);
    }
    stop = true;
    swapper.join();
    struct stat status {};
    ASSERT_EQ(stat((Outside() / "secret.txt").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0444U);
}

TEST_F(Containment, PipesSocketsAndDevicesAreNotOpened) {
    ASSERT_EQ(mkfifo((Root() / "pipe").c_str(), 0666), 0);
    const int server = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = (Root() / "socket").string();
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    ASSERT_EQ(bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    std::vector<std::string> names{"C:\\pipe", "C:\\socket"};
    if (mknod((Root() / "device").c_str(), S_IFCHR | 0666, makedev(1, 5)) == 0) {
        names.push_back("C:\\device");
    }
    for (const std::string& name : names) {
        for (const OpenMode mode : {OpenMode::Read, OpenMode::ReadWrite, OpenMode::Create, OpenMode::Append}) {
            EXPECT_EQ(Files().Open(name, mode).Error(), SysError::AccessDenied) << name;
        }
        EXPECT_EQ(Files().View(name).Error(), SysError::AccessDenied) << name;
        EXPECT_EQ(Files().Length(name).Error(), SysError::AccessDenied) << name;
        EXPECT_EQ(Entry(name)->size, 0U) << name;
        EXPECT_EQ(Files().Remove(name), SysError::Success) << name;
    }
    close(server);
    EXPECT_TRUE(fs::is_empty(Root()));
}

TEST_F(Containment, AnotherDriveIsReachedByItsLetterOnly) {
    const std::string root = Machine().MountHost(Outside());
    EXPECT_EQ(root, "Z:\\");
    EXPECT_EQ(Read("Z:\\secret.txt"), "secret");
    EXPECT_FALSE(Read("Z:\\..\\disk\\x"));
    EXPECT_FALSE(Read("C:\\secret.txt"));
}

std::string Reparse(std::uint32_t tag, std::u16string_view target, std::uint32_t flags) {
    std::string bytes;
    const auto put = [&bytes](std::uint64_t number, int size) {
        for (int index = 0; index < size; ++index) {
            bytes.push_back(static_cast<char>(number >> (8 * index) & 0xFF));
        }
    };
    const bool link = tag == 0xA000000C;
    put(tag, 4);
    put(target.size() * 2 + (link ? 12 : 8), 2);
    put(0, 2);
    put(0, 2);
    put(target.size() * 2, 2);
    put(0, 2);
    put(0, 2);
    if (link) {
        put(flags, 4);
    }
    for (const char16_t unit : target) {
        put(unit, 2);
    }
    return bytes;
}

TEST(ReparseTargets, AreReadFromTheDataOfNtfs) {
    using offline::ReparseTarget;
    offline::WindowsPath parent;
    parent.parts = {"Users", "me"};
    constexpr std::uint32_t junction = 0xA0000003;
    constexpr std::uint32_t link = 0xA000000C;
    EXPECT_EQ(ReparseTarget(Reparse(junction, u"\\??\\C:\\ProgramData", 0), parent)->Text(), "C:\\ProgramData");
    EXPECT_EQ(ReparseTarget(Reparse(junction, u"\\??\\D:\\", 0), parent)->Text(), "D:\\");
    EXPECT_EQ(ReparseTarget(Reparse(link, u"\\??\\C:\\Ä\\b", 0), parent)->Text(), "C:\\Ä\\b");
    EXPECT_EQ(ReparseTarget(Reparse(link, u"..\\other", 1), parent)->Text(), "C:\\Users\\other");
    EXPECT_EQ(ReparseTarget(Reparse(link, u"..\\..\\..\\..\\etc", 1), parent)->Text(), "C:\\etc");
    EXPECT_FALSE(ReparseTarget(Reparse(junction, u"\\??\\Volume{0}\\x", 0), parent));
    EXPECT_FALSE(ReparseTarget(Reparse(link, u"\\??\\UNC\\server\\share", 0), parent));
    EXPECT_FALSE(ReparseTarget(Reparse(0x80000013, u"\\??\\C:\\x", 0), parent));
    EXPECT_FALSE(ReparseTarget(Reparse(junction, u"\\??\\C:\\a/b", 0), parent));
    const std::string whole = Reparse(junction, u"\\??\\C:\\ProgramData", 0);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(ReparseTarget(whole.substr(0, size), parent)) << size;
    }
}

}  // namespace kel::test
