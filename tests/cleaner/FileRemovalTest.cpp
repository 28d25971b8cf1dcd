// One file, with all that starts or loads it.
#include <gmock/gmock.h>

#include <memory>

#include "RemovalTest.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "decorators/FaultInjectingPlatform.h"
#include "quarantine/QThreatLocationFile.h"
#include "support/FakeProcess.h"
#include "support/ShellLink.h"
#include "system/modFiles.h"

namespace kel::test {
namespace {

using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::SysError;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* Winlogon = R"(Software\Microsoft\Windows NT\CurrentVersion\Winlogon)";
constexpr const char* SharedLibraries = R"(software\microsoft\windows\currentversion\shareddlls)";
constexpr const char* RunList = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)";
constexpr const char* Clsid = "{11111111-2222-3333-4444-555555555555}";

// What runs on a machine: one process.
class OneProcess : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;
    std::string name;
    int ends = 0;

    platform::Result<std::vector<platform::ProcessEntry>> Snapshot() override {
        return std::vector<platform::ProcessEntry>{{4321, 1, name}};
    }
    platform::SysError CanOpen(std::uint32_t, std::uint32_t) override { return SysError::AccessDenied; }
    platform::Result<std::unique_ptr<platform::Process>> Open(std::uint32_t processId, std::uint32_t) override {
        EXPECT_EQ(processId, 4321U);
        return FakeProcess::Make([this](std::uint32_t) {
            ++ends;
            return SysError::Success;
        });
    }
};

class FileRemoval : public RemovalTest {
protected:
    // Registers a file as the server of a class.
    void AddClass(const std::string& file) {
        Stage().AddText(HiveClassesRoot, std::string("CLSID\\") + Clsid + "\\InprocServer32", "", file);
    }
    [[nodiscard]] std::vector<std::string> Target() const {
        return {Quarantined() + Rows(quarantine::Files, {"QFileName"}).at(0).at(0)};
    }
};

TEST_F(FileRemoval, AFileIsMovedMarkedAndRecorded) {
    const std::string path = AddThing("some.txt", "harmless");
    const QuarantineRecords records = Remove(path);
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(QuarantinedBytes(0), "harmless6635\r\n");
    EXPECT_THAT(Rows(quarantine::Files,
                     {"ThreatTypeFile", "OriginalFilePath", "QThreatID", "ActionRegisterFile", "RestoreOrder"}),
                ElementsAre(ElementsAre("0", path, ThreatRow, "False", "1")));
    EXPECT_EQ(Rows(quarantine::Files, {"QFileName"})[0][0].size(), 30U);
    ASSERT_EQ(records.Count(), 1U);
    EXPECT_EQ(std::get<std::shared_ptr<QThreatLocationFile>>(records.Item(1))->OriginalFilePath, path);
    EXPECT_THAT(sent, ElementsAre("Removing file " + path + "...", "Removing file " + path + ", moving file..."));
    EXPECT_THAT(Log(),
                ElementsAre("Removing file " + path, "Disable file " + path + " and quarantine to " + Target()[0]));
    EXPECT_FALSE(cleaner.IsRebootRequired());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(FileRemoval, ARestrictedFileIsNotTouchedAndNotRecorded) {
    const std::string path = AddThing("winforms.dll");
    EXPECT_EQ(Remove(path).Count(), 0U);
    EXPECT_TRUE(Exists(path));
    EXPECT_THAT(Rows(quarantine::Files, {"QFileName"}), IsEmpty());
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("Removing file " + path, "Restrict Remove File " + path));
}

TEST_F(FileRemoval, AMissingFileIsNotRecorded) {
    const std::string path = Things() + "gone.exe";
    EXPECT_EQ(Remove(path).Count(), 0U);
    EXPECT_THAT(Rows(quarantine::Files, {"QFileName"}), IsEmpty());
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("Removing file " + path, "File does not exists " + path));
}

TEST_F(FileRemoval, AFileNamedTwiceIsMissingTheSecondTime) {
    const std::string path = AddThing("some.exe");
    Remove(path);
    EXPECT_EQ(Remove(path).Count(), 0U);
    EXPECT_THAT(RecordedFiles(), SizeIs(1));
    EXPECT_EQ(Log().back(), "File does not exists " + path);
}

TEST_F(FileRemoval, AFileThatIsLeftToTheNextStartIsPassedOverTheSecondTime) {
    const std::string path = AddThing("some.txt");
    decorators::FaultInjectingPlatform faults(Staged());
    faults.Lock(path);
    Install(faults.View());
    Remove(path);
    EXPECT_EQ(Remove(UCase(path)).Count(), 0U);
    EXPECT_THAT(RecordedFiles(), SizeIs(1));
    EXPECT_EQ(Log().back(), "Cleaner Required File " + UCase(path));
}

// The version of the system, and whether it has a file for what is left to its next start.
struct SystemsList {
    platform::OsVersion version;
    bool file;
};

class HeldFileOn : public FileRemoval, public ::testing::WithParamInterface<SystemsList> {};

TEST_P(HeldFileOn, IsInTheListsForTheNextStart) {
    SetVersion(GetParam().version);
    const std::string path = AddThing("some long name.txt");
    const std::string shortPath = modFiles::ShortPathFromLongPath(path);
    decorators::FaultInjectingPlatform faults(Staged());
    faults.Lock(path);
    Install(faults.View());
    EXPECT_EQ(Remove(path).Count(), 0U);
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(
        Data(HiveLocalMachine, R"(SYSTEM\CurrentControlSet\Control\Session Manager)", "PendingFileRenameOperations"),
        GetParam().file ? "absent" : R"(\??\)" + shortPath);
    const std::string winInit = Windows() + "WININIT.INI";
    EXPECT_EQ(Exists(winInit) ? ReadFile(winInit) : "", GetParam().file ? "[rename]\r\nNUL=" + shortPath + "\r\n" : "");
    EXPECT_EQ(Data(HiveCurrentUser, R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFiles)", path), "1");
    EXPECT_TRUE(cleaner.IsRebootRequired());
    EXPECT_THAT(RecordedFiles(), ElementsAre(path)) << "the row stays";
}

INSTANTIATE_TEST_SUITE_P(All, HeldFileOn,
                         ::testing::Values(SystemsList{WindowsXp, false}, SystemsList{Windows98, true},
                                           SystemsList{WindowsMe, true}));

struct StepsOfType {
    const char* name;
    enThreatFileTypes given;
    std::int32_t recorded;
    bool registers;
    std::vector<std::string> steps;  ///< between the first message and the move
};

const std::vector<std::string> StepsOfProgram = {
    ", checking process status...",
    ", checking registry autorun locations...",
    ", checking file autorun locations...",
    ", checking special autorun locations...",
};
const std::vector<std::string> StepsOfLibrary = {
    ", checking LSP status...",
    ", checking additional integration...",
    ", checking COM...",
};
const std::vector<std::string> StepsOfControl = {", checking COM..."};

class TypeOfFile : public FileRemoval, public ::testing::WithParamInterface<StepsOfType> {};

TEST_P(TypeOfFile, DecidesTheSteps) {
    const std::string path = AddThing(GetParam().name);
    Remove(path, GetParam().given);
    std::vector<std::string> wanted = {"..."};
    wanted.insert(wanted.end(), GetParam().steps.begin(), GetParam().steps.end());
    wanted.emplace_back(", moving file...");
    for (std::string& step : wanted) {
        step.insert(0, "Removing file " + path);
    }
    EXPECT_EQ(sent, wanted);
    EXPECT_THAT(Rows(quarantine::Files, {"ThreatTypeFile", "ActionRegisterFile"}),
                ElementsAre(ElementsAre(std::to_string(GetParam().recorded), GetParam().registers ? "True" : "False")));
    EXPECT_FALSE(Exists(path));
    EXPECT_THAT(Reported(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, TypeOfFile,
                         ::testing::Values(StepsOfType{"kelthing.sys", ThreatFileTypeSYS, 4, false, StepsOfProgram},
                                           StepsOfType{"kelthing.exe", ThreatFileTypeExe, 1, false, StepsOfProgram},
                                           StepsOfType{"kelthing.dll", ThreatFileTypeDll, 2, true, StepsOfLibrary},
                                           StepsOfType{"kelthing.ocx", ThreatFileTypeOCX, 3, true, StepsOfControl},
                                           StepsOfType{"kelthing.txt", ThreatFileTypeGeneral, 0, false, {}},
                                           // Found by the path.
                                           StepsOfType{"kelthing.sys", ThreatFileTypeUnknown, 4, false, StepsOfProgram},
                                           StepsOfType{"kelthing.EXE", ThreatFileTypeUnknown, 1, false, StepsOfProgram},
                                           StepsOfType{"kelthing.dll", ThreatFileTypeUnknown, 2, true, StepsOfLibrary},
                                           StepsOfType{"kelthing.ocx", ThreatFileTypeUnknown, 3, true, StepsOfControl},
                                           StepsOfType{"kelthing.txt", ThreatFileTypeUnknown, 0, false, {}},
                                           // Either source counts, but for drivers.
                                           StepsOfType{"kelthing.exe", ThreatFileTypeGeneral, 0, false, StepsOfProgram},
                                           StepsOfType{"kelthing.dat", ThreatFileTypeExe, 1, false, StepsOfProgram},
                                           StepsOfType{"kelthing.dll", ThreatFileTypeGeneral, 0, false, StepsOfLibrary},
                                           StepsOfType{"kelthing.dat", ThreatFileTypeDll, 2, true, StepsOfLibrary},
                                           StepsOfType{"kelthing.ocx", ThreatFileTypeDll, 2, true, StepsOfLibrary},
                                           StepsOfType{"kelthing.sys", ThreatFileTypeGeneral, 0, false, {}}));

TEST_F(FileRemoval, ALibraryEndsTheProcessesOfItsNameAndNoOther) {
    const std::string path = AddThing("kelthing.dll");
    OneProcess processes(*Machine().processes);
    platform::Platform view = Staged();
    view.processes = &processes;
    Install(view);
    processes.name = "kelother.dll";
    Remove(path);
    EXPECT_EQ(processes.ends, 0);
    processes.name = "KelThing.dll";
    Remove(AddThing("kelthing.dll"));
    EXPECT_EQ(processes.ends, 1);
}

TEST_F(FileRemoval, TheProcessesOfAProgramEndBeforeItMoves) {
    const std::string path = AddThing("kelthing.exe");
    OneProcess processes(*Machine().processes);
    processes.name = "kelthing.exe";
    platform::Platform view = Staged();
    view.processes = &processes;
    Install(view);
    Remove(path);
    EXPECT_EQ(processes.ends, 1);
    EXPECT_FALSE(Exists(path));
}

TEST_F(FileRemoval, TheServiceOfAProgramIsRemoved) {
    const std::string path = AddThing("kelthing.exe");
    const std::string key = R"(SYSTEM\CurrentControlSet\Services\KelNoService)";
    Stage().AddText(HiveLocalMachine, key, "ImagePath", "\"" + path + "\" -k");
    Remove(path);
    EXPECT_FALSE(KeyExists(HiveLocalMachine, key));
    EXPECT_THAT(Log(), Contains("Terminating service named KelNoService for " + path));
    EXPECT_FALSE(Exists(path));
}

TEST_F(FileRemoval, TheServiceOfALibraryStays) {
    const std::string path = AddThing("kelthing.dll");
    const std::string key = R"(SYSTEM\CurrentControlSet\Services\KelNoService)";
    Stage().AddText(HiveLocalMachine, key, "ImagePath", path);
    Remove(path);
    EXPECT_TRUE(KeyExists(HiveLocalMachine, key));
}

TEST_F(FileRemoval, AProgramIsTakenOutOfTheLogonChain) {
    const std::string path = AddThing("kelthing.exe");
    WriteFile(System() + "userinit.exe", "logon");
    Stage().AddText(HiveLocalMachine, Winlogon, "Userinit", "C:\\x\\userinit.exe," + path);
    Remove(path);
    EXPECT_EQ(Data(HiveLocalMachine, Winlogon, "Userinit"), LCase(System()) + "userinit.exe,");
    EXPECT_THAT(Log(), Contains("Cleaning Winlogon Userinit for " + path));
}

TEST_F(FileRemoval, TheLogonChainStaysWhereItsOwnProgramIsMissing) {
    const std::string path = AddThing("kelthing.exe");
    Stage().AddText(HiveLocalMachine, Winlogon, "Userinit", "C:\\x\\userinit.exe," + path);
    Remove(path);
    EXPECT_EQ(Data(HiveLocalMachine, Winlogon, "Userinit"), "C:\\x\\userinit.exe," + path);
    EXPECT_THAT(Log(), Contains("Cleaning Winlogon Userinit for " + path));
    EXPECT_FALSE(Exists(path));
}

TEST_F(FileRemoval, TheNameInTheLogonChainCountsInItsLetterCase) {
    const std::string path = AddThing("kelthing.exe");
    WriteFile(System() + "userinit.exe", "logon");
    Stage().AddText(HiveLocalMachine, Winlogon, "Userinit", "C:\\x\\KelThing.exe,");
    Remove(path);
    EXPECT_EQ(Data(HiveLocalMachine, Winlogon, "Userinit"), "C:\\x\\KelThing.exe,");
    EXPECT_THAT(Log(), Not(Contains(StartsWith("Cleaning Winlogon"))));
}

TEST_F(FileRemoval, ANetworkProviderThatIsTakenOutNeedsANewStart) {
    const std::string path = AddThing("kelthing.dll");
    const std::string catalogue = R"(SYSTEM\CurrentControlSet\Services\WinSock2\Parameters\Protocol_Catalog9)";
    std::string item = path;
    item.append(8, '\0').append("tail");
    Stage().AddValue(HiveLocalMachine, catalogue + "\\Catalog_Entries\\000000000001", "PackedCatalogItem",
                     {platform::ValueType::Binary, item});
    Remove(path);
    EXPECT_TRUE(cleaner.IsRebootRequired());
    EXPECT_THAT(Log(), Contains("Removed all related Winsock LSP handler for " + path));
    EXPECT_FALSE(Exists(path));
}

TEST_F(FileRemoval, WhatTheBrowserLoadsIsCutAndReachesNoStore) {
    const std::string path = AddThing("kelthing.dll");
    const std::string key =
        std::string(R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects\)") + Clsid;
    AddClass(path);
    Stage().AddKey(HiveLocalMachine, key);
    const QuarantineRecords records = Remove(path);
    EXPECT_FALSE(KeyExists(HiveLocalMachine, key));
    EXPECT_THAT(Rows(quarantine::RegKeys, {"RegKey"}), IsEmpty());
    EXPECT_EQ(records.Count(), 2U) << "the key and the file";
}

TEST_F(FileRemoval, WhatTheBrowserLoadsStaysOnME) {
    SetVersion(WindowsMe);
    const std::string path = AddThing("kelthing.dll");
    const std::string key =
        std::string(R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects\)") + Clsid;
    AddClass(path);
    Stage().AddKey(HiveLocalMachine, key);
    Remove(path);
    EXPECT_TRUE(KeyExists(HiveLocalMachine, key));
    EXPECT_THAT(sent, Contains("Removing file " + path + ", checking additional integration..."));
}

TEST_F(FileRemoval, ARegisteredComponentIsUnregisteredAndWillBeRegisteredAgain) {
    const std::string path = AddThing("kelthing.dll");
    AddClass(path);
    // By its name alone a library: its row does not ask for a registration at first.
    Remove(path, ThreatFileTypeGeneral);
    EXPECT_THAT(sent, Contains("Removing file " + path + ", unregistering file..."));
    EXPECT_THAT(Log(), Contains("Unregistering COM entry points for file " + path));
    EXPECT_THAT(Rows(quarantine::Files, {"ThreatTypeFile", "ActionRegisterFile"}),
                ElementsAre(ElementsAre("0", "True")));
    EXPECT_FALSE(Exists(path));
}

TEST_F(FileRemoval, ASharedLibraryIsRecordedAndItsCountStays) {
    const std::string path = AddThing("kelthing.txt");
    Stage().AddValue(HiveLocalMachine, SharedLibraries, path, {platform::ValueType::Dword, std::string("\5\0\0\0", 4)});
    Remove(path);
    EXPECT_EQ(Data(HiveLocalMachine, SharedLibraries, path), "\5");
    EXPECT_THAT(Rows(quarantine::RegKeys,
                     {"RegHive", "RegKey", "RegValueName", "RegValueData", "RegValueDataType", "QThreatID"}),
                ElementsAre(ElementsAre("-2147483646", SharedLibraries, path, "1", "4", ThreatRow)));
    EXPECT_THAT(Log(), Contains("Removing shared dll registry entry for " + path));
}

TEST_F(FileRemoval, AUsedModuleIsRecordedAndItsKeyGoes) {
    const std::string path = AddThing("kelthing.txt");
    const std::string key = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\ModuleUsage\)" + path;
    Stage().AddText(HiveLocalMachine, key, ".Owner", "{22222222}");
    Remove(path);
    EXPECT_FALSE(KeyExists(HiveLocalMachine, key));
    EXPECT_THAT(Rows(quarantine::RegKeys, {"RegKey", "RegValueName", "RegValueData", "RegValueDataType", "QThreatID"}),
                ElementsAre(ElementsAre(key, ".Owner", "{22222222}", "1", ThreatRow),
                            ElementsAre(key, "", "", "0", ThreatRow)));
    EXPECT_THAT(Log(), Contains("Removing ModuleUsage dll registry entry for " + path));
}

TEST_F(FileRemoval, WhatStartsAProgramIsRecordedAndGoes) {
    const std::string path = AddThing("kelthing.exe");
    const std::string startup = Folder() + "startup\\";
    MakeFolder(startup);
    Stage().Folders()[FolderCommonStartup] = startup.substr(0, startup.size() - 1);
    ShellLink link;
    link.target = path;
    WriteFile(startup + "thing.lnk", MakeShellLink(link));
    Stage().AddText(HiveLocalMachine, RunList, "Thing", path + " /quiet");
    Stage().AddText(HiveLocalMachine, RunList, "Other", "C:\\other.exe");
    Remove(path);
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "Thing"), "absent");
    EXPECT_EQ(Data(HiveLocalMachine, RunList, "Other"), "C:\\other.exe");
    EXPECT_THAT(Rows(quarantine::RegKeys, {"RegKey", "RegValueName", "RegValueData", "QThreatID"}),
                ElementsAre(ElementsAre(RunList, "Thing", path + " /quiet", ThreatRow)));
    EXPECT_FALSE(Exists(startup + "thing.lnk"));
    EXPECT_THAT(RecordedFiles(), ElementsAre(path, LCase(startup) + "thing.lnk"));
    EXPECT_THAT(Rows(quarantine::Files, {"QThreatID"}), ElementsAre(ElementsAre(ThreatRow), ElementsAre(ThreatRow)));
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(QuarantinedBytes(0), "thing6635\r\n") << "the program's copy is not that of its shortcut";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(FileRemoval, APlaceInAnIniFileEndsTheRemovalBehindItsRepair) {
    const std::string path = AddThing("kelthing.exe");
    WriteFile(Windows() + "win.ini", "[windows]\r\nrun=" + path + "\r\nload=\r\n");
    EXPECT_EQ(Remove(path).Count(), 0U);
    EXPECT_EQ(ReadFile(Windows() + "win.ini").find("kelthing"), std::string::npos);
    EXPECT_TRUE(Exists(path));
    EXPECT_THAT(RecordedFiles(), ElementsAre(path));
    EXPECT_EQ(sent.back(), "Removing file " + path + ", checking special autorun locations...");
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].number, "13");
    EXPECT_EQ(Reported()[0].module, "Cleaner");
    EXPECT_EQ(Reported()[0].procedure, "HelperQuarantineFile");
    EXPECT_THAT(Reported()[0].description, StartsWith("ln "));
    EXPECT_FALSE(cleaner.IsRebootRequired());
}

TEST_F(FileRemoval, AFileThatCannotBeMovedIsDeleted) {
    const std::string path = AddThing("some.txt");
    ASSERT_EQ(Machine().files->RemoveFolder(Quarantined()), SysError::Success);
    EXPECT_EQ(Remove(path).Count(), 1U);
    EXPECT_FALSE(Exists(path));
    EXPECT_THAT(RecordedFiles(), ElementsAre(path));
    EXPECT_EQ(Log().back(), "File completely deleted " + path);
    EXPECT_FALSE(cleaner.IsRebootRequired());
}

TEST_F(FileRemoval, WithoutOpenStoresNothingIsTouched) {
    const std::string path = AddThing("some.exe");
    State().RsQFiles.reset();
    EXPECT_EQ(Remove(path).Count(), 0U);
    EXPECT_TRUE(Exists(path));
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].number, "91");
    EXPECT_EQ(Reported()[0].procedure, "HelperQuarantineFile");
}

}  // namespace
}  // namespace kel::test
