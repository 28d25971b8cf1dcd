#include "system/modHelper.h"

#include "support/EngineTest.h"

namespace kel {
namespace {

class Helper : public test::EngineTest {};

TEST_F(Helper, HiveOfAFullPathIsTheOneThatItBeginsWith) {
    EXPECT_EQ(modHelper::GetRegistryHiveFromFullPath("hkey_local_machine\\Software"), platform::HiveLocalMachine);
    EXPECT_EQ(modHelper::GetRegistryHiveFromFullPath("HKEY_CURRENT_USER\\x"), platform::HiveCurrentUser);
    EXPECT_EQ(modHelper::GetRegistryHiveFromFullPath("HKEY_CLASSES_ROOTx"), platform::HiveClassesRoot);
    EXPECT_EQ(modHelper::GetRegistryHiveFromFullPath("HKEY_USERS"), platform::HiveUsers);
    EXPECT_EQ(modHelper::GetRegistryHiveFromFullPath("\\HKEY_USERS"), 0);
    EXPECT_EQ(modHelper::GetRegistryHiveFromFullPath(""), 0);
}

TEST_F(Helper, HiveNamesAreWholeNames) {
    EXPECT_EQ(modHelper::GetRegistryHiveFromHiveName("hkey_Users"), platform::HiveUsers);
    EXPECT_EQ(modHelper::GetRegistryHiveFromHiveName("HKEY_USERS\\x"), 0);
    EXPECT_EQ(modHelper::GetRegistryHiveNameFromHive(platform::HiveClassesRoot), "HKEY_CLASSES_ROOT");
    EXPECT_EQ(modHelper::GetRegistryHiveNameFromHive(platform::HiveCurrentUser), "HKEY_CURRENT_USER");
    EXPECT_EQ(modHelper::GetRegistryHiveNameFromHive(platform::HiveLocalMachine), "HKEY_LOCAL_MACHINE");
    EXPECT_EQ(modHelper::GetRegistryHiveNameFromHive(platform::HiveUsers), "HKEY_USERS");
    EXPECT_EQ(modHelper::GetRegistryHiveNameFromHive(5), "");
    EXPECT_EQ(static_cast<std::uint32_t>(platform::HiveUsers), 0x80000003U);
}

TEST_F(Helper, KeyOfAFullPathIsWhatStandsBehindTheHive) {
    EXPECT_EQ(modHelper::GetRegistryKeyFromFullPath("HKEY_LOCAL_MACHINE\\Software"), "Software");
    EXPECT_EQ(modHelper::GetRegistryKeyFromFullPath("hkey_users\\Software\\x\\"), "Software\\x");
}

TEST_F(Helper, AKeyOfFewCharactersIsEmpty) {
    EXPECT_EQ(modHelper::GetRegistryKeyFromFullPath("HKEY_LOCAL_MACHINE\\a\\b"), "");
    EXPECT_EQ(modHelper::GetRegistryKeyFromFullPath("HKEY_LOCAL_MACHINE\\abcd"), "");
    EXPECT_EQ(modHelper::GetRegistryKeyFromFullPath("HKEY_LOCAL_MACHINE\\abcde"), "abcde");
    EXPECT_EQ(modHelper::GetRegistryKeyFromFullPath(""), "");
}

TEST_F(Helper, HiveNamesAreTakenOutWhereverTheyStand) {
    EXPECT_EQ(modHelper::GetRegistryKeyFromFullPath("HKEY_USERS\\Software\\hkey_current_userTail"), "Software\\Tail");
}

TEST_F(Helper, DataTypeNamesHaveTheCataloguesNumbers) {
    EXPECT_EQ(modHelper::GetRegistryDataTypeFromDataTypeName("reg_sz"), 1);
    EXPECT_EQ(modHelper::GetRegistryDataTypeFromDataTypeName("REG_SZ_EX"), 2);
    EXPECT_EQ(modHelper::GetRegistryDataTypeFromDataTypeName("REG_DWORD"), 3);
    EXPECT_EQ(modHelper::GetRegistryDataTypeFromDataTypeName("Reg_Binary"), 4);
    EXPECT_EQ(modHelper::GetRegistryDataTypeFromDataTypeName("REG_MULTI_SZ"), 0);
}

struct Command {
    const char* line;
    const char* path;
};
class CommandLines : public Helper, public ::testing::WithParamInterface<Command> {};

TEST_P(CommandLines, GiveTheFilePath) {
    EXPECT_EQ(modHelper::GetFilePathFromPathWithCommand(GetParam().line), GetParam().path);
    EXPECT_TRUE(Reported().empty());
}

INSTANTIATE_TEST_SUITE_P(
    All, CommandLines,
    ::testing::Values(Command{R"(C:\WINDOWS\RUNDLL32.EXE "C:\a b.dll",x y.z)", R"(c:\a b.dll)"}, Command{"", ""},
                      Command{"  'C:\\x.exe'  ", R"(c:\x.exe)"},
                      // A four-letter extension stays whole, and so does a character that follows a shorter one.
                      Command{R"(c:\page.html -x)", R"(c:\page.html)"}, Command{R"(c:\x.exe/s)", R"(c:\x.exe/)"},
                      // An argument with a dot moves the cut.
                      Command{R"(c:\x.exe a.b)", R"(c:\x.exe a.b)"},
                      Command{R"(c:\x.exe 1.2345678)", R"(c:\x.exe 1.2345)"}, Command{"rundll32.exe shell", ""},
                      Command{"x.dll rundll32 y", ""}));

TEST_F(Helper, ACommandLineLosesItsQuotesAndItsArgument) {
    EXPECT_EQ(modHelper::GetFilePathFromPathWithCommand(R"("C:\Program Files\x.exe" /s)"), R"(c:\program files\x.exe)");
}

TEST_F(Helper, ACommandLineOfRundll32GivesTheLibraryWithoutItsEntryPoint) {
    EXPECT_EQ(modHelper::GetFilePathFromPathWithCommand("rundll32.exe c:\\windows\\bad.dll,Start"),
              R"(c:\windows\bad.dll)");
}

TEST_F(Helper, ACommandLineThatIsShortOrHasNoDotGivesNothing) {
    EXPECT_EQ(modHelper::GetFilePathFromPathWithCommand("abc"), "");
    EXPECT_EQ(modHelper::GetFilePathFromPathWithCommand("a.b"), "");
    EXPECT_EQ(modHelper::GetFilePathFromPathWithCommand("abcdef"), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Helper, ACommandLineIsCutBetweenCharacters) {
    const std::string letter = Machine().text->FromUtf8("\xc3\xa9");
    EXPECT_EQ(modHelper::GetFilePathFromPathWithCommand("c:\\x.exe" + letter + letter), "c:\\x.exe" + letter);
}

struct Duration {
    double days;
    const char* text;
};
constexpr double Second = 1.0 / 86400;
class Durations : public Helper, public ::testing::WithParamInterface<Duration> {};

TEST_P(Durations, AreShownByStrictSteps) {
    const Date start{38000.25};
    EXPECT_EQ(modHelper::GetTotalTimeDispaly(start, Date{start.days + GetParam().days}), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(All, Durations,
                         ::testing::Values(Duration{0, ""}, Duration{-5, ""}, Duration{1 * Second, "1 secs "},
                                           Duration{60 * Second, "60 secs "}, Duration{61 * Second, "1 mins 1 secs "},
                                           Duration{3600 * Second, "60 mins "}, Duration{7200 * Second, "2 hrs "},
                                           Duration{1, "24 hrs "}, Duration{1 + Second, "1 days 1 secs "},
                                           Duration{2 + 7322 * Second, "2 days 2 hrs 2 mins 2 secs "}));

TEST_F(Helper, ADurationHasMinutesOnlyAboveSixtySeconds) {
    const Date start{38000.25};
    EXPECT_EQ(modHelper::GetTotalTimeDispaly(start, Date{start.days + 3660 * Second}), "1 hrs 60 secs ");
    EXPECT_EQ(modHelper::GetTotalTimeDispaly(start, Date{start.days + 3661 * Second}), "1 hrs 1 mins 1 secs ");
}

TEST_F(Helper, DurationsAcrossTheDayZeroCountTheTimeOfDayForward) {
    // A quarter past the days -1 and 1: two days apart.
    EXPECT_EQ(modHelper::GetTotalTimeDispaly(Date{-1.25}, Date{1.25}), "2 days ");
}

TEST_F(Helper, TextsAreSplitAtTheFirstColon) {
    EXPECT_EQ(modHelper::StringBeforeColon("name:c:\\x"), "name");
    EXPECT_EQ(modHelper::StringAfterColon("name:c:\\x"), "c:\\x");
    EXPECT_EQ(modHelper::StringBeforeColon(":x"), "");
    EXPECT_EQ(modHelper::StringAfterColon("name:"), "");
    EXPECT_EQ(modHelper::StringBeforeColon("name"), "");
    EXPECT_EQ(modHelper::StringAfterColon("name"), "");
}

TEST_F(Helper, PathsAreSplitAtTheLastBackslash) {
    EXPECT_EQ(modHelper::FolderFromFilePath("C:\\a\\b.c"), "C:\\a\\");
    EXPECT_EQ(modHelper::FileNameFromFilePath("C:\\a\\b.c"), "b.c");
    EXPECT_EQ(modHelper::FolderFromFilePath("b.c"), "");
    EXPECT_EQ(modHelper::FileNameFromFilePath("b.c"), "b.c");
    EXPECT_EQ(modHelper::FileNameFromFilePath("C:\\a\\"), "");
}

TEST_F(Helper, AGuidReachesFromTheFirstBraceToTheFirstClosingOne) {
    EXPECT_EQ(modHelper::GuidFromText("CLSID\\{1-2}\\{3}"), "{1-2}");
    EXPECT_EQ(modHelper::GuidFromText("{1-2"), "");
    EXPECT_EQ(modHelper::GuidFromText("1-2}"), "");
    EXPECT_EQ(modHelper::GuidFromText(""), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Helper, AGuidWithItsBracesTheWrongWayRoundIsReported) {
    EXPECT_EQ(modHelper::GuidFromText("}{"), "");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modHelper");
    EXPECT_EQ(Reported()[0].procedure, "GuidFromText");
    EXPECT_EQ(Reported()[0].number, "5");
}

}  // namespace
}  // namespace kel
