#include <gtest/gtest.h>

#include "Fakes.h"
#include "core/RuntimeError.h"
#include "support/EngineTest.h"
#include "system/modPermissions.h"
#include "system/modWinAPI.h"

namespace kel {
namespace {

const platform::Sid Administrators = test::FakeRights::Identifier(5, {32, 544});
const platform::Sid Users = test::FakeRights::Identifier(5, {32, 545});

class AdminPermission : public test::EngineTest {
protected:
    AdminPermission() : rights_(*Machine().rights) {
        auto machine = Machine();
        machine.rights = &rights_;
        Install(machine);
    }
    void Groups(std::size_t others, bool administrators) {
        rights_.processGroups.assign(others, {Users, 0});
        if (administrators) {
            rights_.processGroups.push_back({Administrators, 0});
        }
    }

    test::FakeRights rights_;
};

TEST_F(AdminPermission, NeedsTheGroupOfAdministrators) {
    Groups(3, false);
    EXPECT_FALSE(modPermissions::HasAdminPermission());
    Groups(3, true);
    EXPECT_TRUE(modPermissions::HasAdminPermission());
    Groups(0, false);
    EXPECT_FALSE(modPermissions::HasAdminPermission());
}

TEST_F(AdminPermission, CountsAGroupThatOnlyDenies) {
    constexpr std::uint32_t UseForDenyOnly = 16;
    rights_.processGroups = {{Administrators, UseForDenyOnly}};
    EXPECT_TRUE(modPermissions::HasAdminPermission());
}

TEST_F(AdminPermission, IsThatOfTheProcessAndNotOfTheThread) {
    rights_.threadGroups = {{Administrators, 0}};
    EXPECT_FALSE(modPermissions::HasAdminPermission());
}

TEST_F(AdminPermission, IsFalseWithoutATokenOrItsSize) {
    Groups(0, true);
    rights_.size = 0;
    EXPECT_FALSE(modPermissions::HasAdminPermission());
    rights_.size = 812;
    rights_.hasProcessToken = false;
    EXPECT_FALSE(modPermissions::HasAdminPermission());
}

TEST_F(AdminPermission, IsFoundInTheLastPlaceOfTheTable) {
    Groups(100, true);
    EXPECT_TRUE(modPermissions::HasAdminPermission());
    Groups(100, false);
    EXPECT_FALSE(modPermissions::HasAdminPermission());
}

TEST_F(AdminPermission, EndsInABoundsErrorBehindTheTable) {
    // The place behind the last group is looked at too.
    Groups(101, false);
    EXPECT_THROW(modPermissions::HasAdminPermission(), RuntimeError);
    Groups(102, true);
    try {
        modPermissions::HasAdminPermission();
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.Number(), ErrSubscriptOutOfRange);
    }
    EXPECT_TRUE(Reported().empty());
}

struct Word {
    platform::OsVersion version;
    const char* word;
};
class OperatingSystemWord : public test::EngineTest, public ::testing::WithParamInterface<Word> {};

TEST_P(OperatingSystemWord, FollowsTheVersion) {
    test::FakeSystem system(*Machine().system);
    system.version = GetParam().version;
    auto machine = Machine();
    machine.system = &system;
    Install(machine);
    EXPECT_EQ(modWinAPI::GetOSVersionName(), GetParam().word);
    EXPECT_EQ(modWinAPI::GetOSVersionName("no such field"), GetParam().word);
}

INSTANTIATE_TEST_SUITE_P(All, OperatingSystemWord,
                         ::testing::Values(Word{{3, 51, 1057, 2, ""}, "3x"}, Word{{3, 10, 0, 0, ""}, "3x"},
                                           Word{{4, 0, 950, 1, ""}, "95"}, Word{{4, 0, 1381, 2, ""}, "NT"},
                                           Word{{4, 0, 0, 3, ""}, ""}, Word{{4, 10, 1998, 1, ""}, "98"},
                                           Word{{4, 90, 3000, 1, ""}, "ME"}, Word{{5, 0, 2195, 2, ""}, "NT"},
                                           Word{{5, 1, 2600, 2, ""}, "XP"}, Word{{5, 2, 3790, 2, ""}, ""},
                                           Word{{6, 1, 7601, 2, ""}, ""}, Word{{4, 1, 0, 1, ""}, ""},
                                           Word{{0, 0, 0, 0, ""}, ""}));

class VersionFields : public test::EngineTest {};

TEST_F(VersionFields, AreGivenAsText) {
    using namespace std::string_literals;
    test::FakeSystem system(*Machine().system);
    system.version = {5, 1, 2600, 2, "Service Pack 3\0\0\0"s};
    auto machine = Machine();
    machine.system = &system;
    Install(machine);
    EXPECT_EQ(modWinAPI::GetOSVersionName("dwOSVersionInfoSize"), "148");
    EXPECT_EQ(modWinAPI::GetOSVersionName("dwMajorVersion"), "5");
    EXPECT_EQ(modWinAPI::GetOSVersionName("dwMinorVersion"), "1");
    EXPECT_EQ(modWinAPI::GetOSVersionName("dwBuildNumber"), "2600");
    EXPECT_EQ(modWinAPI::GetOSVersionName("dwPlatformId"), "2");
    EXPECT_EQ(modWinAPI::GetOSVersionName("szCSDVersion"), "Service Pack 3");
}

}  // namespace
}  // namespace kel
