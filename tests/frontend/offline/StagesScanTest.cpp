// Stages: all by default, or those that are named; what each finds; and what the history keeps of it.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <set>

#include "PrefixRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitThreats;
using frontend::ExitUsage;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class StagesScan : public PrefixRun {
protected:
    std::vector<json> ScanLines(std::vector<std::string> more = {}) {
        more.insert(more.end(), {"--format", "jsonl"});
        outcome = Scan(more);
        EXPECT_EQ(outcome.err, "");
        std::vector<json> lines;
        std::istringstream stream(outcome.out);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(json::parse(line));
            if (lines.back().at("type") == "error") {
                ADD_FAILURE() << line;
            }
        }
        return lines;
    }
    /// "threat kind" of each finding.
    std::set<std::string> Found(const std::vector<std::string>& more = {}) {
        std::set<std::string> found;
        for (const json& line : ScanLines(more)) {
            if (line.at("type") == "finding") {
                found.insert(std::to_string(line.at("threat").get<int>()) + " " + line.at("kind").get<std::string>());
            }
        }
        return found;
    }
    Outcome outcome;
};

TEST_F(StagesScan, ByDefaultAllRunAndFindEveryKind) {
    EXPECT_THAT(Found(), UnorderedElementsAre("1 file", "2 registry", "3 cookie", "4 folder", "4 file"));
    EXPECT_EQ(outcome.code, ExitThreats);
    const std::string first = Lines(outcome.out).front();
    EXPECT_THAT(first,
                HasSubstr(R"("not_available":["processes"],"stages":["common","drives","registry","cookies"]})"));
    const auto summary = json::parse(outcome.out.substr(outcome.out.rfind("{\"type\"")));
    EXPECT_EQ(summary.at("complete"), true);
    EXPECT_EQ(summary.at("threats"), 4);
    EXPECT_EQ(summary.at("registry"), 2);
    EXPECT_EQ(summary.at("cookies"), 2);
    EXPECT_EQ(summary.at("processes"), 0);
    EXPECT_EQ(Found({"--full"}), Found());
}

TEST_F(StagesScan, NamedStagesRunAlone) {
    EXPECT_THAT(Found({"--registry"}), ElementsAre("2 registry"));
    EXPECT_THAT(Found({"--cookies"}), ElementsAre("3 cookie"));
    EXPECT_THAT(Found({"--cookies", "--registry"}), ElementsAre("2 registry", "3 cookie"));
    EXPECT_THAT(Found({"--common"}), ElementsAre("1 file", "4 file", "4 folder"));
    EXPECT_THAT(ScanLines({"--cookies", "--registry"}).front().at("targets"), IsEmpty());
}

TEST_F(StagesScan, PathsAreAWalkAloneOrBesideNamedStages) {
    EXPECT_THAT(Found({"--path", "C:\\users"}), ElementsAre("1 file"));
    EXPECT_THAT(Found({"--path", "C:\\windows", "--cookies"}), ElementsAre("1 file", "3 cookie"));
    EXPECT_THAT(Found({"--path", "C:\\Program Files"}), IsEmpty());
    EXPECT_EQ(outcome.code, ExitClean);
}

TEST_F(StagesScan, WithPathsAFullScanWalksTheseInsteadOfTheDrives) {
    const auto lines = ScanLines({"--full", "--path", "C:\\windows"});
    EXPECT_THAT(lines.front().at("targets"), ElementsAre("C:\\windows"));
    EXPECT_THAT(lines.front().at("stages"), ElementsAre("common", "drives", "registry", "cookies"));
}

TEST_F(StagesScan, WhatIsLeftOfTheRequestRuns) {
    const auto lines = ScanLines({"--processes", "--modules", "--cookies"});
    EXPECT_THAT(lines.front().at("not_available"), ElementsAre("processes"));
    EXPECT_THAT(lines.front().at("stages"), ElementsAre("cookies"));
    EXPECT_EQ(outcome.code, ExitThreats);
}

TEST_F(StagesScan, WithNothingLeftThereIsNoScanAndNoCleanMachine) {
    const Outcome refused = Scan({"--processes"});
    EXPECT_EQ(refused.code, ExitNoInput);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, "ombrelane scan: nothing of what was asked for is available on this machine: processes\n");
}

TEST_F(StagesScan, WhatCanNotBeDoneToAMachineThatDoesNotRunIsTold) {
    const auto lines = ScanLines({"--cookies", "--suspend-active", "--priority", "idle"});
    EXPECT_THAT(lines.front().at("not_available"), ElementsAre("suspend-active", "priority"));
}

TEST_F(StagesScan, CookiesOfAllUsersOnRequest) {
    Write("machine/drive_c/users/bob/Cookies/bob@crumb.example[2].txt", "x");
    const auto cookies = [&](std::vector<std::string> more) {
        more.insert(more.begin(), {"--user", "ada", "--cookies"});
        std::set<std::string> locations;
        for (const json& line : ScanLines(more)) {
            if (line.at("type") == "finding") {
                locations.insert(line.at("location"));
            }
        }
        return locations;
    };
    EXPECT_EQ(cookies({}).size(), 1U);
    EXPECT_THAT(cookies({"--all-users"}), UnorderedElementsAre(testing::EndsWith("ada@crumb.example[1].txt"),
                                                               testing::EndsWith("bob@crumb.example[2].txt")));
}

TEST_F(StagesScan, FilesAboveTheLimitHaveNoMd5) {
    EXPECT_THAT(Found({"--path", "C:\\users", "--max-md5-len", "1500"}), ElementsAre("1 file"));
    EXPECT_THAT(Found({"--path", "C:\\users", "--max-md5-len", "1499"}), IsEmpty());
}

TEST_F(StagesScan, TheWalkForKnownFilesCanBeLeftOut) {
    const auto files = [&](const std::vector<std::string>& more) {
        return ScanLines(more).back().at("files").get<int>();
    };
    Write("machine/drive_c/more.exe", "x");
    EXPECT_LT(files({"--common", "--skip-common-files"}), files({"--common"}));
}

TEST_F(StagesScan, EachScanIsKeptInTheHistory) {
    const auto lines = ScanLines({"--cookies"});
    const auto more = ScanLines({"--registry"});
    const Outcome list = Run({"history", "list", "--user-data", UserData().string(), "--format", "jsonl"});
    EXPECT_EQ(list.code, ExitClean);
    for (const auto* scan : {&lines, &more}) {
        EXPECT_THAT(list.out, HasSubstr(scan->front().at("scan").get<std::string>()));
    }
    const Outcome shown =
        Run({"history", "show", lines.front().at("scan").get<std::string>(), "--user-data", UserData().string()});
    EXPECT_THAT(shown.out, HasSubstr("Example.Crumb"));
    EXPECT_THAT(shown.out, HasSubstr("ada@crumb.example[1].txt"));
}

TEST_F(StagesScan, WhatTheHistoryTookBeforeItBrokeOffIsSaved) {
    Tables tables = Planted();
    // The second detection is of a threat whose name is too long for the history.
    tables.threats = "1,Example.Path,Trojan,1\n2,Example." + std::string(60, 'x') + ",Trojan,1\n";
    tables.md5 = "2," + HashOf(Bad()) + ",0\n";
    MakeTables(tables);
    const Outcome broken = Scan({"--path", "C:\\windows", "--path", "C:\\users", "--format", "jsonl"});
    EXPECT_EQ(broken.code, ExitThreats);
    ASSERT_THAT(broken.out, HasSubstr("ScanHistory.FoundAt"));
    const std::string id = json::parse(broken.out.substr(0, broken.out.find('\n'))).at("scan");
    const Outcome shown = Run({"history", "show", id, "--user-data", UserData().string()});
    EXPECT_THAT(shown.out, HasSubstr("Example.Path"));
}

TEST_F(StagesScan, NothingOnTheMachineIsWritten) {
    const auto before = Snapshot(Machine());
    const auto data = Snapshot(Data());
    EXPECT_EQ(Scan({"--all-users", "--zips", "--suspend-active"}).code, ExitThreats);
    EXPECT_EQ(Snapshot(Machine()), before);
    EXPECT_EQ(Snapshot(Data()), data);
}

TEST_F(StagesScan, OneThreatAloneIsLookedForByRegistryAndPath) {
    const auto value = ScanLines({"--threat", "2"});
    EXPECT_EQ(outcome.code, ExitThreats);
    ASSERT_EQ(value.size(), 3U);
    EXPECT_EQ(value[0].at("threat"), 2);
    EXPECT_THAT(value[0].at("stages"), IsEmpty());
    EXPECT_EQ(value[0].at("scan").get<std::string>().size(), 30U);
    EXPECT_EQ(value[1].at("location"), "HKEY_LOCAL_MACHINE\\Software\\Example [Banner]");
    EXPECT_EQ(value[2].at("complete"), true);
    EXPECT_THAT(Found({"--threat", "1"}), ElementsAre("1 file"));
    EXPECT_THAT(Found({"--threat", "5"}), IsEmpty());
    EXPECT_EQ(outcome.code, ExitClean);
}

TEST_F(StagesScan, OneThreatAloneIsReportedToo) {
    const Outcome report = Scan({"--threat", "2", "--report", "registry"});
    EXPECT_EQ(report.code, ExitThreats);
    EXPECT_THAT(report.out, HasSubstr("<Threat threatid=\"2\" name=\"Example.Value\""));
}

TEST_F(StagesScan, AThreatThatTheCatalogueDoesNotHaveIsMissingInput) {
    const Outcome refused = Scan({"--threat", "6"});
    EXPECT_EQ(refused.code, ExitNoInput);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, "ombrelane scan: no threat 6 in the catalogue\n");
}

TEST_F(StagesScan, OneThreatAloneGoesWithNoStage) {
    EXPECT_EQ(Scan({"--threat", "1", "--registry"}).code, ExitUsage);
    EXPECT_EQ(Scan({"--threat", "1", "--path", "C:\\"}).code, ExitUsage);
}

TEST_F(StagesScan, IgnoredThreatsAreNotFound) {
    Folder("user");
    ASSERT_EQ(Run({"ignore", "add", "2", "--user-data", UserData().string()}).code, ExitClean);
    EXPECT_THAT(Found({"--registry"}), IsEmpty());
    EXPECT_THAT(Found({"--threat", "2"}), IsEmpty());
    EXPECT_THAT(Found({"--cookies"}), ElementsAre("3 cookie"));
}

}  // namespace
}  // namespace kel::test
