#include "offline/OfflineClock.h"

#include <sys/random.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <random>

namespace kel::offline {

namespace {

constexpr std::int64_t SecondsOfDay = 86400;
// Days from 1899-12-30 to 1970-01-01.
constexpr std::int64_t EpochDay = 25569;
// What a date of automation can hold: years 100 to 9999.
constexpr std::int64_t FirstDay = -657434;
constexpr std::int64_t LastDay = 2958465;

struct Parts {
    std::int64_t day = 0;      // since 1899-12-30
    std::int64_t seconds = 0;  // since midnight
};

// The fraction is the time of day also before day 0: -1.25 is six o'clock on 1899-12-29.
Parts Split(platform::Date date) {
    if (!std::isfinite(date.days)) {
        return {};
    }
    const double limited =
        std::clamp(date.days, static_cast<double>(FirstDay), static_cast<double>(LastDay) + 0.999999);
    Parts parts;
    parts.day = static_cast<std::int64_t>(limited);
    const double fraction = std::abs(limited - std::trunc(limited));
    parts.seconds = std::llround(fraction * SecondsOfDay);
    if (parts.seconds == SecondsOfDay) {
        parts.seconds = 0;
        ++parts.day;
    }
    return parts;
}

std::string DayText(std::int64_t day) {
    const std::chrono::year_month_day date{std::chrono::sys_days{std::chrono::days{day - EpochDay}}};
    char text[32];
    std::snprintf(text, sizeof text, "%u/%u/%04d", static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(date.year()));
    return text;
}

std::string TimeText(std::int64_t seconds) {
    const int hour = static_cast<int>(seconds / 3600);
    char text[32];
    std::snprintf(text, sizeof text, "%d:%02d:%02d %s", hour % 12 == 0 ? 12 : hour % 12,
                  static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60), hour < 12 ? "AM" : "PM");
    return text;
}

}  // namespace

platform::Date OfflineClock::Now() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    if (localtime_r(&now, &local) == nullptr) {
        return {};
    }
    const std::chrono::year_month_day date{std::chrono::year{local.tm_year + 1900},
                                           std::chrono::month{static_cast<unsigned>(local.tm_mon + 1)},
                                           std::chrono::day{static_cast<unsigned>(local.tm_mday)}};
    const auto days = std::chrono::sys_days{date}.time_since_epoch().count() + EpochDay;
    const int seconds = local.tm_hour * 3600 + local.tm_min * 60 + std::min(local.tm_sec, 59);
    return {static_cast<double>(days) + static_cast<double>(seconds) / static_cast<double>(SecondsOfDay)};
}

std::uint64_t OfflineClock::Ticks() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::string OfflineClock::DateText(platform::Date date) {
    const Parts parts = Split(date);
    if (parts.day == 0) {
        return TimeText(parts.seconds);
    }
    const std::string day = DayText(parts.day);
    return parts.seconds == 0 ? day : day + " " + TimeText(parts.seconds);
}

std::string OfflineClock::ShortDateText(platform::Date date) {
    return DayText(Split(date).day);
}

platform::Guid OfflineClock::NewGuid() {
    platform::Guid guid{};
    if (getrandom(guid.data(), guid.size(), 0) != static_cast<ssize_t>(guid.size())) {
        std::random_device device;
        std::generate(guid.begin(), guid.end(), [&device] { return static_cast<std::uint8_t>(device()); });
    }
    // Version 4; the version is in the high byte of the third, little-endian field.
    guid[7] = static_cast<std::uint8_t>((guid[7] & 0x0F) | 0x40);
    guid[8] = static_cast<std::uint8_t>((guid[8] & 0x3F) | 0x80);
    return guid;
}

}  // namespace kel::offline
