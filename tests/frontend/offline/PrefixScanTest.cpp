// Scans of a Wine prefix: its registry says which folders the signatures mean.
#include <gmock/gmock.h>

#include "ScanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using frontend::ExitClean;
using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitThreats;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::string_view SystemReg =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\Machine\n"
    "\n"
    "#arch=win64\n"
    "\n"
    "[Software\\\\Microsoft\\\\Windows NT\\\\CurrentVersion] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\"CurrentBuildNumber\"=\"2600\"\n"
    "\"CurrentVersion\"=\"5.1\"\n"
    "\"ProductName\"=\"Microsoft Windows XP\"\n"
    "\"SystemRoot\"=\"C:\\\\windows\"\n"
    "\n"
    "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\"CommonFilesDir\"=\"C:\\\\Program Files\\\\Common Files\"\n"
    "\"ProgramFilesDir\"=\"C:\\\\Program Files\"\n";

constexpr std::string_view UserReg =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000\n"
    "\n"
    "#arch=win64\n"
    "\n"
    "[Software\\\\Wine] 1700000000\n"
    "#time=1da1747c9e5c000\n"
    "\"Version\"=\"winxp\"\n";

class PrefixScan : public ScanRun {
protected:
    PrefixScan() {
        Write("machine/system.reg", SystemReg);
        Write("machine/user.reg", UserReg);
        Folder("machine/drive_c/windows/system32");
        Folder("machine/drive_c/Program Files/Common Files");
        Folder("machine/drive_c/users/ada/Desktop");
        Folder("machine/drive_c/users/Public");
        MakeTables({"1,Example.Path,Adware,3\n2,Example.Hash,Trojan,1\n", "2," + HashOf(Bad()) + ",0\n",
                    "1,%windows%\\system32\\tin.dll,0\n1,%program_files%\\ink.exe,0\n", "", ".exe\n.dll\n"});
    }
};

TEST_F(PrefixScan, FindsByFoldersOfTheRegistryAndByHash) {
    Write("machine/drive_c/windows/system32/TIN.DLL", "x");
    Write("machine/drive_c/Program Files/ink.exe", "x");
    Write("machine/drive_c/users/ada/Desktop/pic.exe", Bad());
    Write("machine/outside.exe", Bad());
    const Outcome outcome = Scan({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitThreats);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(
        Lines(outcome.out),
        ElementsAre(R"({"type":"start","scan":"<scan>","machine":"<root>/machine","targets":["C:\\"],"depth":"deep",)"
                    R"("data_version":"105","not_available":["processes"],)"
                    R"("stages":["common","drives","registry","cookies"]})",
                    R"({"type":"finding","threat":1,"name":"Example.Path","kind":"file",)"
                    R"("location":"C:\\Program Files\\ink.exe","category":"Adware","level":3,"option_level":0,)"
                    R"("md5":""})",
                    R"({"type":"finding","threat":2,"name":"Example.Hash","kind":"file",)"
                    R"("location":"C:\\users\\ada\\Desktop\\pic.exe","category":"Trojan","level":1,)"
                    R"("option_level":0,"md5":")" +
                        HashOf(Bad()) + "\"}",
                    R"({"type":"finding","threat":1,"name":"Example.Path","kind":"file",)"
                    R"("location":"C:\\windows\\system32\\TIN.DLL","category":"Adware","level":3,"option_level":0,)"
                    R"("md5":""})",
                    R"({"type":"summary","complete":true,"threats":2,"locations":3,"files":22,"errors":0,)"
                    R"("unreadable":0,"abort_reason":"","seconds":<seconds>,"processes":0,"registry":0,"cookies":0})"));
}

TEST_F(PrefixScan, InTextTheLocationsOfAThreatStandTogether) {
    Write("machine/drive_c/windows/system32/TIN.DLL", "x");
    Write("machine/drive_c/Program Files/ink.exe", "x");
    Write("machine/drive_c/users/ada/Desktop/pic.exe", Bad());
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitThreats);
    const auto lines = Lines(outcome.out);
    ASSERT_GE(lines.size(), 11U);
    EXPECT_EQ(lines[1], "Stages: common, drives, registry, cookies");
    EXPECT_EQ(lines[2], "Not available on this machine: processes");
    EXPECT_EQ(lines[4], "Example.Path  (threat 1)");
    EXPECT_EQ(lines[6], "  file      C:\\Program Files\\ink.exe");
    EXPECT_EQ(lines[7], "  file      C:\\windows\\system32\\TIN.DLL");
    EXPECT_EQ(lines[9], "Example.Hash  (threat 2)");
}

TEST_F(PrefixScan, TheUserIsTheOneNamedAndNoOther) {
    EXPECT_EQ(Scan({"--user", "ada"}).code, ExitClean);
    EXPECT_EQ(Scan({"--user", "ADA"}).code, ExitClean);
    const Outcome unknown = Scan({"--user", "Eve"});
    EXPECT_EQ(unknown.code, ExitNoInput);
    EXPECT_THAT(unknown.err, HasSubstr("no user Eve; it has: ada"));
    Folder("machine/drive_c/users/bob/Desktop");
    const Outcome several = Scan();
    EXPECT_EQ(several.code, ExitNoInput);
    EXPECT_THAT(several.err, HasSubstr("several users, name one of them: ada, bob"));
    EXPECT_EQ(Scan({"--user", "bob"}).code, ExitClean);
}

TEST_F(PrefixScan, NothingInThePrefixIsWritten) {
    Write("machine/drive_c/windows/system32/TIN.DLL", "x");
    const auto before = Snapshot(Machine());
    EXPECT_EQ(Scan({"--zips"}).code, ExitThreats);
    EXPECT_EQ(Snapshot(Machine()), before);
}

TEST_F(PrefixScan, ARegistryThatIsNoneIsNoMachine) {
    Write("machine/system.reg", "something else");
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitNoInput);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, testing::StartsWith("ombrelane scan: "));
}

TEST_F(PrefixScan, DrivesOfThePrefixThatLeadToTheHostAreNotScanned) {
    Write("machine/drive_c/letter.txt", "x");
    std::filesystem::create_directory(Machine() / "dosdevices");
    std::filesystem::create_directory_symlink("/", Machine() / "dosdevices" / "z:");
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitClean) << outcome.out << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Scanning C:\\ of "));
}

TEST_F(PrefixScan, LinksOfTheHostAreNotFollowedAndNotPassedOverInSilence) {
    Write("outside/bad.exe", Bad());
    std::filesystem::create_directory_symlink(Root() / "outside", Machine() / "drive_c" / "link");
    const auto outside = Snapshot(Root() / "outside");
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(outcome.out, HasSubstr("No threats found\n"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("bad.exe")));
    EXPECT_THAT(outcome.err, HasSubstr("C:\\link"));
    EXPECT_EQ(Snapshot(Root() / "outside"), outside);
}

}  // namespace
}  // namespace kel::test
