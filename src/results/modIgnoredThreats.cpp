#include "results/modIgnoredThreats.h"

#include "core/EngineState.h"
#include "core/Failures.h"
#include "results/modDataManager.h"

namespace kel::modIgnoredThreats {

namespace {

void LoadWhileEmpty() {
    if (!modDataManager::IsInitializedIgnoredThreatsData()) {
        modDataManager::InitializeIgnoredThreatsData();
    }
}

}  // namespace

bool IsIgnoredThreatID(std::int32_t ThreatID) {
    bool ignored = false;
    Trap("modIgnoredThreats", "IsIgnoredThreatID", [&] {
        LoadWhileEmpty();
        ignored = modDataManager::IsIgnoredThreatInList(ThreatID);
    });
    return ignored;
}

std::shared_ptr<Collection<std::int32_t>> GetIgnoredThreatIDs() {
    std::shared_ptr<Collection<std::int32_t>> list;
    Trap("modIgnoredThreats", "GetIgnoredThreatIDs", [&] {
        LoadWhileEmpty();
        list = State().IgnoredThreatIDs;
    });
    return list;
}

std::int32_t GetIgnoredThreatCount() {
    std::int32_t count = 0;
    Trap("modIgnoredThreats", "GetIgnoredThreatCount", [&] {
        LoadWhileEmpty();
        if (!State().IgnoredThreatIDs) {
            Raise(ErrObjectNotSet);
        }
        count = static_cast<std::int32_t>(State().IgnoredThreatIDs->Count());
    });
    return count;
}

std::int32_t GetIgnoredThreatIndex(std::int32_t ThreatID) {
    std::int32_t place = 0;
    // The log has this module with a capital here.
    Trap("ModIgnoredThreats", "GetIgnoredThreatIndex", [&] {
        if (!State().IgnoredThreatIDs) {
            Raise(ErrObjectNotSet);
        }
        std::int32_t at = 0;
        for (const std::int32_t item : *State().IgnoredThreatIDs) {
            ++at;
            if (item == ThreatID) {
                place = at;
                return;
            }
        }
    });
    return place;
}

}  // namespace kel::modIgnoredThreats
