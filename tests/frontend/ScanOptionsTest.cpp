// The table of options: what each row takes and what it answers to a value that it can't take.
#include "frontend/ScanOptions.h"

#include <gmock/gmock.h>

#include <set>
#include <utility>

#include "frontend/OptionTable.h"

namespace kel::frontend {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// What is wrong with the value; empty when it is taken.
std::string Apply(ScanOptions& options, std::string_view name, const std::string& value = {}) {
    for (const auto& row : SessionOptionTable()) {
        if (row.name == name) {
            return row.apply(options, value).value_or("");
        }
    }
    for (const auto& row : ScanOptionTable()) {
        if (row.name == name) {
            return row.apply(options, value).value_or("");
        }
    }
    throw std::runtime_error("no option " + std::string(name));
}

// All rows, as they follow each other in the help.
template <class Each>
void ForEachRow(const Each& each) {
    for (const auto& row : SessionOptionTable()) {
        each(row);
    }
    for (const auto& row : ScanOptionTable()) {
        each(row);
    }
}

std::string Apply(std::string_view name, const std::string& value) {
    ScanOptions options;
    return Apply(options, name, value);
}

TEST(ScanOptionTable, HasEveryOptionOnceInTheOrderOfTheHelp) {
    std::vector<std::string> names;
    ForEachRow([&](const auto& row) {
        names.emplace_back(row.name);
        EXPECT_STRNE(row.help, "") << row.name;
    });
    EXPECT_THAT(names,
                ElementsAre("--machine", "--drive", "--user", "--data", "--user-data", "--quarantine-root", "--dry-run",
                            "--full", "--processes", "--modules", "--common", "--path", "--registry", "--cookies",
                            "--all-users", "--quarantine", "--destroy", "--yes", "--threat", "--depth", "--max-option",
                            "--max-md5-len", "--zips", "--skip-common-files", "--suspend-active", "--priority",
                            "--format", "--report", "-o,--output", "--no-progress"));
}

TEST(ScanOptionTable, DrivesAndPathsMayBeRepeatedAndStagesAreSwitches) {
    std::set<std::string> repeatable;
    std::set<std::string> switches;
    ForEachRow([&](const auto& row) {
        if (row.repeatable) {
            repeatable.insert(row.name);
        }
        if (*row.argument == '\0') {
            switches.insert(row.name);
        }
    });
    EXPECT_THAT(repeatable, ElementsAre("--drive", "--path", "--threat"));
    EXPECT_THAT(switches, ElementsAre("--all-users", "--common", "--cookies", "--destroy", "--dry-run", "--full",
                                      "--modules", "--no-progress", "--processes", "--quarantine", "--registry",
                                      "--skip-common-files", "--suspend-active", "--yes", "--zips"));
}

TEST(ScanOptionTable, WithoutAnyTheScanIsDeepWithTheSureSignaturesAndText) {
    const ScanOptions options;
    EXPECT_EQ(options.depth, 3);
    EXPECT_EQ(options.maxOption, 0);
    EXPECT_FALSE(options.zips);
    EXPECT_EQ(options.format, OutputFormat::Text);
    EXPECT_FALSE(options.noProgress);
    EXPECT_TRUE(options.paths.empty());
}

TEST(ScanOptionTable, TextsAreTakenAsTheyStand) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--machine", "/mnt/a b"), "");
    EXPECT_EQ(Apply(options, "--user", "Ada"), "");
    EXPECT_EQ(Apply(options, "--data", "tables"), "");
    EXPECT_EQ(Apply(options, "--user-data", "mine"), "");
    EXPECT_EQ(options.machine, "/mnt/a b");
    EXPECT_EQ(options.user, "Ada");
    EXPECT_EQ(options.data, "tables");
    EXPECT_EQ(options.userData, "mine");
}

TEST(ScanOptionTable, SwitchesTurnOn) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--zips"), "");
    EXPECT_EQ(Apply(options, "--no-progress"), "");
    EXPECT_TRUE(options.zips);
    EXPECT_TRUE(options.noProgress);
    constexpr std::pair<const char*, bool ScanOptions::*> Switches[] = {
        {"--full", &ScanOptions::full},
        {"--processes", &ScanOptions::processes},
        {"--modules", &ScanOptions::modules},
        {"--common", &ScanOptions::common},
        {"--registry", &ScanOptions::registry},
        {"--cookies", &ScanOptions::cookies},
        {"--all-users", &ScanOptions::allUsers},
        {"--skip-common-files", &ScanOptions::skipCommonFiles},
        {"--suspend-active", &ScanOptions::suspendActive},
    };
    for (const auto& [name, member] : Switches) {
        EXPECT_FALSE(options.*member) << name;
        EXPECT_EQ(Apply(options, name), "");
        EXPECT_TRUE(options.*member) << name;
    }
}

TEST(ScanOptionTable, ADriveIsALetterAndAFolder) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--drive", "D=/mnt/d"), "");
    EXPECT_EQ(Apply(options, "--drive", "e=x"), "");
    EXPECT_EQ(Apply(options, "--drive", "Z==a"), "");
    EXPECT_THAT(options.drives, ElementsAre("D=/mnt/d", "e=x", "Z==a"));
    for (const char* wrong : {"", "D", "D=", "D:/mnt", "=/mnt", "1=/mnt", "DD=/mnt", "@=/mnt", "[=/mnt", "\xC3=/mnt"}) {
        EXPECT_EQ(Apply(options, "--drive", wrong), "expected LETTER=DIR, not '" + std::string(wrong) + "'");
    }
    EXPECT_EQ(options.drives.size(), 3U);
}

TEST(ScanOptionTable, APathBeginsWithItsDrive) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--path", "C:\\Temp"), "");
    EXPECT_EQ(Apply(options, "--path", "d:"), "");
    EXPECT_THAT(options.paths, ElementsAre("C:\\Temp", "d:"));
    for (const char* wrong : {"", "C", "Temp", "\\Temp", "/mnt", "\\\\server\\share", "1:\\Temp", "::"}) {
        EXPECT_EQ(Apply(options, "--path", wrong),
                  "expected a path of the machine that begins with its drive, like C:\\Temp, not '" +
                      std::string(wrong) + "'");
    }
    EXPECT_EQ(options.paths.size(), 2U);
}

TEST(ScanOptionTable, DepthIsOneOfThreeWords) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--depth", "shallow"), "");
    EXPECT_EQ(options.depth, 1);
    EXPECT_EQ(Apply(options, "--depth", "medium"), "");
    EXPECT_EQ(options.depth, 2);
    EXPECT_EQ(Apply(options, "--depth", "deep"), "");
    EXPECT_EQ(options.depth, 3);
    for (const char* wrong : {"", "Deep", "deepest", "3"}) {
        EXPECT_EQ(Apply("--depth", wrong), "expected shallow, medium or deep, not '" + std::string(wrong) + "'");
    }
}

TEST(ScanOptionTable, TheOptionLevelIsAWholeNumberOfFifteenBits) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--max-option", "7"), "");
    EXPECT_EQ(options.maxOption, 7);
    EXPECT_EQ(Apply(options, "--max-option", "32767"), "");
    EXPECT_EQ(options.maxOption, 32767);
    EXPECT_EQ(Apply(options, "--max-option", "0"), "");
    EXPECT_EQ(options.maxOption, 0);
    for (const char* wrong : {"", "32768", "-1", "+1", "1.5", " 1", "1 ", "0x1", "many", "99999999999999999999"}) {
        EXPECT_EQ(Apply("--max-option", wrong), "expected a number from 0 to 32767, not '" + std::string(wrong) + "'");
    }
}

TEST(ScanOptionTable, TheLimitOfTheMd5IsAtLeastOneByte) {
    ScanOptions options;
    EXPECT_EQ(options.maxMd5Len, 0);
    EXPECT_EQ(Apply(options, "--max-md5-len", "1"), "");
    EXPECT_EQ(options.maxMd5Len, 1);
    EXPECT_EQ(Apply(options, "--max-md5-len", "2147483647"), "");
    EXPECT_EQ(options.maxMd5Len, 2147483647);
    for (const char* wrong : {"", "0", "-1", "2147483648", "5k"}) {
        EXPECT_EQ(Apply("--max-md5-len", wrong),
                  "expected a number from 1 to 2147483647, not '" + std::string(wrong) + "'");
    }
}

TEST(ScanOptionTable, AThreatIsItsNumber) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--threat", "9001"), "");
    EXPECT_EQ(options.threat, 9001);
    EXPECT_EQ(Apply("--threat", "0"), "expected a number from 1 to 2147483647, not '0'");
    EXPECT_EQ(Apply("--threat", "bannerbird"), "expected a number from 1 to 2147483647, not 'bannerbird'");
}

TEST(ScanOptionTable, ThePriorityIsAWordForTheSystemsNumber) {
    ScanOptions options;
    EXPECT_EQ(options.priority, 0);
    const std::pair<const char*, std::int32_t> words[] = {
        {"idle", 0x40}, {"below-normal", 0x4000}, {"normal", 0x20}, {"above-normal", 0x8000}, {"high", 0x80}};
    for (const auto& [word, number] : words) {
        EXPECT_EQ(Apply(options, "--priority", word), "");
        EXPECT_EQ(options.priority, number) << word;
    }
    EXPECT_EQ(Apply("--priority", "realtime"),
              "expected idle, below-normal, normal, above-normal or high, not 'realtime'");
}

TEST(ScanOptionTable, FormatIsOneOfFourWords) {
    ScanOptions options;
    const std::pair<const char*, OutputFormat> words[] = {{"jsonl", OutputFormat::Jsonl},
                                                          {"text", OutputFormat::Text},
                                                          {"xml", OutputFormat::Xml},
                                                          {"html", OutputFormat::Html}};
    for (const auto& [word, format] : words) {
        EXPECT_EQ(Apply(options, "--format", word), "");
        EXPECT_EQ(options.format, format);
    }
    for (const char* wrong : {"", "JSONL", "json", "pdf"}) {
        EXPECT_EQ(Apply("--format", wrong), "expected text, jsonl, xml or html, not '" + std::string(wrong) + "'");
    }
}

TEST(ScanOptionTable, AReportIsOneOfTheEnginesSix) {
    ScanOptions options;
    EXPECT_FALSE(options.report);
    const std::pair<const char*, ScanReport> words[] = {
        {"summary", ScanReport::Summary}, {"full", ScanReport::Full},         {"files", ScanReport::Files},
        {"folders", ScanReport::Folders}, {"registry", ScanReport::Registry}, {"cookies", ScanReport::Cookies}};
    for (const auto& [word, report] : words) {
        EXPECT_EQ(Apply(options, "--report", word), "");
        EXPECT_EQ(options.report, report);
    }
    EXPECT_EQ(Apply("--report", "all"), "expected summary, full, files, folders, registry or cookies, not 'all'");
}

TEST(ScanOptionTable, TheOutputIsAFile) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "-o,--output", "a b.html"), "");
    EXPECT_EQ(options.output, "a b.html");
    EXPECT_EQ(Apply("-o,--output", ""), "expected the name of a file");
}

TEST(ScanOptionTable, HelpSaysWhatMayEndProcesses) {
    std::set<std::string> telling;
    for (const auto& row : ScanOptionTable()) {
        if (std::string_view(row.help).find("END") != std::string_view::npos) {
            telling.insert(row.name);
        }
    }
    EXPECT_THAT(telling, ElementsAre("--suspend-active", "--threat"));
}

ScanOptions Enough() {
    ScanOptions options;
    options.data = "tables";
    options.userData = "mine";
#ifndef _WIN32
    options.machine = "/mnt/c";
#endif
    return options;
}

TEST(CheckScanOptions, BothFoldersOfTheEngineAreRequired) {
    EXPECT_EQ(CheckScanOptions(Enough()), std::nullopt);
    ScanOptions options = Enough();
    options.data.clear();
    EXPECT_EQ(CheckScanOptions(options), "--data is required");
    options = Enough();
    options.userData.clear();
    EXPECT_EQ(CheckScanOptions(options), "--user-data is required");
    EXPECT_EQ(CheckScanOptions({}), "--data is required");
}

TEST(CheckScanOptions, OneStreamTakesTheReportOrTheResults) {
    ScanOptions options = Enough();
    options.report = ScanReport::Files;
    EXPECT_EQ(CheckScanOptions(options), std::nullopt);
    options.formatNamed = true;
    EXPECT_EQ(CheckScanOptions(options),
              "--report and --format both go to standard output; name a file for the report with -o");
    options.output = "report.xml";
    EXPECT_EQ(CheckScanOptions(options), std::nullopt);
}

TEST(CheckScanOptions, ASingleThreatGoesWithNoStage) {
    ScanOptions options = Enough();
    options.threat = 7;
    EXPECT_EQ(CheckScanOptions(options), std::nullopt);
    constexpr bool ScanOptions::*Stages[] = {&ScanOptions::full,   &ScanOptions::processes, &ScanOptions::modules,
                                             &ScanOptions::common, &ScanOptions::registry,  &ScanOptions::cookies};
    const char* problem = "--threat looks for its threat everywhere; it goes with no stage and no --path";
    for (const auto stage : Stages) {
        ScanOptions one = options;
        one.*stage = true;
        EXPECT_EQ(CheckScanOptions(one), problem);
    }
    options.paths = {"C:\\"};
    EXPECT_EQ(CheckScanOptions(options), problem);
}

TEST(CheckScanOptions, SeveralThreatsAreForAScanThatCleans) {
    ScanOptions options = Enough();
    EXPECT_EQ(Apply(options, "--threat", "7"), "");
    EXPECT_EQ(Apply(options, "--threat", "8"), "");
    EXPECT_EQ(CheckScanOptions(options),
              "without --quarantine or --destroy one --threat is all that can be looked for");
    options.paths = {"C:\\"};
    options.quarantine = true;
    EXPECT_EQ(CheckScanOptions(options), std::nullopt);
    EXPECT_THAT(options.threats, ElementsAre(7, 8));
    options.destroy = true;
    EXPECT_EQ(CheckScanOptions(options), "--quarantine keeps what --destroy does not; name one of them");
    options.quarantine = false;
    EXPECT_EQ(CheckScanOptions(options), std::nullopt);
}

#ifdef _WIN32

TEST(CheckScanOptions, WhatBelongsToAMachineThatDoesNotRunIsRefused) {
    const char* problem =
        "--machine, --drive and --user belong to a machine that does not run; here the running one is meant";
    ScanOptions options = Enough();
    options.machine = "x";
    EXPECT_EQ(CheckScanOptions(options), problem);
    options = Enough();
    options.drives = {"D=x"};
    EXPECT_EQ(CheckScanOptions(options), problem);
    options = Enough();
    options.user = "Ada";
    EXPECT_EQ(CheckScanOptions(options), problem);
    EXPECT_THAT(SessionOptionTable().front().help, HasSubstr("not on Windows"));
}

#else

TEST(CheckScanOptions, AMachineOrADriveIsRequired) {
    ScanOptions options = Enough();
    options.machine.clear();
    EXPECT_EQ(CheckScanOptions(options), "--machine or --drive is required");
    options.drives = {"C=/mnt/c"};
    EXPECT_EQ(CheckScanOptions(options), std::nullopt);
    EXPECT_THAT(SessionOptionTable().front().help, HasSubstr("a Wine prefix, or the root of a Windows disk"));
}

#endif

}  // namespace
}  // namespace kel::frontend
