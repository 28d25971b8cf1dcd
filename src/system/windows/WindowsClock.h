// Clock, locale and identifiers of the machine.
#pragma once

#include "platform/Clock.h"

namespace kel::windows {

class WindowsClock final : public platform::Clock {
public:
    platform::Date Now() override;
    std::uint64_t Ticks() override;
    std::string DateText(platform::Date date) override;
    std::string ShortDateText(platform::Date date) override;
    platform::Result<platform::Date> ParseDate(std::string_view text) override;
    platform::Guid NewGuid() override;
};

}  // namespace kel::windows
