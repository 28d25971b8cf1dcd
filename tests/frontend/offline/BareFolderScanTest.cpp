// Scans of a folder that is a machine without a registry: what is found, what is said, and the exit codes.
#include <gmock/gmock.h>

#include "ScanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitThreats;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class BareFolderScan : public ScanRun {
protected:
    BareFolderScan() { MakeTables(); }
    /// Locations of the findings of a run with JSON lines.
    std::vector<std::string> Found(std::vector<std::string> more) const {
        more.insert(more.end(), {"--format", "jsonl"});
        const Outcome outcome = Scan(more);
        EXPECT_EQ(outcome.err, "");
        std::vector<std::string> locations;
        for (const std::string& line : Lines(outcome.out)) {
            const std::string key = "\"location\":\"";
            const std::size_t at = line.find(key);
            if (line.find("\"finding\"") != std::string::npos && at != std::string::npos) {
                locations.push_back(line.substr(at + key.size(), line.find("\",\"", at) - at - key.size()));
            }
        }
        EXPECT_EQ(outcome.code, locations.empty() ? ExitClean : ExitThreats);
        return locations;
    }
};

TEST_F(BareFolderScan, ACleanMachineIsCodeZero) {
    Write("machine/Docs/letter.txt", "hello");
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitClean);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(Lines(outcome.out),
                ElementsAre("Scanning C:\\ of <root>/machine, depth deep, signature data 105",
                            "Stages: common, drives, cookies", "Not available on this machine: processes, registry", "",
                            "No threats found", "16 locations scanned in <seconds> s"));
}

TEST_F(BareFolderScan, ThreatsAreCodeOne) {
    Write("machine/My Music/song.exe", Bad());
    Write("machine/small/BAD.exe", "short");
    Write("machine/small/good.exe", "short");
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(
        Lines(outcome.out),
        ElementsAre("Scanning C:\\ of <root>/machine, depth deep, signature data 105",
                    "Stages: common, drives, cookies", "Not available on this machine: processes, registry", "",
                    "Example.Adware.One  (threat 9001)", "  Adware, risk High", "  file      C:\\My Music\\song.exe",
                    "", "Example.Trojan.Two  (threat 9002)", "  Trojan, risk Severe", "  file      C:\\small\\BAD.exe",
                    "", "2 threats found in 2 locations", "21 locations scanned in <seconds> s"));
}

TEST_F(BareFolderScan, JsonLinesTellTheSame) {
    Write("machine/My Music/song.exe", Bad());
    Write("machine/small/BAD.exe", "short");
    const Outcome outcome = Scan({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(
        Lines(outcome.out),
        ElementsAre(R"({"type":"start","scan":"<scan>","machine":"<root>/machine","targets":["C:\\"],"depth":"deep",)"
                    R"("data_version":"105","not_available":["processes","registry"],)"
                    R"("stages":["common","drives","cookies"]})",
                    R"({"type":"finding","threat":9001,"name":"Example.Adware.One","kind":"file",)"
                    R"("location":"C:\\My Music\\song.exe","category":"Adware","level":2,"option_level":0,"md5":")" +
                        HashOf(Bad()) + "\"}",
                    R"({"type":"finding","threat":9002,"name":"Example.Trojan.Two","kind":"file",)"
                    R"("location":"C:\\small\\BAD.exe","category":"Trojan","level":1,"option_level":0,"md5":""})",
                    R"({"type":"summary","complete":true,"threats":2,"locations":2,"files":19,"errors":0,)"
                    R"("unreadable":0,"abort_reason":"","seconds":<seconds>,"processes":0,"registry":0,"cookies":0})"));
}

TEST_F(BareFolderScan, EachScanHasAnIdentifierOfItsOwnOfThirtyCharacters) {
    const std::string before = "\"scan\":\"";
    const auto identifier = [&] {
        const std::string text = Scan({"--format", "jsonl"}).out;
        const std::size_t from = text.find(before) + before.size();
        return text.substr(from, text.find('"', from) - from);
    };
    const std::string first = identifier();
    EXPECT_EQ(first.size(), 30U);
    EXPECT_NE(identifier(), first);
}

TEST_F(BareFolderScan, WithoutATerminalThereAreNoColoursAndNoProgress) {
    Write("machine/song.exe", Bad());
    const Outcome outcome =
        Run({"scan", "--machine", Machine().string(), "--data", Data().string(), "--user-data", UserData().string()});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(BareFolderScan, PathsTakeThePlaceOfTheDrives) {
    Write("machine/a/x.exe", Bad());
    Write("machine/b/c/y.exe", Bad());
    Write("machine/d/z.exe", Bad());
    EXPECT_THAT(Found({"--path", "C:\\d", "--path", "c:\\B\\"}),
                testing::UnorderedElementsAre("C:\\\\d\\\\z.exe", testing::StrCaseEq("C:\\\\b\\\\c\\\\y.exe")));
    EXPECT_THAT(Scan({"--path", "C:\\d", "--path", "c:\\B"}).out, HasSubstr("Scanning C:\\d, c:\\B of "));
}

TEST_F(BareFolderScan, FurtherDrivesAreScannedToo) {
    Write("machine/a/x.exe", Bad());
    Write("other/y.exe", Bad());
    EXPECT_THAT(Found({"--drive", "D=" + (Root() / "other").string()}), ElementsAre("C:\\\\a\\\\x.exe", "D:\\\\y.exe"));
    EXPECT_THAT(Found({"--drive", "d=" + (Root() / "other").string(), "--path", "D:\\"}), ElementsAre("D:\\\\y.exe"));
}

TEST_F(BareFolderScan, DrivesAloneAreAMachineToo) {
    Write("other/y.exe", Bad());
    const Outcome outcome =
        Run({"scan", "--drive", "E=" + (Root() / "other").string(), "--drive", "C=" + Machine().string(), "--data",
             Data().string(), "--user-data", UserData().string()});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_THAT(outcome.out, HasSubstr("Scanning C:\\, E:\\ of E=" + (Root() / "other").string() + ", depth deep"));
    EXPECT_THAT(outcome.out, HasSubstr("  file      E:\\y.exe\n"));
}

TEST_F(BareFolderScan, DepthSaysWhatFilesAreKnownBy) {
    MakeTables({"1,One,x,0\n2,Two,x,0\n", "1," + HashOf(Bad()) + ",0\n", "2,c:\\p\\long.exe,0\n2,c:\\p\\short.exe,0\n",
                "", ".exe\n"});
    Write("machine/p/bad.exe", Bad());
    Write("machine/p/long.exe", Bad() + "x");
    Write("machine/p/short.exe", "x");
    EXPECT_THAT(Found({"--path", "C:\\", "--depth", "shallow"}),
                ElementsAre("C:\\\\p\\\\long.exe", "C:\\\\p\\\\short.exe"));
    EXPECT_THAT(Found({"--path", "C:\\", "--depth", "medium"}), ElementsAre("C:\\\\p\\\\bad.exe"));
    EXPECT_THAT(Found({"--path", "C:\\", "--depth", "deep"}),
                ElementsAre("C:\\\\p\\\\bad.exe", "C:\\\\p\\\\short.exe"));
    EXPECT_THAT(Scan({"--path", "C:\\", "--depth", "shallow"}).out, HasSubstr(", depth shallow, "));
    EXPECT_THAT(Scan({"--depth", "medium", "--format", "jsonl"}).out, HasSubstr(R"("depth":"medium")"));
}

TEST_F(BareFolderScan, TheOptionLevelSaysWhichSignaturesApply) {
    MakeTables({"1,One,x,0\n", "1," + HashOf(Bad()) + ",2\n", "", "", ".exe\n"});
    Write("machine/bad.exe", Bad());
    EXPECT_THAT(Found({}), IsEmpty());
    EXPECT_THAT(Found({"--max-option", "1"}), IsEmpty());
    EXPECT_THAT(Found({"--max-option", "2"}), ElementsAre("C:\\\\bad.exe"));
    EXPECT_THAT(Scan({"--max-option", "32767", "--format", "jsonl"}).out, HasSubstr(R"("option_level":2,)"));
}

TEST_F(BareFolderScan, NamesThatSteerATerminalDoNot) {
    Write("machine/a\x1b[2J\n.exe", Bad());
    const Outcome text = Scan();
    EXPECT_EQ(text.code, ExitThreats);
    EXPECT_EQ(text.out.find('\x1b'), std::string::npos);
    EXPECT_THAT(text.out, HasSubstr("1 threat found in 1 location\n"));
    const Outcome lines = Scan({"--format", "jsonl"});
    EXPECT_EQ(lines.code, ExitThreats);
    EXPECT_EQ(Lines(lines.out).size(), 3U);
    EXPECT_EQ(lines.out.find('\x1b'), std::string::npos);
}

TEST_F(BareFolderScan, NothingOnTheMachineIsWritten) {
    Write("machine/My Music/song.exe", Bad());
    Write("machine/a.zip", "no archive");
    Write("machine/WINDOWS/system32/x.dll", "x");
    Folder("machine/WINDOWS/Temp");
    const auto before = Snapshot(Machine());
    const auto data = Snapshot(Data());
    EXPECT_EQ(Scan({"--zips"}).code, ExitThreats);
    EXPECT_EQ(Snapshot(Machine()), before);
    EXPECT_EQ(Snapshot(Data()), data);
    EXPECT_TRUE(std::filesystem::is_directory(UserData()));
}

}  // namespace
}  // namespace kel::test
