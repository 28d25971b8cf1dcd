// The sweep of running threats before a scan.
#include <gmock/gmock.h>

#include "results/DetectedThreat.h"
#include "results/IgnoredThreats.h"
#include "rules/RunningPrograms.h"
#include "support/MadeMachine.h"
#include "support/ProgramFile.h"
#include "system/modFolderPaths.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t Spy = 7;
constexpr std::int32_t Hook = 8;
constexpr std::int32_t Known = 9;
constexpr std::int32_t Perhaps = 10;

class ActiveThreats : public MadeMachineTest {
protected:
    void SetUp() override {
        tables.threats = {{Spy, "Spy"}, {Hook, "Hook"}, {Known, "Known"}, {Perhaps, "Perhaps"}};
        tables.md5 = {{Spy, HashOf(SpyBytes())}, {Hook, HashOf(HookBytes())}, {Perhaps, HashOf(PerhapsBytes()), 1}};
        tables.paths = {{Known, LCase(Folder()) + "tiny.exe"}};
        Begin();
        scanner.SetOptMaxOptionLevel(5);
        Run(MadeProcesses::Own, "own.exe", Bytes(2000, 'o'));
    }
    [[nodiscard]] static std::string SpyBytes() { return Bytes(2000, 's'); }
    [[nodiscard]] static std::string HookBytes() { return Bytes(2000, 'h'); }
    [[nodiscard]] static std::string PerhapsBytes() { return Bytes(2000, 'p'); }
    [[nodiscard]] static std::string GoodBytes() { return Bytes(2000, 'g'); }

    struct Listed {
        std::int32_t id;
        std::int32_t threat;
        std::string path;
        friend bool operator==(const Listed&, const Listed&) = default;
        friend void PrintTo(const Listed& listed, std::ostream* out) {
            *out << listed.id << " threat " << listed.threat << " " << listed.path;
        }
    };
    static std::vector<Listed> Of(const modCleanerHelper::Processes& list) {
        std::vector<Listed> all;
        for (const auto& process : list) {
            all.push_back({process->ProcessID, process->ProcessThreat, LCase(process->ProcessPath)});
        }
        return all;
    }
    static std::vector<Listed> ThreatList() { return Of(modCleanerHelper::GetThreatList()); }

    /// Lets a process have loaded a library, which is written.
    std::string Load(std::uint32_t processId, const std::string& name, const std::string& bytes) {
        WriteFile(Folder() + name, bytes);
        processes.modules[processId].push_back(Folder() + name);
        return LCase(Folder() + name);
    }
    /// What was reported as information, in order.
    [[nodiscard]] std::vector<std::string> Information() const {
        std::vector<std::string> texts;
        for (const FailureRecord& record : Reported()) {
            EXPECT_EQ(record.number, "0");
            EXPECT_EQ(record.module, "modCleanerHelper");
            EXPECT_EQ(record.procedure, "SuspendActiveThreats");
            texts.push_back(record.description);
        }
        return texts;
    }
    static std::string Child(int id, const std::string& path) {
        return "Terminating child process. PID = " + std::to_string(id) + " Name = " + path;
    }
    static std::string Parent(int id, const std::string& path) {
        return "Terminating process. PID = " + std::to_string(id) + " Name = " + path;
    }
};

// All processes.

TEST_F(ActiveThreats, TheProcessListNamesPathAndParent) {
    const std::string good = Run(20, "Good.exe", GoodBytes(), 4);
    RunNameless(21, "Gone.EXE", 20);
    const auto list = modCleanerHelper::GetProcessList();
    ASSERT_EQ(list.Count(), 3U);
    const clsBadProcess& first = *list.Item(2);
    EXPECT_EQ(first.ProcessName, good) << "as the entry has it";
    EXPECT_EQ(first.ProcessPath, good);
    EXPECT_EQ(first.ProcessID, 20);
    EXPECT_EQ(first.ProcessParent, 4);
    EXPECT_EQ(first.ProcessThreat, 0);
    const clsBadProcess& second = *list.Item(3);
    EXPECT_EQ(second.ProcessName, "gone.exe");
    EXPECT_EQ(second.ProcessPath, "");
    EXPECT_EQ(second.ProcessParent, 20);
}

TEST_F(ActiveThreats, On2000EachProcessIsItsOwnParent) {
    On2000();
    const std::string good = Run(20, "Good.exe", GoodBytes(), 4);
    const auto list = modCleanerHelper::GetProcessList();
    ASSERT_EQ(list.Count(), 2U);
    EXPECT_EQ(list.Item(2)->ProcessName, "good.exe");
    EXPECT_EQ(LCase(list.Item(2)->ProcessPath), good);
    EXPECT_EQ(list.Item(2)->ProcessID, 20);
    EXPECT_EQ(list.Item(2)->ProcessParent, 20);
}

// Threats among them.

TEST_F(ActiveThreats, AThreatIsKnownByTheHashOfItsProgram) {
    Run(20, "good.exe", GoodBytes());
    const std::string spy = Run(21, "renamed.exe", SpyBytes());
    EXPECT_THAT(ThreatList(), ElementsAre(Listed{21, Spy, spy}));
    EXPECT_THAT(Of(modCleanerHelper::GetThreatListOld()), ElementsAre(Listed{21, Spy, spy}));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ActiveThreats, ASecondProcessOfOneProgramIsNotListedAndACopyElsewhereIs) {
    const std::string spy = Run(20, "spy.exe", SpyBytes());
    Run(21, "spy.exe", SpyBytes());
    const std::string copy = Run(22, "copy.exe", SpyBytes());
    EXPECT_THAT(ThreatList(), ElementsAre(Listed{20, Spy, spy}, Listed{22, Spy, copy}));
}

TEST_F(ActiveThreats, AProgramWithoutAHashIsNotListedThoughItsPathIsKnown) {
    Run(20, "tiny.exe", "tiny");
    EXPECT_THAT(ThreatList(), IsEmpty());
}

TEST_F(ActiveThreats, AnOptionalSignatureListsNothingWhateverTheLevelOfTheScan) {
    Run(20, "perhaps.exe", PerhapsBytes());
    EXPECT_THAT(ThreatList(), IsEmpty());
}

TEST_F(ActiveThreats, WhatMustStayIsNotListed) {
    VersionRecord record;
    record.tables.push_back({0x0409, 0x04E4, {{"CompanyName", "Microsoft Corporation"}}});
    std::string bytes = MakeProgram(ProgramKind::Pe32, record);
    bytes.resize(std::max<std::size_t>(bytes.size(), 2000), '\0');
    tables.md5.push_back({Spy, HashOf(bytes)});
    Begin();
    Run(20, "shell.exe", bytes);
    Load(20, "newdot7.dll", HookBytes());
    EXPECT_THAT(ThreatList(), IsEmpty());
}

TEST_F(ActiveThreats, AnIgnoredThreatIsNotListedAndNotEnded) {
    Run(20, "spy.exe", SpyBytes());
    IgnoredThreats().AddIgnoredThreat(Spy);
    EXPECT_THAT(ThreatList(), IsEmpty());
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_THAT(FilesOf(Spy), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ActiveThreats, WithoutTablesNothingIsListedAndNothingFails) {
    Run(20, "spy.exe", SpyBytes());
    State().MD5DataTable.reset();
    State().FilePathDataTable.reset();
    EXPECT_THAT(ThreatList(), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ActiveThreats, TheEngineItselfIsNoThreat) {
    tables.md5.push_back({Spy, HashOf(Bytes(2000, 'o'))});
    Begin();
    EXPECT_THAT(ThreatList(), IsEmpty());
}

// Libraries in other programs.

TEST_F(ActiveThreats, ALibraryOfTheFamilyIsListedUnderItsOwnPath) {
    Run(20, "good.exe", GoodBytes());
    Load(20, "other.dll", HookBytes());
    const std::string hook = Load(20, "xNewDot6.dll", HookBytes());
    EXPECT_THAT(ThreatList(), ElementsAre(Listed{20, Hook, hook}));
    EXPECT_THAT(Of(modCleanerHelper::GetThreatListOld()), IsEmpty());
}

TEST_F(ActiveThreats, ALibraryOfTheFamilyIsListedThoughItsThreatIsIgnored) {
    IgnoredThreats().AddIgnoredThreat(Hook);
    Run(20, "good.exe", GoodBytes());
    const std::string hook = Load(20, "newdot.dll", HookBytes());
    EXPECT_THAT(ThreatList(), ElementsAre(Listed{20, Hook, hook}));
}

TEST_F(ActiveThreats, AnOptionalLibraryIsNotListed) {
    Run(20, "good.exe", GoodBytes());
    Load(20, "newdot.dll", PerhapsBytes());
    EXPECT_THAT(ThreatList(), IsEmpty());
}

TEST_F(ActiveThreats, TheFirstModuleIsNotLookedAt) {
    processes.entries.push_back({20, 0, Folder() + "good.exe"});
    WriteFile(Folder() + "good.exe", GoodBytes());
    Load(20, "newdot.dll", HookBytes());
    EXPECT_THAT(ThreatList(), IsEmpty());
}

TEST_F(ActiveThreats, LibrariesOfAProgramWithASignatureAreNotLookedAt) {
    Run(20, "tiny.exe", "tiny");
    Load(20, "newdot1.dll", HookBytes());
    Run(21, "perhaps.exe", PerhapsBytes());
    Load(21, "newdot2.dll", HookBytes());
    EXPECT_THAT(ThreatList(), IsEmpty());
}

TEST_F(ActiveThreats, LibraryPathsOfTheObjectNamespaceAreResolved) {
    Run(20, "good.exe", GoodBytes());
    Run(21, "better.exe", GoodBytes());
    WriteFile(Folder() + "windows\\newdot1.dll", HookBytes());
    WriteFile(Folder() + "newdot2.dll", HookBytes());
    processes.modules[20].push_back("\\SystemRoot\\newdot1.dll");
    processes.modules[21].push_back("\\??\\" + Folder() + "newdot2.dll");
    EXPECT_THAT(ThreatList(), ElementsAre(Listed{20, Hook, LCase(Folder()) + "windows\\newdot1.dll"},
                                          Listed{21, Hook, LCase(Folder()) + "newdot2.dll"}));
}

// The sweep.

TEST_F(ActiveThreats, TheChildrenOfAThreatEndBeforeIt) {
    const std::string spy = Run(20, "spy.exe", SpyBytes(), 4);
    const std::string good = Run(30, "good.exe", GoodBytes(), 20);
    RunNameless(31, "gone.exe", 20);
    Run(32, "grand.exe", GoodBytes(), 30);
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(processes.ended, ElementsAre("30 with 1 by 1025", "31 with 1 by 1025", "20 with 1 by 1025"));
    EXPECT_THAT(Information(), ElementsAre(Child(30, good), Child(31, ""), Parent(20, spy)));
    ASSERT_THAT(FilesOf(Spy), SizeIs(1));
    EXPECT_EQ(LCase(FilesOf(Spy)[0]), spy);
    const auto& detected = scanner.Scan()->DetectedThreats()->Item(1);
    EXPECT_EQ(detected->ScanType, ScanTypeProcesses);
    EXPECT_EQ(detected->ThreatLocationFiles->Item(1)->MD5, HashOf(SpyBytes()));
    EXPECT_EQ(scanner.Scan()->DetectedProcessCount, 1);
}

TEST_F(ActiveThreats, TheEngineAsAChildOfAThreatIsSpared) {
    processes.entries[0].parentId = 20;
    Run(20, "spy.exe", SpyBytes());
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(processes.ended, ElementsAre("20 with 1 by 1025"));
}

TEST_F(ActiveThreats, On2000AProcessIsHitFirstAsItsOwnChild) {
    On2000();
    const std::string spy = Run(20, "spy.exe", SpyBytes(), 4);
    Run(30, "good.exe", GoodBytes(), 20);
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(processes.ended, ElementsAre("20 with 1 by 1025"));
    ASSERT_THAT(Information(), SizeIs(2));
    EXPECT_EQ(LCase(Information()[0]), LCase(Child(20, spy)));
    EXPECT_EQ(LCase(Information()[1]), LCase(Parent(20, spy)));
    EXPECT_THAT(FilesOf(Spy), SizeIs(1));
}

TEST_F(ActiveThreats, AThreatThatCantBeEndedIsRecordedAndTheOthersEnd) {
    Run(20, "spy.exe", SpyBytes());
    Run(21, "copy.exe", SpyBytes());
    processes.endErrors[20] = platform::SysError::AccessDenied;
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(processes.ended, ElementsAre("21 with 1 by 1025"));
    EXPECT_THAT(FilesOf(Spy), SizeIs(2));
}

TEST_F(ActiveThreats, AProcessThatLoadedALibraryOfTheFamilyEndsAndTheLibraryIsRecorded) {
    Run(20, "good.exe", GoodBytes());
    const std::string hook = Load(20, "newdot.dll", HookBytes());
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(processes.ended, ElementsAre("20 with 1 by 1025"));
    ASSERT_THAT(FilesOf(Hook), SizeIs(1));
    EXPECT_EQ(LCase(FilesOf(Hook)[0]), hook);
}

struct SweepSystem {
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t platformId;
    bool libraries;
};
class SweepOn : public ActiveThreats, public ::testing::WithParamInterface<SweepSystem> {};

TEST_P(SweepOn, LibrariesAreSearchedForOnlyWhereTheSystemIsNewOrWindows95) {
    Runs(GetParam().major, GetParam().minor, GetParam().platformId);
    Run(20, "good.exe", GoodBytes());
    Load(20, "newdot.dll", HookBytes());
    Run(21, "spy.exe", SpyBytes());
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(FilesOf(Hook), SizeIs(GetParam().libraries ? 1 : 0));
    EXPECT_THAT(FilesOf(Spy), SizeIs(1)) << "programs are not";
}

INSTANTIATE_TEST_SUITE_P(Systems, SweepOn,
                         ::testing::Values(SweepSystem{4, 0, 1, true}, SweepSystem{4, 10, 1, false},
                                           SweepSystem{4, 90, 1, false}, SweepSystem{4, 0, 2, false},
                                           SweepSystem{5, 0, 2, false}, SweepSystem{5, 1, 2, true},
                                           SweepSystem{5, 2, 2, true}));

TEST_F(ActiveThreats, WithoutAScanTheSweepEndsBehindTheFirstThreat) {
    Run(20, "spy.exe", SpyBytes());
    Run(21, "copy.exe", SpyBytes());
    SetCurrentScan(nullptr);
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_THAT(processes.ended, ElementsAre("20 with 1 by 1025"));
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[1].number, "91");
    EXPECT_EQ(Reported()[1].procedure, "SuspendActiveThreats");
}

TEST_F(ActiveThreats, ADetectionHasTheLevelOfItsSignature) {
    LastOptionalScan() = 4;
    Run(20, "spy.exe", SpyBytes());
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_EQ(scanner.Scan()->DetectedThreats()->Item(1)->OptionLevel, 0);
}

// On the machine itself.
using ActiveThreatsOfTheMachine = ScanTest;

TEST_F(ActiveThreatsOfTheMachine, AreNotFoundWhereNoProcessesRun) {
    if (Machine().can.processes) {
        GTEST_SKIP() << "processes run here";
    }
    Begin();
    modCleanerHelper::SuspendActiveThreats();
    EXPECT_EQ(modCleanerHelper::GetProcessList().Count(), 0U);
    EXPECT_EQ(modCleanerHelper::GetProcessListNT().Count(), 0U);
    EXPECT_EQ(
        modCleanerHelper::HelperKillRunningProcessLocal(static_cast<std::int32_t>(Machine().processes->CurrentId())),
        300)
        << "the host's processes can't be opened";
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(Reported(), SizeIs(1)) << "the refusal";
}

}  // namespace
}  // namespace kel::test
