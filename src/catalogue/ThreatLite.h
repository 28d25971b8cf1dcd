// A threat of the catalogue without locations.
#pragma once

#include "catalogue/ThreatRecord.h"

namespace kel {

class ThreatLite : public ThreatRecord {};

}  // namespace kel
