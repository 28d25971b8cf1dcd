#include <gmock/gmock.h>

#include <map>
#include <optional>

#include "core/Text.h"
#include "decorators/ForwardingFiles.h"
#include "decorators/ForwardingRegistry.h"
#include "decorators/ForwardingSystem.h"
#include "rules/modCleanerHelper.h"
#include "support/EngineTest.h"
#include "system/modFolderPaths.h"

namespace kel::test {
namespace {

using modCleanerHelper::RestrictRemoveFile;
using modCleanerHelper::RestrictRemoveFolder;
using modCleanerHelper::RestrictRemoveRegistryKey;
using modCleanerHelper::RestrictRemoveRegistryValue;
using ::testing::IsEmpty;

// A version record that has one string: the company.
class SignedBlock : public platform::VersionBlock {
public:
    explicit SignedBlock(std::string company) : company_(std::move(company)) {}
    std::optional<std::string> Query(std::string_view subBlock) const override {
        if (subBlock == "\\") {
            return std::string(52, '\0');
        }
        if (ContainsText(subBlock, "CompanyName")) {
            return company_ + '\0';
        }
        return std::nullopt;
    }

private:
    std::string company_;
};

// Every file is signed by one company, or has no version record.
class OneCompany : public platform::VersionResources {
public:
    std::optional<std::string> company;
    std::vector<std::string> asked;

    platform::Result<std::uint32_t> Size(std::string_view path) override {
        asked.emplace_back(path);
        if (!company) {
            return platform::SysError::ResourceTypeNotFound;
        }
        return std::uint32_t{100};
    }
    platform::Result<std::unique_ptr<platform::VersionBlock>> Load(std::string_view, std::uint32_t) override {
        if (!company) {
            return platform::SysError::ResourceTypeNotFound;
        }
        return std::unique_ptr<platform::VersionBlock>(std::make_unique<SignedBlock>(*company));
    }
};

class Restrictions : public EngineTest {
protected:
    Restrictions() {
        platform::Platform machine = Machine();
        machine.versions = &versions;
        Install(machine);
    }
    OneCompany versions;
};

TEST_F(Restrictions, AnUnsignedFileIsNotProtected) {
    EXPECT_FALSE(RestrictRemoveFile(Folder() + "any.exe"));
    EXPECT_EQ(versions.asked.size(), 1U);
}

TEST_F(Restrictions, FourPublishersAreProtectedInAnyCaseAndAnyContext) {
    for (const char* company :
         {"Symantec Corporation", "Microsoft Corporation", "NVIDIA", "the Kelvane Software team"}) {
        versions.company = company;
        EXPECT_TRUE(RestrictRemoveFile(Folder() + "any.exe")) << company;
    }
    for (const char* company : {"Microsoft", "Symantec", "Somebody Else", "", "nvidi a"}) {
        versions.company = company;
        EXPECT_FALSE(RestrictRemoveFile(Folder() + "any.exe")) << company;
    }
}

TEST_F(Restrictions, WinikIsCleanableWhoeverSignedIt) {
    versions.company = "Microsoft Corporation";
    EXPECT_FALSE(RestrictRemoveFile(modFolderPaths::GetSystemFolder() + "WinIK.sys"));
    EXPECT_FALSE(RestrictRemoveFile(modFolderPaths::GetWindowsFolder() + "lastgood\\inf\\winik.sys"));
    EXPECT_THAT(versions.asked, IsEmpty());
}

TEST_F(Restrictions, FormsLibraryIsProtectedWithoutALookAtTheFile) {
    EXPECT_TRUE(RestrictRemoveFile("D:\\anywhere\\Forms.DLL"));
    EXPECT_TRUE(RestrictRemoveFile("D:\\anywhere\\myforms.dll"));
    EXPECT_THAT(versions.asked, IsEmpty());
    EXPECT_FALSE(RestrictRemoveFile("D:\\anywhere\\forms.dll.exe"));
}

TEST_F(Restrictions, TwoFixedPathsAreProtectedInAnyCase) {
    EXPECT_TRUE(RestrictRemoveFile("C:\\WINDOWS\\WININIT.INI"));
    EXPECT_TRUE(RestrictRemoveFile("C:\\AutoExec.bat"));
    EXPECT_FALSE(RestrictRemoveFile("D:\\WINDOWS\\WININIT.INI"));
    EXPECT_FALSE(RestrictRemoveFile("C:\\WINNT\\WININIT.INI"));
    EXPECT_FALSE(RestrictRemoveFile("C:\\WINDOWS\\WININIT.INI.bak"));
    EXPECT_FALSE(RestrictRemoveFile("D:\\autoexec.bat"));
}

TEST_F(Restrictions, TheLastGoodConfigurationIsProtected) {
    EXPECT_TRUE(RestrictRemoveFile(modFolderPaths::GetWindowsFolder() + "LastGood\\INF\\oem1.inf"));
    EXPECT_TRUE(RestrictRemoveFile(modFolderPaths::GetWindowsFolder() + "lastgood\\information.txt"));
    EXPECT_FALSE(RestrictRemoveFile(modFolderPaths::GetWindowsFolder() + "lastgood\\system32\\x.sys"));
    EXPECT_FALSE(RestrictRemoveFile("D:\\lastgood\\inf\\oem1.inf"));
}

TEST_F(Restrictions, AnEmptyPathIsNotProtected) {
    EXPECT_FALSE(RestrictRemoveFile(""));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Restrictions, TheWindowsFolderIsProtectedWithItsFinalBackslashOnly) {
    const std::string windows = modFolderPaths::GetWindowsFolder();
    ASSERT_FALSE(windows.empty());
    EXPECT_TRUE(RestrictRemoveFolder(windows));
    EXPECT_TRUE(RestrictRemoveFolder(UCase(windows)));
    EXPECT_FALSE(RestrictRemoveFolder(windows.substr(0, windows.size() - 1)));
}

TEST_F(Restrictions, TheNamedFoldersBelowOthersHaveNoFinalBackslash) {
    const std::string windows = modFolderPaths::GetWindowsFolder();
    const std::string profile = modFolderPaths::GetUserProfileFolder();
    const std::string programs = modFolderPaths::GetProgramFilesFolder();
    for (const std::string& folder :
         {windows + "Prefetch", windows + "inf", profile + "Local Settings", profile + "Local Settings\\Temp",
          profile + "Local Settings\\Temporary Internet Files", profile + "Local Settings\\History\\History.IE5",
          programs + "InstallShield Installation Information", programs + "Common Files\\InstallShield"}) {
        EXPECT_TRUE(RestrictRemoveFolder(folder)) << folder;
        EXPECT_FALSE(RestrictRemoveFolder(folder + "\\")) << folder;
        EXPECT_FALSE(RestrictRemoveFolder(folder + "\\sub")) << folder;
    }
}

TEST_F(Restrictions, ASubfolderOfTheProgramsIsNotProtected) {
    EXPECT_FALSE(RestrictRemoveFolder(modFolderPaths::GetProgramFilesFolder() + "badware"));
    EXPECT_FALSE(RestrictRemoveFolder(modFolderPaths::GetProgramFilesFolder() + "badware\\"));
    EXPECT_FALSE(RestrictRemoveFolder(modFolderPaths::GetProgramFilesFolder() + "common files"));
}

// A machine whose special folders a test moves.
class MovingShell : public decorators::ForwardingShell {
public:
    using ForwardingShell::ForwardingShell;
    std::string all;
    platform::Result<std::string> SpecialFolder(int identifier) override {
        return all.empty() ? Inner().SpecialFolder(identifier) : platform::Result<std::string>(all);
    }
};

// A machine that has every special folder, each below one folder under its number.
class EveryFolder : public decorators::ForwardingShell {
public:
    EveryFolder(platform::Shell& inner, std::string folder) : ForwardingShell(inner), folder_(std::move(folder)) {}
    platform::Result<std::string> SpecialFolder(int identifier) override {
        return folder_ + "f" + std::to_string(identifier);
    }

private:
    std::string folder_;
};

// A registry whose list of user folders is another key.
class OtherShellFolders : public decorators::ForwardingRegistry {
public:
    OtherShellFolders(platform::Registry& inner, std::string key) : ForwardingRegistry(inner), key_(std::move(key)) {}
    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override {
        const bool listed = hive == platform::HiveCurrentUser && key.ends_with("\\Explorer\\Shell Folders");
        return Inner().Open(hive, listed ? std::string_view(key_) : key, access);
    }

private:
    std::string key_;
};

TEST_F(Restrictions, TheMachinesOwnFoldersAreProtectedWithTheirFinalBackslash) {
    platform::Platform machine = Machine();
    EveryFolder shell(*machine.shell, Folder());
    machine.shell = &shell;
    OtherShellFolders registry(*machine.registry, Key());
    machine.registry = &registry;
    auto key = Machine().registry->Create(platform::HiveCurrentUser, Key());
    ASSERT_TRUE(key.Ok());
    (*key)->Set("Local AppData", platform::ValueType::Sz, Folder() + "local" + '\0');
    // System, Windows, desktop, profile, programs, common startup, the user's startup, application data.
    std::vector<std::string> folders{Folder() + "Local\\"};
    for (const int number : {37, 36, 16, 40, 38, 24, 29, 26}) {
        folders.push_back(Folder() + "F" + std::to_string(number) + "\\");
    }
    for (const std::string& folder : folders) {
        MakeFolder(folder.substr(0, folder.size() - 1));
    }
    Install(machine);
    for (const std::string& folder : folders) {
        EXPECT_TRUE(RestrictRemoveFolder(folder)) << folder;
        EXPECT_FALSE(RestrictRemoveFolder(folder.substr(0, folder.size() - 1))) << folder;
        EXPECT_FALSE(RestrictRemoveFolder(folder + "below\\")) << folder;
    }
    Install(Machine());
}

TEST_F(Restrictions, TheListOfFoldersIsMadeOnce) {
    platform::Platform machine = Machine();
    MovingShell shell(*machine.shell);
    machine.shell = &shell;
    Install(machine);
    const std::string windows = modFolderPaths::GetWindowsFolder();
    EXPECT_TRUE(RestrictRemoveFolder(windows));
    MakeFolder(Folder() + "other");
    shell.all = Folder() + "other";
    EXPECT_TRUE(RestrictRemoveFolder(windows));
    EXPECT_FALSE(RestrictRemoveFolder(Folder() + "other\\"));
    Install(Machine());
}

TEST_F(Restrictions, ListedKeysAreProtectedInAnyHiveAndCase) {
    for (const std::string_view key : {"SOFTWARE",
                                       "SOFTWARE\\Classes",
                                       "SOFTWARE\\Classes\\.key",
                                       "SOFTWARE\\Classes\\Component Categories",
                                       "SOFTWARE\\Classes\\Interface",
                                       "SOFTWARE\\Classes\\TypeLib",
                                       "SOFTWARE\\Microsoft\\Cryptography",
                                       "SOFTWARE\\Microsoft\\Cryptography\\services",
                                       "Software\\Microsoft\\Internet Explorer\\International",
                                       "Software\\Microsoft\\Internet Explorer\\TypedURLs",
                                       "Software\\Microsoft\\MediaPlayer\\Control\\PlayBar",
                                       "Software\\Microsoft\\Multimedia\\ActiveMovie\\Filter Cache",
                                       "Software\\Microsoft\\Search Assistant",
                                       "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ComDlg32",
                                       "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist",
                                       "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\5.0\\Cache",
                                       "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings\\Connections",
                                       "Software\\Microsoft\\Windows\\ShellNoRoam",
                                       "Software\\Microsoft\\Windows\\ShellNoRoam\\MUICache",
                                       "SYSTEM",
                                       "SYSTEM\\ControlSet001",
                                       "SYSTEM\\ControlSet002",
                                       "SYSTEM\\ControlSet003",
                                       "SYSTEM\\CurrentControlSet",
                                       "SYSTEM\\LastKnownGoodRecovery\\LastGood"}) {
        EXPECT_TRUE(RestrictRemoveRegistryKey(platform::HiveLocalMachine, LCase(key))) << key;
        EXPECT_TRUE(RestrictRemoveRegistryKey(platform::HiveLocalMachine, UCase(key))) << key;
        EXPECT_TRUE(RestrictRemoveRegistryKey(platform::HiveLocalMachine, key)) << key;
        EXPECT_TRUE(RestrictRemoveRegistryKey(platform::HiveCurrentUser, key)) << key;
        EXPECT_TRUE(RestrictRemoveRegistryKey(0, key)) << key;
    }
}

TEST_F(Restrictions, WhatIsBelowAListedKeyIsNotProtected) {
    for (const char* key : {"SOFTWARE\\Badware", "SYSTEM\\ControlSet004", "SOFTWARE\\", "", "SOFTWARE\\Microsoft"}) {
        EXPECT_FALSE(RestrictRemoveRegistryKey(platform::HiveLocalMachine, key)) << key;
    }
}

TEST_F(Restrictions, NoValueIsEverProtected) {
    const char* key = "Software\\Microsoft\\Internet Explorer\\Main";
    EXPECT_FALSE(RestrictRemoveRegistryValue(platform::HiveCurrentUser, key, "AutoSearch"));
    EXPECT_FALSE(RestrictRemoveRegistryValue(platform::HiveCurrentUser, key, "Use FormSuggest"));
}

}  // namespace
}  // namespace kel::test
