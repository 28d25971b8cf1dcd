#include "quarantine/QuarantineThreat.h"

#include "catalogue/Threats.h"
#include "core/Guid.h"

namespace kel {

QuarantineThreat::QuarantineThreat() : QuarantineThreatID(NewGuidString()) {
}

std::shared_ptr<kel::Threat> QuarantineThreat::QThreat(std::int32_t ThreatID) {
    return Threats().GetThreatByThreatID(ThreatID);
}

}  // namespace kel
