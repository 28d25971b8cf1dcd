#pragma once

#include <cstdint>
#include <string>

#include "results/Enumerations.h"

namespace kel {

/// One file of a threat. The catalogue fills the first fields; a detection fills `MD5`, `OptionLevel` and
/// `DetectedFilePath`. Fields in the order of the interface.
class ThreatLocationFile {
public:
    std::int32_t ThreatFileID = 0;
    enThreatFileTypes ThreatFileType = ThreatFileTypeGeneral;
    std::string FileName;
    std::string MD5;  ///< 32 lower-case hexadecimal digits, or empty for a file that has no hash
    std::int32_t CleanOrder = 0;
    bool CleanWithoutMD5 = false;
    std::int16_t OptionLevel = 0;
    std::string DetectedFilePath;
};

}  // namespace kel
