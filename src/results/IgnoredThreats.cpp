#include "results/IgnoredThreats.h"

#include <string_view>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "results/modDataManager.h"
#include "results/modIgnoredThreats.h"

namespace kel {

namespace {

constexpr std::string_view Module = "IgnoredThreats";

void LoadWhileEmpty() {
    if (!modDataManager::IsInitializedIgnoredThreatsData()) {
        modDataManager::InitializeIgnoredThreatsData();
    }
}

Collection<std::int32_t>& List() {
    if (!State().IgnoredThreatIDs) {
        Raise(ErrObjectNotSet);
    }
    return *State().IgnoredThreatIDs;
}

}  // namespace

bool IgnoredThreats::IsIgnoredThreatID(std::int32_t ThreatID) const {
    bool ignored = false;
    Trap(Module, "IsIgnoredThreatID", [&] {
        LoadWhileEmpty();
        ignored = modDataManager::IsIgnoredThreatInList(ThreatID);
    });
    return ignored;
}

void IgnoredThreats::AddIgnoredThreat(std::int32_t ThreatID) {
    Trap(Module, "AddIgnoredThreat", [&] {
        LoadWhileEmpty();
        if (!modDataManager::IsIgnoredThreatInList(ThreatID)) {
            List().Add(ThreatID, Text(ThreatID));
            modDataManager::PersistIgnoredThreatsData();
        }
    });
}

void IgnoredThreats::RemoveIgnoredThreat(std::int32_t ThreatID) {
    Trap(Module, "RemoveIgnoredThreat", [&] {
        LoadWhileEmpty();
        if (modDataManager::IsIgnoredThreatInList(ThreatID)) {
            List().Remove(static_cast<std::size_t>(modIgnoredThreats::GetIgnoredThreatIndex(ThreatID)));
            modDataManager::PersistIgnoredThreatsData();
        }
    });
}

std::shared_ptr<Collection<std::int32_t>> IgnoredThreats::GetIgnoredThreatIDs() const {
    std::shared_ptr<Collection<std::int32_t>> list;
    Trap(Module, "GetIgnoredThreatIDs", [&] {
        LoadWhileEmpty();
        list = State().IgnoredThreatIDs;
    });
    return list;
}

std::int32_t IgnoredThreats::GetIgnoredThreatCount() const {
    std::int32_t count = 0;
    Trap(Module, "GetIgnoredThreatCount", [&] {
        LoadWhileEmpty();
        count = static_cast<std::int32_t>(List().Count());
    });
    return count;
}

}  // namespace kel
