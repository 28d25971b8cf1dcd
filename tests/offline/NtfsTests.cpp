// A disk of NTFS as its mount shows it. Needs mkfs.ntfs, ntfs-3g and the right to mount.
#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <fstream>

#include "HostMachine.h"

namespace kel::test {

namespace fs = std::filesystem;
using platform::SysError;
using ::testing::Contains;
using ::testing::ElementsAre;

class NtfsDisk : public HostMachine {
protected:
    void SetUp() override {
        std::ofstream(Image()).close();
        fs::resize_file(Image(), 12 << 20);
        Mkdir(Mount());
        if (!Run("mkfs.ntfs -F -q -f '" + Image().string() + "'") || !MountIt()) {
            GTEST_SKIP() << "no NTFS can be mounted here";
        }
        Put(Mount() / "Program Files" / "A long name.text", "long");
        Put(Mount() / "plain.txt", "plain");
        OpenIt();
    }
    void TearDown() override { Unmount(); }

    /// What the kernel remembers of the files is gone afterwards.
    void Remount() {
        Unmount();
        ASSERT_TRUE(MountIt());
        OpenIt();
    }
    bool Set(const fs::path& path, const char* name, std::string_view value) {
        return lsetxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
    }
    [[nodiscard]] fs::path Mount() const { return Outside() / "mount"; }

private:
    [[nodiscard]] fs::path Image() const { return Outside() / "image"; }
    static bool Run(const std::string& command) { return system((command + " >/dev/null 2>&1").c_str()) == 0; }
    bool MountIt() {
        mounted_ = Run("ntfs-3g '" + Image().string() + "' '" + Mount().string() + "'");
        return mounted_;
    }
    void OpenIt() {
        offline::MachineOptions options;
        options.drives = {{'D', Mount()}};
        options.writable = true;
        Reopen(options);
    }
    void Unmount() {
        Reopen({});
        if (mounted_) {
            EXPECT_TRUE(Run("umount '" + Mount().string() + "'"));
        }
        mounted_ = false;
    }

    bool mounted_ = false;
};

TEST_F(NtfsDisk, AttributesAreThoseOfTheDisk) {
    ASSERT_TRUE(Set(Mount() / "plain.txt", "system.ntfs_attrib", std::string_view("\x27\0\0\0", 4)));
    EXPECT_EQ(*Files().Attributes("D:\\plain.txt"), 0x27U);
    EXPECT_EQ(Files().Remove("D:\\plain.txt"), SysError::AccessDenied);
    EXPECT_EQ(Files().SetAttributes("D:\\plain.txt", platform::AttributeNormal), SysError::Success);
    EXPECT_EQ(*Files().Attributes("D:\\plain.txt"), 0x80U);
    EXPECT_EQ(Files().SetAttributes("D:\\plain.txt", platform::AttributeHidden), SysError::Success);
    EXPECT_EQ(*Files().Attributes("D:\\plain.txt"), 0x02U);
    EXPECT_EQ(*Files().Attributes("D:\\Program Files") & platform::AttributeDirectory, platform::AttributeDirectory);
    EXPECT_EQ(*Files().Attributes("D:\\") & platform::AttributeDirectory, platform::AttributeDirectory);
}

TEST_F(NtfsDisk, ShortNamesAreThoseOfTheDisk) {
    ASSERT_TRUE(Set(Mount() / "Program Files", "system.ntfs_dos_name", "PROG"));
    ASSERT_TRUE(Set(Mount() / "Program Files" / "A long name.text", "system.ntfs_dos_name", "ALONG~7.TEX"));
    EXPECT_EQ(Entry("D:\\program files")->alternateName, "PROG");
    EXPECT_EQ(Entry("D:\\plain.txt")->alternateName, "");
    EXPECT_EQ(Read("D:\\prog\\along~7.tex"), "long");
    EXPECT_EQ(*Files().LongPath("D:\\PROG\\ALONG~7.TEX"), "D:\\Program Files\\A long name.text");
    EXPECT_EQ(*Files().ShortPath("D:\\Program Files\\A long name.text"), "D:\\PROG\\ALONG~7.TEX");
    EXPECT_THAT(Names("D:\\prog\\*.tex"), ElementsAre("A long name.text"));
    EXPECT_FALSE(Files().PathExists("D:\\PROGRA~1")) << "none is made up where the disk has its own";
}

TEST_F(NtfsDisk, JunctionsLeadWhereTheirDataSay) {
    const auto junction = [this](const char* name, std::u16string_view target) {
        std::string data("\x03\0\0\xA0", 4);
        const auto put = [&data](std::size_t number) {
            data.push_back(static_cast<char>(number & 0xFF));
            data.push_back(static_cast<char>(number >> 8));
        };
        put(target.size() * 2 + 8 + 4);
        put(0);
        put(0);
        put(target.size() * 2);
        put(target.size() * 2 + 2);
        put(0);
        for (const char16_t unit : target) {
            put(unit);
        }
        put(0);
        put(0);
        Mkdir(Mount() / name);
        Set(Mount() / name, "system.ntfs_reparse_data", data);
    };
    junction("Programme", u"\\??\\D:\\Program Files");
    junction("circle", u"\\??\\D:\\circle");
    junction("up", u"\\??\\D:\\");
    junction("gone", u"\\??\\Q:\\x");
    Remount();
    if (lgetxattr((Mount() / "Programme").c_str(), "system.ntfs_reparse_data", nullptr, 0) <= 0) {
        GTEST_SKIP() << "the mount keeps no reparse data";
    }
    EXPECT_EQ(*Files().Attributes("D:\\Programme") & 0x410U, 0x410U);
    EXPECT_EQ(Read("D:\\programme\\a long name.text"), "long");
    EXPECT_THAT(Names("D:\\Programme\\*"), Contains("A long name.text"));
    EXPECT_EQ(FindError("D:\\circle\\*"), SysError::PathNotFound);
    EXPECT_EQ(FindError("D:\\gone\\*"), SysError::PathNotFound);
    EXPECT_EQ(Read("D:\\up\\plain.txt"), "plain");
    EXPECT_EQ(FindError("D:\\up\\up\\*"), SysError::PathNotFound) << "a circle ends at its second round";
    SysError error = SysError::Success;
    EXPECT_EQ(Machine().View().shell->Delete("D:\\Programme", 20, error), 0);
    EXPECT_EQ(Get(Mount() / "Program Files" / "A long name.text"), "long");
    EXPECT_FALSE(fs::is_symlink(Mount() / "Programme"));
}

TEST_F(NtfsDisk, ARoundTripThroughAHostFolderLosesNothing) {
    const fs::path file = Mount() / "Program Files" / "A long name.text";
    ASSERT_TRUE(Set(file, "system.ntfs_dos_name", "ALONG~7.TEX"));
    ASSERT_TRUE(Set(file, "system.ntfs_attrib", std::string_view("\x26\0\0\0", 4)));
    const auto before = Entry("D:\\Program Files\\A long name.text");
    const std::string host = Machine().MountHost(Root());
    EXPECT_EQ(Files().Rename("D:\\Program Files\\A long name.text", host + "kept"), SysError::Success);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(Read(host + "kept"), "long");
    EXPECT_EQ(Files().Rename(host + "kept", "D:\\Program Files\\A long name.text"), SysError::Success);
    const auto after = Entry("D:\\Program Files\\A long name.text");
    ASSERT_TRUE(before && after);
    EXPECT_EQ(after->attributes, before->attributes);
    EXPECT_EQ(after->alternateName, before->alternateName);
    EXPECT_EQ(after->creation, before->creation);
    EXPECT_EQ(after->lastWrite, before->lastWrite);
    EXPECT_EQ(Read("D:\\Program Files\\ALONG~7.TEX"), "long");
}

TEST_F(NtfsDisk, MovingOnTheDiskReplacesNothing) {
    Put(Mount() / "other.txt", "other");
    EXPECT_EQ(Files().Rename("D:\\plain.txt", "D:\\OTHER.txt"), SysError::AlreadyExists);
    EXPECT_EQ(Files().Rename("D:\\plain.txt", "D:\\PLAIN.TXT"), SysError::Success);
    EXPECT_THAT(Names("D:\\p*"), ElementsAre("PLAIN.TXT", "Program Files"));
    EXPECT_EQ(Files().Rename("D:\\Program Files", "D:\\Programs"), SysError::Success);
    EXPECT_EQ(Read("D:\\programs\\a long name.text"), "long");
}

}  // namespace kel::test
