// The files of startup entries are read ahead, and nobody notices.
#include <gmock/gmock.h>

#include "AheadTest.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "scanner/modScannerTactics.h"
#include "support/ShellLink.h"
#include "support/StagedMachine.h"

namespace kel::test {
namespace {

using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr std::string_view Winlogon = R"(SOFTWARE\Microsoft\Windows NT\CurrentVersion\Winlogon)";
constexpr std::string_view Hooks = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\ShellExecuteHooks)";
constexpr std::size_t ProgramBytes = 3000;

// A file whose very mention makes the procedure fail that asks for it.
constexpr std::string_view Failing = "fails.exe";
// A file that is there and can't be read.
constexpr std::string_view Denied = "denied.lnk";

std::string LinkTo(const std::string& target) {
    ShellLink link;
    link.target = target;
    return MakeShellLink(link);
}

class StartupAhead : public AheadTest {
protected:
    class DifficultFiles : public decorators::ForwardingFiles {
    public:
        using ForwardingFiles::ForwardingFiles;
        int failures = 0;
        int remote = 0;  // questions for what lies on another machine
        bool PathExists(std::string_view path) override {
            remote += path.starts_with(R"(\\)") ? 1 : 0;
            if (path.ends_with(Failing)) {
                ++failures;
                Raise(ErrPermissionDenied);
            }
            return Inner().PathExists(path);
        }
        platform::Result<std::unique_ptr<platform::OpenFile>> Open(std::string_view path,
                                                                   platform::OpenMode mode) override {
            if (path.ends_with(Denied)) {
                return platform::SysError::AccessDenied;
            }
            return Inner().Open(path, mode);
        }
        platform::Result<platform::FileStamp> Stamp(std::string_view path) override { return Inner().Stamp(path); }
        std::unique_ptr<platform::FolderAhead> Ahead(std::string_view folder) override {
            remote += folder.starts_with(R"(\\)") ? 1 : 0;
            return Inner().Ahead(folder);
        }
    };

    void SetUp() override {
        tables.threats = {{1, "One"}};
        tables.md5 = {{1, HashOf(Bytes(ProgramBytes, 'a'))}};
        Begin();
        scanner.OptScanDepth = scandeep;
        stage.Folders()[FolderWindows] = Folder() + "windows";
        stage.Folders()[FolderSystem] = Folder() + "windows\\system32";
        stage.Folders()[FolderUserStartup] = Folder() + "startup";
        MakeFolder(Folder() + "startup");
        MakeFolder(System());
        InstallCounted(stage.View());
        platform::Platform machine = platform::Current();
        machine.files = &difficult;
        Install(machine);
    }
    void TearDown() override { Install(Machine()); }

    std::string System() const { return Folder() + "windows\\system32\\"; }
    void Program(const std::string& path, char seed) {
        MakeFolder(path.substr(0, path.rfind('\\')));
        WriteFile(path, Bytes(ProgramBytes, seed));
    }
    void Entry(platform::Hive hive, const std::string& name, const std::string& command) {
        stage.AddText(hive, modScannerTactics::Run, name, command);
    }
    void Class(const std::string& clsid, const std::string& server) {
        stage.AddText(HiveClassesRoot, "CLSID\\" + clsid + "\\InprocServer32", "", server);
        stage.AddText(HiveLocalMachine, Hooks, clsid, "x");
    }
    // Many entries of all stages, each third one a threat, and others that lead nowhere.
    void FillMachine() {
        for (int number = 0; number < 60; ++number) {
            const std::string name = "p" + std::to_string(number);
            const char seed = number % 3 == 0 ? 'a' : static_cast<char>('c' + number % 20);
            const std::string own = Folder() + "Programs " + std::to_string(number % 7) + "\\" + name;
            Program(number % 2 == 0 ? own + ".exe" : System() + name + ".exe", seed);
            Entry(number % 4 < 2 ? HiveLocalMachine : HiveCurrentUser, name,
                  number % 2 == 0 ? "\"" + own + ".exe\" /start now" : R"(%SystemRoot%\system32\)" + name + ".exe");
            Program(own + ".dll", seed);
            Class("{" + std::to_string(1'000'000'000 + number) + "}", own + ".dll");
            Program(own + " target.exe", seed);
            WriteFile(Folder() + "startup\\" + name + ".lnk", LinkTo(own + " target.exe"));
        }
        Program(Folder() + "library.dll", 'a');
        Program(System() + "shell.exe", 'a');
        Program(System() + "second.exe", 'a');
        Entry(HiveLocalMachine, "library", "rundll32.exe " + Folder() + "library.dll,Start 1");
        Entry(HiveLocalMachine, "gone", Folder() + "gone.exe");
        Entry(HiveLocalMachine, "no program", "::");
        Entry(HiveLocalMachine, "out", R"(C:\..\..\outside.exe)");
        Entry(HiveLocalMachine, "server", R"(\\server\share\remote.exe)");
        Entry(HiveLocalMachine, "folder", Folder());
        Entry(HiveLocalMachine, "no drive", R"(Q:\a.exe)");
        Entry(HiveLocalMachine, "fails", Folder() + std::string(Failing));
        Entry(HiveLocalMachine, "behind what fails", Folder() + "library.dll");
        Entry(HiveCurrentUser, "fails", Folder() + std::string(Failing));
        Class("{nothing}", "");
        Class("{0000000000}", std::string(Failing));
        WriteFile(Folder() + "startup\\" + std::string(Denied), LinkTo(Folder() + "library.dll"));
        WriteFile(Folder() + "startup\\desktop.ini", "[x]\r\n");
        MakeFolder(Folder() + "startup\\folder");
        stage.AddText(HiveLocalMachine, Winlogon, "Shell", "shell.exe,second.exe /x,,gone.exe");
        stage.AddText(HiveLocalMachine, Winlogon, "Userinit", System() + "second.exe,");
        Settle();
    }
    Traces Tactics(const char* limit) {
        return Run(limit, [&] { scanner.ScanCommonTactics(); });
    }

    StagedMachine stage{Machine(), Key() + "\\Stage"};
    DifficultFiles difficult{files};
};

TEST_F(StartupAhead, LeavesTheSameTracesWithAndWithoutIt) {
    FillMachine();
    const Traces without = Tactics("0");
    EXPECT_THAT(files.ahead, IsEmpty());
    EXPECT_THAT(without.found, SizeIs(::testing::Gt(60U)));
    EXPECT_THAT(without.log, AllOf(HasSubstr("ResolveFilePathEx"), HasSubstr("ShortcutTargetPath")));
    difficult.failures = 0;
    EXPECT_EQ(Tactics(nullptr), without);
    EXPECT_THAT(files.ahead, Not(IsEmpty()));
    EXPECT_EQ(Tactics("1"), without);
    EXPECT_THAT(ErrorLog(), SizeIs(Reported().size())) << "nothing but what was reported is in the log";
}

TEST_F(StartupAhead, ReadsNoFileTwice) {
    for (const char* name : {"a.exe", "b.exe", "c.exe", "d.exe"}) {
        Program(Folder() + name, name[0]);
        Entry(HiveLocalMachine, name, Folder() + name);
        Class("{1234567890" + std::string(name) + "}", Folder() + name);
    }
    Settle();
    Tactics(nullptr);
    EXPECT_THAT(files.ahead, SizeIs(8)) << "of two stages";
    EXPECT_EQ(files.bytesAhead, 8 * ProgramBytes);
    EXPECT_THAT(files.opened, Not(Contains(EndsWith(".exe"))));
    EXPECT_THAT(FilesOf(1), ElementsAre(LCase(Folder() + "a.exe")));
}

TEST_F(StartupAhead, WhatFailsIsAskedForAheadAndReportedAtItsTurnAlone) {
    Entry(HiveLocalMachine, "a", Folder() + std::string(Failing));
    Entry(HiveLocalMachine, "b", Folder() + "none.exe");
    Program(Folder() + "real.exe", 'a');
    Entry(HiveLocalMachine, "c", Folder() + "real.exe");
    Settle();
    Tactics(nullptr);
    EXPECT_EQ(difficult.failures, 2);
    EXPECT_THAT(Reported(), SizeIs(1));
    EXPECT_THAT(FilesOf(1), SizeIs(1));
}

// A detection is told to the front end, which may do anything; by then the next files are hashed.
TEST_F(StartupAhead, AFileThatChangesAfterItWasHashedIsHashedAgain) {
    for (const char* name : {"1.exe", "2.exe", "3.exe"}) {
        Program(Folder() + name, 'a');
        Entry(HiveLocalMachine, name, Folder() + name);
    }
    for (const char* limit : {"0", static_cast<const char*>(nullptr)}) {
        Program(Folder() + "2.exe", 'a');
        Settle();
        Run(limit, [&] {
            ScannerEvents events;
            events.ThreatDetected = [&](std::string_view, enScanType, std::int32_t, std::int32_t) {
                WriteFile(Folder() + "2.exe", Bytes(ProgramBytes, 'z'));  // as long as before
            };
            CurrentScan()->Callback->Subscribe(std::move(events));
            scanner.ScanCommonTactics();
        });
        EXPECT_THAT(FilesOf(1), ElementsAre(LCase(Folder() + "1.exe"), LCase(Folder() + "3.exe")));
    }
    EXPECT_THAT(files.ahead, Contains("3.exe"));
    EXPECT_THAT(files.opened, Contains(LCase(Folder() + "2.exe")));
}

TEST_F(StartupAhead, AnEntryThatIsAddedMeanwhileIsTestedAllTheSame) {
    for (const char* name : {"1.exe", "2.exe"}) {
        Program(Folder() + name, 'z');
        WriteFile(Folder() + "startup\\" + name + ".lnk", LinkTo(Folder() + name));
    }
    Program(Folder() + "late.exe", 'a');
    Settle();
    // The list of the folder yields behind each of its entries, after it was looked at ahead.
    loop.call = [&] { Entry(HiveLocalMachine, "late", Folder() + "late.exe"); };
    Tactics(nullptr);
    EXPECT_THAT(FilesOf(1), ElementsAre(LCase(Folder() + "late.exe")));
}

TEST_F(StartupAhead, NothingIsReadAheadAtShallowDepth) {
    FillMachine();
    scanner.OptScanDepth = scanshallow;
    const Traces without = Tactics("0");
    EXPECT_EQ(Tactics(nullptr), without);
    EXPECT_THAT(files.ahead, IsEmpty());
}

TEST_F(StartupAhead, ComponentsThatAreNotTestedAreNotRead) {
    for (const char* clsid : {"{11111111-1}", "{22222222-2}"}) {
        Program(Folder() + clsid + ".ocx", 'a');
        stage.AddText(HiveClassesRoot, "CLSID\\" + std::string(clsid) + "\\InprocServer32", "",
                      Folder() + clsid + ".ocx");
        stage.AddKey(HiveLocalMachine, std::string(modScannerTactics::DistributionUnits) + "\\" + std::string(clsid));
    }
    Settle();
    Tactics(nullptr);
    EXPECT_THAT(files.ahead, IsEmpty());
}

TEST_F(StartupAhead, AServerIsLeftToItsTurn) {
    Program(Folder() + "0.exe", 'z');
    for (const std::string name : {"0", "1", "2"}) {
        const std::string file = (name == "0" ? Folder() : R"(\\server\share\)") + name + ".exe";
        Entry(HiveLocalMachine, name, file);
        Class("{1234567890" + name + "}", file);
        WriteFile(Folder() + "startup\\" + name + ".lnk", LinkTo(file));
    }
    Settle();
    Tactics("0");
    const int atTheirTurn = std::exchange(difficult.remote, 0);
    EXPECT_GE(atTheirTurn, 6);
    Tactics(nullptr);
    EXPECT_EQ(difficult.remote, atTheirTurn);
    EXPECT_THAT(files.ahead, ElementsAre("0.exe", "0.exe", "0.exe")) << "of three stages";
}

}  // namespace
}  // namespace kel::test
