// Cleans that don't come to their end: interrupted, broken off by a failure, on a full disk.
#include <gmock/gmock.h>

#include <csignal>
#include <memory>

#include "../CapturedStream.h"
#include "CleanRun.h"
#include "HostCalls.h"
#include "core/Text.h"
#include "frontend/CleanTargets.h"
#include "frontend/Cleaning.h"
#include "frontend/ExitCodes.h"
#include "frontend/JsonlSink.h"
#include "frontend/ProgressLine.h"
#include "frontend/ScanObserver.h"
#include "frontend/Session.h"
#include "results/DetectedThreat.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

class BrokenClean : public CleanRun {
protected:
    /// What became of each threat: number, result.
    static std::vector<std::string> Results(const Outcome& outcome) {
        std::vector<std::string> results;
        for (const json& threat : Objects(outcome, "clean")) {
            results.push_back(Text(threat.at("threat").get<std::int32_t>()) + " " +
                              threat.at("result").get<std::string>());
        }
        return results;
    }
    std::string SystemReg() const { return Contents(Machine()).at("system.reg"); }
};

TEST_F(BrokenClean, AnInterruptionLetsTheThreatAtHandBeFinishedAndNoOther) {
    const auto before = Contents(Machine());
    HostCalls calls;
    bool raised = false;
    calls.onRemove = [&](std::string_view name) {
        // The first of the two files of the first threat.
        if (!raised && name == "pic.exe") {
            raised = true;
            std::raise(SIGINT);
        }
    };
    const Outcome outcome = Clean();
    ASSERT_TRUE(raised);
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(Results(outcome), ElementsAre("1 cleaned", "4 skipped", "2 skipped", "3 skipped"));
    EXPECT_EQ(Objects(outcome, "clean").at(1).at("reason"), "interrupted by the user");
    const json summary = Objects(outcome, "clean_summary").at(0);
    EXPECT_EQ(summary.at("interrupted"), true);
    EXPECT_EQ(summary.at("removed"), 2);
    EXPECT_EQ(summary.at("left"), 4);

    const auto after = Contents(Machine());
    EXPECT_EQ(after.count("drive_c/users/ada/Desktop/pic.exe") + after.count("drive_c/windows/system32/TIN.DLL"), 0U);
    EXPECT_EQ(after.size() + 2, before.size()) << "nothing half written lies beside";
    EXPECT_EQ(after.at("system.reg"), before.at("system.reg"));
    const auto records = Records();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(Quarantine({"restore", records[0]}).code, ExitClean);
    EXPECT_EQ(Contents(Machine()), before);
}

TEST_F(BrokenClean, InTextTheLastLineTellsOfTheInterruption) {
    HostCalls calls;
    calls.onRemove = [](std::string_view name) {
        if (name == "pic.exe") {
            std::raise(SIGINT);
        }
    };
    const Outcome outcome = Scan({"--destroy", "--yes"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_EQ(Lines(outcome.out).back(), "Interrupted by the user: what was begun is done, the rest was left alone");
    EXPECT_THAT(outcome.out, HasSubstr("(threat 2): left alone: interrupted by the user\n"));
}

TEST_F(BrokenClean, AHistoryThatCannotBeSavedBreaksTheCleanOffBeforeAnythingIsTouched) {
    const auto before = Snapshot(Machine());
    HostCalls calls;
    calls.isFull = [](std::string_view path) { return path.ends_with("KelQThreatHistory.sdb"); };
    const Outcome outcome = Clean();
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(Results(outcome), ElementsAre("1 failed", "4 failed", "2 failed", "3 failed"));
    for (const json& item : Objects(outcome, "clean_item")) {
        EXPECT_EQ(item.at("result"), "left") << item;
    }
    EXPECT_EQ(Snapshot(Machine()), before);
}

TEST_F(BrokenClean, ADiskThatIsFullAtTheSaveLeavesTheRegistryAsItIs) {
    const auto before = Snapshot(Machine());
    HostCalls calls;
    calls.isFull = [](std::string_view path) { return path.ends_with("KelQRegKeys.sdb"); };
    const Outcome outcome = Clean({"--threat", "2"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(Results(outcome), ElementsAre("2 failed"));
    EXPECT_THAT(Objects(outcome, "clean").at(0).at("reason").get<std::string>(),
                HasSubstr("The registry was not written because its record was not, ThreatID=2"));
    EXPECT_EQ(Objects(outcome, "clean_item").at(0).at("result"), "left");
    EXPECT_EQ(Snapshot(Machine()), before);
}

TEST_F(BrokenClean, WhatAFullDiskKeptOutOfTheRegistryDoesNotGoWithTheNextThreat) {
    const std::string before = SystemReg();
    HostCalls calls;
    int writes = 0;
    calls.isFull = [&](std::string_view path) { return path.ends_with("KelQRegKeys.sdb") && ++writes == 1; };
    const Outcome outcome = Clean({"--threat", "2", "--threat", "3"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(Results(outcome), ElementsAre("2 failed", "3 cleaned"));
    EXPECT_EQ(SystemReg(), before) << "it was told as not written";
    EXPECT_FALSE(std::filesystem::exists(Machine() / "drive_c/users/ada/Cookies/ada@crumb.example[1].txt"));
    EXPECT_THAT(Records(), SizeIs(2)) << "the value is both in place and on record";
}

TEST_F(BrokenClean, AFailureInTheMiddleWritesNothingOfItsThreatAndSaysSo) {
    const std::string before = SystemReg();
    Folder("user");
    const CapturedStream out;
    const CapturedStream err;
    frontend::CleanSummaryRecord summary;
    {
        frontend::SessionOptions options;
        options.machine = Machine().string();
        options.data = Data().string();
        options.userData = UserData().string();
        options.writable = true;
        frontend::Session session(options, err.File());
        session.Load();

        const auto value = std::make_shared<DetectedThreat>();
        value->ThreatID = 2;
        value->ThreatLocationRegKeys->Add(
            std::make_shared<ThreatLocationRegKey>(platform::HiveLocalMachine, "Software\\Example", "Banner"));
        const auto file = std::make_shared<DetectedThreat>();
        file->ThreatID = 1;
        file->ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>(R"(C:\windows\system32\TIN.DLL)"));
        const auto detected = std::make_shared<Cleaner::DetectedThreatCollection>();
        detected->Add(value, "ThreatID:2");
        detected->Add(file, "ThreatID:1");
        const std::vector<frontend::CleanOrder> orders{{2, frontend::TargetsOf(*value)},
                                                       {1, frontend::TargetsOf(*file)}};
        // The stage behind that of the registry fails.
        value->ThreatLocationCookies.reset();

        frontend::Output output(out.File());
        frontend::JsonlSink sink(output);
        frontend::ProgressLine progress(err.File(), false);
        frontend::ScanObserver observer(sink, progress);
        summary = frontend::Cleaning(session, sink, progress, observer).Clean("scan", detected, orders, false);
    }
    EXPECT_EQ(summary.failed, 1);
    EXPECT_EQ(summary.cleaned, 1);
    EXPECT_EQ(summary.left, 1);
    EXPECT_EQ(frontend::Verdict(summary), ExitIncomplete);
    const Outcome outcome{0, out.Text(), err.Text()};
    EXPECT_THAT(Results(outcome), ElementsAre("2 failed", "1 cleaned"));
    EXPECT_THAT(Objects(outcome, "clean").at(0).at("reason").get<std::string>(),
                EndsWith("; nothing was written to the registry"));
    EXPECT_EQ(Objects(outcome, "clean_item").at(0).at("result"), "left");
    EXPECT_EQ(SystemReg(), before) << "the record of the next threat does not write it either";
    EXPECT_FALSE(std::filesystem::exists(Machine() / "drive_c/windows/system32/TIN.DLL"));
}

}  // namespace
}  // namespace kel::test
