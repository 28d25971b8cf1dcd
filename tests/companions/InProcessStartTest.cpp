// Whole roads: a clean that leaves something to the next start, and that start, with the engine itself.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "InProcessEngine.h"
#include "ScanThatFound.h"
#include "StartTest.h"
#include "core/Recordset.h"
#include "decorators/FaultInjectingPlatform.h"
#include "support/ShippedTables.h"

namespace kel::test {
namespace {

using companions::StartEnd;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* ScanID = "AAAAAAAA-BBBB-CCCC-DDDD-EEEEEE";
constexpr std::int32_t Threat = 7;

class NextStartOfTheMachine : public StartTest {
protected:
    NextStartOfTheMachine() : faults(Staged()) {
        tables.threats = {{Threat, "Seven"}, {8, "Eight"}};
        tables.WriteTo(AppFolder());
        Install(faults.View());
        WriteFile(Path(), "evil");
    }
    ~NextStartOfTheMachine() override { Install(Machine()); }

    [[nodiscard]] std::string Path() const { return Things() + "some.exe"; }
    [[nodiscard]] std::string AppPath() const { return Folder() + "app"; }

    /// A scan that finds the file as a part of the threat, and a clean of it while the file is held.
    void CleanWhileHeld(bool destroy) {
        InProcessEngine before(AppPath());
        before.Start();
        before.SetUserDataFolder(UserFolder());
        const auto scan = ScanThatFound(Path(), ScanID, Threat);
        before.Root().ScanHistory()->Add(scan);
        faults.Lock(Path());
        Cleaner cleaner;
        cleaner.InitializeClean(ScanID, scan->DetectedThreats());
        if (destroy) {
            cleaner.DestroyThreat(Threat);
        } else {
            EXPECT_EQ(cleaner.QuarantineThreat(Threat), errNone);
        }
        EXPECT_TRUE(cleaner.IsRebootRequired());
        before.Root().ScanHistory()->Persist();
        EXPECT_THAT(Names(DelFiles), ElementsAre(Path()));
        EXPECT_THAT(Names(CleanerExe), ElementsAre("7"));
        EXPECT_TRUE(Exists(Path()));
    }

    ShippedTables tables;
    decorators::FaultInjectingPlatform faults;
};

TEST_F(NextStartOfTheMachine, AHeldFileIsGoneAndTheListsAreEmpty) {
    CleanWhileHeld(false);
    faults.Unlock(Path());
    InProcessEngine engine(AppPath());
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_FALSE(Exists(Path()));
    EXPECT_FALSE(KeyExists(CleanerExe));
    EXPECT_THAT(Work(), ElementsAre("DelFiles: " + Path() + ": deleted",
                                    "Threat 7 of scan " + std::string(ScanID) + ": nothing is left of it"));
    EXPECT_THAT(LogLines(Machine(), UserFolder(), "cleaner"), Contains("File delete complete for " + Path()));
    engine.InitializeClean(ScanID);
    EXPECT_EQ(engine.Root().Quarantine()->Count(), 1) << "what the quarantine has is as it was";
}

TEST_F(NextStartOfTheMachine, AThreatToBeDestroyedIsGoneFromTheQuarantineToo) {
    CleanWhileHeld(true);
    EXPECT_THAT(Names(Destroy), ElementsAre("7"));
    faults.Unlock(Path());
    InProcessEngine engine(AppPath());
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_FALSE(Exists(Path()));
    EXPECT_FALSE(KeyExists(CleanerExe));
    engine.InitializeClean(ScanID);
    EXPECT_EQ(engine.Root().Quarantine()->Count(), 0);
    const auto detail = engine.Root().ScanHistory()->GetScanHistoryDetail(ScanID);
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->DeletedThreats->RecordCount(), 1) << "the history tells that it was deleted";
}

TEST_F(NextStartOfTheMachine, TheFirstOfSeveralRecordsIsDestroyed) {
    const auto quarantine = [&] {
        WriteFile(Path(), "evil");
        InProcessEngine before(AppPath());
        before.Start();
        before.SetUserDataFolder(UserFolder());
        const auto scan = ScanThatFound(Path(), ScanID, Threat);
        Cleaner cleaner;
        cleaner.InitializeClean(ScanID, scan->DetectedThreats());
        std::string record;
        EXPECT_EQ(cleaner.QuarantineThreat(Threat, false, record), errNone);
        return record;
    };
    const std::string first = quarantine();
    const std::string second = quarantine();
    ASSERT_NE(first, second);
    List(Destroy, "7", ScanID);
    InProcessEngine engine(AppPath());
    EXPECT_EQ(Run(engine), StartEnd::Done);
    engine.InitializeClean(ScanID);
    EXPECT_FALSE(engine.IsQuarantined(first));
    EXPECT_TRUE(engine.IsQuarantined(second));
}

TEST_F(NextStartOfTheMachine, AFileThatIsStillHeldKeepsTheThreatAndItsRecord) {
    CleanWhileHeld(true);
    InProcessEngine engine(AppPath());
    EXPECT_EQ(Run(engine), StartEnd::Partly);
    EXPECT_TRUE(Exists(Path()));
    EXPECT_THAT(Names(CleanerExe), ElementsAre("7"));
    EXPECT_THAT(Names(Destroy), ElementsAre("7"));
    EXPECT_THAT(Work(), Contains("Failed: DelFiles: " + Path() + " is still there"));
    EXPECT_THAT(LogLines(Machine(), UserFolder(), "cleaner"), Contains(::testing::EndsWith("(CLEANER RUNNING)")));
    engine.InitializeClean(ScanID);
    EXPECT_TRUE(engine.Root().Quarantine()->QuarantineThreatExists(Threat));
}

TEST_F(NextStartOfTheMachine, AFileThatCameBackIsPutIntoTheQuarantine) {
    CleanWhileHeld(false);
    faults.Unlock(Path());
    faults.View().registry->Open(platform::HiveCurrentUser, CleanerExe).Value()->RemoveKey("DelFiles");
    InProcessEngine engine(AppPath());
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_FALSE(Exists(Path()));
    EXPECT_FALSE(KeyExists(CleanerExe));
    engine.InitializeClean(ScanID);
    EXPECT_EQ(engine.Root().Quarantine()->Count(), 2);
}

TEST_F(NextStartOfTheMachine, FoldersKeysAndValuesGoAsListed) {
    MakeFolder(Things() + "evil");
    WriteFile(Things() + "evil\\x.dat", "x");
    Stage().AddText(platform::HiveLocalMachine, R"(SOFTWARE\Evil\Below)", "x", "y");
    Stage().AddText(platform::HiveLocalMachine, R"(SOFTWARE\Run)", "plain", "y");
    List(DelFolders, Things() + "evil", "1");
    List(DelRegKeys, R"(HKEY_LOCAL_MACHINE\SOFTWARE\Evil)", "1");
    List(DelRegValues, R"(HKEY_LOCAL_MACHINE\SOFTWARE\Run 1)", "plain");
    InProcessEngine engine(AppPath());
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_FALSE(Exists(Things() + "evil"));
    EXPECT_FALSE(
        Staged().registry->Open(platform::HiveLocalMachine, R"(SOFTWARE\Evil)", platform::AccessMaximumAllowed).Ok());
    EXPECT_FALSE(KeyExists(CleanerExe));
    EXPECT_THAT(Work(), ElementsAre("DelFolders: " + Things() + "evil: deleted",
                                    R"(DelRegKeys: HKEY_LOCAL_MACHINE\SOFTWARE\Evil: deleted)",
                                    R"(DelRegValues: HKEY_LOCAL_MACHINE\SOFTWARE\Run 1 [plain]: worked)"));
}

TEST_F(NextStartOfTheMachine, WithNothingLeftTheEngineIsNotStarted) {
    InProcessEngine engine(AppPath());
    EXPECT_EQ(Run(engine), StartEnd::Done);
    EXPECT_FALSE(engine.IsStarted());
}

}  // namespace
}  // namespace kel::test
