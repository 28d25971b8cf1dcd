#include <gmock/gmock.h>

#include <functional>
#include <string>

#include "Fakes.h"
#include "Items.h"
#include "core/Text.h"
#include "support/EngineTest.h"
#include "system/SpecialFolders.h"
#include "system/clsFolderPaths.h"
#include "system/modCommon.h"
#include "system/modFolderPaths.h"

namespace kel {
namespace {

using namespace std::string_literals;
using test::Items;
using ::testing::ElementsAre;

constexpr const char* ShellFolders = R"(Software\Microsoft\Windows\CurrentVersion\Explorer\Shell Folders)";
constexpr const char* UserShellFolders = R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
constexpr const char* InternetSettings = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Internet Settings)";

// A machine whose special folders and registry are a test's own.
class FolderPaths : public test::EngineTest {
protected:
    FolderPaths()
        : files_(*Machine().files),
          shell_(*Machine().shell),
          system_(*Machine().system),
          registry_(*Machine().registry, Key()) {
        auto machine = Machine();
        machine.files = &files_;
        machine.shell = &shell_;
        machine.system = &system_;
        machine.registry = &registry_;
        Install(machine);
    }

    // Makes a folder below the scratch folder and gives its path as a property would hold it.
    std::string Make(const std::string& name) {
        MakeFolder(Folder() + name);
        return LCase(Folder() + name) + "\\";
    }
    void SetValue(platform::Hive hive, const std::string& key, const std::string& name, const std::string& text) {
        auto open = registry_.Create(hive, key);
        ASSERT_TRUE(open.Ok());
        ASSERT_EQ((*open)->Set(name, platform::ValueType::Sz, text + '\0'), platform::SysError::Success);
    }
    clsFolderPaths Loaded() {
        clsFolderPaths paths;
        paths.LoadFolderPaths();
        return paths;
    }

    test::ScriptedFiles files_;
    test::FakeShell shell_;
    test::FakeSystem system_;
    test::RedirectedRegistry registry_;
};

TEST_F(FolderPaths, ComeFromTheMachineInLowerCaseWithABackslash) {
    const std::string windows = Make("WinDir");
    const std::string system = Make("WinDir\\Sys32");
    shell_.folders = {{36, Folder() + "WinDir"}, {37, Folder() + "WinDir\\Sys32\\"}};
    const clsFolderPaths paths = Loaded();
    EXPECT_EQ(paths.PathWindows, windows);
    EXPECT_EQ(paths.PathSystem, system);
    EXPECT_EQ(modFolderPaths::GetWindowsFolder(), windows);
    EXPECT_EQ(modFolderPaths::GetSystemFolder(), system);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(FolderPaths, ThatDoNotExistAreEmptyAndNoError) {
    shell_.folders = {{36, Folder() + "missing"}, {38, ""}};
    const clsFolderPaths paths = Loaded();
    for (const folders::SpecialFolder& row : folders::SpecialFolders) {
        EXPECT_EQ(paths.*row.property, "") << row.number;
    }
    EXPECT_EQ(modFolderPaths::GetLocalPath(36), "");
    EXPECT_EQ(modFolderPaths::GetLocalPath(38), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(FolderPaths, ALocalPathKeepsItsCaseAndIsCutAtItsNul) {
    Make("WinDir");
    shell_.folders = {{36, Folder() + "WinDir\0rest"s}, {37, std::string(300, 'x')}};
    EXPECT_EQ(modFolderPaths::GetLocalPath(36), Folder() + "WinDir\\");
    EXPECT_EQ(modFolderPaths::GetLocalPath(37), "");
}

struct Getter {
    std::string (*live)();
    std::string clsFolderPaths::*property;
    int number;
};
class FolderGetters : public FolderPaths, public ::testing::WithParamInterface<Getter> {};

TEST_P(FolderGetters, AnswerWhatTheSnapshotHolds) {
    const std::string folder = Make("Special");
    shell_.folders = {{GetParam().number, Folder() + "Special"}};
    EXPECT_EQ(Loaded().*GetParam().property, folder);
    EXPECT_EQ(GetParam().live(), folder);
}

INSTANTIATE_TEST_SUITE_P(
    All, FolderGetters,
    ::testing::Values(Getter{modFolderPaths::GetSystemFolder, &clsFolderPaths::PathSystem, 37},
                      Getter{modFolderPaths::GetWindowsFolder, &clsFolderPaths::PathWindows, 36},
                      Getter{modFolderPaths::GetProgramFilesFolder, &clsFolderPaths::PathProgramFiles, 38},
                      Getter{modFolderPaths::GetUserApplicationDataFolder, &clsFolderPaths::PathUserApplicationData,
                             26},
                      Getter{modFolderPaths::GetUserStartupFolder, &clsFolderPaths::PathStartUpFilesUser, 29},
                      Getter{modFolderPaths::GetCommonStartupFolder, &clsFolderPaths::PathStartUpFilesAllUsers, 24},
                      Getter{modFolderPaths::GetCookiesFolder, &clsFolderPaths::PathCookies, 33},
                      Getter{modFolderPaths::GetDesktopFolder, &clsFolderPaths::PathDesktop, 16},
                      Getter{modFolderPaths::GetProgramsFolder, &clsFolderPaths::PathPrograms, 2},
                      Getter{modFolderPaths::GetFavoritesFolder, &clsFolderPaths::PathFavorites, 6},
                      Getter{modFolderPaths::GetStartMenuFolder, &clsFolderPaths::PathStartMenu, 11},
                      Getter{modFolderPaths::GetUserProfileFolder, &clsFolderPaths::PathProfile, 40},
                      Getter{modFolderPaths::GetCommonStartMenuFolder, &clsFolderPaths::PathCommonStartMenu, 22},
                      Getter{modFolderPaths::GetCommonProgramsFolder, &clsFolderPaths::PathCommonPrograms, 23},
                      Getter{modFolderPaths::GetCommonFavoritesFolder, &clsFolderPaths::PathCommonFavorites, 31},
                      Getter{modFolderPaths::GetAltStartupFolder, &clsFolderPaths::PathAltStartup, 29},
                      Getter{modFolderPaths::GetCommonAltStartupFolder, &clsFolderPaths::PathCommonAltStartup, 30},
                      Getter{modFolderPaths::GetCommonDesktopFolder, &clsFolderPaths::PathCommonDesktop, 25}));

struct UserFolder {
    const char* valueName;
    std::string clsFolderPaths::*property;
};
class UserFolders : public FolderPaths, public ::testing::WithParamInterface<UserFolder> {};

TEST_P(UserFolders, FallBackToTheRegistryPlaceByPlace) {
    const auto& [name, property] = GetParam();
    const std::string last = Make("Profile\\Last");
    system_.environment["USERPROFILE"] = Folder() + "Profile";
    SetValue(platform::HiveCurrentUser, UserShellFolders, name, "%USERPROFILE%\\Last");
    EXPECT_EQ(Loaded().*property, last);

    const std::string second = Make("Second");
    SetValue(platform::HiveLocalMachine, ShellFolders, name, Folder() + "Second");
    EXPECT_EQ(Loaded().*property, second);

    SetValue(platform::HiveCurrentUser, ShellFolders, name, Folder() + "missing");
    EXPECT_EQ(Loaded().*property, second);

    const std::string first = Make("First");
    SetValue(platform::HiveCurrentUser, ShellFolders, name, Folder() + "First\\");
    EXPECT_EQ(Loaded().*property, first);
}

INSTANTIATE_TEST_SUITE_P(All, UserFolders,
                         ::testing::Values(UserFolder{"AppData", &clsFolderPaths::PathUserApplicationData},
                                           UserFolder{"Startup", &clsFolderPaths::PathStartUpFilesUser},
                                           UserFolder{"Cookies", &clsFolderPaths::PathCookies},
                                           UserFolder{"Desktop", &clsFolderPaths::PathDesktop},
                                           UserFolder{"Programs", &clsFolderPaths::PathPrograms},
                                           UserFolder{"Favorites", &clsFolderPaths::PathFavorites},
                                           UserFolder{"Start Menu", &clsFolderPaths::PathStartMenu},
                                           UserFolder{"Local AppData", &clsFolderPaths::PathLocalAppData},
                                           UserFolder{"Local Settings", &clsFolderPaths::PathLocalSettings}));

TEST_F(FolderPaths, TheProfileFallsBackToTheStartMenuAndThenToTheEnvironment) {
    system_.environment["USERPROFILE"] = Folder() + "Profile";
    EXPECT_EQ(Loaded().PathProfile, LCase(Folder()) + "profile\\");
    const std::string startMenu = Make("Menu");
    SetValue(platform::HiveCurrentUser, ShellFolders, "Start Menu", Folder() + "Menu");
    EXPECT_EQ(Loaded().PathProfile, startMenu);
    const std::string profile = Make("Profile");
    shell_.folders = {{40, Folder() + "Profile"}};
    EXPECT_EQ(Loaded().PathProfile, profile);
}

TEST_F(FolderPaths, DownloadedProgramsAreLookedForInThreePlaces) {
    EXPECT_EQ(Loaded().PathDownloadedProgramFiles, "");
    const std::string inWindows = Make("WinDir\\Downloaded Program Files");
    shell_.folders = {{36, Folder() + "WinDir"}};
    EXPECT_EQ(Loaded().PathDownloadedProgramFiles, inWindows);

    const std::string oddKey = Make("Odd");
    SetValue(platform::HiveLocalMachine, "HKEY_LOCAL_MACHINE\\"s + InternetSettings + "\\ActiveX Cache", "0",
             Folder() + "Odd");
    EXPECT_EQ(Loaded().PathDownloadedProgramFiles, oddKey);

    const std::string cache = Make("Cache");
    SetValue(platform::HiveLocalMachine, InternetSettings, "ActiveXCache", Folder() + "Cache");
    EXPECT_EQ(Loaded().PathDownloadedProgramFiles, cache);
    EXPECT_EQ(modFolderPaths::GetDownloadedProgramFilesFolder(), cache);
}

TEST_F(FolderPaths, TheLocalApplicationDataFolderIsTheRegistrysWhateverAClientChose) {
    Make("Local Data");
    SetValue(platform::HiveCurrentUser, ShellFolders, "Local AppData", Folder() + "Local Data");
    State().UserDataFolderIsSet = true;
    EXPECT_EQ(modCommon::PathLocalAppData(), Folder() + "Local Data\\");
    EXPECT_EQ(modFolderPaths::GetLocalAppDataFolder(), LCase(Folder()) + "local data\\");
    EXPECT_EQ(modFolderPaths::GetLocalSettingsFolder(), "");
}

// Translation. The folders need not exist for it.
clsFolderPaths TypicalPaths() {
    clsFolderPaths paths;
    paths.PathSystem = R"(c:\windows\system32\)";
    paths.PathWindows = R"(c:\windows\)";
    paths.PathProgramFiles = R"(c:\program files\)";
    paths.PathUserApplicationData = R"(c:\users\ann\application data\)";
    paths.PathStartUpFilesUser = R"(c:\users\ann\start menu\programs\startup\)";
    paths.PathStartUpFilesAllUsers = R"(c:\users\all\start menu\programs\startup\)";
    paths.PathCookies = R"(c:\users\ann\cookies\)";
    paths.PathDesktop = R"(c:\users\ann\desktop\)";
    paths.PathFavorites = R"(c:\users\ann\favorites\)";
    paths.PathStartMenu = R"(c:\users\ann\start menu\)";
    paths.PathProfile = R"(c:\users\ann\)";
    paths.PathCommonStartMenu = R"(c:\users\all\start menu\)";
    paths.PathCommonPrograms = R"(c:\users\all\start menu\programs\)";
    paths.PathCommonDesktop = R"(c:\users\all\desktop\)";
    return paths;
}

struct Translation {
    const char* path;
    const char* variables;
};
class ToVariables : public FolderPaths, public ::testing::WithParamInterface<Translation> {};

TEST_P(ToVariables, FollowTheOrderOfTheVariables) {
    EXPECT_EQ(TypicalPaths().TranslateToVariablePath(GetParam().path), GetParam().variables);
}

INSTANTIATE_TEST_SUITE_P(
    All, ToVariables,
    ::testing::Values(
        Translation{R"(c:\windows\x.exe)", R"(%windows%\x.exe)"}, Translation{R"(c:\windows)", R"(c:\windows)"},
        Translation{R"(C:\Program Files\A\b.exe)", R"(%program_files%\a\b.exe)"},
        Translation{R"(C:\Users\All\Start Menu\Programs\Startup\x.lnk)", R"(%common_programs%\startup\x.lnk)"},
        Translation{R"(C:\Users\All\Start Menu\x.lnk)", R"(%common_startmenu%\x.lnk)"},
        Translation{R"(C:\Users\All\Desktop\x.lnk)", R"(%common_desktopdirectory%\x.lnk)"},
        Translation{R"(C:\Users\Ann\Start Menu\Programs\Startup\x.lnk)", R"(%startup%\x.lnk)"},
        Translation{R"(C:\Users\Ann\Start Menu\Programs\x.lnk)", R"(%startmenu%\programs\x.lnk)"},
        Translation{R"(C:\Users\Ann\Application Data\x)", R"(%appdata%\x)"},
        Translation{R"(C:\Users\Ann\Cookies\x)", R"(%cookies%\x)"},
        Translation{R"(C:\Users\Ann\Favorites\x)", R"(%favorites%\x)"},
        Translation{R"(C:\Users\Ann\Desktop\x)", R"(%desktopdirectory%\x)"},
        Translation{R"(C:\Users\Ann\x)", R"(%profile%\x)"}, Translation{R"(D:\Other\X)", R"(d:\other\x)"},
        // All occurrences, wherever they stand.
        Translation{R"(x c:\windows\a;c:\windows\b)", R"(x %windows%\a;%windows%\b)"}, Translation{"", ""}));

TEST_F(FolderPaths, ASystemFolderBelowTheWindowsFolderComesOutUnderTheLatter) {
    EXPECT_EQ(TypicalPaths().TranslateToVariablePath(R"(C:\WINDOWS\System32\Bad.dll)"),
              R"(%windows%\system32\bad.dll)");
}

TEST_F(FolderPaths, ASystemFolderElsewhereHasItsOwnVariable) {
    clsFolderPaths paths = TypicalPaths();
    paths.PathSystem = R"(d:\system\)";
    EXPECT_EQ(paths.TranslateToVariablePath(R"(D:\System\x.dll)"), R"(%system%\x.dll)");
}

TEST_F(FolderPaths, AChangedPropertyCountsAtOnceAndInAnyCase) {
    clsFolderPaths paths = TypicalPaths();
    EXPECT_EQ(paths.TranslateToVariablePath(R"(c:\windows\x)"), R"(%windows%\x)");
    paths.PathWindows = R"(D:\WinNT\)";
    EXPECT_EQ(paths.TranslateToVariablePath(R"(d:\winnt\x)"), R"(%windows%\x)");
    EXPECT_EQ(paths.TranslateToVariablePath(R"(c:\windows\x)"), R"(c:\windows\x)");
}

TEST_F(FolderPaths, ASingleBackslashIsNoFolder) {
    clsFolderPaths paths;
    paths.PathWindows = "\\";
    EXPECT_EQ(paths.TranslateToVariablePath(R"(c:\a\b)"), R"(c:\a\b)");
}

TEST_F(FolderPaths, TheCommonAlternativeStartupIsGuardedByTheOtherOne) {
    clsFolderPaths paths;
    paths.PathCommonAltStartup = R"(c:\alt\)";
    EXPECT_EQ(paths.TranslateToVariablePath(R"(c:\alt\x)"), R"(%common_altstartup%\x)");
    paths.PathAltStartup = "\\";
    EXPECT_EQ(paths.TranslateToVariablePath(R"(c:\alt\x)"), R"(c:\alt\x)");
    paths.PathAltStartup = "";
    paths.PathCommonAltStartup = "\\";
    EXPECT_EQ(paths.TranslateToVariablePath(R"(c:\x)"), R"(c:%common_altstartup%\x)");
}

TEST_F(FolderPaths, TheLiveTranslationAsksTheMachine) {
    Make("WinDir\\Sys32");
    shell_.folders = {{36, Folder() + "WinDir"}, {37, Folder() + "WinDir\\Sys32"}};
    EXPECT_EQ(modFolderPaths::TranslateToVariablePath(Folder() + "WinDir\\Sys32\\X.dll"), R"(%windows%\sys32\x.dll)");
    Make("Other");
    shell_.folders = {{36, Folder() + "Other"}, {37, Folder() + "WinDir\\Sys32"}};
    EXPECT_EQ(modFolderPaths::TranslateToVariablePath(Folder() + "WinDir\\Sys32\\X.dll"), R"(%system%\x.dll)");
    EXPECT_TRUE(Reported().empty());
}

class FromVariables : public FolderPaths, public ::testing::WithParamInterface<Translation> {};

TEST_P(FromVariables, ReplaceTheFirstOneInTheirOrder) {
    clsFolderPaths paths = TypicalPaths();
    paths.PathAltStartup = R"(c:\alt\)";
    EXPECT_EQ(paths.TranslateFromVariablePath(GetParam().variables), GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(
    All, FromVariables,
    ::testing::Values(Translation{R"(c:\windows\x.exe)", R"(%windows%\x.exe)"},
                      Translation{R"(c:\windows\system32\x.exe)", R"(%system%\x.exe)"},
                      Translation{R"(%windows%)", R"(%windows%)"},
                      Translation{R"(%windows%c:\windows\)", R"(%windows%%windows%\)"},
                      // What the translation writes for the startup folder does not come back.
                      Translation{R"(%startup%\x)", R"(%startup%\x)"},
                      Translation{R"(%startu%c:\users\ann\start menu\programs\startup\x)", R"(%startu%%startup%\x)"},
                      Translation{R"(c:\users\ann\start menu\x)", R"(%startmenu%\x)"},
                      Translation{R"(%startmenu%)", R"(%startmenu%)"},
                      Translation{R"(c:\windows\x\y)", R"(%windows%\\x\\y)"}, Translation{R"(100%\x)", R"(100%\\X)"},
                      // Without a variable nothing changes.
                      Translation{R"(C:\\Mixed\\Case)", R"(C:\\Mixed\\Case)"},
                      Translation{R"(\\server\share)", R"(\\server\share)"}, Translation{"", ""},
                      Translation{R"(c:\alt\x)", R"(%altstartup%\x)"},
                      Translation{R"(c:\users\ann\application data\x)", R"(%appdata%\x)"},
                      Translation{R"(c:\users\all\desktop\x)", R"(%common_desktopdirectory%\x)"},
                      Translation{R"(c:\users\all\start menu\programs\x)", R"(%common_programs%\x)"},
                      Translation{R"(c:\users\all\start menu\x)", R"(%common_startmenu%\x)"},
                      Translation{R"(c:\users\all\start menu\programs\startup\x)", R"(%common_startup%\x)"},
                      Translation{R"(c:\users\ann\desktop\x)", R"(%desktopdirectory%\x)"},
                      Translation{R"(c:\users\ann\x)", R"(%profile%\x)"},
                      Translation{R"(c:\program files\x)", R"(%program_files%\x)"},
                      Translation{R"(c:\users\ann\favorites\x)", R"(%favorites%\x)"},
                      // A folder that the machine lacks leaves the rest of the path.
                      Translation{R"(x)", R"(%common_altstartup%\x)"}));

TEST_F(FolderPaths, AVariableInCapitalsIsFoundAndComesOutInLowerCase) {
    EXPECT_EQ(TypicalPaths().TranslateFromVariablePath(R"(%WINDOWS%\Some\X.EXE)"), R"(c:\windows\some\x.exe)");
}

// The first in the order of the tests, not in the text; all its occurrences.
TEST_F(FolderPaths, OfTwoVariablesOnlyTheFirstInTheirOrderIsReplaced) {
    EXPECT_EQ(TypicalPaths().TranslateFromVariablePath(R"(%windows%\%cookies%\;%cookies%\)"),
              R"(%windows%\c:\users\ann\cookies\;c:\users\ann\cookies\)");
}

// Completing file names.
class Resolving : public FolderPaths {
protected:
    Resolving() {
        windows_ = Make("WinDir");
        system_folder_ = Make("WinDir\\Sys32");
        shell_.folders = {{36, Folder() + "WinDir"}, {37, Folder() + "WinDir\\Sys32"}};
        WriteFile(windows_ + "in-windows.exe", "x");
        WriteFile(system_folder_ + "in-system.exe", "x");
        WriteFile(windows_ + "both.exe", "x");
        WriteFile(system_folder_ + "both.exe", "x");
        paths_ = Loaded();
    }

    std::string windows_;
    std::string system_folder_;
    clsFolderPaths paths_;
};

TEST_F(Resolving, ABareNameIsFoundInTheWindowsOrTheSystemFolder) {
    for (const auto& resolve : {std::function<Value(std::string_view)>(
                                    [this](std::string_view path) { return paths_.ResolveFilePath(path); }),
                                std::function<Value(std::string_view)>(modFolderPaths::ResolveFilePathEx)}) {
        EXPECT_EQ(resolve("IN-System.exe"), Value(system_folder_ + "in-system.exe"));
        EXPECT_EQ(resolve(" in-windows.EXE  "), Value(windows_ + "in-windows.exe"));
        EXPECT_EQ(resolve("\\in-windows.exe"), Value(windows_ + "in-windows.exe"));
        EXPECT_EQ(resolve("both.exe"), Value(windows_ + "both.exe"));
        EXPECT_EQ(resolve("sys32\\in-system.exe"), Value(windows_ + "sys32\\in-system.exe"));
        EXPECT_EQ(resolve("nowhere.exe"), Value(""s));
    }
}

TEST_F(Resolving, AFullPathIsItselfOrEmpty) {
    for (const auto& resolve : {std::function<Value(std::string_view)>(
                                    [this](std::string_view path) { return paths_.ResolveFilePath(path); }),
                                std::function<Value(std::string_view)>(modFolderPaths::ResolveFilePathEx)}) {
        EXPECT_EQ(resolve(Folder() + "WinDir\\BOTH.exe"), Value(windows_ + "both.exe"));
        EXPECT_EQ(resolve("C:\\both.exe"), Value(""s));
    }
}

TEST_F(Resolving, ATextUnderThreeCharactersIsNoPath) {
    for (const char* text : {"", "  ", " ab ", "a"}) {
        EXPECT_TRUE(IsEmpty(paths_.ResolveFilePath(text))) << text;
        EXPECT_TRUE(IsEmpty(modFolderPaths::ResolveFilePathEx(text))) << text;
    }
    EXPECT_EQ(paths_.ResolveFilePath("abc"), Value(""s));
}

TEST_F(Resolving, ThePrefixOfTheObjectManagerIsTakenOff) {
    EXPECT_EQ(modFolderPaths::ResolveFilePathEx("\\??\\" + Folder() + "WinDir\\both.exe"),
              Value(windows_ + "both.exe"));
}

TEST_F(Resolving, ALeadingVariableIsResolved) {
    EXPECT_EQ(modFolderPaths::ResolveFilePathEx("%SystemRoot%\\both.exe"), Value(windows_ + "both.exe"));
    EXPECT_EQ(modFolderPaths::ResolveFilePathEx("%windir%\\sys32\\in-system.exe"),
              Value(windows_ + "sys32\\in-system.exe"));
    EXPECT_EQ(modFolderPaths::ResolveFilePathEx("%other%\\both.exe"), Value(""s));
}

TEST_F(Resolving, AShortNameIsLengthened) {
    WriteFile(windows_ + "long~1.exe", "x");
    files_.longPaths = {{windows_ + "long~1.exe", windows_ + "longer name.exe"}};
    EXPECT_EQ(modFolderPaths::ResolveFilePathEx("long~1.exe"), Value(windows_ + "longer name.exe"));
    EXPECT_EQ(paths_.ResolveFilePath("long~1.exe"), Value(windows_ + "long~1.exe"));
}

TEST_F(Resolving, EnvironmentVariablesNameTheTwoSystemFolders) {
    EXPECT_EQ(modFolderPaths::TranslateEnvironmentVariablesPaths("%SYSTEMROOT%\\A"), windows_ + "a");
    EXPECT_EQ(modFolderPaths::TranslateEnvironmentVariablesPaths("x %WinDir%\\A"), "x " + windows_ + "a");
    EXPECT_EQ(modFolderPaths::TranslateEnvironmentVariablesPaths("%systemdirectory%\\A"), system_folder_ + "a");
    EXPECT_EQ(modFolderPaths::TranslateEnvironmentVariablesPaths("%windir%"), "%windir%");
    EXPECT_EQ(modFolderPaths::TranslateEnvironmentVariablesPaths(""), "");
}

TEST_F(Resolving, TheInitializationFilesLieInTheWindowsFolder) {
    EXPECT_EQ(modFolderPaths::GetWinIniFile(), "");
    WriteFile(windows_ + "win.ini", "");
    WriteFile(windows_ + "system.ini", "");
    EXPECT_EQ(modFolderPaths::GetWinIniFile(), windows_ + "win.ini");
    EXPECT_EQ(modFolderPaths::GetSystemIniFile(), windows_ + "system.ini");
}

TEST_F(FolderPaths, FixedDrivesAreThoseOfKindThree) {
    files_.drives = {"A:\\", "C:\\", "D:\\", "E:\\", "Z:\\"};
    files_.driveKinds = {{"A:\\", platform::DriveKind::Removable},
                         {"C:\\", platform::DriveKind::Fixed},
                         {"D:\\", platform::DriveKind::CdRom},
                         {"E:\\", platform::DriveKind::Fixed},
                         {"Z:\\", platform::DriveKind::Remote}};
    const auto drives = modFolderPaths::GetFixedDrives();
    EXPECT_THAT(Items(drives), ElementsAre("C:\\", "E:\\"));
    EXPECT_EQ(drives.Item("e:\\"), "E:\\");
    EXPECT_EQ(modFolderPaths::GetDriveString(), "A:\\\0C:\\\0D:\\\0E:\\\0Z:\\\0"s);
}

TEST_F(FolderPaths, AMachineWithoutFixedDrivesHasAnEmptyCollection) {
    EXPECT_EQ(modFolderPaths::GetFixedDrives().Count(), 0U);
    files_.drives = {"A:\\"};
    EXPECT_EQ(modFolderPaths::GetFixedDrives().Count(), 0U);
    EXPECT_TRUE(Reported().empty());
}

}  // namespace
}  // namespace kel
