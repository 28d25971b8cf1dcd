#include "results/ScannerCallback.h"

#include <utility>

namespace kel {

std::int32_t ScannerCallback::Subscribe(ScannerEvents events) {
    return subscribers_.Add(std::move(events));
}

void ScannerCallback::Unsubscribe(std::int32_t subscription) {
    subscribers_.Remove(subscription);
}

void ScannerCallback::EventStartingLocation(std::string_view szLocation, enScanType ScanType, std::int32_t ScanCount) {
    subscribers_.Raise(&ScannerEvents::StartingLocation, szLocation, ScanType, ScanCount);
}

void ScannerCallback::EventThreatDetected(std::string_view szLocation, enScanType ScanType, std::int32_t ThreatID,
                                          std::int32_t FoundCount) {
    subscribers_.Raise(&ScannerEvents::ThreatDetected, szLocation, ScanType, ThreatID, FoundCount);
}

void ScannerCallback::EventScanAborted(std::string_view szReason) {
    subscribers_.Raise(&ScannerEvents::ScanAborted, szReason);
}

void ScannerCallback::EventRequestScanAbort(bool& blnAbort) {
    subscribers_.Raise(&ScannerEvents::RequestScanAbort, blnAbort);
}

}  // namespace kel
