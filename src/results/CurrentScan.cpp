// The scan of the run, and what lower modules see of it.
#include <functional>
#include <memory>
#include <utility>

#include "core/EngineState.h"
#include "results/Scan.h"
#include "system/clsFolderPaths.h"

namespace kel {

namespace {

struct Current {
    std::shared_ptr<Scan> scan;
    std::function<void(const std::shared_ptr<Scan>&)> observer;
};

}  // namespace

const std::shared_ptr<Scan>& CurrentScan() {
    return ModuleData<Current>().scan;
}

std::shared_ptr<Scan> RequireCurrentScan(SourceLocation where) {
    std::shared_ptr<Scan> scan = CurrentScan();
    if (!scan) {
        Raise(ErrObjectNotSet, {}, where);
    }
    return scan;
}

void SetCurrentScan(std::shared_ptr<Scan> scan) {
    ModuleData<Current>().scan = std::move(scan);
    State().Calls.StartingLocation = [](std::string_view location, std::int32_t scanType) {
        RequireCurrentScan()->EventStartingLocation(location, static_cast<enScanType>(scanType));
    };
    State().Calls.ScanCookiesFolder = [] {
        const std::shared_ptr<clsFolderPaths> folders = RequireCurrentScan()->FolderPaths;
        if (!folders) {
            Raise(ErrObjectNotSet);
        }
        return folders->PathCookies;
    };
    const auto observer = ModuleData<Current>().observer;
    if (observer && CurrentScan()) {
        observer(CurrentScan());
    }
}

void ObserveScans(std::function<void(const std::shared_ptr<Scan>&)> observer) {
    ModuleData<Current>().observer = std::move(observer);
}

}  // namespace kel
