// Scans that can't begin, and results that can't be written.
#include <gmock/gmock.h>

#include "../CapturedStream.h"
#include "ScanRun.h"
#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using frontend::ExitIncomplete;
using frontend::ExitNoInput;
using frontend::ExitUsage;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class RefusedScan : public ScanRun {
protected:
    RefusedScan() { MakeTables(); }
    /// The one line of a run that ends with 66.
    std::string Missing(const Outcome& outcome) const {
        EXPECT_EQ(outcome.code, ExitNoInput);
        EXPECT_EQ(outcome.out, "");
        const auto lines = Lines(outcome.err);
        EXPECT_EQ(lines.size(), 1U) << outcome.err;
        return lines.empty() ? "" : lines.front();
    }
    std::vector<std::string> Arguments(const std::string& machine, const std::string& data,
                                       const std::string& user) const {
        return {"scan",
                "--machine",
                (Root() / machine).string(),
                "--data",
                (Root() / data).string(),
                "--user-data",
                (Root() / user).string()};
    }
};

TEST_F(RefusedScan, AMachineThatIsNotThere) {
    EXPECT_EQ(Missing(Run(Arguments("none", "data", "user"))), "ombrelane scan: <root>/none is no folder");
    EXPECT_FALSE(std::filesystem::exists(UserData()));
}

TEST_F(RefusedScan, AMachineThatIsAFile) {
    Write("file", "x");
    EXPECT_EQ(Missing(Run(Arguments("file", "data", "user"))), "ombrelane scan: <root>/file is no folder");
}

TEST_F(RefusedScan, ADriveThatIsNotThere) {
    EXPECT_THAT(Missing(Scan({"--drive", "D=" + (Root() / "none").string()})), HasSubstr("<root>/none"));
}

TEST_F(RefusedScan, AUserThatTheMachineDoesNotHave) {
    EXPECT_THAT(Missing(Scan({"--user", "Eve"})), HasSubstr("no user Eve"));
}

TEST_F(RefusedScan, ADataFolderThatIsNotThere) {
    EXPECT_THAT(Missing(Run(Arguments("machine", "none", "user"))), HasSubstr("<root>/none"));
    EXPECT_FALSE(std::filesystem::exists(UserData()));
}

TEST_F(RefusedScan, ADataFolderWithoutTheThreatTable) {
    Folder("empty");
    EXPECT_EQ(Missing(Run(Arguments("machine", "empty", "user"))),
              "ombrelane scan: no kelThreatData.sdb in the data folder <root>/empty");
}

TEST_F(RefusedScan, AUserDataFolderThatCanNotBeMade) {
    Write("file", "x");
    EXPECT_THAT(Missing(Run(Arguments("machine", "data", "file/user"))),
                StartsWith("ombrelane scan: can't make the folder <root>/file/user: "));
    EXPECT_THAT(Missing(Run(Arguments("machine", "data", "file"))), StartsWith("ombrelane scan: "));
}

TEST_F(RefusedScan, APathThatTheMachineDoesNotHave) {
    Folder("machine/a");
    Write("machine/file.txt", "x");
    EXPECT_EQ(Missing(Scan({"--path", "C:\\a", "--path", "C:\\none"})),
              "ombrelane scan: no such folder on the machine: C:\\none");
    EXPECT_EQ(Missing(Scan({"--path", "C:\\file.txt"})), "ombrelane scan: no such folder on the machine: C:\\file.txt");
    EXPECT_EQ(Missing(Scan({"--path", "D:\\"})), "ombrelane scan: no such folder on the machine: D:\\");
}

TEST_F(RefusedScan, TheMachineIsNotReachedThroughItsNeighbours) {
    Folder("machine/a");
    Folder("outside");
    EXPECT_EQ(Missing(Scan({"--path", "C:\\..\\outside"})),
              "ombrelane scan: no such folder on the machine: C:\\..\\outside");
    EXPECT_EQ(Missing(Scan({"--path", "C:\\a\\..\\..\\outside"})),
              "ombrelane scan: no such folder on the machine: C:\\a\\..\\..\\outside");
}

TEST_F(RefusedScan, MessagesNeverSteerTheTerminal) {
    const Outcome outcome = Scan({"--path", "C:\\\x1b[2Jnone"});
    EXPECT_EQ(outcome.code, ExitNoInput);
    EXPECT_EQ(outcome.err.find('\x1b'), std::string::npos);
    const Outcome machine = Run(Arguments("a\x1b[2Jb", "data", "user"));
    EXPECT_EQ(machine.code, ExitNoInput);
    EXPECT_EQ(machine.err.find('\x1b'), std::string::npos);
}

TEST_F(RefusedScan, UsageErrorsTouchNothing) {
    const Outcome outcome = Scan({"--depth", "none"});
    EXPECT_EQ(outcome.code, ExitUsage);
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(std::filesystem::exists(UserData()));
}

TEST_F(RefusedScan, ATableThatCanNotBeLoadedMakesTheScanIncomplete) {
    Write("machine/bad.exe", Bad());
    Write("data/KelThreatFilePath.sdb", "no table");
    const Outcome outcome = Scan({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(outcome.out, HasSubstr(R"({"type":"error","kind":"engine",)"));
    EXPECT_THAT(outcome.out, HasSubstr(R"({"type":"summary","complete":false,)"));
}

TEST_F(RefusedScan, ATableThatIsNotThereMakesTheScanIncomplete) {
    std::filesystem::remove(Data() / "KelThreatFileMD5.sdb");
    const Outcome outcome = Scan();
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(outcome.err, HasSubstr("ombrelane: "));
    EXPECT_EQ(Lines(outcome.out).back(), "The scan is not complete");
}

TEST_F(RefusedScan, ABrokenThreatTableMakesTheScanIncomplete) {
    Write("machine/bad.exe", Bad());
    Write("data/kelThreatData.sdb", "no table");
    const Outcome outcome = Scan({"--format", "jsonl"});
    EXPECT_EQ(outcome.code, ExitIncomplete);
    EXPECT_THAT(outcome.out, HasSubstr(R"("complete":false)"));
}

TEST_F(RefusedScan, AFullDiskIsToldAndTheScanCountsAsNotCompleted) {
    Write("machine/bad.exe", Bad());
    for (const char* format : {"text", "jsonl"}) {
        std::FILE* full = std::fopen("/dev/full", "w");
        ASSERT_NE(full, nullptr);
        const CapturedStream err;
        auto arguments = Arguments("machine", "data", "user");
        arguments.insert(arguments.end(), {"--format", format});
        EXPECT_EQ(frontend::Run(arguments, {full, err.File()}), ExitIncomplete);
        EXPECT_EQ(err.Text(), "ombrelane scan: the results could not be written: No space left on device\n");
        std::fclose(full);
    }
}

}  // namespace
}  // namespace kel::test
