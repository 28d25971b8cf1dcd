#include <gmock/gmock.h>

#include "decorators/FaultInjectingPlatform.h"
#include "results/IgnoredThreats.h"
#include "results/modDataManager.h"
#include "results/modIgnoredThreats.h"
#include "support/EngineTest.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::string_literals;

class Ignored : public EngineTest {
protected:
    std::string Path() const { return UserFolder() + "kelIgnoredThreatData.sdb"; }
    /// As after the first load on a machine.
    void HaveEmptyFile() { WriteFile(Path(), ""); }
    std::vector<std::int32_t> List() {
        std::vector<std::int32_t> numbers;
        for (const std::int32_t number : *State().IgnoredThreatIDs) {
            numbers.push_back(number);
        }
        return numbers;
    }

    IgnoredThreats ignored;
};

TEST_F(Ignored, TheFirstLoadOnAMachineLeavesNoListAndAnEmptyFile) {
    EXPECT_TRUE(modDataManager::InitializeIgnoredThreatsData());
    EXPECT_EQ(State().IgnoredThreatIDs, nullptr);
    EXPECT_EQ(ReadFile(Path()), "");
    EXPECT_FALSE(modDataManager::IsInitializedIgnoredThreatsData());
}

TEST_F(Ignored, TheSecondLoadGivesAnEmptyList) {
    modDataManager::InitializeIgnoredThreatsData();
    EXPECT_TRUE(modDataManager::InitializeIgnoredThreatsData());
    ASSERT_NE(State().IgnoredThreatIDs, nullptr);
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_FALSE(modDataManager::IsInitializedIgnoredThreatsData());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Ignored, TheReaderTakesFourBytesANumber) {
    WriteFile(Path(), "\x64\0\0\0\xff\xff\xff\xff\x01\x02\x03\x04"s);
    modDataManager::InitializeIgnoredThreatsData();
    EXPECT_THAT(List(), ElementsAre(100, -1, 0x04030201));
    EXPECT_TRUE(modDataManager::IsInitializedIgnoredThreatsData());
}

TEST_F(Ignored, ANumberThatStandsTwiceInTheFileIsPassedOver) {
    WriteFile(Path(), "\x05\0\0\0\x06\0\0\0\x05\0\0\0\x05\0\0\0"s);
    modDataManager::InitializeIgnoredThreatsData();
    EXPECT_THAT(List(), ElementsAre(5, 6));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Ignored, BytesThatDoNotFillANumberAddNothing) {
    WriteFile(Path(), "\x05\0\0\0\x06\0\0"s);
    modDataManager::InitializeIgnoredThreatsData();
    EXPECT_THAT(List(), ElementsAre(5));
}

TEST_F(Ignored, AddingWritesSixBytesThatBeginWithTheTypeTag) {
    HaveEmptyFile();
    ignored.AddIgnoredThreat(100);
    EXPECT_EQ(ReadFile(Path()), "\x03\0\x64\0\0\0"s);
    EXPECT_TRUE(ignored.IsIgnoredThreatID(100));
    EXPECT_TRUE(modIgnoredThreats::IsIgnoredThreatID(100));
    EXPECT_FALSE(modIgnoredThreats::IsIgnoredThreatID(101));
}

TEST_F(Ignored, AReloadReadsWhatTheWriterWroteAsOneOtherNumber) {
    HaveEmptyFile();
    ignored.AddIgnoredThreat(100);
    modDataManager::InitializeIgnoredThreatsData();
    EXPECT_THAT(List(), ElementsAre(0x00640003));
}

TEST_F(Ignored, TheWriterKeepsTheOrderOfTheList) {
    HaveEmptyFile();
    for (const std::int32_t number : {3, 1, -2}) {
        ignored.AddIgnoredThreat(number);
    }
    EXPECT_EQ(ReadFile(Path()), "\x03\0\x03\0\0\0\x03\0\x01\0\0\0\x03\0\xfe\xff\xff\xff"s);
}

TEST_F(Ignored, AddingTwiceKeepsOneItemAndWritesOnce) {
    HaveEmptyFile();
    decorators::FaultInjectingPlatform counting(Machine());
    Install(counting.View());
    ignored.AddIgnoredThreat(100);
    const std::uint64_t writes = counting.Writes();
    ignored.AddIgnoredThreat(100);
    EXPECT_EQ(counting.Writes(), writes);
    Install(Machine());
    EXPECT_THAT(List(), ElementsAre(100));
}

TEST_F(Ignored, RemovingWhatIsNotThereWritesNothing) {
    HaveEmptyFile();
    ignored.AddIgnoredThreat(100);
    decorators::FaultInjectingPlatform counting(Machine());
    Install(counting.View());
    ignored.RemoveIgnoredThreat(101);
    EXPECT_EQ(counting.Writes(), 0U);
    Install(Machine());
    EXPECT_THAT(List(), ElementsAre(100));
}

TEST_F(Ignored, RemovingWritesTheRest) {
    HaveEmptyFile();
    for (const std::int32_t number : {1, 2, 3}) {
        ignored.AddIgnoredThreat(number);
    }
    ignored.RemoveIgnoredThreat(2);
    EXPECT_THAT(List(), ElementsAre(1, 3));
    EXPECT_EQ(ReadFile(Path()), "\x03\0\x01\0\0\0\x03\0\x03\0\0\0"s);
    EXPECT_FALSE(ignored.IsIgnoredThreatID(2));
}

TEST_F(Ignored, TheListGivenOutIsTheLiveOne) {
    HaveEmptyFile();
    ignored.AddIgnoredThreat(1);
    const auto list = ignored.GetIgnoredThreatIDs();
    EXPECT_EQ(list, State().IgnoredThreatIDs);
    EXPECT_EQ(modIgnoredThreats::GetIgnoredThreatIDs(), list);
    ignored.AddIgnoredThreat(2);
    EXPECT_EQ(list->Count(), 2U);
}

TEST_F(Ignored, CountingOnAFreshMachineFailsOnceAndThenAnswersNought) {
    EXPECT_EQ(ignored.GetIgnoredThreatCount(), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "IgnoredThreats");
    EXPECT_EQ(Reported()[0].procedure, "GetIgnoredThreatCount");
    EXPECT_EQ(Reported()[0].number, "91");
    EXPECT_EQ(ignored.GetIgnoredThreatCount(), 0);
    EXPECT_THAT(Reported(), SizeIs(1));
}

TEST_F(Ignored, TheModulesCountFailsUnderItsOwnName) {
    EXPECT_EQ(modIgnoredThreats::GetIgnoredThreatCount(), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modIgnoredThreats");
}

TEST_F(Ignored, AddingOnAFreshMachineNeedsTheSecondCall) {
    ignored.AddIgnoredThreat(100);
    EXPECT_THAT(Reported(), SizeIs(1));
    ignored.AddIgnoredThreat(100);
    EXPECT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(ignored.GetIgnoredThreatCount(), 1);
}

TEST_F(Ignored, AnEmptyListIsLoadedAgainByEachOperation) {
    HaveEmptyFile();
    EXPECT_FALSE(modIgnoredThreats::IsIgnoredThreatID(5));
    WriteFile(Path(), "\x05\0\0\0"s);
    EXPECT_TRUE(modIgnoredThreats::IsIgnoredThreatID(5));
    WriteFile(Path(), "");
    EXPECT_TRUE(modIgnoredThreats::IsIgnoredThreatID(5)) << "a list that is not empty is not loaded again";
}

TEST_F(Ignored, TheIndexWalksTheItemsFromOne) {
    HaveEmptyFile();
    ignored.AddIgnoredThreat(30);
    ignored.AddIgnoredThreat(10);
    EXPECT_EQ(modIgnoredThreats::GetIgnoredThreatIndex(30), 1);
    EXPECT_EQ(modIgnoredThreats::GetIgnoredThreatIndex(10), 2);
    EXPECT_EQ(modIgnoredThreats::GetIgnoredThreatIndex(11), 0);
}

TEST_F(Ignored, TheIndexReportsUnderTheCapitalModuleName) {
    EXPECT_EQ(modIgnoredThreats::GetIgnoredThreatIndex(1), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "ModIgnoredThreats");
    EXPECT_EQ(Reported()[0].procedure, "GetIgnoredThreatIndex");
}

TEST_F(Ignored, AFileThatCannotBeOpenedIsReportedAndTheResultStaysTrue) {
    HaveEmptyFile();
    decorators::FaultInjectingPlatform locked(Machine());
    locked.Lock(Path());
    Install(locked.View());
    EXPECT_TRUE(modDataManager::InitializeIgnoredThreatsData());
    Install(Machine());
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modDataManager");
    EXPECT_EQ(Reported()[0].procedure, "InitializeIgnoredThreatsData");
}

TEST_F(Ignored, AListThatMayNotBeWrittenIsLoaded) {
    WriteFile(Path(), "\x64\0\0\0"s);
    ASSERT_EQ(Machine().files->SetAttributes(Path(), platform::AttributeReadOnly), platform::SysError::Success);
    modDataManager::InitializeIgnoredThreatsData();
    EXPECT_THAT(Reported(), IsEmpty());
    EXPECT_TRUE(ignored.IsIgnoredThreatID(100));
    ignored.AddIgnoredThreat(101);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].procedure, "PersistIgnoredThreatsData");
    EXPECT_TRUE(ignored.IsIgnoredThreatID(101)) << "the list in memory goes on";
    Machine().files->SetAttributes(Path(), platform::AttributeNormal);
}

TEST_F(Ignored, AFailedWriteIsReportedAndTheListStaysRight) {
    HaveEmptyFile();
    ignored.AddIgnoredThreat(1);
    decorators::FaultInjectingPlatform full(Machine());
    full.DiskFullAfter(3);
    Install(full.View());
    ignored.AddIgnoredThreat(2);
    Install(Machine());
    EXPECT_THAT(List(), ElementsAre(1, 2));
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].procedure, "PersistIgnoredThreatsData");
    EXPECT_EQ(Reported()[0].number, "61");
}

}  // namespace
}  // namespace kel::test
