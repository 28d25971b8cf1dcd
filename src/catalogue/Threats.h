// The catalogue as clients see it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "catalogue/Threat.h"

namespace kel {

/// Lookups in the catalogue of the engine state. Holds no state of its own.
class Threats {
public:
    /// Null for an unknown number, and for a threat whose removal type is no number.
    [[nodiscard]] std::shared_ptr<Threat> GetThreatByThreatID(std::int32_t ThreatID) const;
    // Empty for an unknown number. Number 0 is the version row, whose name is the version of the data.
    [[nodiscard]] std::string GetThreatDisplayName(std::int32_t ThreatID) const;
    [[nodiscard]] std::string GetThreatCategory(std::int32_t ThreatID) const;
    [[nodiscard]] std::string GetThreatThreatType(std::int32_t ThreatID) const;
};

}  // namespace kel
