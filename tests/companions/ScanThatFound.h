// A scan that has ended, for a clean of what it found.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "catalogue/ThreatLite.h"
#include "core/Value.h"
#include "results/Scan.h"

namespace kel::test {

/// It found one file as a part of the threat "Seven".
inline std::shared_ptr<Scan> ScanThatFound(const std::string& path, const std::string& scanID, std::int32_t threatID) {
    const auto scan = std::make_shared<Scan>();
    scan->ScanID = scanID;
    scan->StartDate = Date{38425};
    scan->EndDate = Date{38425.5};
    const auto threat = std::make_shared<DetectedThreat>();
    threat->ThreatID = threatID;
    threat->ScanID = scanID;
    threat->Threat = std::make_shared<ThreatLite>();
    threat->Threat->ThreatName = "Seven";
    threat->ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>(path));
    scan->DetectedThreats()->Add(threat, "ThreatID:" + std::to_string(threatID));
    return scan;
}

}  // namespace kel::test
