#include "results/modDataManager.h"

#include <string>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Recordset.h"
#include "core/Text.h"

namespace kel::modDataManager {

namespace {

constexpr const char* Module = "modDataManager";

bool HasRows(const std::shared_ptr<Recordset>& table) {
    return table && table->RecordCount() > 0;
}

}  // namespace

bool IsInitializedIgnoredThreatsData() {
    const auto& list = State().IgnoredThreatIDs;
    return list && list->Count() > 0;
}

bool IsIgnoredThreatInList(std::int32_t ThreatID) {
    const auto& list = State().IgnoredThreatIDs;
    return list && list->Contains(Text(ThreatID));
}

bool IsInitializedScanHistoryData() {
    bool loaded = false;
    Trap(Module, "IsInitializedScanHistoryData", [&] { loaded = HasRows(State().RsScanHistory); });
    return loaded;
}

bool IsInitializedQuarantineData() {
    bool loaded = false;
    Trap(Module, "IsInitializedQuarantineData", [&] { loaded = HasRows(State().RsQuarantined); });
    return loaded;
}

void PersistQuarantineData() {
}

void ReleaseIgnoredThreatsData() {
}

void ReleaseQuarantineData() {
}

void ReleaseScanData() {
}

void ReleaseScanHistoryData() {
}

void ReleaseThreatData() {
}

}  // namespace kel::modDataManager
