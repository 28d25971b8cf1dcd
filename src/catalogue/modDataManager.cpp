#include "catalogue/modDataManager.h"

#include "catalogue/LoadingTables.h"
#include "core/Failures.h"

namespace kel::modDataManager {

bool IsInitializedScanData() {
    bool initialized = false;
    ResumeNext([&] {
        const auto& cookies = ModuleData<LoadingTables>().Cookies;
        initialized = cookies && cookies->RecordCount() > 0;
    });
    return initialized;
}

bool IsInitializedThreatData() {
    bool initialized = false;
    ResumeNext([&] {
        const auto& threats = ModuleData<LoadingTables>().ThreatData;
        initialized = threats && State().ThreatCatalog && State().ThreatCatalog->Count() > 0;
    });
    return initialized;
}

}  // namespace kel::modDataManager
