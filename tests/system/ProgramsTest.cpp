#include "Fakes.h"
#include "core/Text.h"
#include "support/EngineTest.h"
#include "system/modKvFileExplorer.h"

namespace kel {
namespace {

using namespace std::string_literals;

// A machine with a Windows folder `app` and a system folder below it.
class Programs : public test::EngineTest {
protected:
    Programs()
        : processes_(*Machine().processes),
          system_(*Machine().system),
          shell_(*Machine().shell),
          versions_(*Machine().versions) {
        MakeFolder(AppFolder() + "sys");
        shell_.folders = {{36, Folder() + "app"}, {37, AppFolder() + "sys"}};
        system_.version = {5, 0, 2195, test::WindowsNt, ""};
        WriteFile(AppFolder() + "sys\\smss.exe", "x");
        WriteFile(AppFolder() + "explorer.exe", "x");
        auto machine = Machine();
        machine.processes = &processes_;
        machine.system = &system_;
        machine.shell = &shell_;
        machine.versions = &versions_;
        Install(machine);
    }
    void RunsXP() { system_.version = {5, 1, 2600, test::WindowsNt, ""}; }

    test::FakeProcesses processes_;
    test::FakeSystem system_;
    test::FakeShell shell_;
    test::FakeVersions versions_;
};

TEST_F(Programs, OnNTTheFirstModuleNamesTheProgram) {
    processes_.modules = {{7, "C:\\Program Files\\x.exe"}};
    EXPECT_EQ(modKvFileExplorer::ExePathFromProcID(7), "C:\\Program Files\\x.exe");
    EXPECT_EQ(processes_.handleBytesAsked, 2048U);
    EXPECT_EQ(processes_.capacityAsked, 512U);
    EXPECT_EQ(modKvFileExplorer::ExePathFromProcID(8), "");
}

TEST_F(Programs, OnNTPrefixesOfTheSystemAreResolved) {
    processes_.modules = {{1, "\\SystemRoot\\sys\\smss.exe"}, {2, "\\??\\C:\\x.exe"}};
    EXPECT_EQ(modKvFileExplorer::ExePathFromProcIDNT(1).substr(Folder().size()), "app\\sys\\smss.exe");
    EXPECT_EQ(modKvFileExplorer::ExePathFromProcIDNT(2), "C:\\x.exe");
}

TEST_F(Programs, OnXPTheProcessListNamesTheProgram) {
    RunsXP();
    processes_.modules = {{7, "C:\\wrong.exe"}};
    processes_.entries = {{4, 0, "System"}, {7, 4, "explorer.exe\0rest"s}, {8, 4, "ab"}};
    EXPECT_EQ(modKvFileExplorer::ExePathFromProcID(7), "explorer.exe");
    EXPECT_EQ(modKvFileExplorer::ExePathFromProcID(8), "");
    EXPECT_EQ(modKvFileExplorer::ExePathFromProcID(9), "");
}

TEST_F(Programs, ABareNameOfTheSystemFolderIsCompleted) {
    RunsXP();
    processes_.entries = {{7, 4, "smss.exe"}, {8, 4, "explorer.exe"}};
    EXPECT_EQ(LCase(modKvFileExplorer::GetProcessFilePath(7)), LCase(AppFolder()) + "sys\\smss.exe");
    EXPECT_EQ(LCase(modKvFileExplorer::GetProcessFilePath(8)), LCase(AppFolder()) + "explorer.exe");
    EXPECT_EQ(processes_.accessAsked, 1040U);
}

TEST_F(Programs, AnEntryAtHandIsAsGoodAsItsNumber) {
    RunsXP();
    EXPECT_EQ(LCase(modKvFileExplorer::GetProcessFilePath({7, 4, "smss.exe"})), LCase(AppFolder()) + "sys\\smss.exe");
    EXPECT_EQ(modKvFileExplorer::GetProcessFilePath({7, 4, "ab"}), "");
    EXPECT_EQ(processes_.accessAsked, 1040U);
    processes_.granted = false;
    EXPECT_EQ(modKvFileExplorer::GetProcessFilePath({7, 4, "smss.exe"}), "");
}

TEST_F(Programs, AProcessThatMayNotBeOpenedHasNoPath) {
    RunsXP();
    processes_.entries = {{7, 4, "smss.exe"}};
    processes_.granted = false;
    EXPECT_EQ(modKvFileExplorer::GetProcessFilePath(7), "");
}

TEST_F(Programs, AProgramWhoseFileIsGoneHasNoPath) {
    processes_.modules = {{7, Folder() + "gone.exe"}};
    EXPECT_EQ(modKvFileExplorer::GetProcessFilePath(7), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Programs, AProcessWithoutAProgramHasNoPathThoughTheSystemFolderExists) {
    RunsXP();
    processes_.entries = {{4, 0, "ab"}};
    EXPECT_EQ(modKvFileExplorer::GetProcessFilePath(4), "");
    EXPECT_EQ(modKvFileExplorer::GetProcessFilePath(5), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Programs, VersionStringsNamePublisherCopyrightAndInternalName) {
    auto& entries = versions_.blocks["C:\\x.exe"].entries;
    entries["\\"] = std::string(52, '\0');
    entries["\\VarFileInfo\\Translation"] = "\x09\x04\xe4\x04"s;
    entries["\\StringFileInfo\\040904E4\\CompanyName"] = "Makers\0"s;
    entries["\\StringFileInfo\\040904E4\\LegalCopyright"] = "\0"s;
    EXPECT_EQ(modKvFileExplorer::GetApplicationPublisherFromPath("C:\\x.exe"), "Makers");
    EXPECT_EQ(modKvFileExplorer::GetApplicationCopyrightFromPath("C:\\x.exe"), "None");
    EXPECT_EQ(modKvFileExplorer::GetInternalFileName("C:\\x.exe"), "Unavailable");
}

TEST_F(Programs, AFileWithoutAVersionRecordHasNoPublisher) {
    EXPECT_EQ(modKvFileExplorer::GetApplicationPublisherFromPath("C:\\y.exe"), "");
    EXPECT_EQ(modKvFileExplorer::GetApplicationCopyrightFromPath(""), "");
    EXPECT_EQ(modKvFileExplorer::GetInternalFileName(""), "");
}

}  // namespace
}  // namespace kel
