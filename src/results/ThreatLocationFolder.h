#pragma once

#include <cstdint>
#include <string>

namespace kel {

/// One folder of a threat. A detection fills `DetectedFolderPath` alone. Fields in the order of the interface.
class ThreatLocationFolder {
public:
    std::int32_t ThreatFolderID = 0;
    std::string FolderPath;
    std::int16_t OptionLevel = 0;
    std::string DetectedFolderPath;
};

}  // namespace kel
