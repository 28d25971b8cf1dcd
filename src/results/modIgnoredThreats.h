// The ignore list, as the rest of the engine asks it.
#pragma once

#include <cstdint>
#include <memory>

#include "core/Collection.h"

namespace kel::modIgnoredThreats {

// While the list is empty, each of these loads it from its file first.

/// Whether the user told the engine to leave this threat alone.
[[nodiscard]] bool IsIgnoredThreatID(std::int32_t ThreatID);
/// The live list, or null when there is none yet.
[[nodiscard]] std::shared_ptr<Collection<std::int32_t>> GetIgnoredThreatIDs();
/// Entries of the list. Without a list that is a reported failure, and 0.
[[nodiscard]] std::int32_t GetIgnoredThreatCount();

/// Place of a threat in the list, from 1; 0 when it is not there. Loads nothing.
[[nodiscard]] std::int32_t GetIgnoredThreatIndex(std::int32_t ThreatID);

}  // namespace kel::modIgnoredThreats
