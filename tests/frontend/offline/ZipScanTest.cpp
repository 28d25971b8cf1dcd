// --zips: archives are looked into only when that was asked for.
#include <gmock/gmock.h>

#include "../../scanner/StoredZip.h"
#include "ScanRun.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class ZipScan : public ScanRun {
protected:
    ZipScan() { MakeTables(); }
};

TEST_F(ZipScan, AThreatInAnArchiveIsFoundWhenAskedFor) {
    Write("machine/codec.ZIP", StoredZip({{"bad.exe", Bad()}, {"good.txt", "x"}}));
    EXPECT_EQ(Scan().code, frontend::ExitClean);
    const Outcome outcome = Scan({"--zips", "--format", "jsonl"});
    EXPECT_EQ(outcome.code, frontend::ExitThreats);
    EXPECT_EQ(outcome.err, "");
    const auto lines = Lines(outcome.out);
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_THAT(lines[1], HasSubstr(R"("threat":9001,)"));
    EXPECT_THAT(lines[1], HasSubstr(R"(\\6635zipper\\bad.exe",)"));
    EXPECT_THAT(lines[1], HasSubstr(HashOf(Bad())));
}

TEST_F(ZipScan, ThePlaceForUnpackingIsGoneAfterwards) {
    Write("machine/codec.zip", StoredZip({{"bad.exe", Bad()}}));
    const auto before = Snapshot(Machine());
    EXPECT_EQ(Scan({"--zips"}).code, frontend::ExitThreats);
    EXPECT_EQ(Snapshot(Machine()), before);
    EXPECT_FALSE(std::filesystem::exists(UserData() / "6635zipper"));
}

TEST_F(ZipScan, ABrokenArchiveIsAFailureOfTheEngineAndNoCleanMachine) {
    Write("machine/broken.zip", "PK\x03\x04 no archive");
    EXPECT_EQ(Scan().code, frontend::ExitClean);
    const Outcome outcome = Scan({"--path", "C:\\", "--zips", "--format", "jsonl"});
    EXPECT_EQ(outcome.code, frontend::ExitIncomplete);
    EXPECT_EQ(outcome.err, "");
    const auto lines = Lines(outcome.out);
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_THAT(lines[1], testing::StartsWith(R"({"type":"error","kind":"engine","message":"Scanner.ScanZipFile: )"));
    EXPECT_EQ(lines[2],
              R"({"type":"summary","complete":true,"threats":0,"locations":0,"files":1,"errors":1,)"
              R"("unreadable":0,"abort_reason":"","seconds":<seconds>,"processes":0,"registry":0,"cookies":0})");
}

TEST_F(ZipScan, InTextAFailureGoesToTheDiagnosticsAndIsCounted) {
    Write("machine/broken.zip", "PK\x03\x04 no archive");
    const Outcome outcome = Scan({"--path", "C:\\", "--zips"});
    EXPECT_EQ(outcome.code, frontend::ExitIncomplete);
    EXPECT_THAT(outcome.err, testing::StartsWith("ombrelane: Scanner.ScanZipFile: "));
    EXPECT_THAT(Lines(outcome.err), SizeIs(1));
    EXPECT_THAT(
        Lines(outcome.out),
        ElementsAre("Scanning C:\\ of <root>/machine, depth deep, signature data 105", "Stages: drives", "",
                    "No threats found", "1 location scanned in <seconds> s", "1 failure reported in errors.log"));
}

TEST_F(ZipScan, ThreatsOutweighAFailure) {
    Write("machine/broken.zip", "PK\x03\x04 no archive");
    Write("machine/bad.exe", Bad());
    EXPECT_EQ(Scan({"--zips"}).code, frontend::ExitThreats);
}

}  // namespace
}  // namespace kel::test
