#include <gmock/gmock.h>

#include "CountingLoop.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "scanner/ThreatCleaner.h"
#include "support/ScanTest.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* User = "HKEY_CURRENT_USER";

// The scan of a single threat is released at its end, so a test keeps hold of it at a yield.
class SingleThreat : public ScanTest {
protected:
    void SetUp() override {
        tables.threats = {{1, "One"}, {2, "Two"}};
        ASSERT_TRUE(modRegistry::SetRegistryValue(HiveCurrentUser, X(), "Name", std::string("Data"), 1));
    }
    void TearDown() override { Install(Machine()); }

    std::string X() const { return Key() + "\\X"; }
    void AddRow(std::int32_t threat, std::optional<std::string> name, std::optional<std::string> data,
                std::int16_t level = 0) {
        tables.regKeys.push_back({threat, User, X(), std::move(name), std::move(data), level});
    }
    bool ScanThreat(std::int32_t threat, bool clean = false) {
        // The sweep of running threats, which yields for each process, comes before the scan is there.
        turns = 0;
        loop.call = [this, before = CurrentScan()] {
            scan = CurrentScan();
            turns += scan != before ? 1 : 0;
        };
        platform::Platform machine = Machine();
        machine.loop = &loop;
        Install(machine);
        const bool scanned = scanner.ScanThreat(threat, clean);
        Install(Machine());
        return scanned;
    }
    std::vector<std::string> RegKeys() {
        std::vector<std::string> texts;
        for (const auto& detected : *scan->DetectedThreats()) {
            for (const auto& location : *detected->ThreatLocationRegKeys) {
                texts.push_back(Text(detected->ThreatID) + ": " + location->Regkey() + " [" + location->RegValueName() +
                                "] = " + location->RegValueData() + ", " + Text(location->OptionLevel));
            }
        }
        return texts;
    }

    CountingLoop loop;
    int turns = 0;  ///< of the message loop during the scan
    std::shared_ptr<Scan> scan;
};

TEST_F(SingleThreat, FindsTheRegistrySignaturesOfThatThreatWhateverTheirLevel) {
    AddRow(1, "Name", {}, 9);
    AddRow(2, "Name", "Data");
    AddRow(1, "name", "DATA", 8);
    AddRow(1, {}, {});
    AddRow(1, "Missing", {});
    AddRow(1, {}, "Data");
    Begin();
    EXPECT_TRUE(ScanThreat(1));
    ASSERT_NE(scan, nullptr);
    EXPECT_THAT(RegKeys(), ElementsAre("1: " + X() + " [Name] = , 9", "1: " + X() + " [name] = DATA, 8",
                                       "1: " + X() + " [] = , 0", "1: " + X() + " [Name] = Data, 0"));
    EXPECT_EQ(turns, 4) << "one for each row that asks something";
    EXPECT_EQ(scan->Callback, nullptr);
    EXPECT_EQ(scan->FolderPaths, nullptr);
    EXPECT_EQ(scan->ScannedRegistryCount, 0);
    EXPECT_THAT(started, IsEmpty());
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(SingleThreat, FindsPathsAsTheyStandWithoutAHash) {
    const std::string path = Folder() + "a.bin";
    WriteFile(path, Bytes(1000, 'a'));
    WriteFile(Folder() + "b.bin", Bytes(1000, 'b'));
    tables.paths = {{1, Folder() + "missing.bin"}, {2, Folder() + "b.bin"}, {1, path, 9}, {1, "%windows%\\system32"}};
    tables.folders = {{1, Folder()}};
    AddRow(1, "Missing", {});
    Begin();
    EXPECT_TRUE(ScanThreat(1));
    ASSERT_NE(scan, nullptr);
    ASSERT_EQ(scan->DetectedThreatCount(), 1);
    const auto& files = *scan->DetectedThreats()->Item(1)->ThreatLocationFiles;
    ASSERT_EQ(files.Count(), 1U);
    EXPECT_EQ(files.Item(1)->DetectedFilePath(), path);
    EXPECT_EQ(files.Item(1)->MD5, "");
    EXPECT_EQ(scan->DetectedThreats()->Item(1)->ThreatLocationFolders->Count(), 0U);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(SingleThreat, LeavesNoScanAndNoFilterBehind) {
    AddRow(1, "Name", {});
    Begin();
    EXPECT_TRUE(ScanThreat(1));
    EXPECT_EQ(scanner.Scan(), nullptr);
    EXPECT_EQ(ThreatsToClean(), nullptr);
    EXPECT_EQ(State().RegKeyRecordset->Filter(), "");
    EXPECT_EQ(scan->DetectedThreatCount(), 1);
}

TEST_F(SingleThreat, AnUnknownNumberAnswersTrueAndDetectsNothing) {
    AddRow(5, "Name", {});
    Begin();
    const auto before = scanner.Scan();
    EXPECT_TRUE(ScanThreat(5));
    ASSERT_NE(scanner.Scan(), nullptr);
    EXPECT_NE(scanner.Scan(), before);
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
    EXPECT_EQ(turns, 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(SingleThreat, IsRefusedDuringAFullRun) {
    AddRow(1, "Name", {});
    Begin();
    scanner.DoScanRegistry = true;
    std::vector<bool> answers;
    ScannerEvents events;
    events.StartingLocation = [&](std::string_view, enScanType, std::int32_t) {
        answers.push_back(scanner.ScanThreat(1, false));
    };
    scanner.Scan()->Callback->Subscribe(std::move(events));
    const auto running = scanner.Scan();
    EXPECT_TRUE(scanner.RunScanEasy());
    EXPECT_THAT(answers, ElementsAre(false));
    EXPECT_EQ(scanner.Scan(), running);
    EXPECT_EQ(running->DetectedThreatCount(), 1);
    EXPECT_TRUE(scanner.ScanThreat(1, false)) << "the run is over";
}

TEST_F(SingleThreat, IsNotEndedByTheAbortFlag) {
    AddRow(1, "Name", {});
    AddRow(1, "Name", "Data");
    Begin();
    platform::Platform machine = Machine();
    machine.loop = &loop;
    loop.call = [this] {
        scan = CurrentScan();
        ScanAbortFlag() = true;
    };
    Install(machine);
    EXPECT_TRUE(scanner.ScanThreat(1, false));
    Install(Machine());
    EXPECT_THAT(RegKeys(), SizeIs(2));
}

TEST_F(SingleThreat, CleaningLeavesTheHistoryOptionAsItWas) {
    AddRow(1, "Name", {});
    Begin();
    for (const bool writes : {true, false}) {
        scanner.SetoptWriteHistory(writes);
        EXPECT_TRUE(ScanThreat(1, true));
        EXPECT_EQ(scanner.optWriteHistory(), writes);
    }
}

// Cleans nothing, and notes what it was asked.
class NotingCleaner : public ThreatCleaner {
public:
    explicit NotingCleaner(std::vector<std::string>& notes) : notes_(notes) { notes_.emplace_back("made"); }
    ~NotingCleaner() override { notes_.emplace_back("released"); }
    NotingCleaner(const NotingCleaner&) = delete;
    NotingCleaner& operator=(const NotingCleaner&) = delete;

    void DestroyThreat(Scan& scan, std::int32_t threatID) override {
        notes_.push_back("destroy " + Text(threatID) + " of " + Text(scan.DetectedThreatCount()) +
                         (Scanner().optWriteHistory() ? ", history" : ""));
    }

private:
    std::vector<std::string>& notes_;
};

TEST_F(SingleThreat, WhatIsFoundIsCleanedOnlyWhenAsked) {
    AddRow(1, "Name", {});
    AddRow(2, "Missing", {});
    Begin();
    std::vector<std::string> notes;
    SetThreatCleaners([&notes] { return std::make_shared<NotingCleaner>(notes); });
    scanner.SetoptWriteHistory(true);
    EXPECT_TRUE(ScanThreat(1));
    EXPECT_THAT(notes, ElementsAre("made", "released"));
    notes.clear();
    EXPECT_TRUE(ScanThreat(2, true));
    EXPECT_THAT(notes, ElementsAre("made", "released")) << "nothing was found";
    notes.clear();
    EXPECT_TRUE(ScanThreat(1, true));
    EXPECT_THAT(notes, ElementsAre("made", "destroy 1 of 1", "released"));
    EXPECT_TRUE(scanner.optWriteHistory());
    SetThreatCleaners({});
}

TEST_F(SingleThreat, AFailureAnswersTrueAndKeepsTheFilter) {
    AddRow(1, "Name", {});
    Begin();
    State().FilePathDataTable.reset();
    EXPECT_TRUE(ScanThreat(1));
    EXPECT_EQ(State().RegKeyRecordset->Filter(), "ThreatID=1");
    EXPECT_NE(scanner.Scan(), nullptr);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "Scanner");
    EXPECT_EQ(Reported()[0].procedure, "ScanThreat");
}

TEST_F(SingleThreat, ATableWithoutLevelsIsSearched) {
    AddRow(1, "Name", {}, 9);
    tables.withLevels = false;
    Begin();
    EXPECT_TRUE(ScanThreat(1));
    EXPECT_THAT(RegKeys(), ElementsAre("1: " + X() + " [Name] = , 0"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(SingleThreat, ATableWithoutThreatsIsAFailureAndFindsNothing) {
    Begin();
    const auto table = std::make_shared<Recordset>();
    for (const char* column : {"RegHive", "RegKey", "RegValueName", "RegValueData"}) {
        table->AppendField(column, FieldType::VarChar, 255);
    }
    table->Open();
    table->AddNew();
    table->Set("RegHive", std::string(User));
    table->Set("RegKey", X());
    table->Set("RegValueName", std::string("Name"));
    table->Update();
    State().RegKeyRecordset = table;
    EXPECT_TRUE(ScanThreat(1));
    EXPECT_EQ(turns, 0);
    ASSERT_NE(scanner.Scan(), nullptr);
    EXPECT_EQ(scanner.Scan()->DetectedThreatCount(), 0);
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].procedure, "ScanThreat");
    EXPECT_EQ(Reported()[0].number, "3265");
}

TEST_F(SingleThreat, ReloadingReplacesTheTables) {
    Begin();
    tables.threats.push_back({3, "Three"});
    tables.WriteTo(AppFolder());
    scanner.ReloadThreatData();
    EXPECT_EQ(State().ThreatCatalog->Count(), 4U);
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
