// A whole clean and its undo on the platform that swallows writes: the same road, and nothing changes.
#include <gmock/gmock.h>

#include <algorithm>
#include <optional>

#include "CleanTest.h"
#include "core/Text.h"
#include "decorators/DryRunPlatform.h"
#include "decorators/FaultInjectingPlatform.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "support/MachineSnapshot.h"

namespace kel::test {
namespace {

using decorators::SwallowedWrite;
using decorators::WriteKind;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::int32_t Threat = 7;

class DryRunClean : public CleanTest {
protected:
    DryRunClean() { tables.threats = {{.id = Threat, .name = "Evil", .category = "adware", .author = "Mallory"}}; }
    ~DryRunClean() override {
        cleaner.reset();
        Install(Staged());
    }

    // From here on the engine works on a dry run.
    void BeginDryRun() {
        ASSERT_EQ(Machine().registry->Commit(), platform::SysError::Success);
        before_ = Snapshot();
        platform::Platform real = Machine();
        real.internet = &services;
        real.restorePoints = &services;
        real.can.live = true;
        counted_.emplace(real);
        dryRun_.emplace(counted_->View(), [this](const SwallowedWrite& write) { writes.push_back(write); });
        stage_.emplace(dryRun_->View(), Key() + "\\Stage");
        stage_->Folders() = Stage().Folders();
        dry_ = stage_->View();
        dry_.system = Staged().system;
        Install(dry_);
        Begin();
    }

    // The folders that the engine works in and the whole scratch key; where the machine is the test's own, all of it.
    [[nodiscard]] std::vector<std::string> Snapshot() const {
#ifdef _WIN32
        std::vector<std::string> lines = SnapshotOfFiles(Machine(), Folder());
        const std::vector<std::string> keys = SnapshotOfKeys(Machine(), HiveCurrentUser, Key());
#else
        std::vector<std::string> lines = SnapshotOfFiles(Machine(), "C:\\");
        std::vector<std::string> keys = SnapshotOfKeys(Machine(), HiveCurrentUser, "");
        for (std::string& line : SnapshotOfKeys(Machine(), HiveLocalMachine, "")) {
            keys.push_back(std::move(line));
        }
#endif
        lines.insert(lines.end(), keys.begin(), keys.end());
        return lines;
    }
    void ExpectNothingChanged() {
        EXPECT_EQ(Snapshot(), before_);
        EXPECT_EQ(counted_->Writes(), 0U);
        EXPECT_THAT(services.downloads, IsEmpty());
        EXPECT_THAT(services.points, IsEmpty());
    }

    [[nodiscard]] std::string Seen(std::string_view path) {
        return test::ReadFile(dry_, path);
    }
    [[nodiscard]] bool SeenAt(std::string_view path) {
        return dry_.files->PathExists(path);
    }
    [[nodiscard]] std::string SeenData(platform::Hive hive, std::string_view key, std::string_view name) {
        const auto open = dry_.registry->Open(hive, key);
        const auto value = open ? (*open)->Query(name) : open.Error();
        return value ? value->data.substr(0, value->data.find('\0')) : "absent";
    }
    // The lines of cleaner.log without their dates.
    [[nodiscard]] std::vector<std::string> SeenLog() {
        std::vector<std::string> lines;
        const std::string text = Seen(UserFolder() + "logs\\cleaner.log");
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find("\r\n", at), text.size());
            const std::string line = text.substr(at, end - at);
            lines.push_back(line.substr(line.find("::") + 2));
            at = end + 2;
        }
        return lines;
    }
    [[nodiscard]] std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const SwallowedWrite& write : writes) {
            texts.push_back(write.text);
        }
        return texts;
    }

    std::vector<SwallowedWrite> writes;

private:
    std::vector<std::string> before_;
    std::optional<decorators::FaultInjectingPlatform> counted_;
    std::optional<decorators::DryRunPlatform> dryRun_;
    std::optional<StagedMachine> stage_;
    platform::Platform dry_;
};

TEST_F(DryRunClean, TakesTheRoadOfARealOneAndChangesNothing) {
    const std::vector<std::string> paths = DetectEveryKind(Threat);
    BeginDryRun();
    EXPECT_EQ(cleaner->QuarantineThreat(Threat), errNone);
    ExpectGolden("EveryKindEvents", heard);
    ExpectGolden("EveryKindLog", SeenLog());
    std::vector<std::string> lines;
    for (const auto& row : Rows(quarantine::Files, {"ThreatTypeFile", "OriginalFilePath", "ActionRegisterFile"})) {
        lines.push_back(row[0] + " " + row[1] + " " + row[2]);
    }
    ExpectGolden("EveryKindFiles", lines);
    for (const std::string& path : paths) {
        EXPECT_FALSE(SeenAt(path)) << path;
        EXPECT_TRUE(Exists(path)) << path;
    }
    EXPECT_EQ(SeenData(HiveCurrentUser, "Software\\Other", "Name"), "absent");
    EXPECT_EQ(Data(HiveCurrentUser, "Software\\Other", "Name"), "here");
    ExpectNothingChanged();
}

TEST_F(DryRunClean, ItsQuarantineGivesEverythingBackInTheSameDryRun) {
    const std::string exe = AddThing("program.exe", std::string("MZ\0program", 10));
    const std::string inside = AddThing("folder\\inside.txt", "inside");
    DetectFile(Threat, exe);
    DetectFolder(Threat, Things() + "folder\\");
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", "Data");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Name", "Data");
    BeginDryRun();
    std::string id;
    ASSERT_EQ(cleaner->QuarantineThreat(Threat, false, id), errNone);
    EXPECT_FALSE(SeenAt(exe));
    EXPECT_FALSE(SeenAt(inside));
    EXPECT_EQ(SeenData(HiveLocalMachine, "Software\\Evil", "Name"), "absent");
    Quarantine store;
    EXPECT_EQ(store.Count(), 1);
    EXPECT_EQ(store.RestoreThreat(id), enQuarantineErrors::errNone);
    EXPECT_EQ(Seen(exe), std::string("MZ\0program", 10));
    EXPECT_EQ(Seen(inside), "inside");
    EXPECT_EQ(SeenData(HiveLocalMachine, "Software\\Evil", "Name"), "Data");
    EXPECT_EQ(store.Count(), 0);
    ExpectNothingChanged();
}

TEST_F(DryRunClean, TellsEveryChangeInItsOrder) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", "Data");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Name", "Data");
    BeginDryRun();
    writes.clear();
    ASSERT_EQ(cleaner->QuarantineThreat(Threat), errNone);
    const std::vector<std::string> texts = Texts();
    EXPECT_THAT(texts, Contains(StartsWith("move file " + exe + " to " + UserFolder() + "Quarantine\\")).Times(1));
    EXPECT_THAT(texts, Contains(HasSubstr("delete value \"Name\" of key ")).Times(1));
    EXPECT_THAT(texts, Contains(StartsWith("make folder " + UserFolder() + "Quarantine\\")).Times(1));
    EXPECT_THAT(texts, Each(Not(HasSubstr("{}"))));
    const auto moved = std::find_if(writes.begin(), writes.end(),
                                    [](const SwallowedWrite& write) { return write.kind == WriteKind::FileMoved; });
    const auto saved = std::find_if(writes.rbegin(), writes.rend(), [](const SwallowedWrite& write) {
        return write.target.ends_with("KelQFiles.sdb") || write.other.ends_with("KelQFiles.sdb");
    });
    ASSERT_TRUE(moved != writes.end() && saved != writes.rend());
    EXPECT_LT(moved - writes.begin(), saved.base() - writes.begin()) << "the tables are saved behind it";
    ExpectNothingChanged();
}

TEST_F(DryRunClean, DestroyingRemovesNothingEither) {
    const std::string exe = AddThing("program.exe");
    DetectFile(Threat, exe);
    BeginDryRun();
    EXPECT_EQ(cleaner->DestroyThreat(Threat), errNone);
    EXPECT_FALSE(SeenAt(exe));
    EXPECT_TRUE(Exists(exe));
    ExpectNothingChanged();
}

}  // namespace
}  // namespace kel::test
