#pragma once

#include <cstdint>
#include <string>

#include "results/Enumerations.h"

namespace kel {

/// A finding that is cleaned by a procedure of its own. Fields in the order of the interface.
class ThreatLocationCustom {
public:
    ThreatLocationCustom() = default;
    /// @param customID 0 is never a duplicate
    explicit ThreatLocationCustom(std::int32_t customID) : customID_(customID) {}
    ThreatLocationCustom(const ThreatLocationCustom&) = default;
    ThreatLocationCustom& operator=(const ThreatLocationCustom&) = delete;

    [[nodiscard]] std::int32_t CustomID() const { return customID_; }
    void SetCustomID(std::int32_t customID);
    enCustomCleanPriority CleanPriority = CustomCleanPriorityPre;
    std::string CustomData1;
    std::string CustomData2;
    std::string CustomData3;
    std::string DisplayData;

private:
    std::int32_t customID_ = 0;
};

}  // namespace kel
