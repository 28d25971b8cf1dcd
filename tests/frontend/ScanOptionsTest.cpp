// The table of options: what each row takes and what it answers to a value that it can't take.
#include "frontend/ScanOptions.h"

#include <gmock/gmock.h>

#include <set>

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
    EXPECT_THAT(names, ElementsAre("--machine", "--drive", "--user", "--data", "--user-data", "--path", "--depth",
                                   "--max-option", "--zips", "--format", "--no-progress"));
}

TEST(ScanOptionTable, DrivesAndPathsMayBeRepeatedAndTwoOptionsAreSwitches) {
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
    EXPECT_THAT(repeatable, ElementsAre("--drive", "--path"));
    EXPECT_THAT(switches, ElementsAre("--no-progress", "--zips"));
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

TEST(ScanOptionTable, FormatIsOneOfTwoWords) {
    ScanOptions options;
    EXPECT_EQ(Apply(options, "--format", "jsonl"), "");
    EXPECT_EQ(options.format, OutputFormat::Jsonl);
    EXPECT_EQ(Apply(options, "--format", "text"), "");
    EXPECT_EQ(options.format, OutputFormat::Text);
    for (const char* wrong : {"", "JSONL", "json", "xml"}) {
        EXPECT_EQ(Apply("--format", wrong), "expected text or jsonl, not '" + std::string(wrong) + "'");
    }
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
