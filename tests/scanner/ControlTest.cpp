#include <gmock/gmock.h>

#include "CountingLoop.h"
#include "ScannerPeer.h"
#include "core/Recordset.h"
#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingSystem.h"
#include "support/ScanTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

class Control : public ScanTest {
protected:
    std::string ThreatFile() const { return AppFolder() + "kelThreatData.sdb"; }

    /// The machine, with a list of processes that can't be had: its stage is over at once, wherever the test runs.
    platform::Platform WithoutProcesses() {
        faults_.FailProcessLists(platform::SysError::AccessDenied);
        return faults_.View();
    }

private:
    decorators::FaultInjectingPlatform faults_{Machine()};
};

TEST_F(Control, ANewScannerHasNothingSet) {
    EXPECT_FALSE(scanner.DoScanProcesses || scanner.DoScanRegistry || scanner.DoScanCookies || scanner.DoDriveScan ||
                 scanner.DoMostCommon || scanner.DoScanZips || scanner.DoSkipCommonFiles ||
                 scanner.OptScanProcessesDeep || scanner.OptRecursiveFileScan || scanner.OptIncludeFolders ||
                 scanner.IsScheduledScan);
    EXPECT_EQ(scanner.OptScanDepth, 0);
    EXPECT_EQ(scanner.ScannerState(), ScannerStateNotReady);
    EXPECT_EQ(scanner.Scan(), nullptr);
    EXPECT_EQ(scanner.OptMaxMD5Len(), 0);
    EXPECT_EQ(scanner.OptMaxOptionLevel(), 0);
}

TEST_F(Control, InitializingMakesAScanThatIsReadyToRun) {
    tables.threats = {{1, "One"}};
    Begin();
    EXPECT_TRUE(State().DataInitialized);
    EXPECT_EQ(scanner.ScannerState(), ScannerStateReady);
    EXPECT_EQ(scanner.LastError(), "");
    EXPECT_EQ(scanner.LastErrorCode(), 0);
    EXPECT_EQ(scanner.Scan(), CurrentScan());
    EXPECT_NEAR(scanner.Scan()->StartDate.days, platform::Current().clock->Now().days, 0.1);
    EXPECT_NE(scanner.Scan()->Callback, nullptr);
    EXPECT_NE(scanner.Scan()->FolderPaths, nullptr);
    EXPECT_EQ(ThreatsToClean(), nullptr);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Control, EachInitializingMakesAnotherScan) {
    Begin();
    const auto first = scanner.Scan();
    Begin();
    EXPECT_NE(scanner.Scan(), first);
    EXPECT_NE(scanner.Scan()->ScanID, first->ScanID);
}

TEST_F(Control, WithoutThreatDataInitializingAnswersTrueAndMakesNoScan) {
    EXPECT_TRUE(scanner.InitializeScan());
    EXPECT_EQ(scanner.Scan(), nullptr);
    EXPECT_FALSE(State().DataInitialized);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Scanner");
    EXPECT_EQ(Reported()[0].procedure, "InitializeScan");
    EXPECT_EQ(Reported()[0].number, "53");
}

TEST_F(Control, ThreatDataOfAnotherSizeAreLoadedAtTheNextScan) {
    tables.threats = {{1, "One"}};
    Begin();
    EXPECT_EQ(State().ThreatCatalog->Count(), 2U);
    const auto before = State().ThreatCatalog;
    ASSERT_TRUE(scanner.InitializeScan());
    EXPECT_EQ(State().ThreatCatalog, before) << "same size: no load";
    tables.threats.push_back({2, "Two"});
    Begin();
    EXPECT_EQ(State().ThreatCatalog->Count(), 3U);
}

TEST_F(Control, ThreatDataThatGrowByOneByteAreLoadedAgain) {
    Begin();
    const auto before = State().ThreatCatalog;
    WriteFile(ThreatFile(), ReadFile(ThreatFile()) + "x");
    scanner.InitializeScan();
    EXPECT_NE(State().ThreatCatalog, before);
}

TEST_F(Control, AMissingHashTableLeavesThoseBehindItEmptyAndTheDataCountAsLoaded) {
    tables.cookies = {{1, "tracker.example"}};
    tables.paths = {{1, "c:\\x"}};
    tables.folders = {{1, "c:\\x\\"}};
    tables.withMd5Table = false;
    Begin();
    EXPECT_TRUE(State().DataInitialized);
    EXPECT_EQ(scanner.CookieThreatExists("tracker.example"), 1);
    EXPECT_EQ(scanner.FilePathThreatExists("c:\\x"), 0);
    EXPECT_EQ(scanner.FolderThreatExists("c:\\x\\"), 0);
    EXPECT_NE(scanner.Scan(), nullptr);
}

TEST_F(Control, TheHashLimitOfAFrontEndMustComeBehindInitializing) {
    scanner.SetOptMaxMD5Len(77);
    Begin();
    EXPECT_EQ(scanner.OptMaxMD5Len(), 2500000);
    scanner.SetOptMaxMD5Len(88);
    scanner.RunScanEasy();
    EXPECT_EQ(scanner.OptMaxMD5Len(), 88);
    scanner.SetOptMaxMD5Len(0);
    scanner.RunScanEasy();
    EXPECT_EQ(scanner.OptMaxMD5Len(), 2500000);
}

TEST_F(Control, PathsAddedBeforeInitializingStayAndResettingLosesThem) {
    scanner.AddScanDriveAndPath("C:\\a");
    Begin();
    EXPECT_EQ(scanner.ScanDriveAndPathCount(), 1);
    EXPECT_EQ(scanner.GetScanDriveAndPath(1), "C:\\a");
    EXPECT_TRUE(scanner.ResetScan());
    EXPECT_EQ(scanner.ScanDriveAndPathCount(), 0);
}

TEST_F(Control, PathsAreCountedFromOne) {
    EXPECT_EQ(scanner.ScanDriveAndPathCount(), 0);
    scanner.AddScanDriveAndPath("not even a path");
    scanner.AddScanDriveAndPath("");
    EXPECT_EQ(scanner.ScanDriveAndPathCount(), 2);
    EXPECT_EQ(scanner.GetScanDriveAndPath(0), "");
    EXPECT_EQ(scanner.GetScanDriveAndPath(-1), "");
    EXPECT_EQ(scanner.GetScanDriveAndPath(1), "not even a path");
    EXPECT_EQ(scanner.GetScanDriveAndPath(3), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Control, MorePathsThanTheCountHoldsAreReportedAndWalkedAllTheSame) {
    Begin();
    MakeFolder(Folder() + "first");
    WriteFile(Folder() + "first\\1.txt", "x");
    scanner.AddScanDriveAndPath(Folder() + "first");
    for (int i = 1; i < 32767; ++i) {
        scanner.AddScanDriveAndPath("");
    }
    EXPECT_EQ(scanner.ScanDriveAndPathCount(), 32767);
    EXPECT_THAT(Reported(), IsEmpty());
    scanner.AddScanDriveAndPath("");
    EXPECT_EQ(scanner.ScanDriveAndPathCount(), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].procedure, "ScanDriveAndPathCount");
    EXPECT_EQ(Reported()[0].number, "6");
    EXPECT_EQ(scanner.GetScanDriveAndPath(1), Folder() + "first");
    abortAtPoll = 1;
    EXPECT_TRUE(scanner.ScanDriveOrFolder());
    EXPECT_THAT(StartedLocations(), ElementsAre(Folder() + "first\\1.txt"));
}

TEST_F(Control, AScanWithNothingToDoCompletesAtOnce) {
    Begin();
    scanner.SetoptWriteHistory(true);
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
    EXPECT_GT(scanner.Scan()->EndDate.days, 0);
    EXPECT_FALSE(scanner.Scan()->IsScheduledScan);
    EXPECT_EQ(ThreatsToClean(), scanner.Scan()->DetectedThreats());
    EXPECT_FALSE(ScanInProgress());
    EXPECT_THAT(started, IsEmpty());
}

TEST_F(Control, AScheduledScanIsMarkedAtItsEnd) {
    Begin();
    scanner.IsScheduledScan = true;
    EXPECT_FALSE(scanner.Scan()->IsScheduledScan);
    scanner.SetScanComplete();
    EXPECT_TRUE(scanner.Scan()->IsScheduledScan);
}

TEST_F(Control, AnAbortInTheRunGivesFalseAndACompleteRecord) {
    Begin();
    WriteFile(Folder() + "1.txt", "x");
    WriteFile(Folder() + "2.txt", "x");
    scanner.AddScanDriveAndPath(Folder());
    scanner.DoDriveScan = true;
    ScannerEvents events;
    events.StartingLocation = [this](std::string_view, enScanType, std::int32_t) {
        EXPECT_TRUE(ScanInProgress());
        scanner.AbortScan("enough");
        EXPECT_EQ(scanner.ScannerState(), ScannerStateAbort);
    };
    scanner.Scan()->Callback->Subscribe(std::move(events));
    EXPECT_FALSE(scanner.RunScanEasy());
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
    EXPECT_EQ(scanner.Scan()->AbortReason, "enough");
    EXPECT_GT(scanner.Scan()->EndDate.days, 0);
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(aborted, ElementsAre("enough"));
}

TEST_F(Control, ACallThatComesInBehindAStageEndsTheRunThere) {
    Begin();
    WriteFile(Folder() + "1.txt", "x");
    scanner.AddScanDriveAndPath(Folder());
    scanner.DoScanProcesses = true;
    scanner.DoDriveScan = true;
    CountingLoop loop;
    loop.call = [this] { scanner.AbortScan("from outside"); };
    platform::Platform machine = WithoutProcesses();
    machine.loop = &loop;
    Install(machine);
    EXPECT_FALSE(scanner.RunScanEasy());
    Install(Machine());
    EXPECT_EQ(loop.turns, 1);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(aborted, ElementsAre("from outside"));
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
}

TEST_F(Control, ARunGivesItsDetectionsToTheCleaner) {
    tables.md5 = {{1, HashOf(Bytes(1000, 'a'))}};
    Begin();
    WriteFile(Folder() + "bad.bin", Bytes(1000, 'a'));
    scanner.AddScanDriveAndPath(Folder());
    scanner.DoDriveScan = true;
    scanner.OptScanDepth = scanmedium;
    EXPECT_TRUE(scanner.RunScanEasy());
    ASSERT_NE(ThreatsToClean(), nullptr);
    EXPECT_EQ(ThreatsToClean()->Count(), 1U);
    Begin();
    EXPECT_EQ(ThreatsToClean(), nullptr);
}

TEST_F(Control, ARunWithoutAScanIsReportedUnderItsOldName) {
    EXPECT_FALSE(scanner.RunScanEasy());
    ASSERT_FALSE(Reported().empty());
    EXPECT_EQ(Reported().back().module, "Scanner");
    EXPECT_EQ(Reported().back().procedure, "RunQuickScan");
}

TEST_F(Control, ResettingMakesTheSameScanReadyAgain) {
    Begin();
    const auto scan = scanner.Scan();
    scan->ScannedFileCount = scan->ScannedProcessCount = scan->ScannedCookieCount = scan->ScannedRegistryCount = 5;
    scan->DetectedFileCount = scan->DetectedProcessCount = scan->DetectedCookieCount = scan->DetectedRegistryCount = 5;
    scan->DetectedFolderCount = 5;
    scan->StartDate = Date{1};
    const auto folders = scan->FolderPaths;
    scanner.AbortScan("x");
    EXPECT_TRUE(scanner.ResetScan());
    EXPECT_EQ(scanner.Scan(), scan);
    EXPECT_EQ(scan->ScannedFileCount + scan->ScannedProcessCount + scan->ScannedCookieCount +
                  scan->ScannedRegistryCount + scan->DetectedFileCount + scan->DetectedProcessCount +
                  scan->DetectedCookieCount + scan->DetectedRegistryCount,
              0);
    EXPECT_EQ(scan->DetectedFolderCount, 5);
    EXPECT_GT(scan->StartDate.days, 1);
    EXPECT_NE(scan->FolderPaths, folders);
    EXPECT_FALSE(ScanAbortFlag());
    EXPECT_EQ(scanner.ScannerState(), ScannerStateReady);
    ASSERT_NE(ThreatsToClean(), nullptr);
    EXPECT_EQ(ThreatsToClean()->Count(), 0U);
}

TEST_F(Control, ResettingWithoutAScanIsNoFailure) {
    EXPECT_TRUE(scanner.ResetScan());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Control, TheMostCommonPlacesAnswerFalseAndLookForKnownFiles) {
    Begin();
    abortAtPoll = 14;
    EXPECT_FALSE(scanner.ScanMostCommon());
    ASSERT_THAT(started, SizeIs(14));
    EXPECT_EQ(started.front().location, "Scanning start up programs");
    EXPECT_EQ(started[12].location, "Scanning Winlogon Shell Programs");
    EXPECT_EQ(started.back().location, "Loading drive details...");
}

TEST_F(Control, AnAbortAmongTheTacticsEndsTheMostCommonPlaces) {
    Begin();
    abortAtPoll = 13;
    EXPECT_FALSE(scanner.ScanMostCommon());
    EXPECT_THAT(started, SizeIs(13));
}

TEST_F(Control, KnownFilesCanBeLeftOut) {
    Begin();
    scanner.SetSkipCommonFiles(true);
    EXPECT_TRUE(scanner.DoSkipCommonFiles);
    EXPECT_FALSE(scanner.ScanMostCommon());
    EXPECT_THAT(StartedLocations(), Not(Contains("Loading drive details...")));
    EXPECT_FALSE(started.empty());
    scanner.DoSkipCommonFiles = false;
    EXPECT_FALSE(scanner.SkipCommonFiles());
}

TEST_F(Control, TheQuickOrderLooksForKnownFilesAndCompletes) {
    Begin();
    Install(WithoutProcesses());
    abortAtPoll = 1;
    ScannerPeer::RunQuickScan(scanner);
    EXPECT_THAT(StartedLocations(), ElementsAre("Loading drive details..."));
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
}

TEST_F(Control, TheExhaustiveOrderListsEachFixedDriveFlat) {
    Begin();
    Install(WithoutProcesses());
    ScannerPeer::RunExhaustiveScan(scanner);
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
    EXPECT_FALSE(started.empty());
    for (const HeardStart& heard : started) {
        EXPECT_EQ(heard.location.find('\\'), std::string::npos) << heard.location;
    }
}

TEST_F(Control, AnAbortedExhaustiveOrderCompletesToo) {
    Begin();
    abortAtPoll = 1;
    ScannerPeer::RunExhaustiveScan(scanner);
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
}

class RememberingProcesses : public decorators::ForwardingProcesses {
public:
    using ForwardingProcesses::ForwardingProcesses;
    std::vector<std::int64_t> calls;
    platform::SysError SetPriorityClass(std::uint32_t priorityClass) override {
        calls.push_back(priorityClass);
        return platform::SysError::InvalidParameter;
    }
    platform::SysError SetThreadPriority(std::int32_t priority) override {
        calls.push_back(priority);
        return platform::SysError::InvalidParameter;
    }
};

TEST_F(Control, APriorityGoesToProcessAndThreadAsItIs) {
    platform::Platform machine = Machine();
    RememberingProcesses processes(*machine.processes);
    machine.processes = &processes;
    Install(machine);
    scanner.SetScannerPriority(-2);
    EXPECT_THAT(processes.calls, ElementsAre(0xfffffffe, -2));
    EXPECT_EQ(scanner.ScannerPriority(), -2);
    EXPECT_THAT(Reported(), IsEmpty());
    Install(Machine());
}

TEST_F(Control, TwoScannersShareTheScanAndTheLimits) {
    Scanner other;
    Begin();
    EXPECT_EQ(other.Scan(), scanner.Scan());
    other.SetOptMaxOptionLevel(3);
    other.SetSuspendActive(true);
    other.SetScanAllUsers(true);
    other.SetoptWriteHistory(true);
    EXPECT_EQ(scanner.OptMaxOptionLevel(), 3);
    EXPECT_TRUE(scanner.SuspendActive() && scanner.ScanAllUsers() && scanner.optWriteHistory());
    EXPECT_EQ(other.ScannerState(), ScannerStateNotReady);
}

TEST_F(Control, TheScannersVersionGivesNothing) {
    const std::int32_t major = 5;
    scanner.GetScannerVersion(major, 6, 7);
    EXPECT_EQ(major, 5);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Control, TheVersionOfTheSignaturesIsANumber) {
    Begin();
    EXPECT_EQ(scanner.ScanDBVersion(), 105);
    State().ThreatDataVersion = "beta";
    EXPECT_EQ(scanner.ScanDBVersion(), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].procedure, "ScanDBVersion");
    EXPECT_EQ(Reported()[0].number, "13");
}

TEST_F(Control, AbortingWithoutAScanStillSetsTheFlag) {
    scanner.AbortScan("x");
    EXPECT_TRUE(ScanAbortFlag());
    EXPECT_EQ(scanner.ScannerState(), ScannerStateAbort);
    EXPECT_THAT(Reported(), SizeIs(1));
}

}  // namespace
}  // namespace kel::test
