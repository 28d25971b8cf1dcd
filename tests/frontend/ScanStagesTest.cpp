// Which stages run, from what was asked for and what the machine has.
#include "frontend/ScanStages.h"

#include <gmock/gmock.h>

#include "scanner/Scanner.h"
#include "support/EngineTest.h"

namespace kel::frontend {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr platform::Capabilities Live{
    .processes = true, .services = true, .registry = true, .writable = true, .live = true};
constexpr platform::Capabilities Prefix{.registry = true};
constexpr platform::Capabilities BareDisk{};

TEST(Stages, WithoutAChoiceAllRun) {
    EXPECT_THAT(StagesOf({}, Live).Names(),
                ElementsAre("processes", "modules", "common", "drives", "registry", "cookies"));
    EXPECT_THAT(StagesOf({}, Live).notAvailable, IsEmpty());
    ScanOptions full;
    full.full = full.cookies = true;
    EXPECT_EQ(StagesOf(full, Live).Names(), StagesOf({}, Live).Names());
}

TEST(Stages, WhatTheMachineCanNotHaveIsLeftOutAndTold) {
    EXPECT_THAT(StagesOf({}, Prefix).Names(), ElementsAre("common", "drives", "registry", "cookies"));
    EXPECT_THAT(StagesOf({}, Prefix).notAvailable, ElementsAre("processes"));
    EXPECT_THAT(StagesOf({}, BareDisk).Names(), ElementsAre("common", "drives", "cookies"));
    EXPECT_THAT(StagesOf({}, BareDisk).notAvailable, ElementsAre("processes", "registry"));
}

TEST(Stages, WhatWasNotAskedForIsNotTold) {
    ScanOptions options;
    options.cookies = true;
    EXPECT_THAT(StagesOf(options, BareDisk).notAvailable, IsEmpty());
    options.suspendActive = true;
    options.priority = 0x40;
    EXPECT_THAT(StagesOf(options, BareDisk).notAvailable, ElementsAre("suspend-active", "priority"));
    EXPECT_THAT(StagesOf(options, Live).notAvailable, IsEmpty());
}

TEST(Stages, NamedOnesRunAlone) {
    const std::pair<bool ScanOptions::*, std::vector<std::string>> rows[] = {
        {&ScanOptions::processes, {"processes"}}, {&ScanOptions::modules, {"processes", "modules"}},
        {&ScanOptions::common, {"common"}},       {&ScanOptions::registry, {"registry"}},
        {&ScanOptions::cookies, {"cookies"}},
    };
    for (const auto& [member, names] : rows) {
        ScanOptions options;
        options.*member = true;
        EXPECT_EQ(StagesOf(options, Live).Names(), names);
        options.paths = {"C:\\Temp"};
        EXPECT_TRUE(StagesOf(options, Live).drives);
        EXPECT_EQ(StagesOf(options, Live).Names().size(), names.size() + 1);
    }
}

TEST(Stages, PathsAloneAreAWalkAndWithFullTakeThePlaceOfTheDrives) {
    ScanOptions options;
    options.paths = {"C:\\Temp"};
    EXPECT_THAT(StagesOf(options, Live).Names(), ElementsAre("drives"));
    options.full = true;
    EXPECT_EQ(StagesOf(options, Live).Names(), StagesOf({}, Live).Names());
}

TEST(Stages, NothingMayBeLeft) {
    ScanOptions options;
    options.modules = options.registry = true;
    EXPECT_THAT(StagesOf(options, BareDisk).Names(), IsEmpty());
    EXPECT_THAT(StagesOf(options, BareDisk).notAvailable, ElementsAre("processes", "registry"));
}

class AppliedStages : public test::EngineTest {};

TEST_F(AppliedStages, OptionsReachTheEngine) {
    Scanner scanner;
    scanner.SetOptMaxMD5Len(2500000);
    ScanOptions options;
    Apply(options, StagesOf(options, Prefix), scanner);
    EXPECT_FALSE(scanner.DoScanProcesses);
    EXPECT_FALSE(scanner.OptScanProcessesDeep);
    EXPECT_TRUE(scanner.DoMostCommon);
    EXPECT_TRUE(scanner.DoDriveScan);
    EXPECT_TRUE(scanner.DoScanRegistry);
    EXPECT_TRUE(scanner.DoScanCookies);
    EXPECT_FALSE(scanner.DoSkipCommonFiles);
    EXPECT_FALSE(scanner.ScanAllUsers());
    EXPECT_FALSE(scanner.SuspendActive());
    EXPECT_TRUE(scanner.optWriteHistory());
    EXPECT_EQ(scanner.OptMaxMD5Len(), 2500000);
    options.modules = options.allUsers = options.suspendActive = options.skipCommonFiles = options.zips = true;
    options.maxMd5Len = 4096;
    options.maxOption = 2;
    options.depth = 1;
    Apply(options, StagesOf(options, Live), scanner);
    EXPECT_TRUE(scanner.DoScanProcesses);
    EXPECT_TRUE(scanner.OptScanProcessesDeep);
    EXPECT_FALSE(scanner.DoMostCommon);
    EXPECT_TRUE(scanner.DoSkipCommonFiles);
    EXPECT_TRUE(scanner.DoScanZips);
    EXPECT_TRUE(scanner.ScanAllUsers());
    EXPECT_TRUE(scanner.SuspendActive());
    EXPECT_EQ(scanner.OptMaxMD5Len(), 4096);
    EXPECT_EQ(scanner.OptMaxOptionLevel(), 2);
    EXPECT_EQ(scanner.OptScanDepth, scanshallow);
}

}  // namespace
}  // namespace kel::frontend
