#include "catalogue/Threats.h"

#include <string_view>

#include "catalogue/clsThreat.h"
#include "catalogue/modMain.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"

namespace kel {

namespace {

std::string Column(std::int32_t id, std::string clsThreat::*column, std::string_view procedure) {
    std::string value;
    Trap("Threats", procedure, [&] {
        if (modMain::ThreatExists(id)) {
            value = (*State().ThreatCatalog->Item(Text(id))).*column;
        }
    });
    return value;
}

}  // namespace

std::shared_ptr<Threat> Threats::GetThreatByThreatID(std::int32_t ThreatID) const {
    std::shared_ptr<Threat> threat;
    Trap("Threats", "GetThreatByThreatID", [&] {
        if (!modMain::LoadThreatObject(ThreatID, threat)) {
            threat.reset();
        }
    });
    return threat;
}

std::string Threats::GetThreatDisplayName(std::int32_t ThreatID) const {
    return Column(ThreatID, &clsThreat::ThreatName, "GetThreatDisplayName");
}

std::string Threats::GetThreatCategory(std::int32_t ThreatID) const {
    return Column(ThreatID, &clsThreat::ThreatCategory, "GetThreatCategory");
}

std::string Threats::GetThreatThreatType(std::int32_t ThreatID) const {
    return Column(ThreatID, &clsThreat::ThreatType, "GetThreatThreatType");
}

}  // namespace kel
