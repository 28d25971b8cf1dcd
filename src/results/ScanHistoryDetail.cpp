#include "results/ScanHistoryDetail.h"

#include "core/Failures.h"
#include "system/modHelper.h"

namespace kel {

namespace {

constexpr const char* Module = "ScanHistoryDetail";

}  // namespace

std::int32_t ScanHistoryDetail::GetTotalDetectedLocationsCount() const {
    std::int32_t count = 0;
    Trap(Module, "GetTotalDetectedLocationsCount", [&] {
        double sum = 0;
        for (const std::int32_t part :
             {DetectedProcessCount, DetectedFileCount, DetectedRegistryCount, DetectedCookieCount}) {
            sum += part;
        }
        count = ToLong(sum);
    });
    return count;
}

std::string ScanHistoryDetail::TotalScanTime() const {
    std::string time;
    Trap(Module, "TotalScanTime", [&] { time = modHelper::GetTotalTimeDispaly(StartDate, EndDate); });
    return time;
}

}  // namespace kel
