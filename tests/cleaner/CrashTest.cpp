// What a clean leaves when the machine is gone after any of its writes.
#include <gmock/gmock.h>

#include "CleanTest.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "decorators/FaultInjectingPlatform.h"
#include "quarantine/QuarantineTables.h"
#include "system/modFiles.h"
#include "system/modKvFileExplorer.h"

namespace kel::test {
namespace {

using platform::HiveLocalMachine;

constexpr std::int32_t Threat = 7;
constexpr std::string_view Bytes = "MZ program";

class CleanCrash : public CleanTest {
protected:
    CleanCrash() { tables.threats = {{.id = Threat, .name = "Evil"}}; }

    // Arranges the machine as it was before the clean.
    void Arrange() {
        file_ = AddThing("program.exe", Bytes);
        Stage().AddText(HiveLocalMachine, "Software\\Evil", "Name", "Data");
        for (const quarantine::Table* table : quarantine::Tables) {
            platform::Current().files->Remove(UserFolder() + std::string(table->file));
        }
        RemoveTree(Machine(), UserFolder() + "Quarantine");
        // What is left to the next start is not tried again, so each attempt has a cleaner of its own.
        cleaner = std::make_shared<Cleaner>();
        InitializeClean();
    }

    // Cleans until the write of that number, from which on all fail. Whether the clean came to its end before.
    bool CleanUntil(std::uint64_t write) {
        decorators::FaultInjectingPlatform faults(Staged());
        faults.FailWritesFrom(write, platform::SysError::IoFailed);
        platform::Platform machine = faults.View();
        machine.can.live = false;
        Install(machine);
        (void)cleaner->QuarantineThreat(Threat);
        const bool whole = faults.Writes() < write;
        Install(Staged());
        Machine().registry->Discard();
        return whole;
    }

    // Whether the saved tables can bring an entry back.
    bool HasRow(std::string_view table, std::string_view column, std::string_view text) {
        const std::string path = UserFolder() + std::string(table);
        if (!Exists(path)) {
            return false;
        }
        Recordset rows;
        rows.Open(path);
        for (; !rows.Eof(); rows.MoveNext()) {
            if (ToText(rows.Get(column)) == text) {
                return true;
            }
        }
        return false;
    }

    // The bytes of the file, wherever they lie below the scratch folder: in place, or marked in the quarantine.
    bool BytesAreSomewhere() {
        if (Exists(file_)) {
            return ReadFile(file_).starts_with(Bytes);
        }
        for (const std::string& path : modKvFileExplorer::FilesListDeep(UserFolder() + "Quarantine", true, false)) {
            if (!modFiles::FolderExists(path) && ReadFile(path).starts_with(Bytes)) {
                return true;
            }
        }
        return false;
    }

    std::string file_;
};

// On a machine that runs a change of the registry is there at once.
#ifndef _WIN32
TEST_F(CleanCrash, AtNoWriteIsARegistryValueGoneWithoutItsRecord) {
    DetectFile(Threat, Things() + "program.exe");
    DetectRegKey(Threat, HiveLocalMachine, "Software\\Evil", "Name", "Data");
    Begin();
    int crashes = 0;
    for (bool whole = false; !whole; ++crashes) {
        ASSERT_LT(crashes, 500) << "the clean has no end";
        Arrange();
        whole = CleanUntil(static_cast<std::uint64_t>(crashes) + 1);
        const bool inPlace = Data(HiveLocalMachine, "Software\\Evil", "Name") == "Data";
        EXPECT_TRUE(inPlace || HasRow("KelQRegKeys.sdb", "RegValueName", "Name")) << "write " << crashes + 1;
        EXPECT_TRUE(BytesAreSomewhere()) << "write " << crashes + 1;
        EXPECT_EQ(whole, !inPlace) << "write " << crashes + 1;
    }
    EXPECT_GT(crashes, 20) << "too few writes for a whole clean";
    EXPECT_TRUE(HasRow("KelQFiles.sdb", "OriginalFilePath", file_));
}
#endif

}  // namespace
}  // namespace kel::test
