#include "frontend/IgnoreReplay.h"

#include <cstdint>
#include <vector>

#include "core/Collection.h"
#include "frontend/IgnoreList.h"

namespace kel::frontend {

void Replay(const IgnoreList& list, kel::IgnoredThreats& engine) {
    std::vector<std::int32_t> strays;
    if (const auto live = engine.GetIgnoredThreatIDs()) {
        for (const std::int32_t threat : *live) {
            if (!list.Contains(threat)) {
                strays.push_back(threat);
            }
        }
    }
    for (const std::int32_t threat : list.Numbers()) {
        engine.AddIgnoredThreat(threat);
    }
    for (const std::int32_t threat : strays) {
        engine.RemoveIgnoredThreat(threat);
    }
}

void ReplayIgnoreList(const std::string& userData, kel::IgnoredThreats& engine) {
    Replay(IgnoreList::Read(userData), engine);
}

}  // namespace kel::frontend
