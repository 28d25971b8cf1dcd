// A whole clean and its undo as a dry run over disks that do not run, with the host folders beside them: not a byte of
// the host changes, hives included.
#ifndef _WIN32
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "DiskFixture.h"
#include "catalogue/ThreatLite.h"
#include "cleaner/Cleaner.h"
#include "core/EngineState.h"
#include "decorators/DryRunPlatform.h"
#include "quarantine/Quarantine.h"
#include "results/Scan.h"
#include "scanner/EngineData.h"
#include "support/ScratchMachine.h"
#include "support/ShippedTables.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::SysError;
using platform::ValueType;
using ::testing::Contains;
using namespace std::string_literals;

constexpr std::int32_t Threat = 7;
constexpr std::string_view Program = "MZ program";
constexpr const char* ProgramPath = "C:\\bad\\bad.exe";
constexpr const char* Key = "Software\\Evil";

class DryRunDisk : public DiskFixture {
protected:
    DryRunDisk() {
        File("host/app/.keep", "");
        File("host/user/.keep", "");
    }

    // Puts what is to be detected on the machine, for good.
    void Arrange(offline::OfflinePlatform& machine) {
        const platform::Platform view = machine.View();
        MakeFolder(view, "C:\\bad");
        WriteFile(view, ProgramPath, Program);
        for (const platform::Hive hive : {HiveLocalMachine, HiveCurrentUser}) {
            auto key = view.registry->Create(hive, Key);
            ASSERT_TRUE(key.Ok());
            EXPECT_EQ((*key)->Set("Name", ValueType::Sz, "Data\0"s), SysError::Success);
        }
        EXPECT_EQ(view.registry->Commit(), SysError::Success);
    }

    [[nodiscard]] static std::string DataOf(const platform::Platform& view, platform::Hive hive) {
        const auto open = view.registry->Open(hive, Key);
        const auto value = open ? (*open)->Query("Name") : open.Error();
        return value ? value->data.substr(0, value->data.find('\0')) : "absent";
    }

    // Every file of the host below the temporary folder: identity, mode, size, times, bytes.
    [[nodiscard]] std::vector<std::string> HostSnapshot() const {
        std::vector<std::string> lines;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Disk())) {
            struct stat status {};
            EXPECT_EQ(lstat(entry.path().c_str(), &status), 0);
            std::string line = entry.path().string() + " " + std::to_string(status.st_ino) + " " +
                               std::to_string(status.st_mode) + " " + std::to_string(status.st_mtim.tv_sec) + "." +
                               std::to_string(status.st_mtim.tv_nsec) + " " + std::to_string(status.st_ctim.tv_sec) +
                               "." + std::to_string(status.st_ctim.tv_nsec);
            if (entry.is_regular_file()) {
                std::ifstream stream(entry.path(), std::ios::binary);
                line.append(" ").append(std::istreambuf_iterator<char>(stream), {});
            }
            lines.push_back(std::move(line));
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    void CleanAndRestore(offline::OfflinePlatform& machine) {
        const std::string host = machine.MountHost(Disk() / "host");
        const std::vector<std::string> before = HostSnapshot();
        {
            std::vector<std::string> texts;
            const decorators::DryRunPlatform dryRun(
                machine.View(), [&texts](const decorators::SwallowedWrite& write) { texts.push_back(write.text); });
            const platform::Platform view = dryRun.View();
            const platform::PlatformScope installed(view);
            const EngineScope engine;
            State().App.Path = host + "app";
            State().UserDataFolder = host + "user\\";
            State().UserDataFolderIsSet = true;
            ShippedTables tables;
            tables.threats = {{.id = Threat, .name = "Evil"}};
            tables.WriteTo(host + "app\\");
            modMain::LoadEngineData();
            const std::shared_ptr<Scan> scan = Detected();
            Cleaner cleaner;
            std::string id;
            ASSERT_EQ(cleaner.InitializeClean("SCAN", scan->DetectedThreats()), errNone);
            EXPECT_EQ(cleaner.QuarantineThreat(Threat, false, id), errNone);
            EXPECT_FALSE(view.files->PathExists(ProgramPath));
            EXPECT_EQ(DataOf(view, HiveLocalMachine), "absent");
            EXPECT_EQ(DataOf(view, HiveCurrentUser), "absent");
            EXPECT_THAT(texts, Contains("commit the registry")) << "with the save of the tables";
            EXPECT_THAT(texts, Contains("delete value \"Name\" of key HKEY_LOCAL_MACHINE\\Software\\Evil"));
            EXPECT_EQ(HostSnapshot(), before);
            Quarantine store;
            EXPECT_EQ(store.RestoreThreat(id), enQuarantineErrors::errNone);
            EXPECT_EQ(ReadFile(view, ProgramPath), Program);
            EXPECT_EQ(DataOf(view, HiveLocalMachine), "Data");
            EXPECT_EQ(DataOf(view, HiveCurrentUser), "Data");
        }
        EXPECT_EQ(HostSnapshot(), before);
        EXPECT_EQ(DataOf(machine.View(), HiveLocalMachine), "Data");
    }

private:
    [[nodiscard]] static std::shared_ptr<Scan> Detected() {
        auto scan = std::make_shared<Scan>();
        scan->ScanID = "SCAN";
        const auto detected = std::make_shared<DetectedThreat>();
        detected->ThreatID = Threat;
        detected->ScanID = scan->ScanID;
        detected->Threat = std::make_shared<ThreatLite>();
        detected->Threat->ThreatName = "Evil";
        detected->ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>(ProgramPath));
        for (const platform::Hive hive : {HiveLocalMachine, HiveCurrentUser}) {
            detected->ThreatLocationRegKeys->Add(std::make_shared<ThreatLocationRegKey>(hive, Key, "Name", "Data"));
        }
        scan->DetectedThreats()->Add(detected, "ThreatID:7");
        return scan;
    }
};

TEST_F(DryRunDisk, OverHivesThatCouldBeWrittenNothingOfTheHostChanges) {
    MakeXp();
    Open({}, true);
    Arrange(Machine());
    Open({}, true);
    CleanAndRestore(Machine());
}

TEST_F(DryRunDisk, OverAReadOnlyDiskItDoesTheSame) {
    MakeXp();
    Open({}, true);
    Arrange(Machine());
    Open({}, false);
    CleanAndRestore(Machine());
}

TEST_F(DryRunDisk, OverAWinePrefixNothingOfTheHostChanges) {
    constexpr std::string_view Head = "WINE REGISTRY Version 2\n;; All keys relative to \\\\";
    File("system.reg", std::string(Head) + "Machine\n\n#arch=win64\n\n[Software] 1700000000\n#time=1da1747c9e5c000\n");
    File("user.reg", std::string(Head) +
                         "User\\\\S-1-5-21-0-0-0-1000\n\n#arch=win64\n\n[Software] 1700000000\n"
                         "#time=1da1747c9e5c000\n");
    File("userdef.reg", std::string(Head) + "User\\\\.Default\n\n#arch=win64\n");
    Folder("drive_c/windows/system32");
    Folder("drive_c/users/Ada");
    Open("Ada", true);
    ASSERT_EQ(Machine().Kind(), offline::MachineKind::WinePrefix);
    Arrange(Machine());
    Open("Ada", true);
    CleanAndRestore(Machine());
}

TEST_F(DryRunDisk, TheCurrentControlSetIsSeenUnderBothItsNames) {
    MakeXp();
    Open();
    const decorators::DryRunPlatform dryRun(Machine().View(), {});
    const platform::Platform view = dryRun.View();
    const auto image = [&view](std::string_view set) {
        const auto open = view.registry->Open(HiveLocalMachine, "SYSTEM\\" + std::string(set) + "\\Services\\Sample");
        const auto value = open ? (*open)->Query("ImagePath") : open.Error();
        return value ? value->data.substr(0, value->data.find('\0')) : "absent";
    };
    {
        const auto key = view.registry->Open(HiveLocalMachine, "System\\CurrentControlSet\\Services\\Sample");
        ASSERT_TRUE(key.Ok());
        EXPECT_EQ((*key)->Set("ImagePath", ValueType::Sz, "changed\0"s), SysError::Success);
    }
    EXPECT_EQ(image("ControlSet002"), "changed");
    ASSERT_EQ(view.registry->RemoveKey(HiveLocalMachine, "SYSTEM\\ControlSet002\\Services\\Sample"), SysError::Success);
    EXPECT_EQ(image("CurrentControlSet"), "absent");
    const auto sets = view.registry->Open(HiveLocalMachine, "SYSTEM");
    ASSERT_TRUE(sets.Ok());
    EXPECT_EQ((*sets)->EnumKey(0).ValueOr(""), "ControlSet001");
    EXPECT_EQ((*sets)->EnumKey(1).ValueOr(""), "ControlSet002");
}

}  // namespace
}  // namespace kel::test
#endif
