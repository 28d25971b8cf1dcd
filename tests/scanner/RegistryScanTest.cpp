#include <gmock/gmock.h>

#include "CountingLoop.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "results/IgnoredThreats.h"
#include "support/ScanTest.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* User = "HKEY_CURRENT_USER";

class RegistryScan : public ScanTest {
protected:
    std::string X() const { return Key() + "\\X"; }
    std::string Place(const std::string& key) const { return std::string(User) + "\\" + key; }

    void SetUp() override {
        tables.threats = {{1, "One"}, {2, "Two"}, {3, "Three"}};
        ASSERT_TRUE(modRegistry::CreateRegistryKey(HiveCurrentUser, X()));
        ASSERT_TRUE(modRegistry::SetRegistryValue(HiveCurrentUser, X(), "Name", std::string("Some Data"), 1));
    }
    void Add(std::int32_t threat, const std::string& key, std::optional<std::string> name = {},
             std::optional<std::string> data = {}, std::int16_t level = 0) {
        tables.regKeys.push_back({threat, User, key, std::move(name), std::move(data), level});
    }
    // Registry locations of a threat, as texts: key [name] = data, level.
    std::vector<std::string> Locations(std::int32_t threat) {
        std::vector<std::string> texts;
        for (const auto& detected : *CurrentScan()->DetectedThreats()) {
            if (detected->ThreatID == threat) {
                for (const auto& location : *detected->ThreatLocationRegKeys) {
                    EXPECT_EQ(location->RegHive(), HiveCurrentUser);
                    texts.push_back(location->Regkey() + " [" + location->RegValueName() +
                                    "] = " + location->RegValueData() + ", " + Text(location->OptionLevel));
                }
            }
        }
        return texts;
    }
};

TEST_F(RegistryScan, AKeyThatIsThereIsADetectionAndOneThatIsNotIsOnlyNamed) {
    Add(1, Key() + "\\Empty");
    Add(2, Key() + "\\Missing");
    ASSERT_TRUE(modRegistry::CreateRegistryKey(HiveCurrentUser, Key() + "\\Empty"));
    Begin();
    scanner.ScanRegistry();
    EXPECT_THAT(started, ElementsAre(HeardStart{Place(Key() + "\\Empty"), ScanTypeRegistry, 1},
                                     HeardStart{Place(Key() + "\\Missing"), ScanTypeRegistry, 2}));
    EXPECT_THAT(found, ElementsAre(HeardThreat{Place(Key() + "\\Empty"), ScanTypeRegistry, 1, 1}));
    EXPECT_THAT(Locations(1), ElementsAre(Key() + "\\Empty [] = , 0"));
    EXPECT_EQ(scanner.Scan()->ScannedRegistryCount, 2);
    EXPECT_EQ(scanner.Scan()->DetectedRegistryCount, 1);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RegistryScan, WhatLiesBelowAKeyIsRecordedBehindIt) {
    ASSERT_TRUE(modRegistry::SetRegistryValue(HiveCurrentUser, X() + "\\Below", "Deep", std::string("1"), 1));
    Add(1, X());
    Begin();
    scanner.ScanRegistry();
    EXPECT_THAT(Locations(1),
                ElementsAre(X() + " [] = , 0", X() + "\\Below [Deep] = 1, 0", X() + " [Name] = Some Data, 0"));
}

TEST_F(RegistryScan, OneBackslashAtEachEndOfAKeyDoesNotCount) {
    Add(1, "\\" + X() + "\\", "Name");
    Begin();
    scanner.ScanRegistry();
    EXPECT_THAT(StartedLocations(), ElementsAre(Place(X())));
    EXPECT_THAT(Locations(1), ElementsAre(X() + " [Name] = , 0"));
}

TEST_F(RegistryScan, ALevelAboveTheLimitRaisesNoEvent) {
    Add(1, X(), "Name", {}, 3);
    Add(2, X(), "Name", {}, 2);
    Begin();
    scanner.SetOptMaxOptionLevel(2);
    scanner.ScanRegistry();
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_THAT(Locations(1), IsEmpty());
    EXPECT_THAT(Locations(2), ElementsAre(X() + " [Name] = , 2"));
    EXPECT_EQ(State().RegKeyRecordset->Filter(), "OptionalScan<=2") << "the filter stays";
}

TEST_F(RegistryScan, DataMatchWithoutRegardToCase) {
    Add(1, LCase(X()), "NAME", "some DATA", 1);
    Add(2, X(), "Name", "Some");
    Add(3, X(), "Other", "Some Data");
    Begin();
    scanner.SetOptMaxOptionLevel(1);
    scanner.ScanRegistry();
    EXPECT_THAT(Locations(1), ElementsAre(LCase(X()) + " [NAME] = some DATA, 1"));
    EXPECT_THAT(Locations(2), IsEmpty());
    EXPECT_THAT(Locations(3), IsEmpty());
    EXPECT_THAT(started, SizeIs(3));
}

TEST_F(RegistryScan, AnEmptyNameOrDataIsLikeNone) {
    Add(1, X(), "Name", "");
    Add(2, Key() + "\\Missing", "", "");
    Add(3, X(), "Missing", "");
    Begin();
    scanner.ScanRegistry();
    EXPECT_THAT(Locations(1), ElementsAre(X() + " [Name] = , 0"));
    EXPECT_THAT(started, SizeIs(3));
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 1);
}

TEST_F(RegistryScan, RowsThatAskNothingArePassedOver) {
    tables.regKeys = {
        {1, "HKEY_NOWHERE", X()}, {1, User, ""}, {1, User, X(), {}, "Some Data"}, {1, "", X()}, {1, User, "\\"},
        {1, User, "\\\\", "Name"}};
    Begin();
    CountingLoop loop;
    platform::Platform machine = Machine();
    machine.loop = &loop;
    Install(machine);
    scanner.ScanRegistry();
    Install(Machine());
    EXPECT_THAT(started, IsEmpty());
    EXPECT_EQ(loop.turns, 1) << "only the row that names a place yields";
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RegistryScan, AKeyThatTheMachineNeedsIsNoDetection) {
    Add(1, "Software\\");
    Add(2, "software");
    Begin();
    scanner.ScanRegistry();
    EXPECT_THAT(started, SizeIs(2));
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
}

TEST_F(RegistryScan, AnIgnoredThreatIsNamedAndNotRecorded) {
    Add(1, X(), "Name");
    Begin();
    IgnoredThreats().AddIgnoredThreat(1);
    scanner.ScanRegistry();
    EXPECT_THAT(started, SizeIs(1));
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
}

TEST_F(RegistryScan, AnAbortEndsTheStageAndTheRecordIsComplete) {
    Add(1, Key() + "\\Missing");
    Add(2, X(), "Name");
    Add(3, X(), "Name");
    Begin();
    scanner.DoScanRegistry = true;
    abortAtPoll = 2;
    EXPECT_FALSE(scanner.RunScanEasy());
    EXPECT_THAT(started, SizeIs(2));
    EXPECT_THAT(Locations(2), SizeIs(1)) << "the row that began is finished";
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
    EXPECT_GT(scanner.Scan()->EndDate.days, 0);
}

TEST_F(RegistryScan, ATableOfAnEarlierFormIsReadWithoutLevels) {
    Add(1, X(), "Name");
    tables.withLevels = false;
    Begin();
    scanner.SetOptMaxOptionLevel(-1);
    scanner.ScanRegistry();
    EXPECT_THAT(Locations(1), ElementsAre(X() + " [Name] = , 0"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RegistryScan, ATableWithoutRowsForTheLevelIsNoFailure) {
    Begin();
    scanner.ScanRegistry();
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RegistryScan, AMissingTableIsReported) {
    tables.WriteTo(AppFolder());
    ASSERT_EQ(Machine().files->Remove(AppFolder() + "KelThreatRegKey.sdb"), platform::SysError::Success);
    scanner.InitializeScan();
    const std::size_t before = Reported().size();
    scanner.ScanRegistry();
    ASSERT_THAT(Reported(), SizeIs(before + 1));
    EXPECT_EQ(Reported().back().module, "Scanner");
    EXPECT_EQ(Reported().back().procedure, "ScanRegistry");
    EXPECT_EQ(Reported().back().number, "3704");
}

TEST_F(RegistryScan, AHiveThatIsNullEndsTheStage) {
    Add(1, X(), "Name");
    Begin();
    State().RegKeyRecordset->Set("RegHive", Null{});
    State().RegKeyRecordset->Update();
    scanner.ScanRegistry();
    EXPECT_THAT(started, IsEmpty());
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].number, "94");
}

// The question whether a signature exists.
class RegKeyThreat : public RegistryScan {
protected:
    void SetUp() override {
        Add(3, "Software\\First", "n", "d", 9);
        Add(1, "Software\\Bare");
        Add(2, "Software\\Named", "Value");
        Add(1, "Software\\Named", "Value", "7");
        Begin();
    }
    std::int32_t Ask(std::string_view key, std::string_view name, const Value& data) {
        return scanner.IsRegKeyThreat(User, key, name, data);
    }
};

TEST_F(RegKeyThreat, AKeyIsFoundByHiveAndKeyWhateverItsLevel) {
    EXPECT_EQ(Ask("software\\FIRST", "", std::string()), 3);
    EXPECT_EQ(Ask("Software\\Bare", "", Empty{}), 1);
    EXPECT_EQ(Ask("Software\\Bare", "", Null{}), 1);
    EXPECT_EQ(Ask("Software\\Missing", "", std::string()), 0);
    EXPECT_EQ(scanner.IsRegKeyThreat("HKEY_LOCAL_MACHINE", "Software\\Bare", "", std::string()), 0);
    EXPECT_EQ(State().RegKeyRecordset->Filter(), "RegHive='HKEY_LOCAL_MACHINE' and RegKey='Software\\Bare'");
}

TEST_F(RegKeyThreat, AValueIsFoundByItsNameAndItsData) {
    EXPECT_EQ(Ask("Software\\Named", "value", std::string()), 2);
    EXPECT_EQ(Ask("Software\\Named", "Value", std::int32_t{7}), 1);
    EXPECT_EQ(Ask("Software\\Named", "Value", std::string("8")), 0);
    EXPECT_EQ(State().RegKeyRecordset->Filter(),
              "RegHive='HKEY_CURRENT_USER' and RegKey='Software\\Named' and RegValueName='Value' and RegValueData='8'");
}

TEST_F(RegKeyThreat, DataWithoutANameIsAnsweredByTheFirstSignature) {
    EXPECT_EQ(Ask("Software\\Missing", "", std::string("x")), 3);
    EXPECT_EQ(State().RegKeyRecordset->Filter(), "");
}

TEST_F(RegKeyThreat, AnApostropheIsAReportedFailure) {
    EXPECT_EQ(Ask("Software\\Bare'", "", std::string()), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Scanner");
    EXPECT_EQ(Reported()[0].procedure, "IsRegKeyThreat");
}

}  // namespace
}  // namespace kel::test
