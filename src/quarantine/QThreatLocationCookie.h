#pragma once

#include <string>

namespace kel {

/// One cookie in the quarantine. Fields in the order of the interface.
class QThreatLocationCookie {
public:
    std::string QuarantineFileName;  ///< its name in the threat's folder
    std::string OriginalFilePath;
};

}  // namespace kel
