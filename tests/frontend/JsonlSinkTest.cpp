// The lines of --format jsonl: every field, its place and its type.
#include "frontend/JsonlSink.h"

#include <gmock/gmock.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "CapturedStream.h"
#include "support/EngineTest.h"

namespace kel::frontend {
namespace {

using testing::ElementsAre;

using testing::SizeIs;

class JsonlLines : public test::EngineTest {
protected:
    JsonlSink& Sink() { return sink_; }
    [[nodiscard]] std::string Text() const { return stream_.Text(); }
    /// The one line that was written, without its end.
    [[nodiscard]] std::string Line() const {
        const auto lines = stream_.Lines();
        EXPECT_THAT(lines, SizeIs(1));
        return lines.empty() ? "" : lines.front();
    }
    /// A text of the machine.
    static std::string OfMachine(std::string_view utf8) { return platform::Current().text->FromUtf8(utf8); }

    static FindingRecord File() {
        FindingRecord finding;
        finding.threat = 9001;
        finding.name = "Example.Adware.One";
        finding.category = "Adware";
        finding.level = 2;
        finding.levelName = "Low";
        finding.kind = "file";
        finding.location = "C:\\My Music\\a.exe";
        finding.md5 = "b48fe358795db0995c20ddec472f8725";
        finding.optionLevel = 3;
        return finding;
    }

private:
    test::CapturedStream stream_;
    Output out_{stream_.File()};
    JsonlSink sink_{out_};
};

TEST_F(JsonlLines, StartNamesWhatIsScannedAndWhatCanNotBe) {
    Sink().Start({"0A1B", "/mnt/c", {"C:\\", "D:\\"}, "deep", "105", {"processes", "registry"}});
    EXPECT_EQ(Line(), R"({"type":"start","scan":"0A1B","machine":"/mnt/c","targets":["C:\\","D:\\"],"depth":"deep",)"
                      R"("data_version":"105","not_available":["processes","registry"],"stages":[]})");
}

TEST_F(JsonlLines, StartNamesTheStagesAndTheOnlyThreat) {
    StartRecord start;
    start.stages = {"common", "cookies"};
    start.threat = 12;
    Sink().Start(start);
    const auto line = nlohmann::json::parse(Line());
    EXPECT_THAT(line.at("stages"), ElementsAre("common", "cookies"));
    EXPECT_EQ(line.at("threat"), 12);
}

TEST_F(JsonlLines, EmptyListsOfTheStartAreLists) {
    Sink().Start({});
    EXPECT_EQ(Line(), R"({"type":"start","scan":"","machine":"","targets":[],"depth":"","data_version":"",)"
                      R"("not_available":[],"stages":[]})");
}

TEST_F(JsonlLines, AFindingOfAFileHasItsHash) {
    Sink().Finding(File());
    EXPECT_EQ(Line(), R"({"type":"finding","threat":9001,"name":"Example.Adware.One","kind":"file",)"
                      R"("location":"C:\\My Music\\a.exe","category":"Adware","level":2,"option_level":3,)"
                      R"("md5":"b48fe358795db0995c20ddec472f8725"})");
}

TEST_F(JsonlLines, AFileWithoutAHashHasAnEmptyOneAndOtherKindsHaveNone) {
    FindingRecord finding = File();
    finding.md5.clear();
    Sink().Finding(finding);
    EXPECT_EQ(nlohmann::json::parse(Line()).at("md5"), "");
    finding = File();
    for (const char* kind : {"folder", "registry", "cookie", "custom"}) {
        test::CapturedStream stream;
        Output out(stream.File());
        finding.kind = kind;
        JsonlSink(out).Finding(finding);
        const auto line = nlohmann::json::parse(stream.Text());
        EXPECT_EQ(line.at("kind"), kind);
        EXPECT_FALSE(line.contains("md5")) << kind;
        EXPECT_EQ(line.size(), 8U);
    }
}

TEST_F(JsonlLines, AnErrorOfTheEngineHasNoLocation) {
    Sink().Error({"engine", "modX.Load: it failed", {}});
    EXPECT_EQ(Line(), R"({"type":"error","kind":"engine","message":"modX.Load: it failed"})");
}

TEST_F(JsonlLines, WhatIsUnreadableIsNamed) {
    Sink().Error({"unreadable", "can't be read (error 5)", "C:\\locked.exe"});
    EXPECT_EQ(
        Line(),
        R"~({"type":"error","kind":"unreadable","message":"can't be read (error 5)","location":"C:\\locked.exe"})~");
}

TEST_F(JsonlLines, TheSummaryHasEveryCount) {
    SummaryRecord summary;
    summary.complete = true;
    summary.threats = 1;
    summary.locations = 2;
    summary.files = 3'000'000'000;
    summary.errors = 4;
    summary.unreadable = 5;
    summary.seconds = 1.5;
    summary.processes = 6;
    summary.registry = 7;
    summary.cookies = 8;
    Sink().Summary(summary);
    EXPECT_EQ(Line(), R"({"type":"summary","complete":true,"threats":1,"locations":2,"files":3000000000,"errors":4,)"
                      R"("unreadable":5,"abort_reason":"","seconds":1.5,"processes":6,"registry":7,"cookies":8})");
}

TEST_F(JsonlLines, AnAbortedScanSaysWhy) {
    SummaryRecord summary;
    summary.abortReason = "Interrupted by the user";
    Sink().Summary(summary);
    EXPECT_EQ(Line(), R"({"type":"summary","complete":false,"threats":0,"locations":0,"files":0,"errors":0,)"
                      R"("unreadable":0,"abort_reason":"Interrupted by the user","seconds":0.0,)"
                      R"("processes":0,"registry":0,"cookies":0})");
}

TEST_F(JsonlLines, TextOfTheMachineIsWrittenInAscii) {
    FindingRecord finding = File();
    finding.location = OfMachine("C:\\Caf\xC3\xA9\\a.exe");
    finding.name = OfMachine(
        "\xC3\x9C"
        "ber");
    Sink().Finding(finding);
    EXPECT_THAT(Line(), testing::HasSubstr(R"("location":"C:\\Caf\u00e9\\a.exe")"));
    EXPECT_THAT(Line(), testing::HasSubstr(R"("name":"\u00dcber")"));
}

TEST_F(JsonlLines, ControlCharactersAndQuotesAreEscaped) {
    Sink().Error({"unreadable", "a\tb\"c", std::string("C:\\\x1b[31m\r\n\x07\x7f\0z", 14)});
    EXPECT_EQ(Line(), R"({"type":"error","kind":"unreadable","message":"a\tb\"c",)"
                      R"("location":"C:\\\u001b[31m\r\n\u0007\u007f\u0000z"})");
}

TEST_F(JsonlLines, EveryRecordIsOneLineOfPrintableAscii) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    FindingRecord finding = File();
    finding.name = finding.location = finding.category = all;
    Sink().Start({all, all, {all}, "deep", all, {}});
    Sink().Finding(finding);
    Sink().Error({"engine", all, all});
    SummaryRecord summary;
    summary.abortReason = all;
    Sink().Summary(summary);
    const std::string text = Text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
    EXPECT_EQ(text.back(), '\n');
    for (const char byte : text) {
        EXPECT_TRUE(byte == '\n' || (byte >= 0x20 && byte < 0x7f)) << static_cast<int>(byte);
    }
}

#ifndef _WIN32

// On Windows every byte is a character of the code page.
TEST_F(JsonlLines, BytesThatAreNoTextBecomeTheMarkForThat) {
    Sink().Error({"unreadable", "x",
                  "C:\\a\xFF"
                  "b\xC3"
                  "c\xED\xA0\x80"});
    const auto line = nlohmann::json::parse(Line());
    const std::string location = line.at("location");
    EXPECT_EQ(location.substr(0, 7), "C:\\a\xEF\xBF\xBD");
    EXPECT_THAT(location, testing::MatchesRegex("C:.a\xEF\xBF\xBD"
                                                "b\xEF\xBF\xBD"
                                                "c(\xEF\xBF\xBD)+"));
}

TEST_F(JsonlLines, TheNameOfTheMachineMayHoldAnyByte) {
    Sink().Start({"1", "/mnt/\xFF", {"C:\\\xFE"}, "deep", "105", {}});
    const auto line = nlohmann::json::parse(Line());
    EXPECT_EQ(line.at("machine"), "/mnt/\xEF\xBF\xBD");
    EXPECT_THAT(line.at("targets"), ElementsAre("C:\\\xEF\xBF\xBD"));
}

#endif

}  // namespace
}  // namespace kel::frontend
