// The relay of a scan's progress towards the front end.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "core/Subscribers.h"
#include "results/Enumerations.h"

namespace kel {

/// What a subscriber hears. A function that is empty is not called. Each runs inside the call that raises the event.
struct ScannerEvents {
    /// A location is about to be looked at; `scanCount` is the running count of its type, this one included.
    std::function<void(std::string_view location, enScanType scanType, std::int32_t scanCount)> StartingLocation;
    /// A location was accepted as a detection; `foundCount` is the running count of detections of its type.
    std::function<void(std::string_view location, enScanType scanType, std::int32_t threatID, std::int32_t foundCount)>
        ThreatDetected;
    std::function<void(std::string_view reason)> ScanAborted;
    /// Setting the flag ends the scan at its next test.
    std::function<void(bool& abort)> RequestScanAbort;
};

/// Has no state of its own but its subscribers: each call raises the event of the same name at once, for every
/// subscriber in the order of subscription, and passes its arguments through. One thread; a subscriber may subscribe
/// others or leave while an event is raised.
class ScannerCallback {
public:
    /// @return a number for Unsubscribe.
    std::int32_t Subscribe(ScannerEvents events);
    /// Does nothing for a number that is not subscribed.
    void Unsubscribe(std::int32_t subscription);

    // The calls, in the order of the interface.
    void EventStartingLocation(std::string_view szLocation, enScanType ScanType, std::int32_t ScanCount);
    void EventThreatDetected(std::string_view szLocation, enScanType ScanType, std::int32_t ThreatID,
                             std::int32_t FoundCount);
    void EventScanAborted(std::string_view szReason);
    void EventRequestScanAbort(bool& blnAbort);

private:
    Subscribers<ScannerEvents> subscribers_;
};

}  // namespace kel
