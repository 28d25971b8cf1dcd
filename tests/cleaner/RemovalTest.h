// The fixture of removals without the order of work around them: stores that are open, a threat in hand, and a machine
// that will start again.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CleanerPeer.h"
#include "cleaner/Cleaner.h"
#include "decorators/ForwardingSystem.h"
#include "quarantine/QuarantineTables.h"
#include "support/EngineTest.h"
#include "support/StagedMachine.h"

namespace kel::test {

/// The version that a test wants, in place of the machine's.
class OtherVersion : public decorators::ForwardingSystemInfo {
public:
    using ForwardingSystemInfo::ForwardingSystemInfo;
    std::optional<platform::OsVersion> version;

    platform::Result<platform::OsVersion> Version() override {
        return version ? platform::Result<platform::OsVersion>(*version) : Inner().Version();
    }
};

inline const platform::OsVersion WindowsXp{5, 1, 2600, 2, ""};
inline const platform::OsVersion Windows98{4, 10, 1998, 1, ""};
inline const platform::OsVersion WindowsMe{4, 90, 3000, 1, ""};

/// The registry is empty, the Windows and the system folder are scratch folders, and the log is written.
class RemovalTest : public EngineTest {
protected:
    static constexpr std::int32_t Threat = 7;
    static constexpr std::string_view ThreatRow = "11111111-2222-3333-4444-55555";

    RemovalTest();
    ~RemovalTest() override;

    /// The staged machine, with a next start.
    [[nodiscard]] platform::Platform Staged();
    [[nodiscard]] StagedMachine& Stage() { return stage_; }
    void SetVersion(const platform::OsVersion& version) { system_.version = version; }

    [[nodiscard]] std::string Windows() const { return Folder() + "windows\\"; }
    [[nodiscard]] std::string System() const { return Windows() + "system32\\"; }
    /// Where things lie that are to be removed.
    [[nodiscard]] std::string Things() const { return Folder() + "things\\"; }
    /// The threat's folder in the quarantine.
    [[nodiscard]] std::string Quarantined() const { return UserFolder() + "Quarantine\\one\\"; }

    /// Writes a file below Things(), with its folder, and gives its path.
    std::string AddThing(std::string_view name, std::string_view bytes = "thing");
    /// Removes it as a file of the threat in hand.
    QuarantineRecords Remove(std::string_view path, enThreatFileTypes type = ThreatFileTypeUnknown) {
        return CleanerPeer::QuarantineFile(cleaner, Threat, path, type, Quarantined());
    }

    /// The columns of all rows of a table as text, "null" for one that is not set.
    [[nodiscard]] static std::vector<std::vector<std::string>> Rows(const quarantine::Table& table,
                                                                    const std::vector<std::string_view>& columns);
    /// Original paths of the rows of files.
    [[nodiscard]] static std::vector<std::string> RecordedFiles();
    /// Bytes of the file that a row of files names.
    [[nodiscard]] std::string QuarantinedBytes(std::size_t row);

    /// Data of a value of the staged registry without terminators at its end; "absent" without one.
    [[nodiscard]] std::string Data(platform::Hive hive, std::string_view key, std::string_view name);
    [[nodiscard]] bool KeyExists(platform::Hive hive, std::string_view key);

    /// The lines of cleaner.log without their dates.
    [[nodiscard]] std::vector<std::string> Log();

    Cleaner cleaner;
    std::vector<std::string> sent;  ///< details that the front end heard

private:
    StagedMachine stage_;
    OtherVersion system_;
};

}  // namespace kel::test
