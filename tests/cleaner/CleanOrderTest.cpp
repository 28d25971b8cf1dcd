// The order of work for one threat, as the front end and the log see it.
#include <gmock/gmock.h>

#include "CleanTest.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "engine/Manager.h"
#include "engine/modMain.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "results/HistoryAccess.h"
#include "results/ScanHistory.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr std::int32_t Threat = 7;

class Clean : public CleanTest {
protected:
    Clean() { tables.threats = {{.id = Threat, .name = "Evil", .category = "adware", .author = "Mallory"}}; }

    enCleanerErrors Quarantine(bool force = false, std::int32_t threat = Threat) {
        return cleaner->QuarantineThreat(threat, force, id);
    }
    std::string Store(const quarantine::Table& table) const { return UserFolder() + std::string(table.file); }

    std::string id;  ///< what the last QuarantineThreat gave out
};

TEST_F(Clean, AThreatWithoutLocationsGetsARowAFolderAndAllStageMessages) {
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    ExpectGolden("NoLocationsEvents", heard);
    ExpectGolden("NoLocationsLog", Log());
    const auto rows = Rows(quarantine::Threats, {"QThreatID", "ThreatID", "ThreatName", "ThreatAuthor", "Category",
                                                 "ScanID", "ThreatType", "QuarantinePath"});
    ASSERT_THAT(rows, SizeIs(1));
    EXPECT_THAT(std::vector(rows[0].begin(), rows[0].begin() + 7),
                ElementsAre(id, "7", "Evil", "Mallory", "adware", ScanID, "null"));
    EXPECT_THAT(id, SizeIs(30));
    EXPECT_TRUE(Exists(rows[0][7])) << rows[0][7];
    EXPECT_TRUE(rows[0][7].starts_with(UserFolder() + "\\Quarantine\\")) << rows[0][7];
    EXPECT_EQ(Rows(quarantine::Threats, {"QuarantineDate"})[0][0].empty(), false);
    for (const quarantine::Table* table : quarantine::Tables) {
        EXPECT_TRUE(Exists(Store(*table))) << table->file;
    }
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Clean, AThreatOfEveryKindOfLocationGoesInTheStatedOrder) {
    const std::vector<std::string> paths = DetectEveryKind(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    ExpectGolden("EveryKindEvents", heard);
    ExpectGolden("EveryKindLog", Log());
    for (const std::string& path : paths) {
        EXPECT_FALSE(Exists(path)) << path;
    }
    EXPECT_FALSE(KeyExists(HiveLocalMachine, "Software\\Evil"));
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Other", "Name"), "absent");
    std::vector<std::string> lines;
    for (const auto& row : Rows(quarantine::Files, {"ThreatTypeFile", "OriginalFilePath", "ActionRegisterFile"})) {
        lines.push_back(row[0] + " " + row[1] + " " + row[2]);
    }
    ExpectGolden("EveryKindFiles", lines);
}

TEST_F(Clean, AForcedDestructionIsNoQuarantineForTheHistory) {
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(true), errNone);
    EXPECT_THAT(heard, Not(Contains(HasSubstr("Finalizing Quarantine..."))));
    EXPECT_EQ(heard.back(), "finish Evil");
    EXPECT_EQ(history::Opened(history::Quarantined).RecordCount(), 0);
    EXPECT_EQ(Detected(Threat).DetectedThreatAction, DetectedThreatActionNone);
    EXPECT_THAT(id, SizeIs(30));
}

TEST_F(Clean, AThreatThatMayNotBeQuarantinedIsDestroyed) {
    tables.threats[0].canQuarantine = false;
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_THAT(heard, Not(Contains(HasSubstr("Finalizing Quarantine..."))));
    EXPECT_EQ(history::Opened(history::Quarantined).RecordCount(), 0);
    EXPECT_FALSE(Exists(exe));
    EXPECT_THAT(Rows(quarantine::Files, {"OriginalFilePath"}), ElementsAre(ElementsAre(exe)))
        << "files are moved all the same";
}

TEST_F(Clean, AQuarantineIsHandedToTheHistory) {
    (void)Detected(Threat);
    Begin();
    ScanHistory().Add(scan);
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(Detected(Threat).DetectedThreatAction, DetectedThreatActionQuarantined);
    Recordset& quarantined = history::Opened(history::Quarantined);
    quarantined.SetFilter("");
    ASSERT_EQ(quarantined.RecordCount(), 1);
    EXPECT_EQ(ToText(quarantined.Get("ScanID")), ScanID);
    EXPECT_EQ(ToLong(quarantined.Get("QThreatID")), Threat);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Clean, TheHistoryOfDetectionsNotesWhatWasDone) {
    (void)Detected(Threat);
    Begin();
    ScanHistory().Add(scan);
    Recordset& detections = history::Opened(history::Detected);
    const auto action = [&] {
        detections.SetFilter("DThreatID=7");
        return detections.Eof() ? -1 : ToLong(detections.Get("Action"));
    };
    ASSERT_EQ(action(), 0);
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(action(), 1);
    EXPECT_EQ(Quarantine(true), errNone);
    EXPECT_EQ(action(), 2);
}

TEST_F(Clean, AnUnknownThreatGetsARowAndNoFinish) {
    Begin();
    EXPECT_EQ(Quarantine(false, 99), errCouldNotLocateThreat);
    EXPECT_THAT(heard, ElementsAre("start "));
    EXPECT_EQ(Log().back(), "Clean Threat  (ID:99)");
    EXPECT_EQ(id, "");
    Recordset saved;
    saved.Open(Store(quarantine::Threats));
    ASSERT_EQ(saved.RecordCount(), 1);
    EXPECT_EQ(ToLong(saved.Get("ThreatID")), 99);
    for (const char* column : {"ThreatName", "ThreatAuthor", "Category"}) {
        EXPECT_EQ(ToText(saved.Get(column)), "") << column;
    }
    EXPECT_TRUE(Exists(ToText(saved.Get("QuarantinePath"))));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Clean, AThreatOfWhichNothingIsKnownEndsTheCleanWithoutASave) {
    Begin();
    EXPECT_EQ(Quarantine(), errCannotQuarantineThreat);
    EXPECT_THAT(heard, ElementsAre("start Evil"));
    EXPECT_EQ(Log().back(), "Could not generated Detected Threat Locations, clean terminating");
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].description, ":Could not generated oDetectedThreat locations, ThreatID=7");
    EXPECT_EQ(Reported()[0].module, "Cleaner");
    EXPECT_EQ(Reported()[0].procedure, "QuarantineThreat");
    EXPECT_FALSE(Exists(Store(quarantine::Threats)));
    EXPECT_EQ(id, "");
}

TEST_F(Clean, ARowThatWasLeftOpenIsCommittedByTheNext) {
    (void)Detected(Threat);
    tables.threats.push_back({.id = 8, .name = "Nowhere"});
    Begin();
    EXPECT_EQ(Quarantine(false, 8), errCannotQuarantineThreat);
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_THAT(Rows(quarantine::Threats, {"ThreatID"}), ElementsAre(ElementsAre("8"), ElementsAre("7")));
}

TEST_F(Clean, ASecondCleanOfAThreatStandsBesideTheFirst) {
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(Quarantine(), errNone);
    const std::string first = id;
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_THAT(Rows(quarantine::Threats, {"QThreatID"}), ElementsAre(ElementsAre(first), ElementsAre(id)));
    EXPECT_EQ(kel::Quarantine().GetQuarantineThreatIDFromThreatID(Threat), first);
}

TEST_F(Clean, WithoutAScanIdentifierTheRecordIsSavedAndTheHistoryIsNot) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    Begin("");
    EXPECT_EQ(Quarantine(), errNone);
    EXPECT_EQ(heard.back(), "finish Evil");
    EXPECT_FALSE(Exists(exe));
    EXPECT_TRUE(Exists(Store(quarantine::Files)));
    EXPECT_EQ(history::Opened(history::Quarantined).RecordCount(), 0);
    ASSERT_THAT(Reported(), SizeIs(1)) << "the history can't be asked for a scan by a threat";
    EXPECT_EQ(Reported()[0].procedure, "GetScanIDByThreatID");
}

TEST_F(Clean, ARootWithAndWithoutABackslashIsTheSameFolder) {
    (void)Detected(Threat);
    MakeFolder(Folder() + "elsewhere");
    Begin();
    for (const std::string& root : {Folder() + "elsewhere", Folder() + "elsewhere\\"}) {
        cleaner->SetQuarantineRootPath(root);
        EXPECT_EQ(cleaner->QuarantineRootPath(), root);
        EXPECT_EQ(Quarantine(), errNone);
    }
    for (const auto& row : Rows(quarantine::Threats, {"QuarantinePath"})) {
        EXPECT_TRUE(row[0].starts_with(Folder() + "elsewhere\\Quarantine\\")) << row[0];
        EXPECT_TRUE(row[0].ends_with("\\")) << row[0];
        EXPECT_TRUE(Exists(row[0]));
    }
    EXPECT_THAT(Rows(quarantine::Threats, {"QuarantinePath"}), SizeIs(2));
    cleaner->SetQuarantineRootPath("");
}

TEST_F(Clean, ACleanerMakesTheFolderOfTheQuarantine) {
    EXPECT_FALSE(Exists(UserFolder() + "Quarantine"));
    const Cleaner made;
    EXPECT_TRUE(Exists(UserFolder() + "Quarantine"));
    EXPECT_EQ(made.CleanerState(), CleanerStateNotReady);
    EXPECT_FALSE(made.IsRebootRequired());
    EXPECT_FALSE(made.EnableLog());
    EXPECT_EQ(made.QuarantineRootPath(), "");
}

TEST_F(Clean, InitializingTwiceKeepsWhatIsLeftForTheNextStart) {
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(cleaner->CleanerState(), CleanerStateReady);
    CleanerPeer::LeaveToNextStart(*cleaner, Threat, "a reason", AddThing("stays.exe"));
    ASSERT_TRUE(cleaner->IsRebootRequired());
    const auto callback = cleaner->Callback;
    InitializeClean();
    EXPECT_TRUE(cleaner->IsRebootRequired());
    EXPECT_EQ(cleaner->CleanerState(), CleanerStateReady);
    EXPECT_NE(cleaner->Callback, callback);
}

TEST_F(Clean, DetectionsStayWhenNoneAreHandedOver) {
    (void)Detected(Threat);
    Begin();
    EXPECT_EQ(cleaner->DetectedThreats(), scan->DetectedThreats());
    cleaner->InitializeClean("other");
    EXPECT_EQ(cleaner->DetectedThreats(), scan->DetectedThreats());
    cleaner->InitializeClean("other", std::make_shared<Cleaner::DetectedThreatCollection>());
    EXPECT_EQ(cleaner->DetectedThreats(), scan->DetectedThreats());
    cleaner->UninitializeClean();
    EXPECT_EQ(cleaner->DetectedThreats()->Count(), 0U);
}

TEST_F(Clean, TheLogBeginsAndEndsWithALine) {
    Begin();
    cleaner->UninitializeClean();
    const std::string line(66, '-');
    EXPECT_THAT(Log(), ElementsAre(line, "Initializing Clean - (ScanID: " + std::string(ScanID) + ")",
                                   "Unititializing Clean", line));
}

TEST_F(Clean, WithoutTheOptionThereIsNoLog) {
    (void)Detected(Threat);
    tables.WriteTo(AppFolder());
    Begin();
    ASSERT_TRUE(Exists(UserFolder() + "logs\\cleaner.log"));
    platform::Current().files->Remove(UserFolder() + "logs\\cleaner.log");
    cleaner->SetEnableLog(false);
    EXPECT_EQ(Quarantine(), errNone);
    cleaner->UninitializeClean();
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(Clean, AFailureBeforeTheEndLeavesTheRecordInMemory) {
    (void)Detected(Threat);
    Begin();
    cleaner->Callback.reset();
    EXPECT_EQ(Quarantine(), errNone);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Cleaner");
    EXPECT_EQ(Reported()[0].procedure, "QuarantineThreat");
    EXPECT_EQ(Reported()[0].number, "91");
    EXPECT_FALSE(Exists(Store(quarantine::Threats)));
}

TEST_F(Clean, ManagerHandsOutOneCleaner) {
    Manager manager;
    const auto first = manager.Cleaner();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(manager.Cleaner(), first);
    Manager other;
    EXPECT_NE(other.Cleaner(), first);
    EXPECT_EQ(first->HasAdminPermission(), manager.HasAdminPermission());
}

TEST_F(Clean, AnEventNobodyRaisesCanBeRaised) {
    Begin();
    cleaner->Callback->EventRequiresKillProcess("Evil", "C:\\a.exe");
    EXPECT_THAT(heard, ElementsAre("kill Evil: C:\\a.exe"));
}

// DestroyThreat.

TEST_F(Clean, DestroyingEmptiesTheQuarantineAndTellsTheHistory) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    Begin();
    EXPECT_EQ(cleaner->DestroyThreat(Threat), errNone);
    EXPECT_FALSE(Exists(exe));
    for (const quarantine::Table* table : quarantine::Tables) {
        EXPECT_EQ(quarantine::Opened(*table).RecordCount(), 0) << table->file;
    }
    EXPECT_EQ(Detected(Threat).DetectedThreatAction, DetectedThreatActionDeleted);
    Recordset& deleted = history::Opened(history::Deleted);
    deleted.SetFilter("");
    ASSERT_EQ(deleted.RecordCount(), 1);
    EXPECT_EQ(ToLong(deleted.Get("DThreatID")), Threat);
    ExpectGolden("DestroyLog", Log());
    EXPECT_FALSE(cleaner->IsRebootRequired());
}

TEST_F(Clean, DestroyingIsPutOffWhileAPartIsOnTheDisk) {
    (void)Detected(Threat);
    Begin();
    CleanerPeer::LeaveToNextStart(*cleaner, Threat, "a reason", Things() + "stays.exe");
    EXPECT_EQ(cleaner->DestroyThreat(Threat), errNone);
    constexpr const char* Product = "SOFTWARE\\Kelvane Software\\Ombrelane\\CleanerExe\\Destroy";
    EXPECT_EQ(Data(HiveCurrentUser, Product, "7"), ScanID);
    EXPECT_EQ(Data(HiveCurrentUser, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce", "OmbrelaneCleaner"),
              State().App.Path + "\\kelASCleaner.exe");
    EXPECT_TRUE(cleaner->IsRebootRequired());
    EXPECT_EQ(quarantine::Opened(quarantine::Threats).RecordCount(), 1);
    EXPECT_EQ(Detected(Threat).DetectedThreatAction, DetectedThreatActionNone);
    EXPECT_EQ(Log().back(), "Clean Threat Evil (ID:7) Complete");
}

TEST_F(Clean, DestroyingTellsNobodyThatNothingIsKnown) {
    Begin();
    EXPECT_EQ(cleaner->DestroyThreat(Threat), errNone);
    EXPECT_EQ(cleaner->DestroyThreat(99), errNone);
    EXPECT_THAT(Log(), Contains("Remove Threat (ID:7)"));
    EXPECT_THAT(Log(), Not(Contains(HasSubstr("Complete"))));
}

// The scan for a single threat.

TEST_F(Clean, TheScanForASingleThreatRemovesItForGood) {
    const std::string exe = AddThing("program.exe");
    tables.paths = {{Threat, exe}};
    tables.regKeys = {{Threat, "HKEY_CURRENT_USER", "Software\\Evil", "Name"}};
    Stage().AddText(HiveCurrentUser, "Software\\Evil", "Name", "Data");
    Begin();
    cleaner->SetEnableLog(false);
    Manager manager;
    EXPECT_TRUE(manager.Scanner()->ScanThreat(Threat, false));
    EXPECT_TRUE(Exists(exe));
    EXPECT_FALSE(cleaner->EnableLog());
    EXPECT_TRUE(manager.Scanner()->ScanThreat(Threat, true));
    EXPECT_FALSE(Exists(exe));
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Evil", "Name"), "absent");
    EXPECT_TRUE(cleaner->EnableLog());
    EXPECT_EQ(Log().back(), "Remove Threat (ID:7) Complete");
    EXPECT_EQ(quarantine::Opened(quarantine::Threats).RecordCount(), 0);
    EXPECT_EQ(CurrentScan(), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
}

// The start of the program, as far as it makes scanners clean.
class StartedProgram : public Application {
public:
    explicit StartedProgram(bool second) : second_(second) {}
    bool PrevInstance() override { return second_; }
    void SetTaskVisible(bool /*visible*/) override {}
    void Load(std::unique_ptr<frmHolder> /*form*/) override {}

private:
    bool second_;
};

TEST_F(Clean, AScannerThatAClientMadeWithoutAManagerCleansToo) {
    for (const bool second : {false, true}) {
        const std::string exe = AddThing("program.exe");
        tables.paths = {{Threat, exe}};
        Begin();
        StartedProgram program(second);
        modMain::Main(program);
        Scanner scanner;
        EXPECT_TRUE(scanner.ScanThreat(Threat, true));
        EXPECT_FALSE(Exists(exe)) << second;
    }
}

// Restore points.

TEST_F(Clean, ARestorePointIsNamedByTheTimeAlone) {
    Begin();
    EXPECT_EQ(cleaner->SetWindowsXPRestorePoint("x"), errNone);
    ASSERT_THAT(services.points, SizeIs(1));
    EXPECT_THAT(services.points[0],
                AllOf(::testing::StartsWith("Ombrelane - "), ::testing::EndsWith("|0|100"), Not(HasSubstr("x|"))));
    EXPECT_GT(services.points[0].size(), std::string("Ombrelane - |0|100").size());
}

TEST_F(Clean, ARestorePointNeedsXp) {
    Begin();
    SetVersion(WindowsMe);
    EXPECT_EQ(cleaner->SetWindowsXPRestorePoint(), errXPRestoreCannotSetRestorePointNotXP);
    EXPECT_THAT(services.points, IsEmpty());
}

TEST_F(Clean, ARefusedRestorePointIsItsOwnError) {
    Begin();
    services.answer = 5;
    EXPECT_EQ(cleaner->SetWindowsXPRestorePoint(), errXPRestoreCannotSetRestorePointFailed);
    EXPECT_THAT(Reported(), IsEmpty());
    services.answer = platform::SysError::ServiceDoesNotExist;
    EXPECT_EQ(cleaner->SetWindowsXPRestorePoint(), errXPRestoreCannotSetRestorePointFailed);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].procedure, "SetWindowsXPRestorePoint");
}

TEST_F(Clean, AMachineWithoutTheServiceRefusesARestorePoint) {
    Begin();
    platform::Platform machine = Staged();
    machine.restorePoints = Machine().restorePoints;
    Install(machine);
    EXPECT_EQ(cleaner->SetWindowsXPRestorePoint(), errXPRestoreCannotSetRestorePointFailed);
    Install(Staged());
}

}  // namespace
}  // namespace kel::test
