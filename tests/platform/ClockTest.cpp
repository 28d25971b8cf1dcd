#include <cmath>

#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::Date;
using platform::SysError;

class Clock : public PlatformTest {
protected:
    platform::Clock& TheClock() { return *Machine().clock; }
    platform::Result<Date> Parse(std::string_view text) { return TheClock().ParseDate(text); }
    double Days(std::string_view text) { return Parse(text).ValueOr(Date{-99999}).days; }
};

constexpr double Second = 1.0 / 86400;
// 2003-01-02
constexpr double SomeDay = 37623;

TEST_F(Clock, NowIsTodayInWholeSeconds) {
    const Date now = TheClock().Now();
    constexpr double year2020 = 43831;
    EXPECT_GT(now.days, year2020);
    const double seconds = now.days / Second;
    EXPECT_NEAR(seconds, std::round(seconds), 0.01);
    EXPECT_GE(TheClock().Now(), now);
}

TEST_F(Clock, TicksNeverGoBack) {
    std::uint64_t last = TheClock().Ticks();
    for (int round = 0; round < 10000; ++round) {
        const std::uint64_t next = TheClock().Ticks();
        ASSERT_GE(next, last);
        last = next;
    }
}

TEST_F(Clock, TicksGoOn) {
    const std::uint64_t start = TheClock().Ticks();
    const Date begin = TheClock().Now();
    while (TheClock().Ticks() == start && TheClock().Now().days < begin.days + 60 * Second) {
    }
    EXPECT_GT(TheClock().Ticks(), start);
}

TEST_F(Clock, DefaultTextHasDateAndTime) {
    EXPECT_EQ(TheClock().DateText({SomeDay + 58506 * Second}), "1/2/2003 4:15:06 PM");
    EXPECT_EQ(TheClock().DateText({SomeDay + Second}), "1/2/2003 12:00:01 AM");
    EXPECT_EQ(TheClock().DateText({SomeDay + 0.5}), "1/2/2003 12:00:00 PM");
    EXPECT_EQ(TheClock().DateText({SomeDay + 86399 * Second}), "1/2/2003 11:59:59 PM");
}

TEST_F(Clock, DefaultTextLeavesMidnightOut) {
    EXPECT_EQ(TheClock().DateText({SomeDay}), "1/2/2003");
    EXPECT_EQ(TheClock().DateText({36526}), "1/1/2000");
    EXPECT_EQ(TheClock().DateText({36585}), "2/29/2000");
}

TEST_F(Clock, DefaultTextOfDayZeroIsTheTime) {
    EXPECT_EQ(TheClock().DateText({0.5}), "12:00:00 PM");
    EXPECT_EQ(TheClock().DateText({0.25}), "6:00:00 AM");
    EXPECT_EQ(TheClock().DateText({0}), "12:00:00 AM");
}

TEST_F(Clock, FractionCountsAwayFromZero) {
    EXPECT_EQ(TheClock().DateText({-1.25}), "12/29/1899 6:00:00 AM");
    EXPECT_EQ(Days("12/29/1899 6:00:00 AM"), -1.25);
}

TEST_F(Clock, ShortDateIsTheDayAlone) {
    EXPECT_EQ(TheClock().ShortDateText({SomeDay + 0.75}), "1/2/2003");
    EXPECT_EQ(TheClock().ShortDateText({SomeDay + 362}), "12/30/2003");
    EXPECT_EQ(TheClock().ShortDateText({0}), "12/30/1899");
}

TEST_F(Clock, OwnTextsAreReadAgain) {
    for (const double days : {SomeDay, SomeDay + 1 * Second, SomeDay + 0.5, SomeDay + 86399 * Second, 40000.25, 2.0}) {
        EXPECT_NEAR(Days(TheClock().DateText({days})), days, Second / 10);
        EXPECT_EQ(Days(TheClock().ShortDateText({days})), std::floor(days));
    }
}

struct ParseRow {
    const char* text;
    double days;
};

constexpr ParseRow ParseRows[] = {
    {"1/2/2003", SomeDay},
    {"01/02/2003", SomeDay},
    {"1-2-2003", SomeDay},
    {"2003-01-02", SomeDay},
    {"2003/1/2", SomeDay},
    {"1/2/03", SomeDay},
    {"1/2/29", 47120},
    {"1/2/99", 36162},
    {"  1/2/2003  ", SomeDay},
    {"1/2/2003 4:15:06 PM", SomeDay + 58506 * Second},
    {"1/2/2003 16:15:06", SomeDay + 58506 * Second},
    {"1/2/2003 16:15", SomeDay + 58500 * Second},
    {"1/2/2003 12:00:00 AM", SomeDay},
    {"4:15:06 PM", 58506 * Second},
    {"4:15", 15300 * Second},
    {"4 PM", 57600 * Second},
};

TEST_F(Clock, ReadsTheFormsOfTheLocale) {
    for (const ParseRow& row : ParseRows) {
        const auto date = Parse(row.text);
        ASSERT_TRUE(date.Ok()) << row.text;
        EXPECT_NEAR(date.Value().days, row.days, Second / 10) << row.text;
    }
}

TEST_F(Clock, OtherTextsAreNoDates) {
    for (const char* text : {"", "abc", "24:00", "4:60", "2/30/2003", "0/1/2003", "1/2/2003 x", "1/2/2003/4"}) {
        EXPECT_EQ(Parse(text).Error(), SysError::InvalidData) << text;
    }
}

TEST_F(Clock, EveryGuidIsNew) {
    const platform::Guid first = TheClock().NewGuid();
    const platform::Guid second = TheClock().NewGuid();
    EXPECT_NE(first, second);
    // Version 4 or 1, and the variant of the standard.
    EXPECT_TRUE((first[7] >> 4) == 4 || (first[7] >> 4) == 1);
    EXPECT_EQ(first[8] & 0xC0, 0x80);
}

}  // namespace
}  // namespace kel::test
