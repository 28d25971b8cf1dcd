#pragma once

#include <string>

#include "quarantine/Enumerations.h"

namespace kel {

/// One line that was removed from an ini file. Fields in the order of the interface.
class QThreatLocationSpecial {
public:
    enQSpecialType QSpecialType = QSpecialTypeNone;
    std::string Data1;  ///< the line
    std::string Data2;
    std::string Data3;
    std::string Data4;
};

}  // namespace kel
