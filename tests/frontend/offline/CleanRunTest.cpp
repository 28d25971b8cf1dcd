// Scans that clean a Wine prefix, what the quarantine then shows, and the way back.
#include <gmock/gmock.h>

#include <algorithm>

#include "CleanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitThreats;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

TEST_F(CleanRun, AllThatWasDetectedGoesAndTheRestComesBackAsTheRulesHaveIt) {
    const auto before = Contents(Machine());
    const Outcome outcome = Clean();
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    std::vector<std::string> items;
    for (const json& item : Objects(outcome, "clean_item")) {
        items.push_back(item.at("location").get<std::string>() + " " + item.at("result").get<std::string>());
    }
    EXPECT_THAT(items, ElementsAre("C:\\users\\ada\\Desktop\\pic.exe removed", "C:\\windows\\system32\\TIN.DLL removed",
                                   "c:\\banners\\readme.txt removed", "c:\\banners\\ removed",
                                   "HKEY_LOCAL_MACHINE\\Software\\Example [Banner] removed",
                                   "c:\\users\\ada\\cookies\\ada@crumb.example[1].txt removed"));
    const json summary = Objects(outcome, "clean_summary").at(0);
    EXPECT_EQ(summary.at("cleaned"), 4);
    EXPECT_EQ(summary.at("removed"), 6);
    EXPECT_EQ(summary.at("left"), 0);
    EXPECT_EQ(Scan().code, ExitClean);

    for (const std::string& id : Records()) {
        EXPECT_EQ(Quarantine({"restore", id}).code, ExitClean);
    }
    EXPECT_THAT(Records(), IsEmpty());
    auto after = Contents(Machine());
    // The folder has the signature's spelling, the cookie its mark, and the value that was known by its name no data.
    EXPECT_EQ(after.at("drive_c/banners/readme.txt"), "x");
    EXPECT_EQ(after.at("drive_c/users/ada/Cookies/ada@crumb.example[1].txt"), "x6635\r\n");
    EXPECT_THAT(after.at("system.reg"), HasSubstr("\"Banner\"=hex(1):\n"));
    for (const char* path : {"drive_c/users/ada/Desktop/pic.exe", "drive_c/windows/system32/TIN.DLL", "user.reg"}) {
        EXPECT_EQ(after.at(path), before.at(path)) << path;
    }
    EXPECT_EQ(after.size(), before.size());
}

TEST_F(CleanRun, OnlyTheThreatsThatAreNamedGo) {
    const Outcome outcome = Clean({"--threat", "3", "--threat", "5", "--threat", "3"});
    EXPECT_EQ(outcome.code, ExitThreats);
    std::vector<std::string> results;
    for (const json& threat : Objects(outcome, "clean")) {
        results.push_back(std::to_string(threat.at("threat").get<int>()) + " " +
                          threat.at("result").get<std::string>());
    }
    EXPECT_THAT(results, ElementsAre("3 cleaned", "5 not_detected"));
    EXPECT_TRUE(std::filesystem::exists(Machine() / "drive_c/windows/system32/TIN.DLL"));
    EXPECT_THAT(Records(), SizeIs(1));
}

TEST_F(CleanRun, AThreatThatTheCatalogueDoesNotHaveIsRefusedBeforeTheScan) {
    const Outcome outcome = Clean({"--threat", "77"});
    EXPECT_EQ(outcome.code, ExitNoInput);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("no threat 77 in the catalogue"));
}

TEST_F(CleanRun, NothingDetectedIsNothingToRemoveAndCodeZero) {
    const Outcome outcome = Clean({"--path", "C:\\Program Files"});
    EXPECT_EQ(outcome.code, ExitClean);
    EXPECT_THAT(Objects(outcome, "clean"), IsEmpty());
    EXPECT_EQ(Objects(outcome, "clean_summary").at(0).at("cleaned"), 0);
}

TEST_F(CleanRun, DestroyedThreatsLeaveNoRecordAndNoCopy) {
    const Outcome outcome = Scan({"--destroy", "--yes", "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(Objects(outcome, "clean_start").at(0).at("action"), "destroy");
    for (const json& threat : Objects(outcome, "clean")) {
        EXPECT_EQ(threat.at("result"), "cleaned") << threat;
        EXPECT_EQ(threat.at("quarantine"), "") << threat;
    }
    EXPECT_THAT(Records(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(UserData() / "Quarantine"));
    EXPECT_EQ(Scan().code, ExitClean);
    const std::string scan = Objects(outcome, "start").at(0).at("scan");
    const Outcome history = Run({"history", "show", scan, "--user-data", UserData().string()});
    EXPECT_THAT(history.out, HasSubstr("Threat 1 was deleted on "));
}

TEST_F(CleanRun, TheHistoryKnowsWhatIsInTheQuarantineAndTheCleanersLogHowItCameThere) {
    const Outcome outcome = Clean();
    const std::string scan = Objects(outcome, "start").at(0).at("scan");
    const Outcome history = Run({"history", "show", scan, "--user-data", UserData().string()});
    EXPECT_EQ(history.code, ExitClean);
    EXPECT_THAT(history.out, HasSubstr("Adware, risk High, quarantined"));
    EXPECT_THAT(history.out, HasSubstr("Threat 4 was quarantined on "));
    EXPECT_THAT(Contents(UserData()).at("logs/cleaner.log"),
                HasSubstr("::Clean Threat Example.Value (ID:2) Complete\r\n"));
}

TEST_F(CleanRun, InTextEachThreatHasItsLocationsAndTheLastLineCounts) {
    const Outcome outcome = Scan({"--quarantine", "--yes", "--threat", "1", "--threat", "5"});
    EXPECT_EQ(outcome.code, ExitThreats);
    const auto lines = Lines(outcome.out);
    const auto from = std::find(lines.begin(), lines.end(),
                                "Not available on this machine: end of processes, stop of services, unregistration of "
                                "components, scripts from the network, next start");
    ASSERT_NE(from, lines.end());
    const std::string id = Records().at(0);
    EXPECT_THAT(std::vector<std::string>(from + 1, lines.end()),
                ElementsAre("Example.Path  (threat 1): is in the quarantine as " + id,
                            "  removed    file      C:\\users\\ada\\Desktop\\pic.exe",
                            "  removed    file      C:\\windows\\system32\\TIN.DLL",
                            "Example.Absent  (threat 5): not detected, nothing to remove",
                            "1 threat removed, 2 locations in all"));
}

TEST_F(CleanRun, ThePageTellsWhatWasRemoved) {
    const Outcome outcome = Scan({"--quarantine", "--yes", "--threat", "1", "--format", "html"});
    EXPECT_THAT(outcome.out, HasSubstr("<h2>What was removed</h2>\n<p>1 threat removed, 2 locations in all</p>"));
    EXPECT_THAT(outcome.out, HasSubstr("<li>removed: <code>C:\\windows\\system32\\TIN.DLL</code></li>"));
    EXPECT_THAT(outcome.out, HasSubstr("What this program has removed stands below."));
}

TEST_F(CleanRun, WithTheEnginesReportTheClearOutcomeGoesToTheStreamForErrors) {
    const Outcome outcome = Scan({"--quarantine", "--yes", "--threat", "1", "--format", "xml"});
    EXPECT_THAT(outcome.out, HasSubstr("<ScanResultsXML"));
    EXPECT_THAT(outcome.err, HasSubstr("ombrelane: Example.Path  (threat 1): is in the quarantine as "));
    EXPECT_THAT(outcome.err, HasSubstr("ombrelane: 1 threat removed, 2 locations in all\n"));
}

TEST_F(CleanRun, WithoutAFolderForTheQuarantineNothingIsTouched) {
    // Files that can't be moved there would be deleted.
    Write("user/Quarantine", "a file where the quarantine's folder belongs");
    const auto before = Snapshot(Machine());
    const Outcome outcome = Clean();
    EXPECT_EQ(outcome.code, ExitIncomplete);
    for (const json& threat : Objects(outcome, "clean")) {
        EXPECT_EQ(threat.at("result"), "failed");
        EXPECT_THAT(threat.at("reason").get<std::string>(), HasSubstr("its folder can't be made: "));
    }
    for (const json& item : Objects(outcome, "clean_item")) {
        EXPECT_EQ(item.at("result"), "left") << item;
    }
    EXPECT_EQ(Snapshot(Machine()), before);
}

TEST_F(CleanRun, TablesThatCannotBeReadAreAFailureThatTouchesNothing) {
    Write("user/KelQFiles.sdb", "no table");
    const auto before = Snapshot(Machine());
    const Outcome outcome = Clean();
    EXPECT_EQ(outcome.code, ExitIncomplete);
    for (const json& threat : Objects(outcome, "clean")) {
        EXPECT_EQ(threat.at("result"), "failed");
        EXPECT_THAT(threat.at("reason").get<std::string>(), StartsWith("the quarantine can't be opened: "));
    }
    EXPECT_EQ(Snapshot(Machine()), before);
    const Outcome list = Quarantine({"list"});
    EXPECT_EQ(list.code, ExitNoInput);
    EXPECT_THAT(list.err, HasSubstr("the tables of the quarantine can't be opened"));
}

// Dry runs.

TEST_F(CleanRun, ADryRunShowsEachWriteAndLeavesAllBytesOfTheMachineAndTheUser) {
    EXPECT_EQ(Scan().code, ExitThreats);
    const auto machine = Snapshot(Machine());
    const auto user = Snapshot(UserData());
    const Outcome outcome = Scan({"--quarantine", "--dry-run", "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(Snapshot(Machine()), machine);
    EXPECT_EQ(Snapshot(UserData()), user);
    std::vector<std::string> texts;
    for (const json& write : Objects(outcome, "write")) {
        EXPECT_THAT(write.at("kind").get<std::string>(), Not(IsEmpty()));
        texts.push_back(write.at("text"));
    }
    EXPECT_THAT(texts, Contains(HasSubstr("C:\\windows\\system32\\TIN.DLL")));
    EXPECT_THAT(texts, Contains(HasSubstr("HKEY_LOCAL_MACHINE\\Software\\Example")));
    EXPECT_THAT(texts, Contains(HasSubstr("KelQuarantined.sdb")));
    const json summary = Objects(outcome, "clean_summary").at(0);
    EXPECT_EQ(summary.at("dry_run"), true);
    EXPECT_EQ(summary.at("cleaned"), 4);

    const Outcome text = Scan({"--quarantine", "--dry-run"});
    EXPECT_THAT(text.out, HasSubstr("\nwould "));
    EXPECT_THAT(Lines(text.out).back(), "This was a dry run: nothing was changed");
    EXPECT_EQ(Snapshot(UserData()), user);
}

TEST_F(CleanRun, ADryRunMakesNoFolderForTheUser) {
    const Outcome outcome = Scan({"--quarantine", "--dry-run"});
    EXPECT_EQ(outcome.code, ExitNoInput);
    EXPECT_FALSE(std::filesystem::exists(UserData()));
}

TEST_F(CleanRun, DryRunsOfRestoringAndDestroyingLeaveAllBytesToo) {
    Clean();
    const std::string id = Records().at(0);
    const auto machine = Snapshot(Machine());
    const auto user = Snapshot(UserData());
    for (const char* command : {"restore", "destroy"}) {
        const Outcome outcome = Quarantine({command, id, "--dry-run", "--format", "jsonl"});
        EXPECT_EQ(outcome.code, ExitClean) << command;
        EXPECT_THAT(Objects(outcome, "write"), Not(IsEmpty())) << command;
        EXPECT_EQ(Snapshot(Machine()), machine) << command;
        EXPECT_EQ(Snapshot(UserData()), user) << command;
    }
    EXPECT_THAT(Quarantine({"restore", id, "--dry-run"}).out, HasSubstr("\nwould "));
}

TEST_F(CleanRun, LookingIntoTheQuarantineChangesNothing) {
    Clean();
    const auto user = Snapshot(UserData());
    EXPECT_EQ(Quarantine({"list"}).code, ExitClean);
    EXPECT_EQ(Quarantine({"show"}).code, ExitClean);
    EXPECT_EQ(Snapshot(UserData()), user);
    Folder("fresh");
    const Outcome empty = Run({"quarantine", "list", "--user-data", (Root() / "fresh").string()});
    EXPECT_EQ(empty.out, "The quarantine is empty\n");
    EXPECT_TRUE(std::filesystem::is_empty(Root() / "fresh"));
}

// From the history.

TEST_F(CleanRun, FromTheHistoryFilesGoAndRegistryEntriesStayWhichIsSaid) {
    const Outcome scan = Scan({"--format", "jsonl"});
    const std::string id = Objects(scan, "start").at(0).at("scan");
    const auto clean = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"clean",         "--machine",   Machine().string(),  "--data",
                                           Data().string(), "--user-data", UserData().string(), "--scan"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    };
    EXPECT_EQ(clean({id, "--threat", "5"}).code, ExitNoInput);
    EXPECT_EQ(clean({"none", "--threat", "1"}).code, ExitNoInput);
    EXPECT_EQ(clean({"it's", "--threat", "1"}).code, ExitNoInput);

    const auto before = Snapshot(Machine());
    const Outcome dry = clean({id, "--threat", "1", "--dry-run"});
    EXPECT_EQ(dry.code, ExitClean) << dry.err;
    EXPECT_THAT(dry.out, HasSubstr("\nwould "));
    EXPECT_EQ(Snapshot(Machine()), before);

    const Outcome outcome = clean({id, "--threat", "1", "--threat", "2"});
    EXPECT_EQ(outcome.code, ExitClean) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("registry entries and folders stay as they are. A scan with --quarantine "));
    EXPECT_THAT(outcome.out, HasSubstr("  removed    file      C:\\windows\\system32\\TIN.DLL\n"));
    EXPECT_THAT(outcome.out, HasSubstr("  untouched  registry  HKEY_LOCAL_MACHINE\\Software\\Example Banner"));
    EXPECT_FALSE(std::filesystem::exists(Machine() / "drive_c/windows/system32/TIN.DLL"));
    EXPECT_THAT(Contents(Machine()).at("system.reg"), HasSubstr("\"Banner\"=\"on & "));
    EXPECT_THAT(Records(), SizeIs(2));
    const Outcome history = Run({"history", "show", id, "--user-data", UserData().string()});
    EXPECT_THAT(history.out, HasSubstr("Threat 1 was quarantined on "));
}

}  // namespace
}  // namespace kel::test
