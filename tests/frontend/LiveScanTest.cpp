// The program on the machine that it runs on. Where it scans machines that don't run, the tests lie in `offline`.
#ifdef _WIN32

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include <span>

#include "CapturedStream.h"
#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"
#include "support/ScratchMachine.h"
#include "support/ShippedTables.h"
#include "system/Md5.h"

namespace kel::test {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

class LiveScan : public testing::Test {
protected:
    LiveScan() {
        for (const char* name : {"data", "walk"}) {
            MakeFolder(machine.View(), machine.Folder() + name);
        }
        Md5 md5;
        md5.Update(std::as_bytes(std::span(Bad())));
        hash = HexText(md5.Finish());
        ShippedTables tables;
        tables.threats = {{9001, "Example.Adware.One", "Adware", 2}, {9002, "Example.Running", "Trojan", 1}};
        tables.md5 = {{9001, hash, 0}};
        // It always runs. The scan leaves its own process out.
        tables.paths = {{9002, "%windows%\\system32\\services.exe", 0}};
        const platform::PlatformScope installed(machine.View());
        tables.WriteTo(machine.Folder() + "data\\");
    }

    static const std::string& Bad() {
        static const std::string bytes(1500, 'b');
        return bytes;
    }
    int Scan(std::vector<std::string> more) {
        std::vector<std::string> arguments{"scan", "--data", machine.Folder() + "data", "--user-data",
                                           machine.Folder() + "user"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return frontend::Run(arguments, {out.File(), err.File()});
    }
    void Plant(const std::string& name, const std::string& bytes) {
        WriteFile(machine.View(), machine.Folder() + "walk\\" + name, bytes);
    }

    ScratchMachine machine;
    std::string hash;
    CapturedStream out;
    CapturedStream err;
};

TEST_F(LiveScan, ACleanFolderIsCodeZero) {
    Plant("letter.txt", "hello");
    EXPECT_EQ(Scan({"--path", machine.Folder() + "walk"}), frontend::ExitClean);
    EXPECT_EQ(err.Text(), "");
    EXPECT_THAT(out.Text(), HasSubstr("Scanning " + machine.Folder() + "walk of live, depth deep, signature data 105"));
    EXPECT_THAT(out.Text(), HasSubstr("No threats found"));
}

TEST_F(LiveScan, AThreatIsCodeOneAndOneLine) {
    Plant("song.exe", Bad());
    EXPECT_EQ(Scan({"--path", machine.Folder() + "walk", "--format", "jsonl"}), frontend::ExitThreats);
    EXPECT_EQ(err.Text(), "");
    const auto lines = out.Lines();
    ASSERT_THAT(lines, SizeIs(3));
    const auto start = nlohmann::json::parse(lines[0]);
    EXPECT_EQ(start.at("machine"), "live");
    EXPECT_THAT(start.at("not_available"), SizeIs(0));
    const auto finding = nlohmann::json::parse(lines[1]);
    EXPECT_EQ(finding.at("threat"), 9001);
    EXPECT_EQ(finding.at("location"), machine.Folder() + "walk\\song.exe");
    EXPECT_EQ(finding.at("md5"), hash);
    const auto summary = nlohmann::json::parse(lines[2]);
    EXPECT_EQ(summary.at("complete"), true);
    EXPECT_EQ(summary.at("threats"), 1);
    EXPECT_EQ(summary.at("unreadable"), 0);
}

TEST_F(LiveScan, RunningProgramsAreAStage) {
    EXPECT_EQ(Scan({"--processes", "--format", "jsonl"}), frontend::ExitThreats) << err.Text() << out.Text();
    const auto lines = out.Lines();
    EXPECT_THAT(nlohmann::json::parse(lines.front()).at("stages"), testing::ElementsAre("processes"));
    EXPECT_THAT(nlohmann::json::parse(lines.front()).at("targets"), SizeIs(0));
    const auto finding = nlohmann::json::parse(lines.at(1));
    EXPECT_EQ(finding.at("threat"), 9002);
    EXPECT_THAT(finding.at("location").get<std::string>(), testing::StrCaseEq("C:\\windows\\system32\\services.exe"));
    const auto summary = nlohmann::json::parse(lines.back());
    EXPECT_EQ(summary.at("complete"), true);
    EXPECT_GE(summary.at("processes").get<int>(), 1);
}

TEST_F(LiveScan, ModulesAreLookedAtBesideTheirPrograms) {
    Scan({"--processes", "--format", "jsonl"});
    const auto programs = nlohmann::json::parse(out.Lines().back()).at("processes").get<int>();
    Scan({"--modules", "--format", "jsonl"});
    EXPECT_GT(nlohmann::json::parse(out.Lines().back()).at("processes").get<int>(), programs);
}

TEST_F(LiveScan, ThePriorityIsAvailableOnARunningMachine) {
    Scan({"--path", machine.Folder() + "walk", "--priority", "normal", "--format", "jsonl"});
    EXPECT_THAT(nlohmann::json::parse(out.Lines().front()).at("not_available"), SizeIs(0));
}

TEST_F(LiveScan, ReportsKeepTheirLineEnds) {
    Plant("song.exe", Bad());
    EXPECT_EQ(Scan({"--path", machine.Folder() + "walk", "--report", "files"}), frontend::ExitThreats);
    EXPECT_THAT(out.Text(), HasSubstr("\">\r\n<Threats>\r\n<Threat threatid=\"9001\" name=\"Example.Adware.One\""));
    EXPECT_THAT(out.Text(), HasSubstr("\"> " + machine.Folder() + "walk\\song.exe</File>\r\n"));
    EXPECT_THAT(out.Text(), testing::EndsWith("</Threats>\r\n</ScanResultsXML>"));
    EXPECT_EQ(out.Text().find("\r\r"), std::string::npos);
}

TEST_F(LiveScan, ThePageGoesToAFile) {
    Plant("song.exe", Bad());
    const std::string page = machine.Folder() + "page.html";
    EXPECT_EQ(Scan({"--path", machine.Folder() + "walk", "--format", "html", "-o", page}), frontend::ExitThreats);
    EXPECT_EQ(out.Text(), "");
    const std::string text = ReadFile(machine.View(), page);
    EXPECT_THAT(text, HasSubstr("<h1>1 threat found in 1 location</h1>\n"));
    EXPECT_THAT(text, HasSubstr("<code>" + machine.Folder() + "walk\\song.exe</code>"));
    EXPECT_THAT(text, HasSubstr("<dd>live</dd>"));
}

TEST_F(LiveScan, APathThatIsNotThereIsMissingInput) {
    EXPECT_EQ(Scan({"--path", machine.Folder() + "none"}), frontend::ExitNoInput);
    EXPECT_THAT(err.Text(), HasSubstr("ombrelane scan: no such folder on the machine: " + machine.Folder() + "none"));
    EXPECT_EQ(out.Text(), "");
}

TEST_F(LiveScan, WhatBelongsToAMachineThatDoesNotRunIsAUsageError) {
    EXPECT_EQ(Scan({"--machine", "C:\\"}), frontend::ExitUsage);
    EXPECT_THAT(err.Text(), HasSubstr("here the running one is meant"));
}

}  // namespace
}  // namespace kel::test

#endif
