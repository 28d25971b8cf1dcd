// Who listens to the events of a callback object.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace kel {

/// A list of records of functions. One thread; a subscriber may subscribe others or leave while an event is raised.
template <class Events>
class Subscribers {
public:
    /// @return a number for Remove, from 1
    std::int32_t Add(Events events) {
        subscribers_.push_back(std::make_shared<Subscriber>(Subscriber{++last_, std::move(events)}));
        return last_;
    }

    /// Does nothing for a number that is not subscribed.
    void Remove(std::int32_t number) {
        std::erase_if(subscribers_, [&](const auto& subscriber) { return subscriber->number == number; });
    }

    /// Calls that function of every record, in the order of subscription. An empty one is passed over.
    template <class Event, class... Arguments>
    void Raise(Event Events::*event, Arguments&&... arguments) {
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

private:
    struct Subscriber {
        std::int32_t number = 0;
        Events events;
    };

    std::vector<std::shared_ptr<Subscriber>> subscribers_;
    std::int32_t last_ = 0;
};

}  // namespace kel
