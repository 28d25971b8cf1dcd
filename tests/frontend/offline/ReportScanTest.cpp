// The engine's reports, byte for byte, and where each output goes.
#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "PrefixRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using frontend::ExitIncomplete;
using frontend::ExitThreats;
using frontend::ExitUsage;
using testing::HasSubstr;
using testing::StartsWith;

class ReportScan : public PrefixRun {
protected:
    [[nodiscard]] std::string Named(const std::string& name) const { return (Root() / name).string(); }
    [[nodiscard]] static std::string Content(const std::string& file) {
        std::ostringstream text;
        text << std::ifstream(file, std::ios::binary).rdbuf();
        return text.str();
    }
    /// Without its dates, which change.
    [[nodiscard]] static std::string Undated(const std::string& report) {
        const std::size_t end = report.find("\">\r\n");
        EXPECT_THAT(report, StartsWith("<ScanResultsXML startdate=\""));
        return end == std::string::npos ? report : report.substr(end + 2);
    }
    static constexpr const char* Frame = "\r\n<Threats>\r\n";
    static constexpr const char* FrameEnd = "</Threats>\r\n</ScanResultsXML>";
};

TEST_F(ReportScan, TheRegistryReportIsTheEnginesToTheByte) {
    const Outcome outcome = Scan({"--registry", "--report", "registry"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    const std::string report = Undated(outcome.out);
    const std::size_t description = report.find(" desc=\"");
    const std::size_t end = report.find("\">\r\n", description);
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(report.substr(0, description), std::string(Frame) +
                                                 "<Threat threatid=\"2\" name=\"Example.Value\" category=\"Adware\" "
                                                 "threattype=\"Adware\" threatlevel=\"2\"");
    EXPECT_EQ(report.substr(end),
              "\">\r\n<RegKeys>\r\n<RegKey reghive=\"-2147483646\" regkey=\"Software\\Example\" "
              "regvaluename=\"Banner\" regvaluedata=\"\"></RegKey>\r\n</RegKeys>\r\n</Threat>\r\n" +
                  std::string(FrameEnd));
}

TEST_F(ReportScan, EachKindIsTheReportOfThatKind) {
    const std::pair<const char*, const char*> rows[] = {
        {"summary", "</Threat><Threat threatid="},
        {"full", "<Threat threatid=\"3\" nam=\"Example.Crumb\""},
        {"files", "\"> C:\\users\\ada\\Desktop\\pic.exe</File>\r\n"},
        {"folders", "<Folder> "},
        {"registry", "<RegKey reghive=\"-2147483646\""},
        {"cookies", "<Cookie name=\"crumb.example\" file=\""},
    };
    for (const auto& [kind, part] : rows) {
        const Outcome outcome = Scan({"--report", kind});
        EXPECT_EQ(outcome.code, ExitThreats);
        EXPECT_THAT(Undated(outcome.out), HasSubstr(part)) << kind;
        EXPECT_THAT(outcome.out, testing::EndsWith("</ScanResultsXML>"));
        EXPECT_EQ(outcome.err, "ombrelane: not available on this machine: processes\n");
    }
}

TEST_F(ReportScan, WhereTheEngineHasNothingToTellTheReportIsEmpty) {
    const Outcome outcome = Scan({"--registry", "--report", "cookies"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.out, "");
}

TEST_F(ReportScan, XmlIsTheFullReport) {
    const Outcome xml = Scan({"--format", "xml"});
    EXPECT_EQ(xml.code, ExitThreats);
    EXPECT_EQ(Undated(xml.out), Undated(Scan({"--report", "full"}).out));
    const Outcome filed = Scan({"--format", "xml", "-o", Named("scan.xml")});
    EXPECT_EQ(filed.out, "");
    EXPECT_EQ(Undated(Content(Named("scan.xml"))), Undated(xml.out));
}

TEST_F(ReportScan, TheReportGoesToTheFileAndTheResultsStay) {
    const Outcome outcome = Scan({"--cookies", "--report", "cookies", "-o", Named("cookies.xml"), "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_THAT(outcome.out, StartsWith("{\"type\":\"start\","));
    EXPECT_THAT(Content(Named("cookies.xml")), HasSubstr("<Cookie name=\"crumb.example\""));
    const Outcome text = Scan({"--cookies", "--report", "summary", "--output", Named("summary.xml")});
    EXPECT_THAT(text.out, HasSubstr("1 threat found in 1 location\n"));
    EXPECT_THAT(Content(Named("summary.xml")), HasSubstr("</Threat></Threats>"));
    const Outcome both = Scan({"--cookies", "--report", "summary", "-o", Named("s.xml"), "--format", "xml"});
    EXPECT_THAT(both.out, HasSubstr("nam=\"Example.Crumb\""));
    EXPECT_THAT(Content(Named("s.xml")), HasSubstr("name=\"Example.Crumb\""));
}

TEST_F(ReportScan, WithoutAReportTheFileTakesTheResults) {
    const Outcome lines = Scan({"--cookies", "--format", "jsonl", "-o", Named("scan.jsonl")});
    EXPECT_EQ(lines.code, ExitThreats);
    EXPECT_EQ(lines.out, "");
    EXPECT_EQ(Lines(Content(Named("scan.jsonl"))).size(), 3U);
    EXPECT_EQ(Scan({"--cookies", "-o", Named("scan.txt")}).out, "");
    EXPECT_THAT(Content(Named("scan.txt")), HasSubstr("Example.Crumb  (threat 3)\n"));
}

TEST_F(ReportScan, AFileThatCanNotBeMadeIsToldBeforeTheScan) {
    const Outcome outcome = Scan({"--cookies", "-o", Named("none/scan.txt")});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "ombrelane scan: the results could not be written: " + Named("none/scan.txt") +
                               ": No such file or "
                               "directory\n");
}

TEST_F(ReportScan, AFullDiskIsTold) {
    for (const auto& more :
         std::vector<std::vector<std::string>>{{"--format", "html"}, {"--format", "xml"}, {"--report", "files"}}) {
        std::vector<std::string> arguments{"--cookies", "-o", "/dev/full"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = Scan(arguments);
        EXPECT_EQ(outcome.code, ExitIncomplete);
        EXPECT_EQ(outcome.err, "ombrelane scan: the results could not be written: No space left on device\n");
    }
}

TEST_F(ReportScan, OneStreamForTwoOutputsIsAUsageError) {
    const Outcome outcome = Scan({"--report", "full", "--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitUsage);
    EXPECT_THAT(outcome.err, HasSubstr("--report and --format both go to standard output"));
}

}  // namespace
}  // namespace kel::test
