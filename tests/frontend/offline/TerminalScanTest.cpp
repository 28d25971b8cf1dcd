// What a scan shows on a terminal: colours and a progress line, unless they are not wanted.
#include <gmock/gmock.h>

#include <cstdlib>

#include "../CapturedStream.h"
#include "../PseudoTerminal.h"
#include "ScanRun.h"
#include "frontend/CommandLine.h"
#include "frontend/ExitCodes.h"

namespace kel::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* Wipe = "\r\x1b[K";

class TerminalScan : public ScanRun {
protected:
    TerminalScan() {
        MakeTables();
        Write("machine/song.exe", Bad());
        ::unsetenv("NO_COLOR");
    }
    ~TerminalScan() override { ::unsetenv("NO_COLOR"); }

    void ScanOn(std::FILE* out, std::FILE* err, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"scan",          "--machine",   Machine().string(), "--data",
                                           Data().string(), "--user-data", UserData().string()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(frontend::Run(arguments, {out, err}), frontend::ExitThreats);
    }

    PseudoTerminal screen{80};
    CapturedStream captured;
};

TEST_F(TerminalScan, TheResultIsColoured) {
    ScanOn(screen.File(), captured.File());
    EXPECT_THAT(screen.Read(), HasSubstr("\x1b[1;31mExample.Adware.One  (threat 9001)\x1b[0m\n"));
    EXPECT_EQ(captured.Text(), "");
}

TEST_F(TerminalScan, NoColorIsObeyedUnlessItIsEmpty) {
    ::setenv("NO_COLOR", "1", 1);
    ScanOn(screen.File(), captured.File());
    const std::string plain = screen.Read();
    EXPECT_THAT(plain, HasSubstr("Example.Adware.One  (threat 9001)\n"));
    EXPECT_THAT(plain, Not(HasSubstr("\x1b")));
    ::setenv("NO_COLOR", "", 1);
    ScanOn(screen.File(), captured.File());
    EXPECT_THAT(screen.Read(), HasSubstr("\x1b[1;31m"));
}

TEST_F(TerminalScan, TheProgressLineIsShownAndWipedAgain) {
    ScanOn(captured.File(), screen.File(), {"--path", "C:\\"});
    const std::string shown = screen.Read();
    EXPECT_THAT(shown, testing::StartsWith(std::string(Wipe) + "files  1  "));
    EXPECT_THAT(shown, HasSubstr("C:\\song.exe"));
    EXPECT_THAT(shown, EndsWith(Wipe));
    EXPECT_THAT(captured.Text(), Not(HasSubstr("\x1b")));
}

TEST_F(TerminalScan, ItIsLeftOutOnRequest) {
    ScanOn(captured.File(), screen.File(), {"--no-progress"});
    EXPECT_EQ(screen.Read(), "");
}

TEST_F(TerminalScan, JsonLinesAreNeverColoured) {
    ScanOn(screen.File(), captured.File(), {"--format", "jsonl"});
    const std::string lines = screen.Read();
    EXPECT_THAT(lines, testing::StartsWith("{\"type\":\"start\","));
    EXPECT_THAT(lines, Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace kel::test
