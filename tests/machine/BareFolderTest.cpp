// Folders without a registry, and what kind of machine a folder is.
#include <gmock/gmock.h>

#include "DiskFixture.h"
#include "offline/MachineView.h"

namespace kel::test {
namespace {

using offline::DetectKind;
using offline::MachineKind;
using testing::HasSubstr;

class BareFolder : public DiskFixture {};

TEST_F(BareFolder, KindsAreToldByWhatLiesInTheFolder) {
    EXPECT_EQ(DetectKind({}), MachineKind::BareFolder);
    EXPECT_EQ(DetectKind(Disk()), MachineKind::BareFolder);
    Folder("WinDows/SYSTEM32/Config");
    EXPECT_EQ(DetectKind(Disk()), MachineKind::WindowsDisk);
    File("system.reg", "WINE REGISTRY Version 2\n");
    EXPECT_EQ(DetectKind(Disk()), MachineKind::WindowsDisk);
    Folder("drive_c");
    EXPECT_EQ(DetectKind(Disk()), MachineKind::WinePrefix);
    EXPECT_THROW(static_cast<void>(DetectKind(Disk() / "none")), offline::OpenError);
    EXPECT_THROW(static_cast<void>(DetectKind(Disk() / "system.reg")), offline::OpenError);
}

struct Tree {
    const char* name;
    std::vector<std::string> folders;
    const char* version;
    const char* windows;
    const char* desktop;
    const char* appData;
};

void PrintTo(const Tree& tree, std::ostream* out) {
    *out << tree.name;
}

class UsualNames : public DiskFixture, public testing::WithParamInterface<Tree> {};

TEST_P(UsualNames, AreThoseOfTheVersionThatTheFoldersShow) {
    const Tree& tree = GetParam();
    for (const std::string& folder : tree.folders)
        Folder(folder);
    Open();
    EXPECT_EQ(Version(), tree.version);
    EXPECT_EQ(Special(36), tree.windows);
    EXPECT_EQ(Special(16), tree.desktop);
    EXPECT_EQ(Special(26), tree.appData);
    EXPECT_FALSE(Machine().View().can.registry);
}

INSTANTIATE_TEST_SUITE_P(
    Version, UsualNames,
    testing::Values(
        Tree{"7",
             {"Windows/System32", "Users/Ada/Desktop", "Users/Ada/AppData/Roaming", "Users/Public", "ProgramData"},
             "6.1.7601 p2 ",
             "C:\\WINDOWS",
             "C:\\Users\\Ada\\Desktop",
             "C:\\Users\\Ada\\AppData\\Roaming"},
        Tree{"XP",
             {"WINDOWS/system32", "Documents and Settings/Ada/Desktop", "Documents and Settings/Ada/Application Data",
              "Documents and Settings/All Users"},
             "5.1.2600 p2 ",
             "C:\\WINDOWS",
             "C:\\Documents and Settings\\Ada\\Desktop",
             "C:\\Documents and Settings\\Ada\\Application Data"},
        Tree{"2000",
             {"WINNT/system32", "Documents and Settings/Ada/Desktop", "Documents and Settings/Ada/Application Data"},
             "5.0.2195 p2 ",
             "C:\\WINNT",
             "C:\\Documents and Settings\\Ada\\Desktop",
             "C:\\Documents and Settings\\Ada\\Application Data"},
        Tree{"98",
             {"WINDOWS/SYSTEM", "WINDOWS/COMMAND", "Program Files"},
             "4.10.2222 p1 ",
             "C:\\WINDOWS",
             "none",
             "none"}));

TEST_F(BareFolder, SeveralUsersAreListedAndAnUnknownOneIsAnError) {
    Folder("WINDOWS/system32");
    Folder("Documents and Settings/Ada/Desktop");
    Folder("Documents and Settings/Bob/Desktop");
    Folder("Documents and Settings/All Users");
    Folder("Documents and Settings/Default User");
    EXPECT_THAT(OpenFails(), HasSubstr("several users, name one of them: Ada, Bob"));
    EXPECT_THAT(OpenFails("Eve"), HasSubstr("no user Eve; it has: Ada, Bob"));
    Open("bob");
    EXPECT_EQ(Special(16), "C:\\Documents and Settings\\Bob\\Desktop");
    EXPECT_EQ(Variable("USERPROFILE"), "C:\\Documents and Settings\\Bob");
}

TEST_F(BareFolder, AFolderWithoutWindowsHasNoVersionAndNoSpecialFolders) {
    File("some/file.txt", "x");
    Open();
    EXPECT_EQ(Version(), "none");
    EXPECT_EQ(Special(36), "none");
    EXPECT_TRUE(Machine().Users().empty());
    EXPECT_TRUE(Machine().View().files->PathExists("C:\\SOME\\FILE.TXT"));
}

TEST_F(BareFolder, AUserWhereThereIsNoneIsAnError) {
    EXPECT_THAT(OpenFails("Ada"), HasSubstr("no user Ada (none at all)"));
}

TEST_F(BareFolder, APrefixHasTheVersionThatItsUserChose) {
    Folder("drive_c/windows/system32");
    Folder("drive_c/users/ada");
    File("system.reg",
         "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n"
         "[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion] 1\n\"CurrentVersion\"=\"6.1\"\n"
         "\"CurrentBuildNumber\"=\"7601\"\n");
    const std::string user =
        "WINE REGISTRY Version 2\n;; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000\n\n#arch=win64\n";
    File("user.reg", user);
    Open();
    EXPECT_EQ(Version(), "6.1.7601 p2 ");
    for (const auto& [word, version] :
         {std::pair{"winxp", "5.1.2600 p2 Service Pack 3"}, std::pair{"win2k", "5.0.2195 p2 Service Pack 4"},
          std::pair{"win98", "4.10.2222 p1  A "}, std::pair{"nt40", "4.0.1381 p2 Service Pack 6a"}}) {
        File("user.reg", user + "\n[Software\\\\Wine] 1\n\"Version\"=\"" + word + "\"\n");
        Open();
        EXPECT_EQ(Version(), version);
    }
}

}  // namespace
}  // namespace kel::test
