// ombrelane history, over records that the engine wrote.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "RecordRunTest.h"
#include "catalogue/modThreats.h"
#include "frontend/DateForms.h"
#include "frontend/ExitCodes.h"
#include "results/Scan.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitUsage;
using frontend::IsoDate;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// 2005-03-14 12:00:00, and ten minutes later.
constexpr Date Began{38425.5};
constexpr Date Ended{38425.5 + 600.0 / 86400};

class HistoryCommand : public RecordRunTest {
protected:
    static std::shared_ptr<Scan> MakeScan(const std::string& id) {
        auto scan = std::make_shared<Scan>();
        scan->ScanID = id;
        scan->StartDate = Began;
        scan->EndDate = Ended;
        scan->ScannedFileCount = 120;
        scan->ScannedRegistryCount = 1;
        return scan;
    }
    static DetectedThreat& Detect(Scan& scan, std::int32_t id) {
        const auto threat = std::make_shared<DetectedThreat>();
        threat->ThreatID = id;
        threat->Threat = modThreats::GetThreatLiteByThreatID(id);
        scan.DetectedThreats()->Add(threat, "ThreatID:" + std::to_string(id));
        return *threat;
    }
    static void File(Scan& scan, DetectedThreat& threat, const std::string& path) {
        threat.ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>(path));
        ++scan.DetectedFileCount;
    }

    /// Two scans: FIRST with two threats, one of them in three locations, and SECOND, which was aborted.
    void MakeHistory() const {
        WithEngine([](frontend::DataSession& session) {
            const auto history = session.Manager().ScanHistory();
            const auto first = MakeScan("FIRST");
            DetectedThreat& one = Detect(*first, 9001);
            File(*first, one, "C:\\one.exe");
            const auto key =
                std::make_shared<ThreatLocationRegKey>(platform::HiveCurrentUser, "Software\\One", "Name", "Data");
            one.ThreatLocationRegKeys->Add(key);
            ++first->DetectedRegistryCount;
            const auto cookie = std::make_shared<ThreatLocationCookie>();
            cookie->DetectedFilePath = "C:\\Cookies\\one.txt";
            one.ThreatLocationCookies->Add(cookie);
            ++first->DetectedCookieCount;
            DetectedThreat& two = Detect(*first, 9002);
            two.DetectedThreatAction = DetectedThreatActionQuarantined;
            File(*first, two, "C:\\two.exe");
            history->Add(first);
            const auto second = MakeScan("SECOND");
            second->AbortReason = "Interrupted by the user";
            history->Add(second);
            history->AddQuarantinedThreat("FIRST", 9002);
            history->Persist();
            history->AddDeletedThreat("FIRST", 9001);
        });
    }
    std::vector<nlohmann::json> RunForObjects(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "history");
        arguments.insert(arguments.end(), {"--user-data", UserData(), "--format", "jsonl"});
        EXPECT_EQ(RunAsItStands(arguments), ExitClean);
        EXPECT_EQ(err, "");
        std::vector<nlohmann::json> objects;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) {
            objects.push_back(nlohmann::json::parse(line));
        }
        return objects;
    }
    int History(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "history");
        arguments.insert(arguments.end(), {"--user-data", UserData()});
        return RunAsItStands(arguments);
    }
};

TEST_F(HistoryCommand, AnEmptyHistorySaysSo) {
    EXPECT_EQ(History({"list"}), ExitClean);
    EXPECT_EQ(out, "No scan is on record\n");
    EXPECT_EQ(err, "");
    EXPECT_TRUE(RunForObjects({"list"}).empty());
}

TEST_F(HistoryCommand, TheListHasOneLineAScanWithoutTheTotals) {
    MakeHistory();
    EXPECT_EQ(History({"list"}), ExitClean);
    EXPECT_EQ(out,
              "FIRST  2005-03-14 12:00:00  4 locations detected\n"
              "SECOND  2005-03-14 12:00:00  0 locations detected, aborted: Interrupted by the user\n");
    EXPECT_EQ(err, "");
}

TEST_F(HistoryCommand, JsonLinesHaveTheCounts) {
    MakeHistory();
    const auto objects = RunForObjects({"list"});
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0], nlohmann::json::parse(R"({"type":"scan","scan":"FIRST","started":"2005-03-14T12:00:00",
        "ended":"2005-03-14T12:10:00","abort_reason":"","scanned_processes":0,"scanned_files":120,
        "scanned_registry":1,"scanned_cookies":0,"detected_processes":0,"detected_files":2,"detected_registry":1,
        "detected_cookies":1,"locations":4})"));
    EXPECT_EQ(objects[1].at("abort_reason"), "Interrupted by the user");
}

TEST_F(HistoryCommand, AScanIsShownWithItsThreatsLocationsAndRemovals) {
    MakeHistory();
    EXPECT_EQ(History({"show", "FIRST"}), ExitClean);
    EXPECT_EQ(err, "");
    EXPECT_THAT(out, StartsWith("Scan FIRST\n"
                                "  started   2005-03-14 12:00:00\n"
                                "  ended     2005-03-14 12:10:00\n"
                                "  scanned   0 processes, 120 files, 1 registry entry, 0 cookies\n"
                                "  detected  2 threats in 4 locations\n"
                                "\n"
                                "Example.Adware.One  (threat 9001)\n"
                                "  Adware, risk High\n"
                                "  file      C:\\one.exe\n"
                                "  registry  HKEY_CURRENT_USER\\Software\\One Name Data\n"
                                "  cookie    C:\\Cookies\\one.txt\n"
                                "\n"
                                "Example.Trojan.Two  (threat 9002)\n"
                                "  Trojan, risk High, quarantined\n"
                                "  file      C:\\two.exe\n"
                                "\n"
                                "Threat 9002 was quarantined on "));
    EXPECT_THAT(out, HasSubstr("\nThreat 9001 was deleted on "));
    EXPECT_EQ(History({"show", "SECOND"}), ExitClean);
    EXPECT_THAT(out, HasSubstr("  aborted   Interrupted by the user\n"));
    EXPECT_THAT(out, testing::EndsWith("  detected  0 threats in 0 locations\n"));
}

TEST_F(HistoryCommand, JsonLinesOfAScanAreTheScanItsDetectionsLocationsAndRemovals) {
    MakeHistory();
    const auto objects = RunForObjects({"show", "FIRST"});
    ASSERT_EQ(objects.size(), 9U);
    EXPECT_EQ(objects[0].at("type"), "scan");
    EXPECT_EQ(objects[1], nlohmann::json::parse(R"({"type":"detection","scan":"FIRST","threat":9001,
        "name":"Example.Adware.One","category":"Adware","level":2,"action":"none"})"));
    EXPECT_EQ(objects[2].at("action"), "quarantined");
    EXPECT_EQ(objects[3], nlohmann::json::parse(R"({"type":"location","scan":"FIRST","threat":9001,"kind":"file",
        "location":"C:\\one.exe"})"));
    EXPECT_EQ(objects[4].at("kind"), "registry");
    EXPECT_EQ(objects[5].at("kind"), "cookie");
    EXPECT_EQ(objects[6].at("threat"), 9002);
    EXPECT_EQ(objects[7].at("type"), "removal");
    EXPECT_EQ(objects[7].at("threat"), 9002);
    EXPECT_EQ(objects[7].at("action"), "quarantined");
    EXPECT_EQ(objects[8].at("threat"), 9001);
    EXPECT_EQ(objects[8].at("action"), "deleted");
    EXPECT_EQ(objects[8].at("date").get<std::string>().size(), 10U);
}

TEST_F(HistoryCommand, LocationsAreTheScansOwn) {
    MakeHistory();
    WithEngine([](frontend::DataSession& session) {
        const auto third = MakeScan("THIRD");
        File(*third, Detect(*third, 9001), "C:\\three.exe");
        session.Manager().ScanHistory()->Add(third);
    });
    EXPECT_EQ(History({"show", "THIRD"}), ExitClean);
    EXPECT_THAT(out, HasSubstr("  file      C:\\three.exe\n"));
    EXPECT_THAT(out, Not(HasSubstr("one.exe")));
}

TEST_F(HistoryCommand, ADeletedScanIsGoneAndTheOthersStay) {
    MakeHistory();
    EXPECT_EQ(History({"delete", "FIRST"}), ExitClean);
    EXPECT_EQ(out, "Scan FIRST is removed from the history\n");
    EXPECT_EQ(err, "");
    EXPECT_EQ(History({"show", "FIRST"}), ExitNoInput);
    const auto objects = RunForObjects({"list"});
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].at("scan"), "SECOND");
    WithEngine([](frontend::DataSession& session) {
        EXPECT_NE(session.Manager().ScanHistory()->GetScanHistoryDetail("Totals"), nullptr);
    });
    const auto deleted = RunForObjects({"delete", "SECOND"});
    ASSERT_EQ(deleted.size(), 1U);
    EXPECT_EQ(deleted[0], nlohmann::json::parse(R"({"type":"deleted","scan":"SECOND"})"));
    EXPECT_EQ(History({"list"}), ExitClean);
    EXPECT_EQ(out, "No scan is on record\n");
}

TEST_F(HistoryCommand, AScanThatIsNotThereIsMissingInputAndNothingIsDeleted) {
    MakeHistory();
    // The row of the sums is no scan, and a text that would be a filter is none.
    for (const char* id : {"none", "Totals", "first", "FIRST ", "' or ScanID<>'", "*", "FIR*"}) {
        for (const char* command : {"show", "delete"}) {
            EXPECT_EQ(History({command, id}), ExitNoInput) << id;
            EXPECT_EQ(out, "");
            EXPECT_EQ(err, std::string("ombrelane history ") + command + ": no scan " + id +
                               " in the history of <root>/user\n");
        }
    }
    EXPECT_EQ(RunForObjects({"list"}).size(), 2U);
}

TEST_F(HistoryCommand, WithoutAnIdentifierNothingIsDeleted) {
    MakeHistory();
    EXPECT_EQ(History({"delete"}), ExitUsage);
    EXPECT_THAT(err, HasSubstr("ID is required\n"));
    EXPECT_EQ(History({"delete", ""}), ExitUsage);
    EXPECT_THAT(err, HasSubstr("ID: expected the identifier of a scan\n"));
    EXPECT_EQ(History({"delete", "FIRST", "SECOND"}), ExitUsage);
    EXPECT_EQ(History({"list", "FIRST"}), ExitUsage);
    EXPECT_EQ(RunForObjects({"list"}).size(), 2U);
}

TEST_F(HistoryCommand, WhatIsMissingIsAUsageErrorOrMissingInput) {
    EXPECT_EQ(RunAsItStands({"history"}), ExitUsage);
    EXPECT_EQ(RunAsItStands({"history", "list"}), ExitUsage);
    EXPECT_EQ(err, "ombrelane history list: --user-data is required\nRun with --help for more information.\n");
    EXPECT_EQ(RunAsItStands({"history", "list", "--user-data", InUserData("none").string()}), ExitNoInput);
    EXPECT_FALSE(std::filesystem::exists(InUserData("none")));
}

TEST_F(HistoryCommand, ADamagedTableIsTold) {
    MakeHistory();
    WriteHostFile(InUserData("kelScanHistory.sdb"), "no table");
    EXPECT_EQ(History({"list"}), ExitIncomplete);
    EXPECT_THAT(err, HasSubstr("ombrelane history list: modDataManager.InitializeScanHistoryData: "));
    EXPECT_THAT(out, Not(HasSubstr("No scan is on record")));
}

TEST_F(HistoryCommand, TextsThatSteerATerminalDoNot) {
    WithEngine([](frontend::DataSession& session) {
        const auto scan = MakeScan("A");
        scan->AbortReason = "stop\x1b[2J";
        File(*scan, Detect(*scan, 9001), "C:\\a\x1b]0;b.exe");
        session.Manager().ScanHistory()->Add(scan);
    });
    for (const auto& arguments :
         {std::vector<std::string>{"list"}, {"show", "A"}, {"show", "A", "--format", "jsonl"}}) {
        EXPECT_EQ(History(arguments), ExitClean);
        EXPECT_EQ(out.find('\x1b'), std::string::npos);
    }
}

TEST(DateForms, DatesHaveOneFormEverywhere) {
    EXPECT_EQ(IsoDate(Date{0}), "1899-12-30T00:00:00");
    EXPECT_EQ(IsoDate(Date{25569}), "1970-01-01T00:00:00");
    EXPECT_EQ(IsoDate(Date{38425.5}, ' '), "2005-03-14 12:00:00");
    EXPECT_EQ(IsoDate(Date{38425 + 86399.0 / 86400}), "2005-03-14T23:59:59");
    EXPECT_EQ(IsoDate(Date{38425 + 86399.7 / 86400}), "2005-03-15T00:00:00");
    EXPECT_EQ(IsoDate(Date{-1.25}), "1899-12-29T06:00:00");
}

}  // namespace
}  // namespace kel::test
