#include "cleaner/CleanerCallback.h"

#include <utility>

namespace kel {

std::int32_t CleanerCallback::Subscribe(CleanerEvents events) {
    return subscribers_.Add(std::move(events));
}

void CleanerCallback::Unsubscribe(std::int32_t subscription) {
    subscribers_.Remove(subscription);
}

void CleanerCallback::EventStartThreatClean(std::string_view szThreatName) {
    subscribers_.Raise(&CleanerEvents::StartThreatClean, szThreatName);
}

void CleanerCallback::EventFinishedThreatClean(std::string_view szThreatName) {
    subscribers_.Raise(&CleanerEvents::FinishedThreatClean, szThreatName);
}

void CleanerCallback::EventVerboseDetails(std::string_view szThreatName, std::string_view szDetails) {
    subscribers_.Raise(&CleanerEvents::VerboseDetails, szThreatName, szDetails);
}

void CleanerCallback::EventRequiresKillProcess(std::string_view szThreatName, std::string_view szFilePath) {
    subscribers_.Raise(&CleanerEvents::RequiresKillProcess, szThreatName, szFilePath);
}

}  // namespace kel
