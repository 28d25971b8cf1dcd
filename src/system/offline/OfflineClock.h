// The host's clock with dates in the en-US form.
#pragma once

#include "platform/Clock.h"

namespace kel::offline {

class OfflineClock : public platform::Clock {
public:
    platform::Date Now() override;
    std::uint64_t Ticks() override;
    std::string DateText(platform::Date date) override;
    std::string ShortDateText(platform::Date date) override;
    platform::Guid NewGuid() override;
};

}  // namespace kel::offline
