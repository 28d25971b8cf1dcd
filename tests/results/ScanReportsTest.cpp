// The reports of a scan. With KEL_UPDATE_GOLDEN=FOLDER in the environment, the tests that compare with golden/ write
// what they got to that folder as well.
#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "GoldenReports.h"
#include "catalogue/ThreatLite.h"
#include "core/Text.h"
#include "decorators/ForwardingSystem.h"
#include "results/EscapeXMLText.h"
#include "support/ProgramFile.h"
#include "support/ScanTest.h"

namespace kel::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using namespace std::string_literals;

constexpr Date Start{38425.25};
constexpr Date End{38425.5};

// The same texts of dates on every machine.
class FixedDates : public decorators::ForwardingClock {
public:
    using ForwardingClock::ForwardingClock;
    std::string DateText(Date date) override {
        return date == Start ? "3/14/2005 6:00:00 AM" : date == End ? "3/14/2005 12:00:00 PM" : "another date";
    }
};

struct ReportCase {
    const char* name;
    std::string (Scan::*report)();
};
void PrintTo(const ReportCase& report, std::ostream* stream) {
    *stream << report.name;
}

constexpr ReportCase Reports[] = {
    {"Summary", &Scan::ScanResultsSummary},   {"Full", &Scan::ScanResultsFull},
    {"Files", &Scan::ScanResultsFiles},       {"Folders", &Scan::ScanResultsFolders},
    {"Registry", &Scan::ScanResultsRegistry}, {"Cookies", &Scan::ScanResultsCookies},
};

const std::string Frame =
    "<ScanResultsXML startdate=\"3/14/2005 6:00:00 AM\" enddate=\"3/14/2005 12:00:00 PM\">\r\n<Threats>\r\n</Threats>"
    "\r\n</ScanResultsXML>";

class ScanReports : public ScanTest {
protected:
    ScanReports() : clock_(*Machine().clock) {
        platform::Platform machine = Machine();
        machine.clock = &clock_;
        Install(machine);
        scan = BareScan();
        scan->StartDate = Start;
        scan->EndDate = End;
    }
    ~ScanReports() override { Install(Machine()); }

    DetectedThreat& Detect(std::int32_t id, const std::string& name) {
        const auto threat = std::make_shared<DetectedThreat>();
        threat->ThreatID = id;
        threat->Threat = std::make_shared<ThreatLite>();
        threat->Threat->ThreatID = id;
        threat->Threat->ThreatName = name;
        threat->Threat->Category = "adware";
        threat->Threat->ThreatType = "program";
        threat->Threat->ThreatLevel = 2;
        threat->Threat->DescriptionShort = "Number " + std::to_string(id) + ".";
        scan->DetectedThreats()->Add(threat, "ThreatID:" + std::to_string(id));
        return *threat;
    }
    ThreatLocationFile& AddFile(DetectedThreat& threat, std::string_view path) {
        const auto file = std::make_shared<ThreatLocationFile>(path);
        threat.ThreatLocationFiles->Add(file);
        ++scan->DetectedFileCount;
        return *file;
    }
    void AddFolder(DetectedThreat& threat, std::string_view path) {
        threat.ThreatLocationFolders->Add(std::make_shared<ThreatLocationFolder>(path));
        ++scan->DetectedFileCount;
    }
    ThreatLocationRegKey& AddRegKey(DetectedThreat& threat, platform::Hive hive, const std::string& key) {
        const auto location = std::make_shared<ThreatLocationRegKey>(hive, key);
        threat.ThreatLocationRegKeys->Add(location);
        ++scan->DetectedRegistryCount;
        return *location;
    }
    void AddCookie(DetectedThreat& threat, const std::string& name, const std::string& path) {
        const auto cookie = std::make_shared<ThreatLocationCookie>();
        cookie->Cookie = name;
        cookie->DetectedFilePath = path;
        threat.ThreatLocationCookies->Add(cookie);
        ++scan->DetectedCookieCount;
    }

    std::shared_ptr<Scan> scan;

private:
    FixedDates clock_;
};

std::string ProgramWith(const char* string, const char* text) {
    VersionRecord record;
    record.tables.emplace_back().strings = {{string, text}};
    return MakeProgram(ProgramKind::Pe32, record);
}

// Everything that the formats tell apart, in one scan.
class GoldenReports : public ScanReports, public ::testing::WithParamInterface<ReportCase> {
protected:
    GoldenReports() {
        DetectedThreat& all = Detect(7, "Gold & \"Silver\" <Co>'s");
        all.Threat->Category = "adware & more";
        all.Threat->ThreatType = "\"dialer\" <1>";
        all.Threat->ThreatLevel = 0;
        all.Threat->DescriptionShort = "Sends 'everything' <home> & back.";
        const std::string program = Folder() + "it's & 1.exe";
        WriteFile(program, ProgramWith("CompanyName", "Blue & Sons <\"Ltd\">"));
        AddFile(all, program).MD5 = "00112233445566778899aabbccddeeff";
        const std::string unknown = Folder() + "no publisher.exe";
        WriteFile(unknown, ProgramWith("FileDescription", "x"));
        AddFile(all, unknown).FileName = "no publisher & more.exe";
        AddFile(all, "C:\\gone\\a&b.dll").MD5 = "raw & <md5>";
        AddFolder(all, "C:\\Program Files\\Gold & \"Silver\" <Co>");
        AddFolder(all, "C:\\gold\\");
        AddRegKey(all, platform::HiveLocalMachine, "Software\\Gold & Silver <Co>");
        ThreatLocationRegKey& value = AddRegKey(all, platform::HiveCurrentUser, "Software\\Run");
        value.SetRegValueName("gold & 'silver'");
        value.SetRegValueData("\"C:\\gold & silver.exe\" /s <1>");
        AddCookie(all, "ads.example & co", "C:\\cookies\\anna@ads<1>.txt");
        AddCookie(all, "tracker.example", "C:\\cookies\\anna's@tracker.txt");

        AddFile(Detect(8, ""), "C:\\nameless.exe");

        DetectedThreat& cookies = Detect(9, "Cookies only");
        AddCookie(cookies, "c.example", "C:\\cookies\\c.txt");

        DetectedThreat& files = Detect(10, "Files only");
        files.Threat->DescriptionShort.clear();
        AddFile(files, "C:\\f.exe");

        AddFolder(Detect(11, "Folders only"), "C:\\folder");
        AddRegKey(Detect(12, "Registry only"), platform::HiveClassesRoot, "CLSID\\{1}");

        DetectedThreat& custom = Detect(13, "Custom only");
        const auto location = std::make_shared<ThreatLocationCustom>(1);
        location->DisplayData = "not in any report";
        custom.ThreatLocationCustoms->Add(location);
    }
};

TEST_P(GoldenReports, MatchToTheByte) {
    const std::string report = Replace(((*scan).*GetParam().report)(), EscapeXMLText(Folder()), "C:\\machine\\");
    EXPECT_THAT(Reported(), IsEmpty());
    if (const char* folder = std::getenv("KEL_UPDATE_GOLDEN")) {
        std::ofstream(std::string(folder) + "/" + GetParam().name + ".xml", std::ios::binary) << report;
    }
    EXPECT_EQ(report, GoldenReport(GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(Each, GoldenReports, ::testing::ValuesIn(Reports));

TEST_F(ScanReports, OfACleanScanTwoAreEmptyAndFourAreTheFrame) {
    EXPECT_EQ(scan->ScanResultsCookies(), "");
    EXPECT_EQ(scan->ScanResultsRegistry(), "");
    EXPECT_EQ(scan->ScanResultsFiles(), Frame);
    EXPECT_EQ(scan->ScanResultsFolders(), Frame);
    EXPECT_EQ(scan->ScanResultsSummary(), Frame);
    EXPECT_EQ(scan->ScanResultsFull(), Frame);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ScanReports, DatesAreThoseOfTheMachine) {
    Install(Machine());
    EXPECT_THAT(scan->ScanResultsFull(), HasSubstr("<ScanResultsXML startdate=\"" + DateText(Start) + "\" enddate=\"" +
                                                   DateText(End) + "\">\r\n"));
}

TEST_F(ScanReports, AThreatWithFilesOnlyHasEmptySectionsInTheFullOneAndIsAbsentFromTheRegistrys) {
    AddFile(Detect(1, "Files"), "C:\\f.exe");
    AddRegKey(Detect(2, "Registry"), platform::HiveUsers, "key");
    EXPECT_THAT(scan->ScanResultsRegistry(), Not(HasSubstr("threatid=\"1\"")));
    EXPECT_THAT(scan->ScanResultsRegistry(), HasSubstr("threatid=\"2\""));
    EXPECT_THAT(
        scan->ScanResultsFull(),
        HasSubstr("<File nam=\"\" md5=\"\" pub=\"\"> C:\\f.exe</File>\r\n</Files>\r\n<Folders>\r\n</Folders>\r\n"
                  "<RegKeys>\r\n</RegKeys>\r\n<Cookies>\r\n</Cookies>\r\n</Threat>\r\n"));
}

TEST_F(ScanReports, TheCounterDecidesWhetherThereIsAReportOnCookiesOrTheRegistry) {
    DetectedThreat& threat = Detect(1, "One");
    AddCookie(threat, "c.example", "C:\\c.txt");
    AddRegKey(threat, platform::HiveUsers, "key");
    scan->DetectedCookieCount = 0;
    scan->DetectedRegistryCount = 0;
    EXPECT_EQ(scan->ScanResultsCookies(), "");
    EXPECT_EQ(scan->ScanResultsRegistry(), "");
    scan->DetectedCookieCount = 5;
    scan->DetectedThreats() = nullptr;
    EXPECT_EQ(scan->ScanResultsCookies(), Frame);
}

TEST_F(ScanReports, TheNameIsEscapedAndTheCategoryIsNot) {
    DetectedThreat& threat = Detect(1, "A & B");
    threat.Threat->Category = "x & y";
    EXPECT_THAT(scan->ScanResultsFull(), HasSubstr("<Threat threatid=\"1\" nam=\"A &amp; B\" category=\"x & y\" "));
    EXPECT_THAT(scan->ScanResultsSummary(), HasSubstr("<Threat threatid=\"1\" name=\"A &amp; B\" category=\"x & y\" "));
}

TEST_F(ScanReports, AValuesDataLosesItsDoubleQuotes) {
    ThreatLocationRegKey& value = AddRegKey(Detect(1, "One"), platform::HiveCurrentUser, "Run");
    value.SetRegValueName("a \"name\"");
    value.SetRegValueData("\"C:\\a.exe\" /x");
    const std::string line =
        "<RegKey reghive=\"-2147483647\" regkey=\"Run\" regvaluename=\"a &quot;name&quot;\" "
        "regvaluedata=\"C:\\a.exe /x\"></RegKey>\r\n";
    EXPECT_THAT(scan->ScanResultsRegistry(), HasSubstr(line));
    EXPECT_THAT(scan->ScanResultsFull(), HasSubstr(line));
}

TEST_F(ScanReports, ANulInAPathIsRemoved) {
    AddFile(Detect(1, "One"), "C:\\a\0b.exe"s);
    EXPECT_THAT(scan->ScanResultsFiles(), HasSubstr("> C:\\ab.exe</File>\r\n"));
}

TEST_F(ScanReports, AFolderIsShownThoughItCountsAmongTheFiles) {
    const std::string folder = Folder() + "found";
    scan->AddDetectedThreatFolder(ScanTypeFolder, 1, folder);
    scan->DetectedThreats()->Item(1)->Threat->ThreatName = "One";
    EXPECT_EQ(scan->DetectedFileCount, 1);
    EXPECT_EQ(scan->DetectedFolderCount, 0);
    EXPECT_THAT(scan->ScanResultsFolders(), HasSubstr("<Folder> " + folder + "</Folder>\r\n"));
}

TEST_F(ScanReports, AThreatWithoutANameIsInTheFullOneAlone) {
    AddFile(Detect(1, ""), "C:\\a.exe");
    EXPECT_EQ(scan->ScanResultsFiles(), Frame);
    EXPECT_EQ(scan->ScanResultsSummary(), Frame);
    EXPECT_THAT(scan->ScanResultsFull(), HasSubstr("threatid=\"1\" nam=\"\""));
}

TEST_F(ScanReports, ElementsOfTheSummaryStandOnOneLine) {
    Detect(1, "One");
    Detect(2, "Two");
    EXPECT_THAT(scan->ScanResultsSummary(), HasSubstr("desc=\"Number 1.\">\r\n</Threat><Threat threatid=\"2\""));
    EXPECT_THAT(scan->ScanResultsSummary(), HasSubstr("desc=\"Number 2.\">\r\n</Threat></Threats>\r\n"));
}

TEST_P(GoldenReports, AFailureIsReportedUnderTheOperationAndGivesNothing) {
    Detect(99, "Broken").Threat.reset();
    scan->DetectedThreats()->Item("ThreatID:99")->ThreatLocationFiles.reset();
    scan->DetectedThreats()->Item("ThreatID:99")->ThreatLocationFolders.reset();
    scan->DetectedThreats()->Item("ThreatID:99")->ThreatLocationRegKeys.reset();
    scan->DetectedThreats()->Item("ThreatID:99")->ThreatLocationCookies.reset();
    EXPECT_EQ(((*scan).*GetParam().report)(), "");
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Scan");
    EXPECT_EQ(Reported()[0].procedure, "ScanResults"s + GetParam().name);
    EXPECT_EQ(Reported()[0].number, "91");
}

TEST(XmlText, EscapesEachCharacterOnceAndDropsNul) {
    EXPECT_EQ(EscapeXMLText("a&b\"c'd<e>f\0g&amp;"s), "a&amp;b&quot;c&apos;d&lt;e&gt;fg&amp;amp;");
    EXPECT_EQ(EscapeXMLText(""), "");
}

}  // namespace
}  // namespace kel::test
