#include "HiveFileFixture.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>

namespace kel::test {

namespace fs = std::filesystem;
using platform::SysError;

namespace {

constexpr uid_t Nobody = 65534;

}  // namespace

HiveFileTest::HiveFileTest() {
    std::string pattern = (fs::temp_directory_path() / "kel-hivefile-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    fs::permissions(folder_, fs::perms::group_exec | fs::perms::others_exec, fs::perm_options::add);
}

HiveFileTest::~HiveFileTest() {
    std::error_code ignored;
    fs::permissions(folder_, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(folder_, ignored);
}

fs::path HiveFileTest::Put(std::string_view name, std::span<const std::byte> bytes) const {
    const fs::path path = folder_ / name;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(file.good()) << path;
    return path;
}

Bytes HiveFileTest::HiveBytes(std::uint32_t minor) {
    const auto hive = NewHive(minor);
    EXPECT_EQ(hive->SetValue(Make(*hive, u"A"), u"v", 1, Text(u"old")), SysError::Success);
    return Written(*hive);
}

void HiveFileTest::SetTime(const fs::path& path, std::int64_t seconds) {
    const std::array<timespec, 2> times{timespec{seconds, 0}, timespec{seconds, 0}};
    EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times.data(), 0), 0) << path;
}

fs::path HiveFileTest::PutHive(std::string_view name, std::uint32_t minor) const {
    fs::path path = Put(name, HiveBytes(minor));
    SetTime(path, Long);
    return path;
}

std::vector<std::string> HiveFileTest::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void HiveFileTest::Edit(offline::RegistryTree& tree) {
    Make(tree, u"New");
    EXPECT_EQ(tree.SetValue(At(tree, u"A"), u"v", 1, Text(u"new text")), SysError::Success);
}

std::vector<std::string> HiveFileTest::ContentAt(const fs::path& path) {
    const auto hive = ReadHive(ReadFileBytes(path));
    hive->Reader().ReadAll();
    EXPECT_EQ(hive->Damage().Count(), 0U);
    EXPECT_FALSE(hive->Replay().dirty);
    return Content(*hive);
}

std::vector<std::string> HiveFileTest::EditedContent() {
    return {"\\ class ", "\\A\\ class ", "\\A\\ value v type 1 data " + Hex(Text(u"new text")), "\\New\\ class "};
}

struct stat HiveFileTest::StatusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status;
}

FullDisk::FullDisk(std::size_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

FullDisk::~FullDisk() {
    struct rlimit limit {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_DFL);
}

OrdinaryUser::OrdinaryUser() : changed_(::geteuid() == 0 && ::seteuid(Nobody) == 0) {
}

OrdinaryUser::~OrdinaryUser() {
    if (changed_) {
        EXPECT_EQ(::seteuid(0), 0);
    }
}

}  // namespace kel::test
