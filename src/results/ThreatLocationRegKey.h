#pragma once

#include <cstdint>
#include <string>

#include "platform/Registry.h"

namespace kel {

/// One registry key or value of a threat. A detection fills all but `ThreatRegKeyID`. Fields in the order of the
/// interface.
class ThreatLocationRegKey {
public:
    std::int32_t ThreatRegKeyID = 0;
    platform::Hive RegHive = 0;  ///< a predefined key's number
    std::string Regkey;
    std::string RegValueName;
    std::string RegValueData;
    std::int16_t OptionLevel = 0;
};

}  // namespace kel
