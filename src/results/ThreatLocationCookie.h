#pragma once

#include <cstdint>
#include <string>

namespace kel {

/// One cookie of a threat. The catalogue fills the first fields; a detection fills `Cookie`, `OptionLevel` and
/// `DetectedFilePath`. Fields in the order of the interface.
class ThreatLocationCookie {
public:
    std::int32_t ThreatCookieID = 0;
    std::string Cookie;
    std::int16_t OptionLevel = 0;
    std::string DetectedFilePath;
};

}  // namespace kel
