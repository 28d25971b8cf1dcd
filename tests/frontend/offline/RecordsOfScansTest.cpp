// What one run of the program leaves for the next: the ignore list and the history, between scans.
#include <gmock/gmock.h>

#include "ScanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitNoInput;
using frontend::ExitThreats;
using testing::HasSubstr;
using testing::Not;

class RecordsOfScans : public ScanRun {
protected:
    RecordsOfScans() {
        MakeTables();
        Write("machine/song.exe", Bad());
        Write("machine/small/bad.exe", "short");
        Folder("user");
    }
    [[nodiscard]] Outcome OfRecords(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--user-data", UserData().string()});
        return Run(arguments);
    }
    /// Identifiers in the history, in its order.
    [[nodiscard]] std::vector<std::string> Recorded() const {
        const Outcome outcome = OfRecords({"history", "list", "--format", "jsonl"});
        EXPECT_EQ(outcome.code, ExitClean);
        EXPECT_EQ(outcome.err, "");
        const std::string before = "\"scan\":\"";
        std::vector<std::string> scans;
        for (std::size_t at = 0; (at = outcome.out.find(before, at)) != std::string::npos;) {
            at += before.size();
            scans.push_back(outcome.out.substr(at, outcome.out.find('"', at) - at));
        }
        return scans;
    }
};

TEST_F(RecordsOfScans, AnIgnoredThreatIsNotFound) {
    EXPECT_EQ(OfRecords({"ignore", "add", "9001"}).code, ExitClean);
    // The engine's own file is there from the first of them on, and must not change what the next one ignores.
    for (int scan = 0; scan < 3; ++scan) {
        const Outcome outcome = Scan();
        EXPECT_EQ(outcome.code, ExitThreats);
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.out, Not(HasSubstr("song.exe")));
        EXPECT_THAT(outcome.out, HasSubstr("1 threat found in 1 location\n"));
    }
}

TEST_F(RecordsOfScans, AMachineWithIgnoredThreatsAloneIsClean) {
    EXPECT_EQ(OfRecords({"ignore", "add", "9001", "9002"}).code, ExitClean);
    EXPECT_EQ(Scan().code, ExitClean);
    EXPECT_EQ(Scan().code, ExitClean);
}

TEST_F(RecordsOfScans, AThreatThatIsNoLongerIgnoredIsFoundAgain) {
    EXPECT_EQ(OfRecords({"ignore", "add", "9001", "9002"}).code, ExitClean);
    EXPECT_EQ(Scan().code, ExitClean);
    EXPECT_EQ(OfRecords({"ignore", "remove", "9002"}).code, ExitClean);
    EXPECT_THAT(Scan().out, HasSubstr("Example.Trojan.Two"));
    EXPECT_EQ(OfRecords({"ignore", "remove", "9001"}).code, ExitClean);
    EXPECT_THAT(Scan().out, HasSubstr("2 threats found in 2 locations\n"));
}

TEST_F(RecordsOfScans, WhatAnotherProgramIgnoredByTheEnginesFileIsFound) {
    // As the reader takes it: 9001.
    Write("user/kelIgnoredThreatData.sdb", std::string("\x29\x23\0\0", 4));
    EXPECT_THAT(Scan().out, HasSubstr("2 threats found in 2 locations\n"));
}

TEST_F(RecordsOfScans, NoScanBeginsWithAnIgnoreListThatCanNotBeRead) {
    Write("user/ombrelane-ignored.txt", "9001\nmore\n");
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitNoInput);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("line 2 of the ignore list"));
}

TEST_F(RecordsOfScans, ScansAreOnRecord) {
    EXPECT_EQ(Scan().code, ExitThreats);
    EXPECT_EQ(Scan().code, ExitThreats);
    const auto scans = Recorded();
    ASSERT_EQ(scans.size(), 2U);
    const Outcome shown = OfRecords({"history", "show", scans[1]});
    EXPECT_EQ(shown.code, ExitClean);
    EXPECT_THAT(shown.out, HasSubstr("  detected  2 threats in 2 locations\n"));
    EXPECT_THAT(shown.out, HasSubstr("Example.Adware.One  (threat 9001)\n  Adware, risk High\n"
                                     "  file      C:\\song.exe\n"));
    EXPECT_EQ(OfRecords({"history", "delete", scans[0]}).code, ExitClean);
    EXPECT_EQ(Recorded(), std::vector<std::string>{scans[1]});
    EXPECT_EQ(OfRecords({"history", "show", scans[0]}).code, ExitNoInput);
}

TEST_F(RecordsOfScans, ThreatsAndDiagnosticsReadTheScansFolders) {
    EXPECT_EQ(Scan().code, ExitThreats);
    const Outcome threats = OfRecords({"threats", "list", "--data", Data().string()});
    EXPECT_EQ(threats.code, ExitClean);
    EXPECT_THAT(threats.out, HasSubstr("Example.Trojan.Two\n"));
    const Outcome diagnostics = OfRecords({"diagnostics", "--data", Data().string()});
    EXPECT_EQ(diagnostics.code, ExitClean);
    EXPECT_EQ(diagnostics.err, "");
    EXPECT_THAT(diagnostics.out, HasSubstr("DBVersionThreatData: 105\n"));
}

}  // namespace
}  // namespace kel::test
