#include "frontend/DateForms.h"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace kel::frontend {

std::string IsoDate(Date date, char between) {
    constexpr int secondsOfDay = 86400;
    constexpr int dayOf1970 = 25569;
    // The fraction counts forward from the day, before 1899 too.
    double day = std::trunc(date.days);
    auto seconds = static_cast<int>(std::lround(std::fabs(date.days - day) * secondsOfDay));
    if (seconds == secondsOfDay) {
        seconds = 0;
        day += 1;
    }
    const std::chrono::year_month_day parts(
        std::chrono::sys_days(std::chrono::days(static_cast<int>(day) - dayOf1970)));
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u%c%02d:%02d:%02d", static_cast<int>(parts.year()),
                  static_cast<unsigned>(parts.month()), static_cast<unsigned>(parts.day()), between, seconds / 3600,
                  seconds / 60 % 60, seconds % 60);
    return text;
}

}  // namespace kel::frontend
