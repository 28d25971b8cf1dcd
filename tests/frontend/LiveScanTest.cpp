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
        tables.threats = {{9001, "Example.Adware.One", "Adware", 2}};
        tables.md5 = {{9001, hash, 0}};
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
