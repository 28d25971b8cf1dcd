#pragma once

#include <cstdint>
#include <string>

#include "platform/Registry.h"

namespace kel {

/// One registry key or value that was removed. Fields in the order of the interface.
class QThreatLocationRegKey {
public:
    platform::Hive RegHive = 0;  ///< a predefined key's number
    std::string Regkey;
    std::string RegValueName;           ///< empty for a key
    std::string RegValueData;           ///< in text form
    std::int32_t RegValueDataType = 0;  ///< as modRegistry::GetRegistryValueType gives it; 0 when it is not known
};

}  // namespace kel
