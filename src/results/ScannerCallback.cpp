#include "results/ScannerCallback.h"

#include <algorithm>

namespace kel {

std::int32_t ScannerCallback::Subscribe(ScannerEvents events) {
    subscribers_.push_back(std::make_shared<Subscriber>(Subscriber{++last_, std::move(events)}));
    return last_;
}

void ScannerCallback::Unsubscribe(std::int32_t subscription) {
    std::erase_if(subscribers_, [&](const auto& subscriber) { return subscriber->number == subscription; });
}

template <class Event, class... Arguments>
void ScannerCallback::RaiseEvent(Event ScannerEvents::*event, Arguments&&... arguments) {
    // By number, because a subscriber may change the list.
    std::int32_t done = 0;
    for (;;) {
        const auto next = std::find_if(subscribers_.begin(), subscribers_.end(),
                                       [&](const auto& subscriber) { return subscriber->number > done; });
        if (next == subscribers_.end()) {
            return;
        }
        const std::shared_ptr<Subscriber> subscriber = *next;
        done = subscriber->number;
        if (const auto& function = subscriber->events.*event) {
            function(arguments...);
        }
    }
}

void ScannerCallback::EventStartingLocation(std::string_view szLocation, enScanType ScanType, std::int32_t ScanCount) {
    RaiseEvent(&ScannerEvents::StartingLocation, szLocation, ScanType, ScanCount);
}

void ScannerCallback::EventThreatDetected(std::string_view szLocation, enScanType ScanType, std::int32_t ThreatID,
                                          std::int32_t FoundCount) {
    RaiseEvent(&ScannerEvents::ThreatDetected, szLocation, ScanType, ThreatID, FoundCount);
}

void ScannerCallback::EventScanAborted(std::string_view szReason) {
    RaiseEvent(&ScannerEvents::ScanAborted, szReason);
}

void ScannerCallback::EventRequestScanAbort(bool& blnAbort) {
    RaiseEvent(&ScannerEvents::RequestScanAbort, blnAbort);
}

}  // namespace kel
