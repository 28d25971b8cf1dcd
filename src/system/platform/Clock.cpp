#include "platform/Clock.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kel::platform {

namespace {

constexpr int SecondsOfDay = 86400;

bool IsLeap(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysOfMonth(int year, int month) {
    constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[static_cast<std::size_t>(month - 1)] + (month == 2 && IsLeap(year) ? 1 : 0);
}

// Days from 1899-12-30 to a day of the Gregorian calendar.
std::int64_t DayNumber(int year, int month, int day) {
    const std::int64_t y = year - 1;
    std::int64_t days = y * 365 + y / 4 - y / 100 + y / 400 + day;
    for (int before = 1; before < month; ++before) {
        days += DaysOfMonth(year, before);
    }
    constexpr std::int64_t dayOf18991230 = 693594;
    return days - dayOf18991230;
}

// Reads the forms from left to right.
class DateReader {
public:
    explicit DateReader(std::string_view text) : rest_(text) {}

    [[nodiscard]] std::optional<Date> Read() {
        SkipBlanks();
        std::optional<int> first = Number(4);
        if (!first) {
            return std::nullopt;
        }
        double days = 0;
        if (Peek() == '/' || Peek() == '-') {
            const auto date = RestOfDate(*first);
            if (!date) {
                return std::nullopt;
            }
            days = static_cast<double>(*date);
            SkipBlanks();
            if (rest_.empty()) {
                return Date{days};
            }
            first = Number(2);
            if (!first) {
                return std::nullopt;
            }
        }
        const auto seconds = RestOfTime(*first);
        SkipBlanks();
        if (!seconds || !rest_.empty()) {
            return std::nullopt;
        }
        const double time = static_cast<double>(*seconds) / SecondsOfDay;
        // The fraction counts away from zero: the time of day is added to the day's size, not to its value.
        return Date{days < 0 ? days - time : days + time};
    }

private:
    [[nodiscard]] char Peek() const { return rest_.empty() ? '\0' : rest_.front(); }

    void SkipBlanks() {
        while (Peek() == ' ') {
            rest_.remove_prefix(1);
        }
    }

    bool Skip(char c) {
        if (Peek() != c) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    std::optional<int> Number(std::size_t maxDigits) {
        int number = 0;
        std::size_t digits = 0;
        while (Peek() >= '0' && Peek() <= '9') {
            if (++digits > maxDigits) {
                return std::nullopt;
            }
            number = number * 10 + (Peek() - '0');
            rest_.remove_prefix(1);
        }
        digits_ = digits;
        return digits == 0 ? std::nullopt : std::optional(number);
    }

    std::optional<std::int64_t> RestOfDate(int first) {
        const bool yearFirst = digits_ > 2;
        const char separator = Peek();
        rest_.remove_prefix(1);
        const auto second = Number(2);
        if (!second || !Skip(separator)) {
            return std::nullopt;
        }
        const auto third = Number(4);
        if (!third) {
            return std::nullopt;
        }
        int year = yearFirst ? first : *third;
        const int month = yearFirst ? *second : first;
        const int day = yearFirst ? *third : *second;
        if (!yearFirst && digits_ <= 2) {
            year += year < 30 ? 2000 : 1900;
        }
        if (year < 100 || month < 1 || month > 12 || day < 1 || day > DaysOfMonth(year, month)) {
            return std::nullopt;
        }
        return DayNumber(year, month, day);
    }

    std::optional<int> RestOfTime(int hour) {
        int minute = 0;
        int second = 0;
        const bool bare = Peek() != ':';
        if (Skip(':')) {
            const auto minutes = Number(2);
            if (!minutes) {
                return std::nullopt;
            }
            minute = *minutes;
            if (Skip(':')) {
                const auto seconds = Number(2);
                if (!seconds) {
                    return std::nullopt;
                }
                second = *seconds;
            }
        }
        SkipBlanks();
        const char half = static_cast<char>(Peek() | 0x20);
        if (half == 'a' || half == 'p') {
            rest_.remove_prefix(1);
            if (!Skip('M') && !Skip('m')) {
                return std::nullopt;
            }
            if (hour < 1 || hour > 12) {
                return std::nullopt;
            }
            hour = hour % 12 + (half == 'p' ? 12 : 0);
        } else if (bare) {
            return std::nullopt;
        }
        if (hour > 23 || minute > 59 || second > 59) {
            return std::nullopt;
        }
        return (hour * 60 + minute) * 60 + second;
    }

    std::string_view rest_;
    std::size_t digits_ = 0;
};

}  // namespace

Result<Date> Clock::ParseDate(std::string_view text) {
    const auto date = DateReader(text).Read();
    if (!date) {
        return SysError::InvalidData;
    }
    return *date;
}

}  // namespace kel::platform
