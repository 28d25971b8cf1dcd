// Clock, locale and identifiers.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace kel::platform {

/// A date and time of day as automation has it: days since 1899-12-30, local time, the fraction is the time.
struct Date {
    double days = 0;
    friend bool operator==(const Date&, const Date&) = default;
    friend auto operator<=>(const Date&, const Date&) = default;
};

/// A GUID as its sixteen bytes in memory order of the platform's structure (first three fields little-endian).
using Guid = std::array<std::uint8_t, 16>;

/// Clock access. Never throws.
class Clock {
public:
    virtual ~Clock() = default;
    /// Local time, whole seconds.
    virtual Date Now() = 0;
    /// Milliseconds since some fixed point; never goes back.
    virtual std::uint64_t Ticks() = 0;

    /// Default text of a date under the machine's locale. Offline the en-US form: `M/D/YYYY h:MM:SS AM/PM`, the time
    /// left out at exactly midnight, the date left out when the day is 0.
    virtual std::string DateText(Date date) = 0;
    /// "Short Date" under the machine's locale. Offline `M/D/YYYY`.
    virtual std::string ShortDateText(Date date) = 0;
    /// The date that a text names under the machine's locale. SysError::InvalidData for a text that is none. What is
    /// implemented here are the en-US forms: `M/D/YYYY`, `YYYY-M-D` (with `/` or `-`; years 0 to 29 are 2000 to 2029,
    /// 30 to 99 are 1930 to 1999), `h:MM[:SS][ AM/PM]`, or a date, blanks and a time.
    virtual Result<Date> ParseDate(std::string_view text);

    /// CoCreateGuid.
    virtual Guid NewGuid() = 0;
};

}  // namespace kel::platform
