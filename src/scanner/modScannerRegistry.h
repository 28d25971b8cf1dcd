// What belongs to a key or a value of the registry that is a threat.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/Registry.h"

namespace kel::modScannerRegistry {

// Relations: what a detection drags in. They go to the current scan, under the same threat. An ignored threat adds
// nothing. A failure is reported, and what was recorded before it stays.

/// Adds the values below a key, those of its subkeys first, and then its own. The keys themselves are not recorded, nor
/// are values without data.
/// @param hive a predefined key's number
void AddDetectedThreatRegistrySubItems(std::int32_t ThreatID, platform::Hive hive, std::string_view key);

/// Adds the file that a key or a value leads to, behind the file's own relations; for a downloaded component also its
/// setup file.
/// @param name value name, empty for a key
/// @param data value data, empty for a key
/// @return true, whatever was found or failed
bool AddDetectedThreatRegistryRelations(std::int32_t ThreatID, platform::Hive hive, std::string_view key,
                                        std::string_view name, std::string_view data);

}  // namespace kel::modScannerRegistry
