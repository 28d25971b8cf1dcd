// The machine as a whole: drives, host folders, read-only opening, and its small parts.
#include <gmock/gmock.h>

#include <cmath>
#include <ctime>
#include <set>

#include "HostMachine.h"
#include "offline/OfflineClock.h"
#include "offline/OfflineText.h"

namespace kel::test {

namespace fs = std::filesystem;
using platform::Date;
using platform::DriveKind;
using platform::OpenMode;
using platform::SysError;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Platforms : public HostMachine {};

TEST_F(Platforms, DrivesAreListedByLetterAndCountAsFixed) {
    offline::MachineOptions options;
    options.drives = {{'e', Outside()}, {'D', Root()}};
    Reopen(options);
    EXPECT_THAT(Files().LogicalDrives(), ElementsAre("C:\\", "D:\\", "E:\\"));
    EXPECT_EQ(Files().DriveType("C:\\"), DriveKind::Fixed);
    EXPECT_EQ(Files().DriveType("e:\\"), DriveKind::Fixed);
    EXPECT_EQ(Files().DriveType("F:\\"), DriveKind::NoRoot);
    EXPECT_EQ(Files().DriveType("C:\\folder"), DriveKind::NoRoot);
    EXPECT_EQ(Files().DriveType("rubbish"), DriveKind::NoRoot);
}

TEST_F(Platforms, ADriveOfTheSameLetterReplacesTheMachines) {
    Put(Outside() / "elsewhere", "x");
    offline::MachineOptions options;
    options.drives = {{'C', Outside()}};
    Reopen(options);
    EXPECT_TRUE(Files().PathExists("C:\\elsewhere"));
    EXPECT_THAT(Files().LogicalDrives(), ElementsAre("C:\\"));
}

TEST_F(Platforms, HostFoldersAreMountedFromTheEndOfTheAlphabetAndHidden) {
    Mkdir(Outside() / "one");
    Mkdir(Outside() / "two");
    EXPECT_EQ(Machine().MountHost(Outside() / "one"), "Z:\\");
    EXPECT_EQ(Machine().MountHost(Outside() / "two"), "Y:\\");
    EXPECT_EQ(Machine().MountHost(Outside() / "two" / ".." / "one"), "Z:\\") << "the same folder is mounted once";
    EXPECT_THAT(Files().LogicalDrives(), ElementsAre("C:\\"));
    EXPECT_EQ(Files().DriveType("Z:\\"), DriveKind::Fixed);
    EXPECT_EQ(Write("y:\\f", "x"), SysError::Success);
    EXPECT_EQ(Get(Outside() / "two" / "f"), "x");
    EXPECT_EQ(Machine().HostPath("Y:\\F"), fs::canonical(Outside()) / "two" / "f");
    EXPECT_THROW(Machine().MountHost(Outside() / "none"), offline::OpenError);
    Put(Outside() / "file");
    EXPECT_THROW(Machine().MountHost(Outside() / "file"), offline::OpenError);
}

TEST_F(Platforms, AMachineIsReadOnlyUnlessItIsToBeWritable) {
    Put(Root() / "file", "x");
    Mkdir(Root() / "folder");
    Reopen({});
    EXPECT_FALSE(Machine().View().can.writable);
    EXPECT_EQ(Write("C:\\new", "x"), SysError::WriteProtect);
    EXPECT_EQ(Files().Remove("C:\\file"), SysError::WriteProtect);
    EXPECT_EQ(Files().RemoveFolder("C:\\folder"), SysError::WriteProtect);
    EXPECT_EQ(Files().MakeFolder("C:\\new"), SysError::WriteProtect);
    EXPECT_EQ(Files().SetAttributes("C:\\file", 1), SysError::WriteProtect);
    EXPECT_EQ(Read("C:\\file"), "x");
    const std::string host = Machine().MountHost(Outside());
    EXPECT_EQ(Files().Rename("C:\\file", host + "stolen"), SysError::WriteProtect);
    EXPECT_EQ(Write(host + "own", "y"), SysError::Success);
    EXPECT_EQ(Files().Rename(host + "own", "C:\\own"), SysError::WriteProtect);
    EXPECT_EQ(Files().Rename(host + "own", host + "renamed"), SysError::Success);
    SysError error = SysError::Success;
    EXPECT_NE(Machine().View().shell->Delete("C:\\folder", 20, error), 0);
    EXPECT_EQ(error, SysError::WriteProtect);
    EXPECT_TRUE(fs::exists(Root() / "folder"));
}

TEST_F(Platforms, WhatCanNotBeOpenedIsNamed) {
    offline::MachineOptions options;
    options.machine = Outside() / "none";
    EXPECT_THROW(offline::OfflinePlatform{options}, offline::OpenError);
    options.machine.clear();
    options.drives = {{'D', Outside() / "none"}};
    try {
        const offline::OfflinePlatform platform(options);
        FAIL() << "opened";
    } catch (const offline::OpenError& error) {
        EXPECT_THAT(error.what(), HasSubstr("none"));
    }
    options.drives = {{'1', Outside()}};
    EXPECT_THROW(offline::OfflinePlatform{options}, offline::OpenError);
}

TEST_F(Platforms, WithoutDrivesHostFoldersStillWork) {
    offline::OfflinePlatform platform(offline::MachineOptions{});
    EXPECT_TRUE(platform.View().files->LogicalDrives().empty());
    const std::string root = platform.MountHost(Outside());
    EXPECT_TRUE(platform.View().files->Open(root + "new", OpenMode::Create).Ok());
    EXPECT_FALSE(platform.View().files->PathExists("C:\\"));
}

TEST_F(Platforms, AMachineThatDoesNotRunHasNoProcessesAndNoTokens) {
    const platform::Platform view = Machine().View();
    EXPECT_FALSE(view.can.processes);
    EXPECT_FALSE(view.can.services);
    EXPECT_FALSE(view.can.components);
    EXPECT_FALSE(view.can.network);
    EXPECT_EQ(view.internet->Download("http://host/", "C:\\file"), SysError::NotSupported);
    EXPECT_EQ(view.restorePoints->Create("point", 0, 100).Error(), SysError::NotSupported);
    EXPECT_FALSE(view.can.live);
    EXPECT_TRUE(view.can.writable);
    EXPECT_TRUE(view.processes->Snapshot()->empty());
    EXPECT_EQ(view.processes->CanOpen(4, 1040), SysError::NotSupported);
    EXPECT_EQ(view.processes->FirstModulePath(4, 2048, 512).Error(), SysError::NotSupported);
    EXPECT_NE(view.processes->CurrentId(), 0U);
    EXPECT_EQ(view.processes->SetPriorityClass(32), SysError::NotSupported);
    EXPECT_EQ(view.rights->OpenThreadToken().Error(), SysError::NoToken);
    EXPECT_EQ(view.rights->OpenProcessToken().Error(), SysError::NoToken);
}

TEST_F(Platforms, SecurityIdentifiersAreData) {
    platform::Rights& rights = *Machine().View().rights;
    const auto admins = rights.MakeSid(5, {32, 544});
    ASSERT_TRUE(admins.Ok());
    EXPECT_EQ(admins->size(), 16U);
    EXPECT_TRUE(rights.IsValidSid(*admins));
    EXPECT_TRUE(rights.EqualSid(*admins, *rights.MakeSid(5, {32, 544})));
    EXPECT_FALSE(rights.EqualSid(*admins, *rights.MakeSid(5, {32, 545})));
    EXPECT_FALSE(rights.IsValidSid({}));
    EXPECT_EQ(rights.MakeSid(5, {1, 2, 3, 4, 5, 6, 7, 8, 9}).Error(), SysError::InvalidParameter);
}

TEST_F(Platforms, TheMessageLoopCallsWhatWasInstalled) {
    platform::MessageLoop& loop = *Machine().View().loop;
    loop.DoEvents();
    int calls = 0;
    Machine().OnYield([&calls] { ++calls; });
    loop.DoEvents();
    loop.DoEvents();
    EXPECT_EQ(calls, 2);
}

TEST(Clocks, DatesHaveTheEnglishForm) {
    offline::OfflineClock clock;
    EXPECT_EQ(clock.DateText({38000.0}), "1/14/2004");
    EXPECT_EQ(clock.DateText({38000.5}), "1/14/2004 12:00:00 PM");
    EXPECT_EQ(clock.DateText({38000.0 + 1.0 / 86400}), "1/14/2004 12:00:01 AM");
    EXPECT_EQ(clock.DateText({38000.0 + 47105.0 / 86400}), "1/14/2004 1:05:05 PM");
    EXPECT_EQ(clock.DateText({38000.0 + 86399.0 / 86400}), "1/14/2004 11:59:59 PM");
    EXPECT_EQ(clock.DateText({38000.9999999}), "1/15/2004") << "rounded to the second";
    EXPECT_EQ(clock.DateText({0.25}), "6:00:00 AM");
    EXPECT_EQ(clock.DateText({0}), "12:00:00 AM");
    EXPECT_EQ(clock.DateText({1}), "12/31/1899");
    EXPECT_EQ(clock.DateText({-1.25}), "12/29/1899 6:00:00 AM");
    EXPECT_EQ(clock.DateText({2}), "1/1/1900");
    EXPECT_EQ(clock.DateText({36585}), "2/29/2000");
    EXPECT_EQ(clock.ShortDateText({38000.75}), "1/14/2004");
    EXPECT_EQ(clock.ShortDateText({0}), "12/30/1899");
}

TEST(Clocks, NowIsAWholeSecondNearTheHosts) {
    offline::OfflineClock clock;
    const double days = clock.Now().days;
    EXPECT_NEAR(days * 86400, std::round(days * 86400), 1e-3);
    const double utc = static_cast<double>(time(nullptr)) / 86400 + 25569;
    EXPECT_NEAR(days, utc, 1.0);
    const auto first = clock.Ticks();
    EXPECT_GE(clock.Ticks(), first);
}

TEST(Clocks, IdentifiersAreRandomAndOfVersionFour) {
    offline::OfflineClock clock;
    std::set<platform::Guid> seen;
    for (int round = 0; round < 1000; ++round) {
        const platform::Guid guid = clock.NewGuid();
        EXPECT_EQ(guid[7] >> 4, 4);
        EXPECT_EQ(guid[8] >> 6, 2);
        EXPECT_TRUE(seen.insert(guid).second);
    }
}

TEST(Texts, CaseChangesLettersOnly) {
    offline::OfflineText text;
    EXPECT_EQ(text.ToLower("ABC xyz 123 [\\]"), "abc xyz 123 [\\]");
    EXPECT_EQ(text.ToUpper("abc XYZ 123 {|}"), "ABC XYZ 123 {|}");
    EXPECT_EQ(text.ToLower("ÄÖÜ ÉŸ ΑΩ ЖЯ"), "äöü éÿ αω жя");
    EXPECT_EQ(text.ToUpper("äöü éÿ αω жя"), "ÄÖÜ ÉŸ ΑΩ ЖЯ");
    EXPECT_EQ(text.ToUpper("ß µ ı ſ"), "ß µ ı ſ");
    EXPECT_EQ(text.ToLower(""), "");
    EXPECT_EQ(text.ToLower("日本 😀 A"), "日本 😀 a");
}

TEST(Texts, BytesThatAreNoCharactersPass) {
    offline::OfflineText text;
    EXPECT_EQ(text.ToLower("A\xFF"
                           "B\xC3"),
              "a\xFF"
              "b\xC3");
    EXPECT_EQ(text.ToUpper("\xED\xA0\x80"
                           "a\x80z"),
              "\xED\xA0\x80"
              "A\x80Z");
    EXPECT_EQ(text.ToUpper("\xC0\xE1"), "\xC0\xE1");
}

TEST(Texts, APrefixCountsCharacters) {
    offline::OfflineText text;
    EXPECT_EQ(text.Prefix("abc", 2), 2U);
    EXPECT_EQ(text.Prefix("abc", 10), 3U);
    EXPECT_EQ(text.Prefix("äöü", 2), 4U);
    EXPECT_EQ(text.Prefix("日😀x", 2), 7U);
    EXPECT_EQ(text.Prefix("\xFF\xC3", 1), 1U);
    EXPECT_EQ(text.Prefix("abc", 0), 0U);
    EXPECT_EQ(text.Prefix("", 5), 0U);
}

TEST(Texts, LowerAndUpperAreEachOthersWayBack) {
    offline::OfflineText text;
    for (unsigned code = 0x80; code < 0xD800; ++code) {
        std::string character;
        const auto append = [&](unsigned byte) { character.push_back(static_cast<char>(byte)); };
        if (code < 0x800) {
            append(0xC0 | code >> 6);
        } else {
            append(0xE0 | code >> 12);
            append(0x80 | (code >> 6 & 0x3F));
        }
        append(0x80 | (code & 0x3F));
        EXPECT_EQ(text.ToUpper(text.ToLower(character)), text.ToUpper(character));
        EXPECT_EQ(text.ToLower(text.ToUpper(character)), text.ToLower(character));
    }
}

}  // namespace kel::test
