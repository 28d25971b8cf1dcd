// The relay of a clean's progress towards the front end.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "core/Subscribers.h"

namespace kel {

/// What a subscriber hears. A function that is empty is not called. Each runs inside the call that raises the event.
struct CleanerEvents {
    std::function<void(std::string_view threatName)> StartThreatClean;
    std::function<void(std::string_view threatName)> FinishedThreatClean;
    std::function<void(std::string_view threatName, std::string_view details)> VerboseDetails;
    std::function<void(std::string_view threatName, std::string_view filePath)> RequiresKillProcess;
};

/// Has no state of its own but its subscribers: each call raises the event of the same name at once, for every
/// subscriber in the order of subscription, and passes its arguments through. One thread; a subscriber may subscribe
/// others or leave while an event is raised.
class CleanerCallback {
public:
    /// @return a number for Unsubscribe.
    std::int32_t Subscribe(CleanerEvents events);
    /// Does nothing for a number that is not subscribed.
    void Unsubscribe(std::int32_t subscription);

    // The calls, in the order of the interface.
    void EventStartThreatClean(std::string_view szThreatName);
    void EventFinishedThreatClean(std::string_view szThreatName);
    void EventVerboseDetails(std::string_view szThreatName, std::string_view szDetails);
    /// Nothing in the engine calls it.
    void EventRequiresKillProcess(std::string_view szThreatName, std::string_view szFilePath);

private:
    Subscribers<CleanerEvents> subscribers_;
};

}  // namespace kel
