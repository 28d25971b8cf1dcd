// The fixture of scans that look at a registry and at special folders of the test's own.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/Text.h"
#include "support/ScanTest.h"
#include "support/StagedMachine.h"

namespace kel::test {

/// Begins a deep scan in which the files made by AddEvil are threat 7. The Windows and the system folder are scratch
/// folders, and the registry is empty.
class StagedScanTest : public ScanTest {
protected:
    static constexpr std::int32_t Evil = 7;

    void SetUp() override {
        tables.threats = {{Evil, "Evil"}};
        tables.md5 = {{Evil, HashOf(EvilBytes())}};
        Begin();
        scanner.OptScanDepth = scandeep;
        stage_ = std::make_unique<StagedMachine>(Machine(), Key() + "\\Stage");
        Stage().Folders()[FolderWindows] = Windows().substr(0, Windows().size() - 1);
        Stage().Folders()[FolderSystem] = System().substr(0, System().size() - 1);
        MakeFolder(System());
        Install(Stage().View());
    }
    void TearDown() override { Install(Machine()); }

    [[nodiscard]] StagedMachine& Stage() { return *stage_; }
    [[nodiscard]] std::string Windows() const { return Folder() + "windows\\"; }
    [[nodiscard]] std::string System() const { return Windows() + "system32\\"; }

    [[nodiscard]] static std::string EvilBytes() { return Bytes(2000, 'e'); }
    /// Writes a file that the tables know, and gives its path in lower case.
    std::string AddEvil(const std::string& path) {
        WriteFile(path, EvilBytes());
        return LCase(path);
    }
    /// Registers a file as the server of a class.
    void AddClass(std::string_view clsid, std::string_view file) {
        Stage().AddText(platform::HiveClassesRoot, "CLSID\\" + std::string(clsid) + "\\InprocServer32", "", file);
    }

private:
    std::unique_ptr<StagedMachine> stage_;
};

}  // namespace kel::test
