#pragma once

#include <cstdint>
#include <string>

#include "results/Enumerations.h"

namespace kel {

/// A finding that is cleaned by a procedure of its own. Fields in the order of the interface.
class ThreatLocationCustom {
public:
    std::int32_t CustomID = 0;  ///< 0 is never a duplicate
    enCustomCleanPriority CleanPriority = CustomCleanPriorityPre;
    std::string CustomData1;
    std::string CustomData2;
    std::string CustomData3;
    std::string DisplayData;
};

}  // namespace kel
