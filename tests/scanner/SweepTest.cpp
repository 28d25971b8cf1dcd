// What a scan ends before it begins.
#include <gmock/gmock.h>

#include "support/MadeMachine.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::int32_t Spy = 7;

class Sweep : public MadeMachineTest {
protected:
    void SetUp() override {
        tables.threats = {{Spy, "Spy"}};
        tables.md5 = {{Spy, HashOf(SpyBytes())}};
        Begin();
        Run(MadeProcesses::Own, "own.exe", Bytes(2000, 'o'));
        spy_ = Run(20, "spy.exe", SpyBytes());
    }
    [[nodiscard]] static std::string SpyBytes() { return Bytes(2000, 's'); }

    std::string spy_;
};

TEST_F(Sweep, ARunEndsThreatsOnDemandAlone) {
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_THAT(processes.ended, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
    scanner.SetSuspendActive(true);
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_THAT(processes.ended, ElementsAre("20 with 1 by 1025"));
    EXPECT_THAT(FilesOf(Spy), ElementsAre(spy_));
}

TEST_F(Sweep, ARunSweepsBeforeItsStages) {
    scanner.SetSuspendActive(true);
    scanner.DoScanProcesses = true;
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_THAT(FilesOf(Spy), SizeIs(1));
    EXPECT_THAT(started, IsEmpty()) << "nothing but the engine is left to look at";
}

TEST_F(Sweep, EveryRunReadsTheResuscitatorsAnewAndEndsThem) {
    WriteResuscitators({{Value(std::string("spy.exe"))}});
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_THAT(processes.ended, ElementsAre("20 with 0 by 2035711"));
    EXPECT_THAT(FilesOf(Spy), IsEmpty()) << "that is no detection";
}

TEST_F(Sweep, AStageAloneEndsNothing) {
    WriteResuscitators({{Value(std::string("spy.exe"))}});
    scanner.SetSuspendActive(true);
    scanner.InitializeScan();
    scanner.ScanProcesses();
    scanner.ScanRegistry();
    EXPECT_THAT(processes.ended, IsEmpty());
}

TEST_F(Sweep, TheScanOfOneThreatSweepsAllIntoTheScanBeforeIt) {
    const auto before = scanner.Scan();
    EXPECT_TRUE(scanner.ScanThreat(12345, false));
    EXPECT_THAT(processes.ended, ElementsAre("20 with 1 by 1025"));
    EXPECT_EQ(before->DetectedThreatCount(), 1);
    EXPECT_NE(scanner.Scan(), before);
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
}

TEST_F(Sweep, TheScanOfOneThreatGoesOnWhereTheSweepCantRecord) {
    Run(21, "copy.exe", SpyBytes());
    SetCurrentScan(nullptr);
    EXPECT_TRUE(scanner.ScanThreat(12345, false));
    EXPECT_THAT(processes.ended, ElementsAre("20 with 1 by 1025")) << "the failure ends the sweep";
    EXPECT_NE(scanner.Scan(), nullptr);
    ASSERT_THAT(Reported(), SizeIs(2));
    EXPECT_EQ(Reported()[1].procedure, "SuspendActiveThreats");
}

}  // namespace
}  // namespace kel::test
