// Command lines that end before a scan begins: help, version, and what can't be understood.
#include "frontend/CommandLine.h"

#include <gmock/gmock.h>

#include "CapturedStream.h"
#include "frontend/ExitCodes.h"
#include "frontend/OptionTable.h"
#include "frontend/ScanOptions.h"

namespace kel::frontend {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* ForHelp = "Run with --help for more information.\n";

class CommandLine : public testing::Test {
protected:
    int Run(const std::vector<std::string>& arguments) { return frontend::Run(arguments, {out.File(), err.File()}); }
    /// `scan` with what is always required, and more.
    int Scan(std::vector<std::string> more) {
#ifdef _WIN32
        std::vector<std::string> arguments{"scan", "--data", "none", "--user-data", "none"};
#else
        std::vector<std::string> arguments{"scan", "--machine", "/none/at/all", "--data", "x", "--user-data", "x"};
#endif
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }

    test::CapturedStream out;
    test::CapturedStream err;
};

TEST_F(CommandLine, NothingAtAllIsAUsageError) {
    EXPECT_EQ(Run({}), ExitUsage);
    EXPECT_THAT(out.Text(), IsEmpty());
    EXPECT_EQ(err.Text(), std::string("A subcommand is required\n") + ForHelp);
}

TEST_F(CommandLine, AnUnknownCommandIsAUsageErrorThatNamesIt) {
    EXPECT_EQ(Run({"polish"}), ExitUsage);
    EXPECT_THAT(out.Text(), IsEmpty());
    EXPECT_EQ(err.Text(), std::string("The following argument was not expected: polish\n") + ForHelp);
}

TEST_F(CommandLine, HelpNamesTheCommandsAndTheExitCodes) {
    EXPECT_EQ(Run({"--help"}), ExitClean);
    EXPECT_THAT(err.Text(), IsEmpty());
    EXPECT_THAT(out.Text(), HasSubstr("Usage: ombrelane [OPTIONS] SUBCOMMAND\n"));
    EXPECT_THAT(out.Text(), HasSubstr("Scan a machine and report the threats on it"));
    EXPECT_THAT(out.Text(),
                HasSubstr("Exit codes: 0 nothing found, 1 threats found, 2 the scan could not be completed, 64 usage, "
                          "66 no such machine or data"));
}

TEST_F(CommandLine, HelpOfTheScanShowsEveryRowOfTheTable) {
    EXPECT_EQ(Run({"scan", "--help"}), ExitClean);
    EXPECT_THAT(err.Text(), IsEmpty());
    const std::string help = out.Text();
    const auto shown = [&](const auto& table) {
        for (const auto& row : table) {
            EXPECT_THAT(help, HasSubstr(std::string(row.name) + " "));
            EXPECT_THAT(help, HasSubstr(row.help));
            if (*row.argument != '\0') {
                EXPECT_THAT(help, HasSubstr(std::string(row.name) + " " + row.argument));
            }
        }
    };
    shown(SessionOptionTable());
    shown(ScanOptionTable());
    EXPECT_THAT(help, HasSubstr("Exit codes: 0 nothing found"));
    EXPECT_THAT(help, HasSubstr("every scan ends the programs that the table kelRes.sdb names"));
}

TEST_F(CommandLine, HelpWinsOverWhatIsMissing) {
    EXPECT_EQ(Run({"scan", "--zips", "-h"}), ExitClean);
    EXPECT_THAT(out.Text(), HasSubstr("--user-data"));
}

TEST_F(CommandLine, TheVersionIsOneLine) {
    EXPECT_EQ(Run({"--version"}), ExitClean);
    EXPECT_EQ(out.Text(), "ombrelane " KEL_VERSION "\n");
    EXPECT_THAT(err.Text(), IsEmpty());
}

TEST_F(CommandLine, UnknownOptionsAndWordsAreUsageErrorsThatNameThem) {
    EXPECT_EQ(Scan({"--bogus"}), ExitUsage);
    EXPECT_EQ(err.Text(), std::string("The following argument was not expected: --bogus\n") + ForHelp);
    EXPECT_EQ(Scan({"--zip"}), ExitUsage);
    EXPECT_THAT(err.Text(), HasSubstr("not expected: --zip\n"));
    EXPECT_EQ(Scan({"leftover"}), ExitUsage);
    EXPECT_THAT(err.Text(), HasSubstr("not expected: leftover\n"));
    EXPECT_THAT(out.Text(), IsEmpty());
}

TEST_F(CommandLine, AnOptionWithoutItsValueIsAUsageError) {
    EXPECT_EQ(Scan({"--depth"}), ExitUsage);
    EXPECT_EQ(err.Text(), std::string("--depth: 1 required DEPTH missing\n") + ForHelp);
}

TEST_F(CommandLine, AWrongValueIsToldWithItsOption) {
    EXPECT_EQ(Scan({"--depth", "bottomless"}), ExitUsage);
    EXPECT_EQ(err.Text(), std::string("--depth: expected shallow, medium or deep, not 'bottomless'\n") + ForHelp);
    EXPECT_THAT(out.Text(), IsEmpty());
}

TEST_F(CommandLine, EachValueOfARepeatedOptionIsLookedAt) {
    EXPECT_EQ(Scan({"--path", "C:\\a", "--path", "b"}), ExitUsage);
    EXPECT_THAT(err.Text(), StartsWith("--path: expected a path of the machine that begins with its drive, like "
                                       "C:\\Temp, not 'b'\n"));
}

TEST_F(CommandLine, WhatIsMissingIsToldWithTheCommand) {
    EXPECT_EQ(Run({"scan"}), ExitUsage);
    EXPECT_EQ(err.Text(), std::string("ombrelane scan: --data is required\n") + ForHelp);
    EXPECT_THAT(out.Text(), IsEmpty());
}

TEST_F(CommandLine, OfAnOptionThatIsNoListTheLastValueCounts) {
    EXPECT_EQ(Scan({"--depth", "bottomless", "--depth", "deep"}), ExitNoInput);
    EXPECT_EQ(Scan({"--max-option=1", "--max-option=x"}), ExitUsage);
    EXPECT_THAT(err.Text(), HasSubstr("--max-option: expected a number from 0 to 32767, not 'x'\n"));
}

TEST_F(CommandLine, ValuesInBracketsAreNoLists) {
    EXPECT_EQ(Scan({"--path", "[C:\\a,C:\\b]"}), ExitUsage);
    EXPECT_THAT(err.Text(), HasSubstr("not '[C:\\a,C:\\b]'\n"));
}

TEST_F(CommandLine, ADataFolderThatIsNotThereIsMissingInput) {
    EXPECT_EQ(Scan({}), ExitNoInput);
    EXPECT_THAT(out.Text(), IsEmpty());
    EXPECT_THAT(err.Text(), StartsWith("ombrelane scan: "));
    EXPECT_THAT(err.Text(), HasSubstr("none"));
}

}  // namespace
}  // namespace kel::frontend
