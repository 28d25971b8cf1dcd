// Version, environment, rights, processes, the message loop.
#include <gmock/gmock.h>

#include <algorithm>

#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::Sid;
using platform::SysError;
using ::testing::StrCaseEq;

using SystemInfo = PlatformTest;

TEST_F(SystemInfo, VersionIsAnswered) {
    const auto version = Machine().system->Version();
    ASSERT_TRUE(version.Ok());
    EXPECT_GE(version.Value().major, 3U);
    EXPECT_TRUE(version.Value().platformId == 1 || version.Value().platformId == 2);
    EXPECT_EQ(version.Value().servicePack.find('\0'), std::string::npos);
}

TEST_F(SystemInfo, EnvironmentNamesCompareWithoutRegardToCase) {
    const std::string windows = Machine().system->Environment("windir");
    EXPECT_THAT(windows, StrCaseEq("C:\\windows"));
    EXPECT_EQ(Machine().system->Environment("WINDIR"), windows);
    EXPECT_THAT(Machine().system->Environment("SystemRoot"), StrCaseEq(windows));
}

TEST_F(SystemInfo, UserAndProfileBelongTogether) {
    const std::string user = Machine().system->Environment("USERNAME");
    ASSERT_NE(user, "");
    const std::string profile = Machine().system->Environment("USERPROFILE");
    EXPECT_TRUE(profile.ends_with("\\" + user)) << profile;
}

TEST_F(SystemInfo, UnsetVariableIsEmpty) {
    EXPECT_EQ(Machine().system->Environment("KEL_NO_SUCH_VARIABLE"), "");
    EXPECT_EQ(Machine().system->Environment(""), "");
}

class Rights : public PlatformTest {
protected:
    platform::Rights& TheRights() { return *Machine().rights; }
    Sid Administrators() { return TheRights().MakeSid(5, {32, 544}).ValueOr({}); }
};

TEST_F(Rights, SidHasTheBinaryForm) {
    const unsigned char wanted[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 32, 2, 0, 0};
    const Sid sid = Administrators();
    ASSERT_EQ(sid.size(), sizeof(wanted));
    for (std::size_t index = 0; index < sizeof(wanted); ++index) {
        EXPECT_EQ(std::to_integer<unsigned>(sid[index]), wanted[index]) << index;
    }
}

TEST_F(Rights, SidHasAtMostEightSubAuthorities) {
    EXPECT_TRUE(TheRights().MakeSid(1, {1, 2, 3, 4, 5, 6, 7, 8}).Ok());
    EXPECT_FALSE(TheRights().MakeSid(1, {1, 2, 3, 4, 5, 6, 7, 8, 9}).Ok());
}

TEST_F(Rights, ValidSidIsWhole) {
    Sid sid = Administrators();
    EXPECT_TRUE(TheRights().IsValidSid(sid));
    sid.pop_back();
    EXPECT_FALSE(TheRights().IsValidSid(sid));
    sid = Administrators();
    sid[0] = std::byte{9};
    EXPECT_FALSE(TheRights().IsValidSid(sid));
    EXPECT_FALSE(TheRights().IsValidSid({}));
}

TEST_F(Rights, SidsAreEqualByContents) {
    const Sid users = TheRights().MakeSid(5, {32, 545}).ValueOr({});
    EXPECT_TRUE(TheRights().EqualSid(Administrators(), Administrators()));
    EXPECT_FALSE(TheRights().EqualSid(Administrators(), users));
    EXPECT_FALSE(TheRights().EqualSid(Administrators(), TheRights().MakeSid(5, {32}).ValueOr({})));
}

TEST_F(Rights, WithoutImpersonationTheThreadHasNoToken) {
    EXPECT_EQ(TheRights().OpenThreadToken().Error(), SysError::NoToken);
}

TEST_F(Rights, TokenOfTheProcessHoldsValidGroups) {
    auto token = TheRights().OpenProcessToken();
    if (!Machine().can.live) {
        EXPECT_EQ(token.Error(), SysError::NoToken);
        return;
    }
    ASSERT_TRUE(token.Ok());
    EXPECT_GT((*token)->GroupsSize(), sizeof(std::uint32_t));
    const auto groups = (*token)->Groups();
    ASSERT_TRUE(groups.Ok());
    ASSERT_FALSE(groups.Value().empty());
    const Sid everyone = TheRights().MakeSid(1, {0}).ValueOr({});
    bool found = false;
    for (const platform::TokenGroup& group : groups.Value()) {
        EXPECT_TRUE(TheRights().IsValidSid(group.sid));
        found = found || TheRights().EqualSid(group.sid, everyone);
    }
    EXPECT_TRUE(found);
}

class Processes : public PlatformTest {
protected:
    platform::Processes& All() { return *Machine().processes; }
};

constexpr std::uint32_t QueryAndRead = 1040;
constexpr std::uint32_t NoProcess = 0xFFFFFFF0;

TEST_F(Processes, SnapshotHoldsTheOwnProcess) {
    const auto snapshot = All().Snapshot();
    if (!Machine().can.processes) {
        EXPECT_TRUE(!snapshot || snapshot.Value().empty());
        return;
    }
    ASSERT_TRUE(snapshot.Ok());
    const auto& list = snapshot.Value();
    const auto own = std::find_if(list.begin(), list.end(),
                                  [&](const platform::ProcessEntry& entry) { return entry.id == All().CurrentId(); });
    ASSERT_NE(own, list.end());
    EXPECT_THAT(own->exeFile, ::testing::EndsWith("platform_tests.exe"));
}

TEST_F(Processes, FirstModuleIsTheProgram) {
    const auto path = All().FirstModulePath(All().CurrentId(), 2048, 512);
    if (!Machine().can.processes) {
        EXPECT_FALSE(path.Ok());
        return;
    }
    ASSERT_TRUE(path.Ok());
    EXPECT_THAT(path.Value(), ::testing::EndsWith("platform_tests.exe"));
    EXPECT_TRUE(Files().PathExists(path.Value()));
    // Without room for a handle there is no module; a small buffer cuts the path.
    EXPECT_FALSE(All().FirstModulePath(All().CurrentId(), 0, 512).Ok());
    const auto cut = All().FirstModulePath(All().CurrentId(), 2048, 8);
    EXPECT_LE(cut.ValueOr("").size(), 8U);
}

TEST_F(Processes, OnlyExistingOnesOpen) {
    if (Machine().can.processes) {
        EXPECT_EQ(All().CanOpen(All().CurrentId(), QueryAndRead), SysError::Success);
    }
    EXPECT_NE(All().CanOpen(NoProcess, QueryAndRead), SysError::Success);
    EXPECT_FALSE(All().FirstModulePath(NoProcess, 2048, 512).Ok());
}

TEST_F(Processes, PrioritiesAreThoseOfThePlatform) {
    if (!Machine().can.processes) {
        EXPECT_NE(All().SetPriorityClass(7), SysError::Success);
        return;
    }
    constexpr std::uint32_t normalClass = 32;
    EXPECT_EQ(All().SetPriorityClass(normalClass), SysError::Success);
    EXPECT_EQ(All().SetPriorityClass(7), SysError::InvalidParameter);
    EXPECT_EQ(All().SetThreadPriority(1), SysError::Success);
    EXPECT_EQ(All().SetThreadPriority(0), SysError::Success);
    EXPECT_NE(All().SetThreadPriority(77), SysError::Success);
}

using MessageLoop = PlatformTest;

TEST_F(MessageLoop, ReturnsWhenNothingWaits) {
    for (int round = 0; round < 100; ++round) {
        Machine().loop->DoEvents();
    }
    SUCCEED();
}

}  // namespace
}  // namespace kel::test
