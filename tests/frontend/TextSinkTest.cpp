// The layout for people.
#include "frontend/TextSink.h"

#include <gmock/gmock.h>

#include "CapturedStream.h"
#include "support/EngineTest.h"

namespace kel::frontend {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TextLayout : public test::EngineTest {
protected:
    TextSink& Sink() { return sink_; }
    TextSink& Coloured() { return coloured_; }
    [[nodiscard]] std::vector<std::string> Lines() const { return stream_.Lines(); }
    [[nodiscard]] std::string Diagnostics() const { return diagnostics_.Text(); }

    static FindingRecord Found(std::int32_t threat, const std::string& kind, const std::string& location) {
        FindingRecord finding;
        finding.threat = threat;
        finding.name = "Example." + std::to_string(threat);
        finding.category = "Adware";
        finding.level = 2;
        finding.levelName = "Low";
        finding.kind = kind;
        finding.location = location;
        return finding;
    }
    static SummaryRecord Counts(std::int64_t threats, std::int64_t locations, std::int64_t files) {
        SummaryRecord summary;
        summary.complete = true;
        summary.threats = threats;
        summary.locations = locations;
        summary.files = files;
        summary.seconds = 12.345;
        return summary;
    }

private:
    test::CapturedStream stream_;
    test::CapturedStream diagnostics_;
    Output out_{stream_.File()};
    TextSink sink_{out_, diagnostics_.File(), false};
    TextSink coloured_{out_, diagnostics_.File(), true};
};

TEST_F(TextLayout, TheFirstLineTellsWhatIsScanned) {
    Sink().Start({"1", "/mnt/c", {"C:\\", "D:\\"}, "deep", "105", {}});
    EXPECT_THAT(Lines(), ElementsAre("Scanning C:\\, D:\\ of /mnt/c, depth deep, signature data 105"));
}

TEST_F(TextLayout, TheSecondWhatTheMachineCanNotHave) {
    Sink().Start({"1", "live", {"C:\\Temp"}, "shallow", "7", {"processes", "registry"}});
    EXPECT_THAT(Lines(), ElementsAre("Scanning C:\\Temp of live, depth shallow, signature data 7",
                                     "Not available on this machine: processes, registry"));
}

TEST_F(TextLayout, StagesAreALineAndStandForTheDrivesWhereNoneIsWalked) {
    StartRecord start{"1", "live", {"C:\\"}, "deep", "7", {}};
    start.stages = {"common", "drives"};
    Sink().Start(start);
    start.targets.clear();
    start.stages = {"registry", "cookies"};
    Sink().Start(start);
    EXPECT_THAT(Lines(), ElementsAre("Scanning C:\\ of live, depth deep, signature data 7", "Stages: common, drives",
                                     "Scanning registry, cookies of live, depth deep, signature data 7",
                                     "Stages: registry, cookies"));
}

TEST_F(TextLayout, TheOnlyThreatIsNamed) {
    StartRecord start{"1", "live", {}, "deep", "7", {}};
    start.threat = 12;
    Sink().Start(start);
    EXPECT_THAT(Lines(), ElementsAre("Looking for threat 12 on live, signature data 7"));
}

TEST_F(TextLayout, LocationsOfAllKindsCountAsScanned) {
    SummaryRecord summary = Counts(0, 0, 1);
    summary.processes = 10;
    summary.registry = 100;
    summary.cookies = 1000;
    Sink().Summary(summary);
    EXPECT_THAT(Lines(), ElementsAre("", "No threats found", "1111 locations scanned in 12.3 s"));
}

TEST_F(TextLayout, NothingFoundIsThreeLines) {
    Sink().Summary(Counts(0, 0, 1));
    EXPECT_THAT(Lines(), ElementsAre("", "No threats found", "1 location scanned in 12.3 s"));
}

TEST_F(TextLayout, FindingsStandBelowTheirThreatInTheOrderOfTheirComing) {
    Sink().Finding(Found(7, "file", "C:\\b.exe"));
    Sink().Finding(Found(3, "registry", "HKEY_LOCAL_MACHINE\\Software\\X [Y]"));
    Sink().Finding(Found(7, "folder", "C:\\b"));
    Sink().Finding(Found(3, "cookie", "C:\\c.txt"));
    Sink().Finding(Found(3, "custom", "hosts file"));
    EXPECT_THAT(Lines(), IsEmpty());
    Sink().Summary(Counts(2, 5, 10));
    EXPECT_THAT(Lines(), ElementsAre("", "Example.7  (threat 7)", "  Adware, risk Low", "  file      C:\\b.exe",
                                     "  folder    C:\\b", "", "Example.3  (threat 3)", "  Adware, risk Low",
                                     "  registry  HKEY_LOCAL_MACHINE\\Software\\X [Y]", "  cookie    C:\\c.txt",
                                     "  custom    hosts file", "", "2 threats found in 5 locations",
                                     "10 locations scanned in 12.3 s"));
}

TEST_F(TextLayout, OneOfAKindIsCalledSo) {
    SummaryRecord summary = Counts(1, 1, 0);
    summary.unreadable = 1;
    summary.errors = 1;
    Sink().Summary(summary);
    EXPECT_THAT(Lines(), ElementsAre("", "1 threat found in 1 location", "0 locations scanned in 12.3 s",
                                     "1 file or folder could not be read", "1 failure reported in errors.log"));
}

TEST_F(TextLayout, WhatWentWrongIsCounted) {
    SummaryRecord summary = Counts(0, 0, 5);
    summary.unreadable = 2;
    summary.errors = 3;
    summary.complete = false;
    Sink().Summary(summary);
    EXPECT_THAT(Lines(), ElementsAre("", "No threats found", "5 locations scanned in 12.3 s",
                                     "2 files and folders could not be read", "3 failures reported in errors.log",
                                     "The scan is not complete"));
}

TEST_F(TextLayout, AnAbortTellsItsReasonInsteadOfThatItIsNotComplete) {
    SummaryRecord summary = Counts(0, 0, 5);
    summary.complete = false;
    summary.abortReason = "Interrupted by the user";
    Sink().Summary(summary);
    EXPECT_EQ(Lines().back(), "The scan was aborted: Interrupted by the user");
    EXPECT_EQ(Lines().size(), 4U);
}

TEST_F(TextLayout, ErrorsGoToTheDiagnosticsAtOnce) {
    Sink().Error({"unreadable", "can't be read (error 5)", "C:\\locked.exe"});
    EXPECT_EQ(Diagnostics(), "ombrelane: C:\\locked.exe: can't be read (error 5)\n");
    Sink().Error({"engine", "modX.Load: it failed", {}});
    EXPECT_EQ(Diagnostics(), "ombrelane: C:\\locked.exe: can't be read (error 5)\nombrelane: modX.Load: it failed\n");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TextLayout, ColoursMarkTheThreatAndTheOutcome) {
    Coloured().Start({"1", "/mnt/c", {"C:\\"}, "deep", "105", {}});
    Coloured().Finding(Found(7, "file", "C:\\b.exe"));
    Coloured().Summary(Counts(1, 1, 2));
    EXPECT_THAT(Lines(),
                ElementsAre("Scanning C:\\ of /mnt/c, depth deep, signature data 105", "",
                            "\x1b[1;31mExample.7  (threat 7)\x1b[0m", "  Adware, risk Low", "  file      C:\\b.exe", "",
                            "\x1b[1m1 threat found in 1 location\x1b[0m", "2 locations scanned in 12.3 s"));
}

TEST_F(TextLayout, GreenIsOnlyWhatCouldBeLookedAtAltogether) {
    Coloured().Summary(Counts(0, 0, 2));
    EXPECT_EQ(Lines()[1], "\x1b[32mNo threats found\x1b[0m");
}

TEST_F(TextLayout, NothingFoundIsYellowWhenSomethingWasNotLookedAt) {
    for (int reason = 0; reason < 3; ++reason) {
        test::CapturedStream stream;
        Output out(stream.File());
        SummaryRecord summary = Counts(0, 0, 2);
        summary.complete = reason != 0;
        summary.unreadable = reason == 1 ? 1 : 0;
        summary.errors = reason == 2 ? 1 : 0;
        TextSink(out, stream.File(), true).Summary(summary);
        const auto lines = stream.Lines();
        EXPECT_EQ(lines[1], "\x1b[33mNo threats found\x1b[0m") << reason;
        EXPECT_EQ(lines.back().substr(0, 5), "\x1b[33m") << reason;
        EXPECT_EQ(lines.back().substr(lines.back().size() - 4), "\x1b[0m") << reason;
    }
}

TEST_F(TextLayout, NoTextOfTheMachineSteersTheTerminal) {
    const std::string evil = "a\x1b[2J\nb\r\x07";
    const std::string safe = "a?[2J?b??";
    Sink().Start({"1", evil, {evil}, "deep", evil, {}});
    FindingRecord finding = Found(7, "file", evil);
    finding.name = finding.category = finding.levelName = evil;
    Sink().Finding(finding);
    SummaryRecord summary = Counts(1, 1, 2);
    summary.abortReason = evil;
    Sink().Summary(summary);
    Sink().Error({"unreadable", evil, evil});
    EXPECT_THAT(Lines(), ElementsAre("Scanning " + safe + " of " + safe + ", depth deep, signature data " + safe, "",
                                     safe + "  (threat 7)", "  " + safe + ", risk " + safe, "  file      " + safe, "",
                                     "1 threat found in 1 location", "2 locations scanned in 12.3 s",
                                     "The scan was aborted: " + safe));
    EXPECT_EQ(Diagnostics(), "ombrelane: " + safe + ": " + safe + "\n");
}

}  // namespace
}  // namespace kel::frontend
