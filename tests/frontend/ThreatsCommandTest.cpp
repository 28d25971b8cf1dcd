// ombrelane threats and ombrelane diagnostics.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "CapturedStream.h"
#include "RecordRunTest.h"
#include "core/Recordset.h"
#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"
#include "frontend/IgnoreList.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitUsage;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector<nlohmann::json> Objects(const std::string& text) {
    std::vector<nlohmann::json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        objects.push_back(nlohmann::json::parse(line));
    }
    return objects;
}

class ThreatsCommand : public RecordRunTest {
protected:
    /// Changes a column of the threat table's row that follows `rows` others.
    void Change(int rows, const char* column, const Value& value) const {
        frontend::Machine machine{frontend::SessionOptions{}};
        const std::string path = machine.HostFolder(Data()) + "kelThreatData.sdb";
        const platform::PlatformScope installed(machine.View());
        Recordset table;
        table.Open(path);
        for (int row = 0; row < rows; ++row) {
            table.MoveNext();
        }
        table.Set(column, value);
        table.Update();
        table.Save();
    }
};

TEST_F(ThreatsCommand, TheListHasOneLineAThreatAndNotTheVersion) {
    EXPECT_EQ(Run({"threats", "list"}), ExitClean);
    EXPECT_EQ(out,
              "9001        High      Adware                     Example.Adware.One\n"
              "9002        High      Trojan                     Example.Trojan.Two\n");
    EXPECT_EQ(err, "");
}

TEST_F(ThreatsCommand, JsonLinesTellTheSame) {
    EXPECT_EQ(Run({"threats", "list", "--format", "jsonl"}), ExitClean);
    EXPECT_THAT(out, StartsWith(R"({"type":"threat","threat":9001,"name":"Example.Adware.One","category":"Adware",)"
                                R"("threat_type":"","level":2,"level_name":"High","option_level":0})"
                                "\n"));
    EXPECT_EQ(Objects(out).size(), 2U);
}

TEST_F(ThreatsCommand, AnEmptyCatalogueIsAnEmptyList) {
    tables.threats.clear();
    MakeTables();
    EXPECT_EQ(Run({"threats", "list"}), ExitClean);
    EXPECT_EQ(out + err, "");
}

TEST_F(ThreatsCommand, AThreatIsShownWithAllThatIsKnown) {
    Change(1, "ThreatDesc", std::string("Shows advertisements."));
    Change(1, "ThreatAuthor", std::string("Somebody"));
    Change(1, "ThreatAuthorURL", std::string("http://example.com"));
    Change(1, "ThreatAdviseDetails", std::string("Remove it."));
    Change(1, "ThreatCustomRemovalType", std::string("3"));
    EXPECT_EQ(Run({"threats", "show", "9001"}), ExitClean);
    EXPECT_THAT(out, StartsWith("Example.Adware.One  (threat 9001)\n"
                                "  Adware, risk High, option level 0\n"
                                "  removal uninstaller, can be put into the quarantine\n"
                                "  by Somebody http://example.com\n"
                                "\n"
                                "Description\n"
                                "  Shows advertisements.\n"
                                "\n"
                                "Risk\n"
                                "  High risk threats "));
    EXPECT_THAT(out, HasSubstr("\nWhat to do\n"));
    EXPECT_THAT(out, testing::EndsWith("\n  Remove it.\n"));
    EXPECT_EQ(Run({"threats", "show", "9001", "--format", "jsonl"}), ExitClean);
    const auto objects = Objects(out);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].at("type"), "threat");
    EXPECT_EQ(objects[0].at("description"), "Shows advertisements.");
    EXPECT_EQ(objects[0].at("author"), "Somebody");
    EXPECT_EQ(objects[0].at("author_url"), "http://example.com");
    EXPECT_EQ(objects[0].at("can_quarantine"), true);
    EXPECT_EQ(objects[0].at("removal"), "uninstaller");
    EXPECT_THAT(objects[0].at("advise").get<std::string>(), HasSubstr("Remove it."));
}

TEST_F(ThreatsCommand, ALevelThatIsNotGivenFollowsFromTheCategory) {
    EXPECT_EQ(Run({"threats", "show", "9002", "--format", "jsonl"}), ExitClean);
    EXPECT_THAT(out, HasSubstr(R"("level":2,"level_name":"High")"));
}

TEST_F(ThreatsCommand, AThreatThatIsNotThereIsMissingInput) {
    EXPECT_EQ(Run({"threats", "show", "7"}), ExitNoInput);
    EXPECT_EQ(err, "ombrelane threats show: no threat 7 in the data folder <root>/data\n");
    EXPECT_EQ(out, "");
    EXPECT_EQ(Run({"threats", "show", "0"}), ExitUsage);
    EXPECT_EQ(Run({"threats", "show"}), ExitUsage);
    EXPECT_EQ(Run({"threats", "show", "9001", "9002"}), ExitUsage);
}

TEST_F(ThreatsCommand, ARecordThatCanNotBeReadIsToldAndListedAllTheSame) {
    Change(1, "ThreatCustomRemovalType", std::string("often"));
    EXPECT_EQ(Run({"threats", "show", "9001"}), ExitIncomplete);
    EXPECT_EQ(out, "");
    EXPECT_THAT(err, StartsWith("ombrelane threats show: modMain.LoadThreatObject: "));
    EXPECT_EQ(Run({"threats", "list"}), ExitClean);
    EXPECT_THAT(out, HasSubstr("Example.Adware.One\n"));
    EXPECT_EQ(Run({"threats", "export", "--format", "jsonl"}), ExitIncomplete);
    const auto objects = Objects(out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].at("type"), "error");
    EXPECT_EQ(objects[0].at("kind"), "engine");
    EXPECT_EQ(objects[1].at("threat"), 9002);
}

TEST_F(ThreatsCommand, NamesThatSteerATerminalDoNot) {
    tables.threats = {{1, "a\x1b[2Jb", "c\nd", 1}};
    MakeTables();
    for (const auto& arguments : {std::vector<std::string>{"threats", "list"},
                                  {"threats", "show", "1"},
                                  {"threats", "export"},
                                  {"threats", "list", "--format", "jsonl"}}) {
        EXPECT_EQ(Run(arguments), ExitClean);
        EXPECT_EQ(out.find('\x1b'), std::string::npos);
        EXPECT_THAT(out, Not(HasSubstr("c\nd  ")));
    }
}

TEST_F(ThreatsCommand, TheExportIsTheEnginesOwnListWhichStaysInTheUserDataFolder) {
    tables.threats = {{9001, "A&B <C>", "Adware", 2}, {9002, "", "Trojan", 1}};
    MakeTables();
    EXPECT_EQ(Run({"threats", "export"}), ExitClean);
    EXPECT_EQ(err, "");
    EXPECT_THAT(out, StartsWith("<ThreatListXML date=\""));
    EXPECT_THAT(out, HasSubstr("<Threat threatid=\"9001\" name=\"A&amp;B &lt;C&gt;\" category=\"Adware\" "
                               "threattype=\"\" threatlevel=\"2\">\n</Threat>\n"));
    EXPECT_THAT(out, Not(HasSubstr("9002")));
    EXPECT_THAT(out, testing::EndsWith("</Threats>\n</ThreatListXML>\n"));
    std::string file = HostFile(InUserData("Threat.txt"));
    std::erase(file, '\r');
    EXPECT_EQ(out, file);
}

TEST_F(ThreatsCommand, TheExportInJsonLinesHasAllThreatsWithAllThatIsKnown) {
    EXPECT_EQ(Run({"threats", "export", "--format", "jsonl"}), ExitClean);
    const auto objects = Objects(out);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].at("threat"), 9001);
    EXPECT_EQ(objects[1].at("threat"), 9002);
    EXPECT_THAT(objects[1].at("description").get<std::string>(), Not(testing::IsEmpty()));
    EXPECT_FALSE(std::filesystem::exists(InUserData("Threat.txt")));
}

TEST_F(ThreatsCommand, ManyThreatsAreAllListed) {
    tables.threats.clear();
    for (std::int32_t id = 1; id <= 3000; ++id) {
        tables.threats.push_back({id, "Example." + std::to_string(id), "Adware", 2});
    }
    MakeTables();
    EXPECT_EQ(Run({"threats", "list", "--format", "jsonl"}), ExitClean);
    const auto objects = Objects(out);
    ASSERT_EQ(objects.size(), 3000U);
    EXPECT_EQ(objects.back().at("name"), "Example.3000");
}

TEST_F(ThreatsCommand, ATableThatCanNotBeLoadedIsTold) {
    WriteHostFile(std::filesystem::path(Data()) / "kelThreatData.sdb", "no table");
    for (const char* command : {"list", "export"}) {
        EXPECT_EQ(Run({"threats", command}), ExitIncomplete);
        EXPECT_EQ(out, "");
        EXPECT_THAT(err, HasSubstr("modMain.InitializeThreatData: "));
    }
}

TEST_F(ThreatsCommand, WhatIsMissingIsAUsageErrorOrMissingInput) {
    EXPECT_EQ(RunAsItStands({"threats", "list", "--user-data", UserData()}), ExitUsage);
    EXPECT_EQ(err, "ombrelane threats list: --data is required\nRun with --help for more information.\n");
    EXPECT_EQ(RunAsItStands({"threats", "list", "--data", Data()}), ExitUsage);
    EXPECT_THAT(err, StartsWith("ombrelane threats list: --user-data is required\n"));
    EXPECT_EQ(RunAsItStands({"threats", "list", "--data", UserData(), "--user-data", UserData()}), ExitNoInput);
    EXPECT_EQ(err, "ombrelane threats list: no kelThreatData.sdb in the data folder <root>/user\n");
    EXPECT_EQ(RunAsItStands({"threats"}), ExitUsage);
}

#ifndef _WIN32
TEST_F(ThreatsCommand, AFullDiskIsTold) {
    std::FILE* full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    const CapturedStream errors;
    EXPECT_EQ(frontend::Run({"threats", "list", "--data", Data(), "--user-data", UserData()}, {full, errors.File()}),
              ExitIncomplete);
    EXPECT_EQ(errors.Text(), "ombrelane threats list: the results could not be written: No space left on device\n");
    std::fclose(full);
}
#endif

class DiagnosticsCommand : public RecordRunTest {};

TEST_F(DiagnosticsCommand, ShowsWhatTheEngineSaysOfItself) {
    EXPECT_EQ(Run({"diagnostics"}), ExitClean);
    EXPECT_EQ(err, "");
    EXPECT_EQ(out,
              "EngineVersion: 1.0.0\n"
              "DBVersionThreatData: 105\n"
              "DBVersionScanData: 105\n"
              "IsInitializedScanData: False\n"
              "InitializeThreatData: False\n"
              "IsInitializedScanHistoryData: True\n"
              "IsInitializedIgnoredThreatsData: False\n"
              "ScanHistory Count: 1\n");
}

TEST_F(DiagnosticsCommand, CountsTheUsersIgnoreList) {
    WriteHostFile(InUserData(frontend::IgnoreList::FileName), "1\n2\n3\n");
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(Run({"diagnostics"}), ExitClean);
        EXPECT_THAT(out, HasSubstr("IsInitializedIgnoredThreatsData: True\nIgnoredThreats Count: 3\n"));
    }
}

TEST_F(DiagnosticsCommand, JsonLinesTellTheSame) {
    WriteHostFile(InUserData(frontend::IgnoreList::FileName), "1\n");
    EXPECT_EQ(Run({"diagnostics", "--format", "jsonl"}), ExitClean);
    EXPECT_EQ(out, R"({"type":"diagnostics","engine_version":"1.0.0","threat_data_version":"105",)"
                   R"("scan_data_version":"105","scan_data_initialized":false,"threat_data_initialized":false,)"
                   R"("scan_history_initialized":true,"ignored_threats_initialized":true,"ignored_threats":1,)"
                   R"("scan_history":1})"
                   "\n");
}

TEST_F(DiagnosticsCommand, MissingTablesAreToldAndTheRestIsShown) {
    std::filesystem::remove(std::filesystem::path(Data()) / "KelThreatFolder.sdb");
    EXPECT_EQ(Run({"diagnostics"}), ExitIncomplete);
    EXPECT_THAT(err, HasSubstr("ombrelane diagnostics: Scanner.InitializeScanData: "));
    EXPECT_THAT(out, HasSubstr("DBVersionThreatData: 105\n"));
}

TEST_F(DiagnosticsCommand, AnIgnoreListThatCanNotBeReadIsMissingInput) {
    WriteHostFile(InUserData(frontend::IgnoreList::FileName), "x\n");
    EXPECT_EQ(Run({"diagnostics"}), ExitNoInput);
    EXPECT_EQ(out, "");
    EXPECT_THAT(err, HasSubstr("line 1 of the ignore list"));
}

TEST_F(DiagnosticsCommand, WhatIsMissingIsAUsageError) {
    EXPECT_EQ(RunAsItStands({"diagnostics", "--user-data", UserData()}), ExitUsage);
    EXPECT_EQ(err, "ombrelane diagnostics: --data is required\nRun with --help for more information.\n");
    EXPECT_EQ(Run({"diagnostics", "now"}), ExitUsage);
}

}  // namespace
}  // namespace kel::test
