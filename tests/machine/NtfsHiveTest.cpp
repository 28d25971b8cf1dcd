// A hive on NTFS as its mount shows it. Needs mkfs.ntfs, ntfs-3g and the right to mount.
#include <sys/xattr.h>

#include <cstdlib>
#include <fstream>
#include <optional>

#include "HiveFileFixture.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using offline::HiveFile;
using platform::SysError;

class NtfsHive : public HiveFileTest {
protected:
    void SetUp() override {
        std::ofstream(Image()).close();
        fs::resize_file(Image(), 12 << 20);
        fs::create_directory(Folder() / "mount");
        if (!Run("mkfs.ntfs -F -q -f '" + Image().string() + "'") || !Mount())
            GTEST_SKIP() << "no NTFS can be mounted here";
    }
    void TearDown() override { Unmount(); }

    /// What the kernel remembers of the files is gone afterwards.
    void Remount() {
        Unmount();
        ASSERT_TRUE(Mount());
    }
    static std::optional<std::string> Get(const fs::path& path, const char* name) {
        std::string value(1024, '\0');
        const ssize_t size = ::lgetxattr(path.c_str(), name, value.data(), value.size());
        if (size < 0)
            return std::nullopt;
        value.resize(static_cast<std::size_t>(size));
        return value;
    }
    static bool Set(const fs::path& path, const char* name, std::string_view value) {
        return ::lsetxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
    }

private:
    [[nodiscard]] fs::path Image() const { return Folder() / "image"; }
    static bool Run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }
    bool Mount() {
        mounted_ = Run("ntfs-3g '" + Image().string() + "' '" + (Folder() / "mount").string() + "'");
        return mounted_;
    }
    void Unmount() {
        if (mounted_) {
            EXPECT_TRUE(Run("umount '" + (Folder() / "mount").string() + "'"));
        }
        mounted_ = false;
    }

    bool mounted_ = false;
};

TEST_F(NtfsHive, KeepsWhatNtfsKnowsOfItWhenItIsCommitted) {
    const fs::path path = PutHive("mount/Ntuser of Ada.dat");
    ASSERT_TRUE(Set(path, "user.stream", "beside the hive"));
    ASSERT_TRUE(Set(path, "system.ntfs_attrib", std::string_view("\x26\0\0\0", 4)));
    ASSERT_TRUE(Set(path, "system.ntfs_crtime", std::string_view("\0\0\0\0\0\0\xC0\x01", 8)));
    ASSERT_TRUE(Set(path, "system.ntfs_dos_name", "NTUSER~1.DAT"));
    auto list = Get(path, "system.ntfs_acl");
    ASSERT_TRUE(list.has_value());
    // Its last entry grants reading alone.
    const std::size_t mask = list->rfind(std::string_view("\xFF\x01\x1F\0", 4));
    ASSERT_NE(mask, std::string::npos);
    list->replace(mask, 4, std::string_view("\xA9\0\x12\0", 4));
    ASSERT_TRUE(Set(path, "system.ntfs_acl", *list));
    Remount();
    const auto accessList = Get(path, "system.ntfs_acl");

    const auto hive = HiveFile::Open(path);
    Edit(*hive);
    EXPECT_EQ(hive->Commit(), SysError::Success);
    Remount();
    EXPECT_EQ(ContentAt(path), EditedContent());
    EXPECT_EQ(Get(path, "user.stream"), "beside the hive");
    EXPECT_EQ(Get(path, "system.ntfs_attrib"), std::string("\x26\0\0\0", 4));
    EXPECT_EQ(Get(path, "system.ntfs_crtime"), std::string("\0\0\0\0\0\0\xC0\x01", 8));
    EXPECT_EQ(Get(path, "system.ntfs_dos_name"), "NTUSER~1.DAT");
    EXPECT_EQ(Get(path, "system.ntfs_acl"), accessList);
    EXPECT_GT(StatusOf(path).st_mtim.tv_sec, Long);
}

}  // namespace
}  // namespace kel::test
