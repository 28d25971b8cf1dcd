// One record of the threat catalogue, private to the engine.
#pragma once

#include <cstdint>
#include <string>

namespace kel {

/// The columns of the threat table, in their order.
class clsThreat {
public:
    std::int32_t ThreatID = 0;
    std::string ThreatName;
    std::string ThreatCategory;
    std::string ThreatType;
    std::string ThreatDesc;
    std::string ThreatAuthor;
    std::string ThreatAuthorURL;
    std::int32_t ThreatLevel = 0;
    std::int32_t ThreatAdviseType = 0;
    std::string ThreatAdviseDetails;
    bool ThreatCanQuarantine = false;
    std::string ThreatCustomRemovalType;  ///< a number as text; converted where a Threat is made of the record
    std::string ThreatCustomData;
    std::int32_t ThreatOptionLevel = 0;
};

}  // namespace kel
