#pragma once

#include <cstdint>
#include <string>

#include "results/Enumerations.h"

namespace kel {

/// One file in the quarantine. Fields in the order of the interface.
class QThreatLocationFile {
public:
    std::string QuarantineFileName;  ///< its name in the threat's folder
    std::string OriginalFilePath;
    bool ActionRegisterFile = false;  ///< a COM server, to be registered when it comes back
    enThreatFileTypes ThreatFileType = ThreatFileTypeGeneral;
    std::int32_t RestoreOrder = 0;  ///< kept, and not looked at: files come back in the order of their rows
};

}  // namespace kel
