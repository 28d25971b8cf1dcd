// Hives of real machines, which are not part of the repository: $KEL_HIVES, or `shared/hives` beside it.
#include <gtest/gtest.h>

#include <cstdlib>

#include "HiveFixture.h"
#include "Oracles.h"

namespace kel::test {
namespace {

using offline::Hive;
using offline::KeyId;
using offline::regf::HiveError;
using platform::SysError;

std::filesystem::path Folder() {
    const char* named = std::getenv("KEL_HIVES");
    return named != nullptr ? std::filesystem::path(named)
                            : std::filesystem::path(KEL_SOURCE_DIR).parent_path() / "shared" / "hives";
}

/// The bytes of a file there, unpacked where it is packed; empty where it is not.
Bytes Real(const std::string& name) {
    const std::filesystem::path plain = Folder() / name;
    if (std::filesystem::exists(plain))
        return ReadFileBytes(plain);
    const std::filesystem::path packed = Folder() / (name + ".xz");
    if (!std::filesystem::exists(packed))
        return {};
    const TemporaryFile unpacked({});
    const std::string command = "xz -dc '" + packed.string() + "' > '" + unpacked.Path().string() + "'";
    return std::system(command.c_str()) == 0 ? ReadFileBytes(unpacked.Path()) : Bytes();
}

#define REAL_HIVE(variable, name)      \
    const Bytes variable = Real(name); \
    if (variable.empty())              \
    GTEST_SKIP() << (Folder() / (name)).string() << " is not there"

struct Counts {
    std::size_t keys = 0;
    std::size_t values = 0;
    friend bool operator==(const Counts&, const Counts&) = default;
};
void PrintTo(const Counts& counts, std::ostream* out) {
    *out << counts.keys << " keys, " << counts.values << " values";
}

Counts CountAll(const Hive& hive) {
    Counts counts;
    std::vector<KeyId> pending{hive.Root()};
    while (!pending.empty()) {
        const KeyId key = pending.back();
        pending.pop_back();
        ++counts.keys;
        counts.values += hive.ValueCount(key);
        for (std::uint32_t i = 0; i < hive.KeyCount(key); ++i)
            pending.push_back(hive.KeyAt(key, i));
    }
    return counts;
}

TEST(RealHives, TheXpUserHiveReadsAsOthersReadIt) {
    REAL_HIVE(bytes, "xp_NTUSER.DAT");
    const auto hive = ReadHive(bytes);
    EXPECT_EQ(CountAll(*hive), (Counts{1127, 5602}));
    EXPECT_EQ(hive->Minor(), 3U);
    EXPECT_EQ(hive->Damage().Count(), 0U);
    SKIP_WITHOUT_ORACLES();
    ExpectOraclesAgree(*hive, "as it is");
}

TEST(RealHives, TheWindows7SystemHiveReadsAsOthersReadIt) {
    REAL_HIVE(bytes, "win7_SYSTEM");
    const auto hive = ReadHive(bytes);
    EXPECT_EQ(CountAll(*hive), (Counts{30756, 73456}));
    hive->Reader().ReadAll();
    EXPECT_EQ(hive->Damage().Count(), 0U);
}

TEST(RealHives, TheDirtyHiveReadsAsItLiesWithoutItsLogs) {
    REAL_HIVE(bytes, "dirty_NTUSER.DAT");
    const auto hive = ReadHive(bytes);
    EXPECT_TRUE(hive->Replay().dirty);
    EXPECT_FALSE(hive->Replay().replayed);
    EXPECT_EQ(CountAll(*hive), (Counts{2590, 4119}));
}

TEST(RealHives, TheLogsBringTheDirtyHiveUpToDate) {
    REAL_HIVE(bytes, "dirty_NTUSER.DAT");
    REAL_HIVE(log1, "dirty_NTUSER.DAT.LOG1");
    REAL_HIVE(log2, "dirty_NTUSER.DAT.LOG2");
    const auto hive = ReadHive(bytes, {{"LOG1", log1}, {"LOG2", log2}});
    EXPECT_TRUE(hive->Replay().replayed);
    EXPECT_EQ(CountAll(*hive), (Counts{3105, 4695}));
    EXPECT_EQ(hive->Damage().Count(), 0U);
}

TEST(RealHives, WhatWasReplayedIsCleanOnceItIsWritten) {
    REAL_HIVE(bytes, "dirty_NTUSER.DAT");
    REAL_HIVE(log1, "dirty_NTUSER.DAT.LOG1");
    const auto hive = ReadHive(bytes, {{"LOG1", log1}});
    const auto again = ReadHive(Written(*hive), {{"LOG1", log1}});
    EXPECT_FALSE(again->Replay().dirty);
    EXPECT_EQ(Difference(Content(*again, true), Content(*hive, true)), "");
    SKIP_WITHOUT_ORACLES();
    ExpectOraclesAgree(*again, "replayed");
}

TEST(RealHives, TheDamagedListLosesOnlyWhatItNamesWrongly) {
    REAL_HIVE(bytes, "corrupt_sub_key_list.hiv");
    const auto hive = ReadHive(bytes);
    hive->Reader().ReadAll();
    EXPECT_EQ(CountAll(*hive), (Counts{100, 99}));
    EXPECT_EQ(hive->Damage().Count(), 1U);
}

TEST(RealHives, TheRegistryOfWindows9xIsRefusedByName) {
    REAL_HIVE(bytes, "win9x_SYSTEM.DAT");
    try {
        static_cast<void>(ReadHive(bytes));
        FAIL() << "it was read";
    } catch (const HiveError& error) {
        EXPECT_NE(std::string(error.what()).find("Windows 95, 98 or Me (CREG)"), std::string::npos) << error.what();
    }
}

/// One edit of each kind below the key at `path`, each against everything else.
void ExpectEditsChangeNothingElse(const Bytes& bytes, std::u16string_view path) {
    const auto hive = ReadHive(bytes);
    const auto before = Content(*hive);
    const KeyId key = At(*hive, path);
    ASSERT_NE(key, offline::NoKey);
    const std::string at = "\\" + Utf8(path);
    const auto expectOnly = [&](std::vector<std::string> added, const std::string& what) {
        auto expected = before;
        expected.insert(expected.end(), added.begin(), added.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(Difference(Content(*ReadHive(Written(*hive))), expected), "") << what;
    };

    ASSERT_EQ(hive->SetValue(key, u"Kel small", 3, Pattern(4)), SysError::Success);
    const std::string small = at + "\\ value Kel small type 3 data " + Hex(Pattern(4));
    expectOnly({small}, "a small value");
    ASSERT_EQ(hive->SetValue(key, u"Kel large", 3, Pattern(40000)), SysError::Success);
    const std::string large = at + "\\ value Kel large type 3 data " + Hex(Pattern(40000));
    expectOnly({small, large}, "a large value");
    ASSERT_EQ(hive->SetValue(key, u"KEL LARGE", 3, Pattern(10, 2)), SysError::Success);
    const std::string shrunk = at + "\\ value Kel large type 3 data " + Hex(Pattern(10, 2));
    expectOnly({small, shrunk}, "a value that became smaller");
    ASSERT_TRUE(hive->CreateKey(key, u"Kel key").Ok());
    const std::string made = at + "\\Kel key\\";
    expectOnly({small, shrunk, made + " class "}, "a new key");
    const KeyId below = At(*hive, std::u16string(path) + u"\\Kel key");
    ASSERT_TRUE(hive->CreateKey(below, u"A").Ok());
    ASSERT_EQ(hive->SetValue(below, u"", 1, Text(u"default")), SysError::Success);
    expectOnly(
        {small, shrunk, made + " class ", made + "A\\ class ", made + " value  type 1 data " + Hex(Text(u"default"))},
        "a key with a value and a key");
    ExpectOraclesAgree(*hive, "with everything that was added");
    ASSERT_EQ(DeleteTree(*hive, key, u"kel KEY"), SysError::Success);
    expectOnly({small, shrunk}, "a tree that was deleted");
    ASSERT_EQ(hive->DeleteValue(key, u"Kel small"), SysError::Success);
    ASSERT_EQ(hive->DeleteValue(key, u"Kel large"), SysError::Success);
    expectOnly({}, "values that were deleted");
    ExpectOraclesAgree(*hive, "with everything deleted again");
}

TEST(RealHives, AnEditOfTheXpUserHiveLeavesEverythingElse) {
    SKIP_WITHOUT_ORACLES();
    REAL_HIVE(bytes, "xp_NTUSER.DAT");
    ExpectEditsChangeNothingElse(bytes, u"Software\\Microsoft\\Windows\\CurrentVersion");
}

TEST(RealHives, AnEditOfTheWindows7SystemHiveLeavesEverythingElse) {
    SKIP_WITHOUT_ORACLES();
    REAL_HIVE(bytes, "win7_SYSTEM");
    ExpectEditsChangeNothingElse(bytes, u"ControlSet001\\services");
}

TEST(RealHives, EveryKeyOfARealHiveIsFoundByItsNameInAnyCase) {
    REAL_HIVE(bytes, "xp_NTUSER.DAT");
    const auto hive = ReadHive(bytes);
    std::vector<KeyId> pending{hive->Root()};
    std::size_t found = 0;
    while (!pending.empty()) {
        const KeyId key = pending.back();
        pending.pop_back();
        for (std::uint32_t i = 0; i < hive->KeyCount(key); ++i) {
            const KeyId below = hive->KeyAt(key, i);
            EXPECT_EQ(hive->FindKey(key, offline::Upcase(hive->KeyName(below))), below);
            ++found;
            pending.push_back(below);
        }
    }
    EXPECT_EQ(found, 1126U);
}

}  // namespace
}  // namespace kel::test
