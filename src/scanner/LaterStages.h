// Where the scanner calls what is not part of the engine yet. Each procedure is the one place of its call; the stage
// that brings the thing itself replaces the call and takes the procedure away. docs/roadmap.md says which stage that
// is.
#pragma once

#include <cstdint>

namespace kel {
class Scan;
}

namespace kel::later {

// What was found stays where it is: there is no cleaner yet.
inline void DestroyThreat(Scan& /*scan*/, std::int32_t /*ThreatID*/) {
}

}  // namespace kel::later
