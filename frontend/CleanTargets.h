// Where a threat was detected, and whether it is there still.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Registry.h"

namespace kel {
class DetectedThreat;
class ScanHistoryDetail;
}  // namespace kel

namespace kel::frontend {

/// One location. Looks at the machine that is installed.
struct CleanTarget {
    const char* kind = "";  ///< file, folder, registry or cookie
    std::string location;   ///< as it is shown
    std::string path{};     ///< of files, folders and cookies
    platform::Hive hive = 0;
    std::string key{};
    std::string value{};    ///< empty: the key itself
    bool removable = true;  ///< whether the rules would remove it
    bool wasThere = false;  ///< when the list was made
    [[nodiscard]] bool IsThere() const;
};

/// The locations of a detection, each once, in the order in which they are removed. Custom ones are not places.
[[nodiscard]] std::vector<CleanTarget> TargetsOf(const DetectedThreat& detected);

/// Those that the history has of a threat, from all scans, as a clean from the history takes them. Moves the filters of
/// the detail's tables.
[[nodiscard]] std::vector<CleanTarget> TargetsOf(const ScanHistoryDetail& detail, std::int32_t threat);

}  // namespace kel::frontend
