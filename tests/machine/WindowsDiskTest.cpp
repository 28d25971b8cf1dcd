// A Windows disk: its hives, users, folders, environment and version.
#include "DiskFixture.h"

#include <gmock/gmock.h>

#include <fstream>

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::HiveUsers;
using platform::SysError;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class WindowsDisk : public DiskFixture {};

TEST_F(WindowsDisk, TheHivesStandWhereARunningMachineHasThem) {
    MakeXp();
    Open();
    EXPECT_EQ(Machine().Kind(), offline::MachineKind::WindowsDisk);
    EXPECT_TRUE(Machine().View().can.registry);
    EXPECT_EQ(Value(HiveLocalMachine, "Software\\Microsoft\\Windows NT\\CurrentVersion", "productname"),
              "Microsoft Windows XP");
    EXPECT_EQ(Value(HiveLocalMachine, "SYSTEM\\ControlSet002\\Services\\Sample", "ImagePath"), "C:\\sample.exe");
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Sample", "Who"), "Ada");
    EXPECT_EQ(Value(HiveUsers, "S-1-5-21-1-2-3-1003\\Software\\Sample", "Who"), "Ada");
    EXPECT_EQ(Value(HiveUsers, ".DEFAULT\\Environment", "WHO"), "logon screen");
    EXPECT_EQ(Value(HiveUsers, "S-1-5-18\\Environment", "WHO"), "logon screen");
    EXPECT_THAT(Machine().Notes(), IsEmpty());
}

TEST_F(WindowsDisk, AFolderMayBeNamedByALinkOrFromTheCurrentFolder) {
    MakeXp();
    const fs::path link = Disk().string() + "-link";
    fs::create_directory_symlink(Disk(), link);
    offline::MachineOptions options;
    for (const fs::path& name : {link, fs::relative(Disk()), Disk() / "."}) {
        options.machine = name;
        offline::OfflinePlatform machine(options);
        EXPECT_TRUE(machine.View().can.registry) << name;
    }
    fs::remove(link);
}

TEST_F(WindowsDisk, TheCurrentControlSetIsTheOneThatSelectNames) {
    MakeXp();
    Open();
    EXPECT_EQ(Value(HiveLocalMachine, "SYSTEM\\CurrentControlSet\\Services\\Sample", "ImagePath"), "C:\\sample.exe");
}

TEST_F(WindowsDisk, WithoutSelectTheFirstControlSetIsCurrent) {
    MakeXp();
    Hive("WINDOWS/system32/config/SYSTEM", {{u"ControlSet001\\Control", u"v", u"first"}});
    Open();
    EXPECT_EQ(Value(HiveLocalMachine, "SYSTEM\\CurrentControlSet\\Control", "v"), "first");
}

TEST_F(WindowsDisk, ClassesOfTheUserLieOverThoseOfTheMachine) {
    MakeXp();
    Open();
    EXPECT_EQ(Value(HiveClassesRoot, ".doc", ""), "ada");
    EXPECT_EQ(Value(HiveClassesRoot, ".txt", ""), "txtfile");
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Classes\\.doc", ""), "ada");
    EXPECT_EQ(Value(HiveUsers, "S-1-5-21-1-2-3-1003_Classes\\.doc", ""), "ada");
}

TEST_F(WindowsDisk, TheVersionIsThatOfTheRegistry) {
    MakeXp();
    Open();
    EXPECT_EQ(Version(), "5.1.2600 p2 Service Pack 3");
}

TEST_F(WindowsDisk, FoldersOfTheUserAreThoseThatTheUsersHiveNames) {
    MakeXp();
    Open();
    EXPECT_EQ(Special(5), "C:\\Documents and Settings\\Ada\\Papers");
    EXPECT_EQ(Special(26), "C:\\Documents and Settings\\Ada\\Application Data");
    EXPECT_EQ(Special(16), "C:\\Documents and Settings\\Ada\\Desktop") << "by its usual name";
    EXPECT_EQ(Special(25), "C:\\Documents and Settings\\All Users\\Desktop");
    EXPECT_EQ(Special(36), "C:\\WINDOWS");
    EXPECT_EQ(Special(38), "C:\\Program Files");
}

// Windows of other languages has other names for them, and only the registry knows.
TEST_F(WindowsDisk, ProfilesLieWhereTheRegistrySays) {
    constexpr std::u16string_view Profiles = u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList";
    Hive("WINDOWS/system32/config/SYSTEM", {{u"Select", u"Current", u"", 1}});
    Hive("WINDOWS/system32/config/software",
         {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"5.1"},
          {Profiles, u"ProfilesDirectory", u"%SystemDrive%\\Dokumente und Einstellungen"},
          {Profiles, u"AllUsersProfile", u"Alle"},
          {std::u16string(Profiles) + u"\\S-1-12-1-1-2-3-4", u"ProfileImagePath", u"C:\\Leute\\Ada"},
          {u"Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", u"Common Programs",
           u"%ALLUSERSPROFILE%\\Programme"}});
    Hive("Leute/Ada/NTUSER.DAT", {{u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders",
                                   u"Local AppData", u"%USERPROFILE%\\Lokal\\Anwendungsdaten"}});
    Hive("Leute/Ada/Lokal/Anwendungsdaten/Microsoft/Windows/UsrClass.dat", {{u".doc", u"", u"ada"}});
    Folder("Dokumente und Einstellungen/Alle/Programme");
    Open();
    EXPECT_EQ(Variable("ALLUSERSPROFILE"), "C:\\Dokumente und Einstellungen\\Alle");
    EXPECT_EQ(Variable("USERPROFILE"), "C:\\Leute\\Ada");
    EXPECT_EQ(Special(23), "C:\\Dokumente und Einstellungen\\Alle\\Programme");
    EXPECT_EQ(Value(HiveClassesRoot, ".doc", ""), "ada");
}

TEST_F(WindowsDisk, ItsFilesAreInItsOwnCodePage) {
    MakeXp();
    Hive("WINDOWS/system32/config/SYSTEM",
         {{u"Select", u"Current", u"", 1}, {u"ControlSet001\\Control\\Nls\\CodePage", u"ACP", u"1251"}});
    Open();
    EXPECT_EQ(Machine().View().text->FromAnsi("\xCF\xE0\xEF\xEA\xE0 \x98"), "\u041F\u0430\u043F\u043A\u0430 \u0098");
    Hive("WINDOWS/system32/config/SYSTEM",
         {{u"Select", u"Current", u"", 1}, {u"ControlSet001\\Control\\Nls\\CodePage", u"ACP", u"932"}});
    Open();
    EXPECT_EQ(Machine().View().text->FromAnsi("\x83\x65\x83\x58\x83\x67.exe"), "\u30C6\u30B9\u30C8.exe");
    Hive("WINDOWS/system32/config/SYSTEM",
         {{u"Select", u"Current", u"", 1}, {u"ControlSet001\\Control\\Nls\\CodePage", u"ACP", u"99999"}});
    Open();
    EXPECT_EQ(Machine().View().text->FromAnsi("\xE9 \x81"), "\u00E9 \u0081") << "as a western one";
}

TEST_F(WindowsDisk, SinceVistaProgramDataIsEverybodys) {
    constexpr std::u16string_view Profiles = u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList";
    Hive("Windows/System32/config/SYSTEM", {{u"Select", u"Current", u"", 1}});
    Hive("Windows/System32/config/SOFTWARE", {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"6.1"},
                                              {Profiles, u"ProfilesDirectory", u"D:\\Users"},
                                              {Profiles, u"ProgramData", u"%SystemDrive%\\Shared"}});
    Open();
    EXPECT_EQ(Variable("ALLUSERSPROFILE"), "C:\\Shared");
    EXPECT_EQ(Variable("ProgramData"), "C:\\Shared");
    EXPECT_EQ(Variable("PUBLIC"), "D:\\Users\\Public");
}

TEST_F(WindowsDisk, TheEnvironmentIsThatOfTheMachineThenOfTheUser) {
    MakeXp();
    Open();
    EXPECT_EQ(Variable("OS"), "Windows_NT");
    EXPECT_EQ(Variable("windir"), "C:\\WINDOWS");
    EXPECT_EQ(Variable("TEMP"), "C:\\Documents and Settings\\Ada\\Local Settings\\Temp");
    EXPECT_EQ(Variable("PATH"), "C:\\WINDOWS\\system32;C:\\WINDOWS;C:\\tools");
    EXPECT_EQ(Variable("username"), "Ada");
}

TEST_F(WindowsDisk, SeveralUsersAreListedAndOneIsChosen) {
    MakeXp();
    Hive("WINDOWS/system32/config/software",
         {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"5.1"},
          {u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-1-2-3-500", u"ProfileImagePath",
           u"C:\\Documents and Settings\\Administrator"},
          {u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-1-2-3-1003", u"ProfileImagePath",
           u"C:\\Documents and Settings\\Ada"}});
    Hive("Documents and Settings/Administrator/NTUSER.DAT", {{u"Software\\Sample", u"Who", u"Administrator"}});
    EXPECT_THAT(OpenFails(), HasSubstr("Ada, Administrator"));
    EXPECT_THAT(OpenFails("Bob"), HasSubstr("no user Bob; it has: Ada, Administrator"));
    Open("ADMINISTRATOR");
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Sample", "Who"), "Administrator");
    EXPECT_THAT(Machine().Users(), ElementsAre("Administrator", "Ada"));
    Open("Ada");
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Sample", "Who"), "Ada");
}

TEST_F(WindowsDisk, WindowsNt4HasItsProfilesInTheWindowsFolder) {
    Hive("WINNT/system32/config/system", {{u"Select", u"Current", u"", 1}, {u"ControlSet001", u"v", u"x"}});
    Hive("WINNT/system32/config/software", {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"4.0"},
                                            {u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentBuildNumber", u"1381"},
                                            {u"Microsoft\\Windows NT\\CurrentVersion", u"SystemRoot", u"C:\\WINNT"},
                                            {u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-7-500",
                                             u"ProfileImagePath", u"%SystemRoot%\\Profiles\\Administrator"}});
    Hive("WINNT/Profiles/Administrator/NTUSER.DAT", {{u"Software\\Sample", u"Who", u"admin"}});
    Folder("WINNT/Profiles/Administrator/Desktop");
    Open();
    EXPECT_EQ(Version(), "4.0.1381 p2 ");
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Sample", "Who"), "admin");
    EXPECT_EQ(Special(16), "C:\\WINNT\\Profiles\\Administrator\\Desktop");
}

TEST_F(WindowsDisk, WindowsNt3HasTheUsersHiveBesideTheMachines) {
    Hive("WINNT/system32/config/system", {{u"Select", u"Current", u"", 1}});
    Hive("WINNT/system32/config/software", {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"3.51"},
                                            {u"Microsoft\\Windows NT\\CurrentVersion", u"SystemRoot", u"C:\\WINNT"},
                                            {u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-7-1000",
                                             u"ProfileImagePath", u"%SystemRoot%\\system32\\config\\Ada000"}});
    Hive("WINNT/system32/config/Ada000", {{u"Software\\Sample", u"Who", u"Ada"}});
    Open();
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Sample", "Who"), "Ada");
}

TEST_F(WindowsDisk, Windows7HasItsOwnFolders) {
    Hive("Windows/System32/config/SYSTEM", {{u"Select", u"Current", u"", 1}});
    Hive("Windows/System32/config/SOFTWARE",
         {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"6.1"},
          {u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentBuildNumber", u"7601"},
          {u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\S-1-5-21-1-2-3-1000", u"ProfileImagePath",
           u"C:\\Users\\Ada"}});
    Hive("Users/Ada/NTUSER.DAT", {{u"Software\\Sample", u"Who", u"Ada"}});
    Hive("Users/Ada/AppData/Local/Microsoft/Windows/UsrClass.dat", {{u".doc", u"", u"ada"}});
    Folder("Users/Ada/AppData/Roaming");
    Folder("ProgramData");
    Open();
    EXPECT_EQ(Version(), "6.1.7601 p2 ");
    EXPECT_EQ(Special(26), "C:\\Users\\Ada\\AppData\\Roaming");
    EXPECT_EQ(Special(28), "C:\\Users\\Ada\\AppData\\Local");
    EXPECT_EQ(Value(HiveClassesRoot, ".doc", ""), "ada");
    EXPECT_EQ(Variable("ProgramData"), "C:\\ProgramData");
}

TEST_F(WindowsDisk, WithoutAProfileListUsersAreTheFoldersOfProfiles) {
    MakeXp();
    Hive("WINDOWS/system32/config/software", {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"5.1"}});
    Open();
    EXPECT_THAT(Machine().Users(), ElementsAre("Ada"));
}

TEST_F(WindowsDisk, AHiveThatEverythingRestsOnAndCantBeReadIsNamed) {
    MakeXp();
    File("WINDOWS/system32/config/software", "rubbish");
    EXPECT_THAT(OpenFails(), HasSubstr("software is not a registry hive"));
}

TEST_F(WindowsDisk, AHiveThatMayBeLeftOutIsLeftOutWithANote) {
    MakeXp();
    File("WINDOWS/system32/config/SAM", "rubbish");
    Open();
    ASSERT_EQ(Machine().Notes().size(), 1U);
    EXPECT_THAT(Machine().Notes()[0], HasSubstr("SAM is not a registry hive; it is left out"));
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Sample", "Who"), "Ada");
}

TEST_F(WindowsDisk, ADirtyHiveWithoutALogIsTold) {
    MakeXp();
    const fs::path hive = Disk() / "WINDOWS/system32/config/default";
    std::fstream file(hive, std::ios::binary | std::ios::in | std::ios::out);
    std::array<char, 512> header{};
    file.read(header.data(), header.size());
    auto* block = reinterpret_cast<std::byte*>(header.data());
    offline::regf::BaseBlock base = offline::regf::ParseBaseBlock(block);
    ++base.sequence1;
    StoreBaseBlock(block, base);
    file.seekp(0);
    file.write(header.data(), header.size());
    file.close();
    Open();
    ASSERT_EQ(Machine().Notes().size(), 1U);
    EXPECT_THAT(Machine().Notes()[0], HasSubstr("was not written to its end"));
}

TEST_F(WindowsDisk, AMachineThatIsOnlyReadRefusesWrites) {
    MakeXp();
    Open();
    const auto key = Machine().View().registry->Open(HiveCurrentUser, "Software\\Sample");
    ASSERT_TRUE(key.Ok());
    EXPECT_EQ(key.Value()->Set("Who", platform::ValueType::Sz, std::string_view("x\0", 2)), SysError::WriteProtect);
}

TEST_F(WindowsDisk, WhatIsChangedAndCommittedIsThereWhenTheDiskIsOpenedAgain) {
    MakeXp();
    Open("", true);
    auto& registry = *Machine().View().registry;
    {
        const auto key = registry.Open(HiveCurrentUser, "Software\\Sample");
        ASSERT_TRUE(key.Ok());
        ASSERT_EQ(key.Value()->Set("Who", platform::ValueType::Sz, std::string_view("Grace\0", 6)), SysError::Success);
        ASSERT_TRUE(registry.Create(HiveLocalMachine, "SYSTEM\\CurrentControlSet\\Services\\New").Ok());
        ASSERT_EQ(registry.RemoveKey(HiveLocalMachine, "SYSTEM\\CurrentControlSet\\Services\\Sample"),
                  SysError::Success);
    }
    ASSERT_EQ(registry.Commit(), SysError::Success);
    Open();
    EXPECT_EQ(Value(HiveCurrentUser, "Software\\Sample", "Who"), "Grace");
    EXPECT_TRUE(Machine().View().registry->Open(HiveLocalMachine, "SYSTEM\\ControlSet002\\Services\\New").Ok());
    EXPECT_EQ(Value(HiveLocalMachine, "SYSTEM\\ControlSet002\\Services\\Sample", "ImagePath"), "no key");
}

TEST_F(WindowsDisk, HivesThatNothingChangedKeepEveryByte) {
    MakeXp();
    const auto bytes = [&](const char* name) {
        std::ifstream in(Disk() / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    const std::string before = bytes("WINDOWS/system32/config/software");
    Open("", true);
    ASSERT_TRUE(Machine().View().registry->Create(HiveCurrentUser, "New").Ok());
    ASSERT_EQ(Machine().View().registry->Commit(), SysError::Success);
    EXPECT_EQ(bytes("WINDOWS/system32/config/software"), before);
}

TEST_F(WindowsDisk, ASleepingWindowsIsNotChanged) {
    MakeXp();
    File("hiberfil.sys", "HIBR and more");
    EXPECT_THAT(OpenFails("", true), HasSubstr("hibernated"));
    Open();
    File("hiberfil.sys", std::string(64, '\0'));
    Open("", true);
}

TEST_F(WindowsDisk, ASleepingDriveBesideIsNotChangedEither) {
    File("hiberfil.sys", "hibr and more");
    offline::MachineOptions options;
    options.drives = {{'d', Disk()}};
    EXPECT_NO_THROW(offline::OfflinePlatform{options});
    options.writable = true;
    EXPECT_THROW(offline::OfflinePlatform{options}, offline::OpenError);
}

TEST_F(WindowsDisk, TheRegistryOfWindows9xIsNamedAndTheDiskReadWithoutIt) {
    File("WINDOWS/SYSTEM.DAT", "CREG and more");
    Folder("WINDOWS/SYSTEM");
    Folder("Program Files");
    Open();
    EXPECT_FALSE(Machine().View().can.registry);
    ASSERT_EQ(Machine().Notes().size(), 1U);
    EXPECT_THAT(Machine().Notes()[0], HasSubstr("Windows 95, 98 or Me (CREG)"));
}

TEST_F(WindowsDisk, AHiveThatIsALinkOutOfTheDiskIsNotFollowed) {
    MakeXp();
    const fs::path outside = fs::path(Disk().string() + "-outside");
    fs::rename(Disk() / "WINDOWS/system32/config/SYSTEM", outside);
    fs::create_symlink(outside, Disk() / "WINDOWS/system32/config/SYSTEM");
    EXPECT_THAT(OpenFails(), HasSubstr("SYSTEM is a link, which is not followed"));
    fs::remove(outside);
}

TEST_F(WindowsDisk, AUsersHiveThatIsALinkIsNotFollowed) {
    MakeXp();
    fs::rename(Disk() / "Documents and Settings/Ada/NTUSER.DAT", Disk() / "elsewhere");
    fs::create_symlink(Disk() / "elsewhere", Disk() / "Documents and Settings/Ada/NTUSER.DAT");
    EXPECT_THAT(OpenFails(), HasSubstr("NTUSER.DAT is a link, which is not followed"));
}

TEST_F(WindowsDisk, AHiveThatMayBeLeftOutAndIsALinkIsLeftOutWithANote) {
    MakeXp();
    const std::string classes =
        "Documents and Settings/Ada/Local Settings/Application Data/Microsoft/Windows/UsrClass.dat";
    fs::rename(Disk() / classes, Disk() / "elsewhere");
    fs::create_symlink(Disk() / "elsewhere", Disk() / classes);
    Open();
    EXPECT_EQ(Value(HiveClassesRoot, ".doc", ""), "machine");
    ASSERT_EQ(Machine().Notes().size(), 1U);
    EXPECT_THAT(Machine().Notes()[0], HasSubstr("UsrClass.dat is a link, which is not followed"));
    EXPECT_THAT(Machine().Notes()[0], HasSubstr("it is left out"));
}

TEST_F(WindowsDisk, OneHiveThatCannotBeWrittenLeavesAllOfTheDiskAsTheyWere) {
    MakeXp();
    Open({}, true);
    const auto& registry = Machine().View().registry;
    ASSERT_TRUE(registry->Create(HiveLocalMachine, "SYSTEM\\New").Ok());
    ASSERT_TRUE(registry->Create(HiveCurrentUser, "New").Ok());
    Hive("Documents and Settings/Ada/NTUSER.DAT", {{u"Other", u"v", u"of somebody else"}});
    EXPECT_EQ(registry->Commit(), SysError::SharingViolation);
    Open();
    EXPECT_FALSE(Machine().View().registry->Open(HiveLocalMachine, "SYSTEM\\New").Ok());
    EXPECT_EQ(Value(HiveCurrentUser, "Other", "v"), "of somebody else");
}

}  // namespace
}  // namespace kel::test
