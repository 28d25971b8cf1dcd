#include <gmock/gmock.h>

#include "catalogue/SignatureTable.h"
#include "catalogue/ThreatLite.h"
#include "catalogue/modMain.h"
#include "decorators/ForwardingFiles.h"
#include "results/modDataManager.h"
#include "support/ScanTest.h"
#include "system/clsFolderPaths.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ScanRecord : public ScanTest {
protected:
    ScanRecord() {
        tables.threats = {{7, "Seven"}, {8, "Eight"}};
        tables.cookies = {{7, "tracker.example", 3}};
        tables.md5 = {{7, "00112233445566778899aabbccddeeff", 4}};
        tables.WriteTo(AppFolder());
        modMain::InitializeThreatData();
        modMain::InitializeScanData();
        scan = BareScan();
    }

    std::string File(const std::string& name) {
        const std::string path = Folder() + name;
        WriteFile(path, "x");
        return path;
    }
    DetectedThreat& Threat(std::int32_t id) { return *scan->DetectedThreats()->Item("ThreatID:" + std::to_string(id)); }
    void Ignore(std::int32_t id) {
        State().IgnoredThreatIDs = std::make_shared<Collection<std::int32_t>>();
        State().IgnoredThreatIDs->Add(id, std::to_string(id));
    }

    std::shared_ptr<Scan> scan;
};

TEST_F(ScanRecord, IdentityIsThirtyCharactersOfAGuid) {
    ASSERT_EQ(scan->ScanID.size(), 30U);
    for (std::size_t at = 0; at < scan->ScanID.size(); ++at) {
        const bool hyphen = at == 8 || at == 13 || at == 18 || at == 23;
        const std::string allowed = hyphen ? "-" : "0123456789ABCDEF";
        EXPECT_NE(allowed.find(scan->ScanID[at]), std::string::npos) << scan->ScanID << " at " << at;
    }
    EXPECT_NE(scan->ScanID, Scan().ScanID);
}

TEST_F(ScanRecord, CountersOfLocationsStartAtOneForEachType) {
    for (const enScanType type : {ScanTypeProcesses, ScanTypeFiles, ScanTypeRegistry, ScanTypeCookies}) {
        scan->EventStartingLocation("a", type);
        scan->EventStartingLocation("b", type);
    }
    EXPECT_THAT(started, ElementsAre(HeardStart{"a", ScanTypeProcesses, 1}, HeardStart{"b", ScanTypeProcesses, 2},
                                     HeardStart{"a", ScanTypeFiles, 1}, HeardStart{"b", ScanTypeFiles, 2},
                                     HeardStart{"a", ScanTypeRegistry, 1}, HeardStart{"b", ScanTypeRegistry, 2},
                                     HeardStart{"a", ScanTypeCookies, 1}, HeardStart{"b", ScanTypeCookies, 2}));
    EXPECT_EQ(scan->ScannedProcessCount, 2);
    EXPECT_EQ(scan->ScannedFileCount, 2);
    EXPECT_EQ(scan->ScannedRegistryCount, 2);
    EXPECT_EQ(scan->ScannedCookieCount, 2);
    EXPECT_EQ(polls, 8);
}

TEST_F(ScanRecord, AFolderLocationCountsNothingButAsksWhetherToStop) {
    scan->EventStartingLocation("folder", ScanTypeFolder);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_EQ(scan->ScannedFileCount, 0);
    EXPECT_EQ(polls, 1);
}

TEST_F(ScanRecord, TheFrontEndsAnswerSetsTheAbortFlag) {
    abortAtPoll = 2;
    scan->EventStartingLocation("a", ScanTypeFiles);
    EXPECT_FALSE(ScanAbortFlag());
    scan->EventStartingLocation("b", ScanTypeFiles);
    EXPECT_TRUE(ScanAbortFlag());
    EXPECT_THAT(aborted, IsEmpty());
}

TEST_F(ScanRecord, StartingALocationWithoutACallbackFailsAfterTheCount) {
    scan->Callback.reset();
    scan->EventStartingLocation("a", ScanTypeFiles);
    EXPECT_EQ(scan->ScannedFileCount, 1);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].number, "91");
    EXPECT_EQ(Reported()[0].module, "Scan");
    EXPECT_EQ(Reported()[0].procedure, "EventStartingLocation");
    EXPECT_THAT(Reported()[0].description, ::testing::StartsWith("ln "));
}

TEST_F(ScanRecord, ASubscribersFailureIsReportedAndEndsOnlyThatEvent) {
    ScannerEvents events;
    events.StartingLocation = [](std::string_view, enScanType, std::int32_t) { throw std::runtime_error("gone"); };
    scan->Callback->Subscribe(std::move(events));
    scan->EventStartingLocation("a", ScanTypeFiles);
    EXPECT_EQ(started.size(), 1U);
    EXPECT_EQ(Reported().size(), 1U);
}

TEST_F(ScanRecord, ASubscriberMayLeaveAndAnotherMayJoinDuringAnEvent) {
    std::vector<std::string> heard;
    std::int32_t leaving = 0;
    ScannerEvents late;
    late.ScanAborted = [&](std::string_view) { heard.push_back("late"); };
    ScannerEvents early;
    early.ScanAborted = [&](std::string_view) {
        heard.push_back("early");
        scan->Callback->Unsubscribe(leaving);
        scan->Callback->Subscribe(late);
    };
    leaving = scan->Callback->Subscribe(std::move(early));
    scan->EventScanAborted("first");
    scan->EventScanAborted("second");
    EXPECT_THAT(heard, ElementsAre("early", "late", "late"));
    EXPECT_THAT(aborted, ElementsAre("first", "second"));
}

TEST_F(ScanRecord, DetectionsCountByTypeAndFoldersCountAsFiles) {
    scan->EventThreatDetected("p", ScanTypeProcesses, 7);
    scan->EventThreatDetected("f", ScanTypeFiles, 7);
    scan->EventThreatDetected("d", ScanTypeFolder, 8);
    scan->EventThreatDetected("r", ScanTypeRegistry, 7);
    scan->EventThreatDetected("c", ScanTypeCookies, 7);
    EXPECT_THAT(found, ElementsAre(HeardThreat{"p", ScanTypeProcesses, 7, 1}, HeardThreat{"f", ScanTypeFiles, 7, 1},
                                   HeardThreat{"d", ScanTypeFolder, 8, 2}, HeardThreat{"r", ScanTypeRegistry, 7, 1},
                                   HeardThreat{"c", ScanTypeCookies, 7, 1}));
    EXPECT_EQ(scan->DetectedFileCount, 2);
    EXPECT_EQ(scan->DetectedFolderCount, 0);
}

TEST_F(ScanRecord, ADetectionOfNoKnownTypeDoesNothing) {
    scan->EventThreatDetected("x", static_cast<enScanType>(6), 7);
    scan->EventThreatDetected("x", static_cast<enScanType>(0), 7);
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanRecord, ADetectionCountsWithoutACallback) {
    scan->Callback.reset();
    scan->EventThreatDetected("f", ScanTypeFiles, 7);
    EXPECT_EQ(scan->DetectedFileCount, 1);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanRecord, AnAbortWithoutAReasonGetsTheUsualOne) {
    scan->EventScanAborted("");
    EXPECT_EQ(scan->AbortReason, "User aborted spyware scan");
    EXPECT_TRUE(ScanAbortFlag());
    EXPECT_THAT(aborted, ElementsAre(""));
}

TEST_F(ScanRecord, AnAbortKeepsItsReasonAndNeedsNoCallback) {
    scan->Callback.reset();
    scan->EventScanAborted("no more power");
    EXPECT_EQ(scan->AbortReason, "no more power");
    EXPECT_TRUE(ScanAbortFlag());
}

TEST_F(ScanRecord, AnIgnoredThreatIsRefusedByEveryAdd) {
    Ignore(7);
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", File("a.exe"));
    scan->AddDetectedThreatFolder(ScanTypeFolder, 7, Folder());
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveCurrentUser, "software\\x");
    scan->AddDetectedThreatCookie(ScanTypeCookies, 7, "tracker.example", "c.txt");
    scan->AddDetectedThreatCustom(ScanTypeFiles, 7, std::make_shared<ThreatLocationCustom>());
    scan->AddDetectedThreatFile(ScanTypeProcesses, 7, "", File("b.exe"));
    EXPECT_EQ(scan->DetectedThreatCount(), 0);
    for (const std::int32_t count : {scan->ScannedProcessCount, scan->ScannedCookieCount, scan->ScannedFileCount,
                                     scan->ScannedRegistryCount, scan->DetectedProcessCount, scan->DetectedCookieCount,
                                     scan->DetectedFileCount, scan->DetectedRegistryCount, scan->DetectedFolderCount}) {
        EXPECT_EQ(count, 0);
    }
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanRecord, AFileBecomesADetectionWithAllThatIsKnownOfIt) {
    const std::string path = File("a.exe");
    LastOptionalScan() = 2;
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "00112233445566778899AABBCCDDEEFF", path);
    ASSERT_EQ(scan->DetectedThreatCount(), 1);
    const DetectedThreat& threat = Threat(7);
    EXPECT_EQ(threat.ThreatID, 7);
    EXPECT_EQ(threat.ScanID, scan->ScanID);
    EXPECT_EQ(threat.ScanType, ScanTypeFiles);
    EXPECT_EQ(threat.OptionLevel, 2);
    EXPECT_EQ(threat.DetectedThreatAction, DetectedThreatActionNone);
    EXPECT_EQ(threat.Threat->ThreatName, "Seven");
    ASSERT_EQ(threat.ThreatLocationFiles->Count(), 1U);
    const ThreatLocationFile& location = *threat.ThreatLocationFiles->Item(1);
    EXPECT_EQ(location.MD5, "00112233445566778899AABBCCDDEEFF");
    EXPECT_EQ(location.DetectedFilePath(), path);
    EXPECT_EQ(location.OptionLevel, 4);
    EXPECT_EQ(location.FileName, "");
    EXPECT_EQ(location.ThreatFileType, ThreatFileTypeGeneral);
    EXPECT_EQ(threat.ThreatLocationFolders->Count(), 0U);
    EXPECT_THAT(found, ElementsAre(HeardThreat{path, ScanTypeFiles, 7, 1}));
}

TEST_F(ScanRecord, AThreatKeepsTheScanTypeAndLevelOfItsFirstFinding) {
    LastOptionalScan() = 1;
    scan->AddDetectedThreatFile(ScanTypeProcesses, 7, "", File("a.exe"));
    LastOptionalScan() = 5;
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", File("b.exe"));
    EXPECT_EQ(Threat(7).ScanType, ScanTypeProcesses);
    EXPECT_EQ(Threat(7).OptionLevel, 1);
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Count(), 2U);
    EXPECT_EQ(found.back().type, ScanTypeFiles);
}

TEST_F(ScanRecord, APathThatIsNotThereIsDroppedInSilence) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", Folder() + "gone.exe");
    EXPECT_EQ(scan->DetectedThreatCount(), 0);
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanRecord, AFolderGivenAsAFileStaysAFileLocation) {
    MakeFolder(Folder() + "sub");
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", Folder() + "sub");
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Count(), 1U);
    EXPECT_EQ(Threat(7).ThreatLocationFolders->Count(), 0U);
}

// A machine whose test for existence does not see folders.
class FilesOnly : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    bool PathExists(std::string_view path) override {
        return Inner().PathExists(path) && !Inner().PathIsDirectory(path);
    }
};

TEST_F(ScanRecord, WhereTheTwoTestsDisagreeAFolderBecomesAFolderLocation) {
    MakeFolder(Folder() + "sub");
    platform::Platform machine = Machine();
    FilesOnly files(*machine.files);
    machine.files = &files;
    Install(machine);
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", Folder() + "sub");
    Install(Machine());
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Count(), 0U);
    EXPECT_EQ(Threat(7).ThreatLocationFolders->Count(), 1U);
    EXPECT_THAT(found, ElementsAre(HeardThreat{Folder() + "sub", ScanTypeFolder, 7, 1}));
}

TEST_F(ScanRecord, TheSameFileInOtherCaseIsOneLocationAndOneEvent) {
    const std::string path = File("Same.exe");
    std::string upper = path;
    for (char& c : upper) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", path);
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", upper);
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Count(), 1U);
    EXPECT_EQ(found.size(), 1U);
}

TEST_F(ScanRecord, TheSameFileUnderAnotherThreatIsAccepted) {
    const std::string path = File("same.exe");
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", path);
    scan->AddDetectedThreatFile(ScanTypeFiles, 8, "", path);
    EXPECT_EQ(scan->DetectedThreatCount(), 2);
    EXPECT_EQ(found.size(), 2U);
}

TEST_F(ScanRecord, AnUnknownThreatIsRecordedWithAnEmptyCatalogueRecord) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 99, "", File("a.exe"));
    ASSERT_NE(Threat(99).Threat, nullptr);
    EXPECT_EQ(Threat(99).Threat->ThreatID, 0);
    EXPECT_EQ(scan->GetDetectedThreat(1), "2|");
}

// A machine that answers one long path for every short one.
class LongForm : public decorators::ForwardingFiles {
public:
    LongForm(platform::Files& inner, std::string form) : ForwardingFiles(inner), form_(std::move(form)) {}
    platform::Result<std::string> LongPath(std::string_view) override { return form_; }

private:
    std::string form_;
};

TEST_F(ScanRecord, AShortPathIsStoredInItsLongForm) {
    const std::string longPath = File("long name of a program.exe");
    const std::string shortPath = File("LONGNA~1.EXE");
    platform::Platform machine = Machine();
    LongForm files(*machine.files, longPath);
    machine.files = &files;
    Install(machine);
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", shortPath);
    scan->AddDetectedThreatFolder(ScanTypeFolder, 8, shortPath);
    Install(Machine());
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Item(1)->DetectedFilePath(), longPath);
    EXPECT_EQ(Threat(8).ThreatLocationFolders->Item(1)->DetectedFolderPath(), longPath);
}

TEST_F(ScanRecord, AShortPathOfTheMachineIsStoredInItsLongForm) {
    const std::string longPath = File("a long name of a program.exe");
    const auto shortPath = Machine().files->ShortPath(longPath);
    ASSERT_TRUE(shortPath.Ok());
    ASSERT_THAT(*shortPath, HasSubstr("~"));
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", *shortPath);
    ASSERT_EQ(scan->DetectedThreatCount(), 1);
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Item(1)->DetectedFilePath(), longPath);
    EXPECT_THAT(found, ElementsAre(HeardThreat{longPath, ScanTypeFiles, 7, 1}));
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", longPath);
    EXPECT_EQ(found.size(), 1U) << "both forms are one file";
}

// A machine on which no long form is found.
class NoLongForm : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    platform::Result<std::string> LongPath(std::string_view) override { return platform::SysError::FileNotFound; }
};

TEST_F(ScanRecord, AShortPathWithoutALongFormIsStoredAsItIs) {
    const std::string shortPath = File("LONGNA~1.EXE");
    platform::Platform machine = Machine();
    NoLongForm files(*machine.files);
    machine.files = &files;
    Install(machine);
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", shortPath);
    scan->AddDetectedThreatFolder(ScanTypeFolder, 8, shortPath);
    Install(Machine());
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Item(1)->DetectedFilePath(), shortPath);
    EXPECT_EQ(Threat(8).ThreatLocationFolders->Item(1)->DetectedFolderPath(), shortPath);
}

TEST_F(ScanRecord, ALongFormWithAQuestionMarkIsDiscardedForFilesOnly) {
    const std::string shortPath = File("LONGNA~1.EXE");
    platform::Platform machine = Machine();
    LongForm files(*machine.files, "C:\\?.exe");
    machine.files = &files;
    Install(machine);
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", shortPath);
    scan->AddDetectedThreatFolder(ScanTypeFolder, 8, shortPath);
    Install(Machine());
    EXPECT_EQ(Threat(7).ThreatLocationFiles->Item(1)->DetectedFilePath(), shortPath);
    EXPECT_EQ(Threat(8).ThreatLocationFolders->Item(1)->DetectedFolderPath(), "C:\\?.exe");
}

TEST_F(ScanRecord, AFolderIsRecordedWithoutALookAtTheDiskAndOnlyOnce) {
    scan->AddDetectedThreatFolder(ScanTypeFolder, 7, "C:\\No\\Such");
    scan->AddDetectedThreatFolder(ScanTypeFolder, 7, "c:\\no\\such");
    ASSERT_EQ(Threat(7).ThreatLocationFolders->Count(), 1U);
    EXPECT_EQ(Threat(7).ThreatLocationFolders->Item(1)->DetectedFolderPath(), "C:\\No\\Such");
    EXPECT_THAT(found, ElementsAre(HeardThreat{"C:\\No\\Such", ScanTypeFolder, 7, 1}));
}

TEST_F(ScanRecord, AnEmptyFolderPathIsNeverADuplicate) {
    scan->AddDetectedThreatFolder(ScanTypeFolder, 7, "");
    scan->AddDetectedThreatFolder(ScanTypeFolder, 7, "");
    EXPECT_EQ(Threat(7).ThreatLocationFolders->Count(), 2U);
}

TEST_F(ScanRecord, ARegistryKeyWithACapitalIsRecordedAgain) {
    for (int i = 0; i < 2; ++i) {
        scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveLocalMachine, "Software\\Bad", "", "", 6);
    }
    EXPECT_EQ(Threat(7).ThreatLocationRegKeys->Count(), 2U);
    EXPECT_EQ(Threat(7).ThreatLocationRegKeys->Item(1)->OptionLevel, 6);
    EXPECT_EQ(found.front().location, "HKEY_LOCAL_MACHINE\\Software\\Bad");
}

TEST_F(ScanRecord, ARegistryKeyStoredInLowerCaseRefusesEveryOtherCase) {
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveLocalMachine, "software\\bad", "name", "data");
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveLocalMachine, "Software\\BAD", "Name", "Data");
    EXPECT_EQ(Threat(7).ThreatLocationRegKeys->Count(), 1U);
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveCurrentUser, "software\\bad", "name", "data");
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveLocalMachine, "software\\bad", "other", "data");
    EXPECT_EQ(Threat(7).ThreatLocationRegKeys->Count(), 3U);
}

TEST_F(ScanRecord, AnEmptyRegistryKeyIsNeverADuplicate) {
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveLocalMachine, "");
    scan->AddDetectedThreatRegKey(ScanTypeRegistry, 7, platform::HiveLocalMachine, "");
    EXPECT_EQ(Threat(7).ThreatLocationRegKeys->Count(), 2U);
}

TEST_F(ScanRecord, ACookieReportedTwiceIsRecordedTwice) {
    scan->AddDetectedThreatCookie(ScanTypeCookies, 7, "Tracker.example", "c1.txt");
    scan->AddDetectedThreatCookie(ScanTypeCookies, 7, "Tracker.example", "c1.txt");
    ASSERT_EQ(Threat(7).ThreatLocationCookies->Count(), 2U);
    EXPECT_EQ(Threat(7).ThreatLocationCookies->Item(1)->OptionLevel, 3);
    EXPECT_EQ(Threat(7).ThreatLocationCookies->Item(1)->DetectedFilePath, "c1.txt");
    EXPECT_EQ(scan->DetectedCookieCount, 2);
    EXPECT_THAT(found, ElementsAre(HeardThreat{"Tracker.example", ScanTypeCookies, 7, 1},
                                   HeardThreat{"Tracker.example", ScanTypeCookies, 7, 2}));
}

TEST_F(ScanRecord, AnUnknownCookieFailsAndLeavesAThreatWithoutLocations) {
    scan->AddDetectedThreatCookie(ScanTypeCookies, 8, "unknown.example", "c.txt");
    ASSERT_EQ(scan->DetectedThreatCount(), 1);
    EXPECT_EQ(Threat(8).ThreatLocationCookies->Count(), 0U);
    EXPECT_THAT(found, IsEmpty());
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].procedure, "AddDetectedThreatCookie");
}

TEST_F(ScanRecord, ACustomLocationIsKeptItselfAndOnceForEachNumber) {
    const auto location = std::make_shared<ThreatLocationCustom>(5);
    scan->AddDetectedThreatCustom(ScanTypeFiles, 7, location);
    scan->AddDetectedThreatCustom(ScanTypeFiles, 7, std::make_shared<ThreatLocationCustom>(*location));
    ASSERT_EQ(Threat(7).ThreatLocationCustoms->Count(), 1U);
    EXPECT_EQ(Threat(7).ThreatLocationCustoms->Item(1), location);
    EXPECT_THAT(found, ElementsAre(HeardThreat{"Threat detected", ScanTypeFiles, 7, 1}));
}

TEST_F(ScanRecord, CustomLocationsWithoutANumberAreNeverDuplicates) {
    scan->AddDetectedThreatCustom(ScanTypeFiles, 7, std::make_shared<ThreatLocationCustom>());
    scan->AddDetectedThreatCustom(ScanTypeFiles, 7, std::make_shared<ThreatLocationCustom>());
    EXPECT_EQ(Threat(7).ThreatLocationCustoms->Count(), 2U);
}

TEST_F(ScanRecord, TheLastMatchingLocationGivesThePath) {
    const std::string second = File("b.exe");
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "AA", File("a.exe"));
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "aa", second);
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "bb", File("c.exe"));
    EXPECT_EQ(scan->GetFilePathFromDetectedFile(7, "Aa"), second);
    EXPECT_EQ(scan->GetFilePathFromDetectedFile(7, "cc"), "");
    EXPECT_EQ(scan->GetFilePathFromDetectedFile(8, "aa"), "");
    scan->AddDetectedThreatCookie(ScanTypeCookies, 7, "tracker.example", "c1.txt");
    scan->AddDetectedThreatCookie(ScanTypeCookies, 7, "tracker.example", "c2.txt");
    EXPECT_EQ(scan->GetFilePathFromDetectedCookie(7, "TRACKER.example"), "c2.txt");
    EXPECT_EQ(scan->GetFilePathFromDetectedCookie(8, "tracker.example"), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanRecord, ADetectedThreatReadsAsTypeAndName) {
    scan->AddDetectedThreatFile(ScanTypeProcesses, 8, "", File("a.exe"));
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", File("b.exe"));
    EXPECT_EQ(scan->GetDetectedThreat(1), "1|Eight");
    EXPECT_EQ(scan->GetDetectedThreat(2), "2|Seven");
}

TEST_F(ScanRecord, AnIndexOutOfRangeReachesTheCaller) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", File("a.exe"));
    for (const std::int32_t index : {-1, 0, 2}) {
        try {
            static_cast<void>(scan->GetDetectedThreat(index));
            FAIL() << index;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.Number(), ErrSubscriptOutOfRange);
        }
    }
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanRecord, TheLevelOfAFileIsThatOfItsHash) {
    EXPECT_EQ(scan->GetFileOptionLevel("00112233445566778899aabbccddeeff", "x"), 4);
    EXPECT_EQ(scan->GetFileOptionLevel("ffffffffffffffffffffffffffffffff", "x"), 0);
    EXPECT_EQ(scan->GetFileOptionLevel("", "x"), 0);
    State().MD5DataTable.reset();
    EXPECT_EQ(scan->GetFileOptionLevel("00112233445566778899aabbccddeeff", "x"), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanRecord, TotalTimeIsTheTimeBetweenStartAndEnd) {
    scan->StartDate = Date{38000.0};
    scan->EndDate = Date{38000.0 + 3661.0 / 86400.0};
    EXPECT_EQ(scan->TotalScanTime(), "1 hrs 1 mins 1 secs ");
}

TEST_F(ScanRecord, TheListingProceduresReportThroughTheCurrentScan) {
    State().Calls.StartingLocation("C:\\x", ScanTypeFiles);
    EXPECT_THAT(started, ElementsAre(HeardStart{"C:\\x", ScanTypeFiles, 1}));
    scan->FolderPaths = std::make_shared<clsFolderPaths>();
    scan->FolderPaths->PathCookies = "c:\\cookies\\";
    EXPECT_EQ(State().Calls.ScanCookiesFolder(), "c:\\cookies\\");
    scan->FolderPaths.reset();
    EXPECT_THROW(State().Calls.ScanCookiesFolder(), RuntimeError);
}

TEST_F(ScanRecord, AListThatAClientTookAwayFailsTheAddWhereItIsAskedFor) {
    scan->AddDetectedThreatFolder(ScanTypeFolder, 7, "C:\\a");
    scan->AddDetectedThreatFile(ScanTypeFiles, 8, "", File("a.exe"));
    Threat(7).ThreatLocationFolders.reset();
    Threat(8).ThreatLocationFiles.reset();
    scan->AddDetectedThreatFolder(ScanTypeFolder, 7, "C:\\b");
    scan->AddDetectedThreatFile(ScanTypeFiles, 8, "", File("b.exe"));
    ASSERT_EQ(Reported().size(), 2U);
    EXPECT_EQ(Reported()[0].number, "91");
    EXPECT_EQ(Reported()[1].number, "91");
    EXPECT_NE(Reported()[0].description, Reported()[1].description) << "each names its own line";
    EXPECT_EQ(found.size(), 2U);
}

TEST_F(ScanRecord, AClientMayPutAnotherCollectionInPlace) {
    scan->AddDetectedThreatFile(ScanTypeFiles, 7, "", File("a.exe"));
    scan->DetectedThreats().reset();
    EXPECT_EQ(scan->DetectedThreatCount(), 0);
}

}  // namespace
}  // namespace kel::test
