// The fixture of whole cleans: a catalogue, detections, a staged machine, and all that the front end and the log hear.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "RemovalTest.h"
#include "cleaner/Cleaner.h"
#include "results/Scan.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"
#include "support/StagedMachine.h"

namespace kel::test {

/// The restore service and the network that a test wants.
class StagedServices : public platform::RestorePoints, public platform::Internet {
public:
    platform::Result<std::int32_t> answer{0};  ///< of the restore service
    std::vector<std::string> points;           ///< "description|type|event" as it was asked
    std::string page;                          ///< what a download brings; empty: it fails
    std::vector<std::string> downloads;        ///< "url|path" as it was asked

    platform::Result<std::int32_t> Create(std::string_view description, std::int32_t type, std::int32_t event) override;
    platform::SysError Download(std::string_view url, std::string_view path) override;
};

/// The registry is empty, the Windows and the system folder are scratch folders, the version is "XP", the log is
/// written, and the machine is one that will start again.
class CleanTest : public EngineTest {
protected:
    static constexpr const char* ScanID = "AAAAAAAA-BBBB-CCCC-DDDD-EEEEEE";

    CleanTest();
    ~CleanTest() override;

    /// Loads the tables, and begins a clean of what was detected.
    void Begin(std::string_view scanID = ScanID);
    /// InitializeClean with the detections, listening again.
    void InitializeClean(std::string_view scanID = ScanID);

    /// The detection of a threat, made at the first use.
    DetectedThreat& Detected(std::int32_t threat);
    void DetectFile(std::int32_t threat, const std::string& path);
    void DetectFolder(std::int32_t threat, const std::string& path);
    void DetectRegKey(std::int32_t threat, platform::Hive hive, std::string_view key, std::string_view name = {},
                      std::string_view data = {});
    void DetectCookie(std::int32_t threat, std::string_view cookie, const std::string& path);
    void DetectCustom(std::int32_t threat, std::int32_t id, enCustomCleanPriority priority, std::string_view display);

    [[nodiscard]] StagedMachine& Stage() { return stage_; }
    [[nodiscard]] platform::Platform Staged();
    void SetVersion(const platform::OsVersion& version) { system_.version = version; }
    [[nodiscard]] std::string Windows() const { return Folder() + "windows\\"; }
    [[nodiscard]] std::string System() const { return Windows() + "system32\\"; }
    /// Where things lie that are to be removed.
    [[nodiscard]] std::string Things() const { return Folder() + "things\\"; }
    /// Writes a file below Things() and gives its path.
    std::string AddThing(std::string_view name, std::string_view bytes = "thing");

    /// Puts a location of every kind on the machine, for a threat named "Evil", and detects them all, some that are not
    /// there too. Gives the paths that go; of the registry HKEY_LOCAL_MACHINE\Software\Evil and the value "Name" of
    /// HKEY_CURRENT_USER\Software\Other go.
    std::vector<std::string> DetectEveryKind(std::int32_t threat);

    /// Text data of a value of the staged registry; "absent" without one.
    [[nodiscard]] std::string Data(platform::Hive hive, std::string_view key, std::string_view name);
    [[nodiscard]] bool KeyExists(platform::Hive hive, std::string_view key);
    /// The lines of cleaner.log without their dates.
    [[nodiscard]] std::vector<std::string> Log();
    /// The columns of all rows of a table as text, "null" for one that is not set.
    [[nodiscard]] static std::vector<std::vector<std::string>> Rows(const quarantine::Table& table,
                                                                    const std::vector<std::string_view>& columns);
    /// The lines as one text, without what differs from run to run: scratch folders and identifiers.
    [[nodiscard]] std::string Plain(const std::vector<std::string>& lines) const;
    /// Compares with a golden file. With KEL_UPDATE_GOLDEN=FOLDER in the environment the file is written there.
    void ExpectGolden(const char* name, const std::vector<std::string>& lines) const;

    ShippedTables tables;
    std::shared_ptr<Scan> scan = std::make_shared<Scan>();
    StagedServices services;
    std::shared_ptr<Cleaner> cleaner;
    std::vector<std::string> heard;  ///< all events, in order

private:
    StagedMachine stage_;
    OtherVersion system_;
};

}  // namespace kel::test
