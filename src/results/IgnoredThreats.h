#pragma once

#include <cstdint>
#include <memory>

#include "core/Collection.h"

namespace kel {

/// The ignore list as clients see it. Without state: every object shows the one list of the process. Failures are
/// reported under the module "IgnoredThreats" and the operation's name. While the list is empty, each operation loads
/// it from its file first; on a machine that has no file yet, that leaves no list, and this one call finds nothing to
/// count or to add to.
class IgnoredThreats {
public:
    // In slot order.
    [[nodiscard]] bool IsIgnoredThreatID(std::int32_t ThreatID) const;
    /// Adds the threat and writes the file, unless the list has it already.
    void AddIgnoredThreat(std::int32_t ThreatID);
    /// Removes the threat and writes the file, if the list has it.
    void RemoveIgnoredThreat(std::int32_t ThreatID);
    /// The live list itself, or null when there is none.
    [[nodiscard]] std::shared_ptr<Collection<std::int32_t>> GetIgnoredThreatIDs() const;
    [[nodiscard]] std::int32_t GetIgnoredThreatCount() const;
};

}  // namespace kel
