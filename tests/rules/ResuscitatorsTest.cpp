// Programs that start each other again: their table, and what becomes of those that run.
#include <gmock/gmock.h>

#include "catalogue/clsResuscitator.h"
#include "rules/RunningPrograms.h"
#include "support/MadeMachine.h"
#include "support/ProgramFile.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr std::string_view RunKey = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)";

class Resuscitators : public MadeMachineTest {
protected:
    void SetUp() override {
        Begin();
        Run(MadeProcesses::Own, "own.exe", Bytes(2000, 'o'));
    }
    static Value T(std::string text) { return Value(std::move(text)); }
    /// A program with that internal name.
    [[nodiscard]] static std::string Named(const std::string& internalName) {
        VersionRecord record;
        record.tables.push_back({0x0409, 0x04E4, {{"InternalName", internalName}}});
        std::string bytes = MakeProgram(ProgramKind::Pe32, record);
        bytes.resize(std::max<std::size_t>(bytes.size(), 2000), '\0');
        return bytes;
    }
    void Load(const std::vector<ResuscitatorRow>& rows) {
        WriteResuscitators(rows);
        modCleanerHelper::LoadResuscitators();
    }
    void AddRunValue(std::string_view name, std::string_view data) {
        Stage().AddText(platform::HiveLocalMachine, RunKey, name, data);
    }
    [[nodiscard]] static std::vector<std::string> RunValues() {
        std::vector<std::string> values;
        for (const std::string& item : modRegistry::RegistryValuesList(platform::HiveLocalMachine, RunKey)) {
            values.push_back(item);
        }
        return values;
    }
};

// The table.

TEST_F(Resuscitators, AShortHashIsNone) {
    const std::string hash = HashOf(Bytes(2000, 's'));
    Load({{T(" helper.exe "), T(hash + "01234567"), T(" helper "), true, false},
          {Null{}, T(hash.substr(0, 31)), Null{}, false, true},
          {Null{}, T(hash), T("x")}});
    ASSERT_EQ(State().Resuscitators->Count(), 3U);
    const clsResuscitator& first = *State().Resuscitators->Item(1);
    EXPECT_EQ(first.ResExeName, "helper.exe");
    EXPECT_EQ(first.ResExeMD5, hash);
    EXPECT_EQ(first.ResInternalName, "helper");
    EXPECT_TRUE(first.ResDeleteFile);
    EXPECT_FALSE(first.ResDeleteRegKey);
    const clsResuscitator& second = *State().Resuscitators->Item(2);
    EXPECT_EQ(second.ResExeName, "");
    EXPECT_EQ(second.ResExeMD5, "");
    EXPECT_EQ(second.ResInternalName, "");
    EXPECT_TRUE(second.ResDeleteRegKey);
    EXPECT_EQ(State().Resuscitators->Item(3)->ResExeMD5, hash);
}

TEST_F(Resuscitators, AnEmptyOrMissingTableGivesNoneAndEndsNothing) {
    Run(20, "spy.exe", Bytes(2000, 's'));
    modCleanerHelper::PrepareProcessLists();
    EXPECT_EQ(State().Resuscitators->Count(), 0U);
    Load({});
    EXPECT_EQ(State().Resuscitators->Count(), 0U);
    processes.snapshots = 0;
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_EQ(processes.snapshots, 0) << "not even a list is taken";
    EXPECT_THAT(processes.ended, IsEmpty());
    State().Resuscitators.reset();
    EXPECT_TRUE(modCleanerHelper::KillResuscitators()) << "released by a cleaner";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Resuscitators, ATableThatCantBeReadIsReportedOnceAndEndsNothing) {
    WriteFile(AppFolder() + "kelRes.sdb", "no table");
    Run(20, "spy.exe", Bytes(2000, 's'));
    modCleanerHelper::PrepareProcessLists();
    EXPECT_THAT(processes.ended, IsEmpty());
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modCleanerHelper");
}

// Which processes.

TEST_F(Resuscitators, ANameIsLookedForInTheNameOfTheProcessWhateverItsCase) {
    RunNameless(20, "MyHelper32.EXE");
    RunNameless(21, "good.exe");
    Load({{T("Helper")}});
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_THAT(processes.ended, ElementsAre("20 with 0 by 2035711"));
}

TEST_F(Resuscitators, ARowWithANameAndAHashIsTestedByItsNameOnly) {
    Run(20, "spy.exe", Bytes(2000, 's'));
    Load({{T("helper"), T(HashOf(Bytes(2000, 's')))}});
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(processes.ended, IsEmpty());
    Run(21, "helper.exe", Bytes(2000, 'h'));
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(processes.ended, ElementsAre("21 with 0 by 2035711"));
}

TEST_F(Resuscitators, AHashIsThatOfTheProgram) {
    Run(20, "good.exe", Bytes(2000, 'g'));
    Run(21, "renamed.exe", Bytes(2000, 's'));
    Run(22, "tiny.exe", "tiny");
    Load({{Null{}, T(HashOf(Bytes(2000, 's'))), T("renamed")}});
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(processes.ended, ElementsAre("21 with 0 by 2035711"));
}

TEST_F(Resuscitators, AnInternalNameCountsWhereTheNameOfTheProcessHoldsIt) {
    Run(20, "helper32.exe", Named("Helper"));
    Run(21, "other.exe", Named("Helper"));
    Run(22, "helper.exe", Named("Other"));
    Load({{Null{}, Null{}, T("helper")}});
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(processes.ended, ElementsAre("20 with 0 by 2035711"));
}

TEST_F(Resuscitators, ARowWithoutAnyTextMatchesNothing) {
    Run(20, "good.exe", Bytes(2000, 'g'));
    Load({{}});
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(Resuscitators, AProcessWithoutANameIsPassedOver) {
    RunNameless(20, "  ");
    Load({{T(" ")}, {Null{}, T(HashOf(Bytes(2000, 's')))}});
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(Resuscitators, TheOwnProcessIsNone) {
    Load({{Null{}, T(HashOf(Bytes(2000, 'o')))}});
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(processes.ended, IsEmpty());
}

// Their end.

TEST_F(Resuscitators, OneThatItsPartnerStartsAgainIsCaughtInALaterRound) {
    RunNameless(20, "ping.exe");
    RunNameless(21, "pong.exe");
    std::uint32_t next = 30;
    processes.onEnded = [&](std::uint32_t id) {
        // The first loss is made good as long as the partner runs.
        if (id == 20) {
            RunNameless(next++, "ping.exe");
        }
    };
    Load({{T("ping")}, {T("pong")}});
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_THAT(processes.ended, ElementsAre("20 with 0 by 2035711", "21 with 0 by 2035711", "30 with 0 by 2035711"));
    EXPECT_THAT(processes.entries, SizeIs(1)) << "only the engine is left";
}

TEST_F(Resuscitators, TheFileGoesWhereTheRowSaysSo) {
    const std::string gone = Run(20, "ping.exe", Bytes(2000, 'p'));
    const std::string stays = Run(21, "pong.exe", Bytes(2000, 'q'));
    Load({{T("ping.exe"), Null{}, Null{}, true, false}, {T("pong.exe"), Null{}, Null{}, false, false}});
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(processes.ended, SizeIs(2));
    EXPECT_FALSE(Exists(gone));
    EXPECT_TRUE(Exists(stays));
}

TEST_F(Resuscitators, TheRunValuesGoWhereTheRowSaysSo) {
    RunNameless(20, "Ping.exe");
    RunNameless(21, "Pong.exe");
    AddRunValue("Spy", "C:\\Windows\\Ping.exe /quiet");
    AddRunValue("Lower", "C:\\Windows\\ping.exe");
    AddRunValue("Pong.exe", "C:\\Windows\\Pong.exe");
    Load({{T("ping.exe"), Null{}, Null{}, false, true}, {T("pong.exe"), Null{}, Null{}, false, false}});
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(RunValues(), UnorderedElementsAre("Lower:C:\\Windows\\ping.exe", "Pong.exe:C:\\Windows\\Pong.exe"))
        << "letter case counts";
}

TEST_F(Resuscitators, On2000TheyAreNotEndedButTheirFilesAndRunValuesGo) {
    On2000();
    const std::string file = Run(20, "ping.exe", Bytes(2000, 'p'));
    AddRunValue("Spy", file);
    // The entry is the whole path here, and so is what the run list is searched for.
    processes.entries.back().exeFile = file;
    Load({{T("ping"), Null{}, Null{}, true, true}});
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_FALSE(Exists(file));
    EXPECT_THAT(RunValues(), IsEmpty());
}

TEST_F(Resuscitators, AProcessThatFitsTwoRowsIsFoundTwice) {
    RunNameless(20, "ping.exe");
    AddRunValue("Spy", "ping.exe");
    Load({{T("ping")}, {T(".exe"), Null{}, Null{}, false, true}});
    modCleanerHelper::KillResuscitators();
    EXPECT_THAT(processes.ended, ElementsAre("20 with 0 by 2035711"));
    EXPECT_THAT(RunValues(), IsEmpty());
}

TEST_F(Resuscitators, WithoutAListOfProcessesNothingIsDone) {
    processes.lists = false;
    Load({{T("ping"), Null{}, Null{}, true, true}});
    EXPECT_FALSE(modCleanerHelper::KillResuscitators());
    EXPECT_THAT(Reported(), IsEmpty());
}

// The run list alone.

TEST_F(Resuscitators, RunValuesAreFoundByNameAndDataTogetherAndTheFileGoesOnDemand) {
    const std::string file = Folder() + "ping.exe";
    WriteFile(file, "x");
    AddRunValue("Loader", file);
    AddRunValue("ping.exe", "C:\\other.exe");
    AddRunValue("Good", "C:\\good.exe");
    EXPECT_EQ(modCleanerHelper::RemoveRunEntriesForExe("ping.exe", true), "");
    EXPECT_THAT(RunValues(), ElementsAre("Good:C:\\good.exe"));
    EXPECT_FALSE(Exists(file));
}

TEST_F(Resuscitators, WithoutARunListThereIsNothingToRemove) {
    EXPECT_EQ(modCleanerHelper::RemoveRunEntriesForExe("ping.exe", true), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

// On the machine itself.
using ResuscitatorsOfTheMachine = ScanTest;

TEST_F(ResuscitatorsOfTheMachine, AreNotFoundWhereNoProcessesRun) {
    if (Machine().can.processes) {
        GTEST_SKIP() << "processes run here";
    }
    Begin();
    State().Resuscitators = std::make_shared<Collection<std::shared_ptr<clsResuscitator>>>();
    const auto everything = std::make_shared<clsResuscitator>();
    everything->ResExeName = ".";
    everything->ResDeleteFile = true;
    State().Resuscitators->Add(everything);
    const auto letters = std::make_shared<clsResuscitator>();
    letters->ResExeName = "e";
    State().Resuscitators->Add(letters);
    EXPECT_TRUE(modCleanerHelper::KillResuscitators());
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
