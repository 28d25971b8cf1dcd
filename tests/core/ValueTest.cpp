#include "core/Value.h"

#include <random>

#include "ErrorNumber.h"
#include "support/EngineTest.h"

namespace kel {
namespace {

using test::ErrorNumber;

class Values : public test::EngineTest {};

TEST_F(Values, NullConvertsToNothingAtAll) {
    EXPECT_EQ(ErrorNumber([] { ToText(Null{}); }), ErrInvalidUseOfNull);
    EXPECT_EQ(ErrorNumber([] { ToLong(Null{}); }), ErrInvalidUseOfNull);
    EXPECT_EQ(ErrorNumber([] { ToInteger(Null{}); }), ErrInvalidUseOfNull);
    EXPECT_EQ(ErrorNumber([] { ToBoolean(Null{}); }), ErrInvalidUseOfNull);
    EXPECT_EQ(ErrorNumber([] { ToDouble(Null{}); }), ErrInvalidUseOfNull);
    EXPECT_EQ(ErrorNumber([] { ToDate(Null{}); }), ErrInvalidUseOfNull);
}

TEST_F(Values, EmptyIsZeroFalseAndNoText) {
    EXPECT_EQ(ToText(Empty{}), "");
    EXPECT_EQ(ToLong(Empty{}), 0);
    EXPECT_FALSE(ToBoolean(Empty{}));
    EXPECT_EQ(ToDouble(Empty{}), 0.0);
}

TEST_F(Values, TextsOfValues) {
    EXPECT_EQ(ToText(true), "True");
    EXPECT_EQ(ToText(false), "False");
    EXPECT_EQ(ToText(-17), "-17");
    EXPECT_EQ(ToText(0.5), "0.5");
    EXPECT_EQ(ToText(3.0), "3");
    EXPECT_EQ(ToText(1e15), "1E+15");
    EXPECT_EQ(ToText(123456789012345.0), "123456789012345");
    EXPECT_EQ(ToText(std::string("as it is ")), "as it is ");
    EXPECT_EQ(ToText(Date{38353.5}), DateText(Date{38353.5}));
}

TEST_F(Values, NumbersFromTextAreReadAsTheRunTimeReadsThem) {
    EXPECT_EQ(ToLong(std::string(" 42 ")), 42);
    EXPECT_EQ(ToLong(std::string("-7")), -7);
    EXPECT_EQ(ToLong(std::string("+7")), 7);
    EXPECT_EQ(ToLong(std::string("1,234,567")), 1234567);
    EXPECT_EQ(ToLong(std::string("1.2E3")), 1200);
    EXPECT_EQ(ToLong(std::string("5D1")), 50);
    EXPECT_EQ(ToLong(std::string("&H10")), 16);
    EXPECT_EQ(ToLong(std::string("&HFFFF")), -1);
    EXPECT_EQ(ToLong(std::string("&H10000")), 65536);
    EXPECT_EQ(ToLong(std::string("&HFFFFFFFF")), -1);
    EXPECT_EQ(ToLong(std::string("&O17")), 15);
    EXPECT_EQ(ToDouble(std::string(".5")), 0.5);
    EXPECT_EQ(ToDouble(std::string("5.")), 5.0);
}

TEST_F(Values, TextThatIsNoNumberIsATypeMismatch) {
    for (const char* text :
         {"", " ", "x", "1x", "1 2", "-", ".", "1e", "&H", "&HG", "&Q1", "--1", "True", "inf", "nan"}) {
        EXPECT_EQ(ErrorNumber([&] { ToLong(std::string(text)); }), ErrTypeMismatch) << text;
    }
}

TEST_F(Values, HalvesRoundToTheEvenNeighbour) {
    EXPECT_EQ(ToLong(0.5), 0);
    EXPECT_EQ(ToLong(1.5), 2);
    EXPECT_EQ(ToLong(2.5), 2);
    EXPECT_EQ(ToLong(-1.5), -2);
}

TEST_F(Values, WhatDoesNotFitOverflows) {
    EXPECT_EQ(ToLong(2147483647.4), 2147483647);
    EXPECT_EQ(ErrorNumber([] { ToLong(2147483648.0); }), ErrOverflow);
    EXPECT_EQ(ErrorNumber([] { ToLong(std::string("99999999999")); }), ErrOverflow);
    EXPECT_EQ(ErrorNumber([] { ToLong(std::string("1e999")); }), ErrOverflow);
    EXPECT_EQ(ToInteger(-32768), -32768);
    EXPECT_EQ(ErrorNumber([] { ToInteger(32768); }), ErrOverflow);
    EXPECT_EQ(ErrorNumber([] { ToLong(std::string("&H1FFFFFFFF")); }), ErrOverflow);
}

TEST_F(Values, BooleansAreMinusOneAndZero) {
    EXPECT_EQ(ToLong(true), -1);
    EXPECT_EQ(ToLong(false), 0);
    EXPECT_TRUE(ToBoolean(std::string("TRUE")));
    EXPECT_FALSE(ToBoolean(std::string("false")));
    EXPECT_TRUE(ToBoolean(std::string("2")));
    EXPECT_FALSE(ToBoolean(0));
    EXPECT_EQ(ErrorNumber([] { ToBoolean(std::string("yes")); }), ErrTypeMismatch);
}

TEST_F(Values, DatesComeBackFromTheirOwnTexts) {
    std::mt19937 random(20);
    std::uniform_int_distribution<int> days(1, 73000);
    std::uniform_int_distribution<int> seconds(0, 86399);
    for (int i = 0; i < 500; ++i) {
        const int day = days(random);
        const int second = i % 10 == 0 ? 0 : seconds(random);
        const Date date{day + second / 86400.0};
        EXPECT_NEAR(ParseDate(DateText(date)).days, date.days, 0.5 / 86400) << DateText(date);
        // Two digits are left of a year in some locales' short form: 1930 to 2029 are the years that come back.
        if (day > 10959 && day < 47484) {
            EXPECT_EQ(ParseDate(ShortDateText(date)), Date{static_cast<double>(day)}) << ShortDateText(date);
        }
    }
}

TEST_F(Values, ADateWithoutATimeHasNoTimeInItsText) {
    EXPECT_EQ(DateText(Date{38353}), ShortDateText(Date{38353}));
}

TEST_F(Values, ATextThatIsNoDateIsATypeMismatch) {
    for (const char* text : {"", "None", "13/13/2005", "2/30/2005", "1/2/2005 25:00:00", "1/2/2005 x"}) {
        EXPECT_EQ(ErrorNumber([&] { ParseDate(text); }), ErrTypeMismatch) << text;
    }
}

TEST_F(Values, ADateMayBeGivenAsANumberOfDaysWithinItsRange) {
    EXPECT_EQ(ToDate(1), Date{1});
    EXPECT_EQ(ToDate(std::string(ShortDateText(Date{38353}))), Date{38353});
    EXPECT_EQ(ErrorNumber([] { ToDate(3e6); }), ErrOverflow);
    EXPECT_EQ(ErrorNumber([] { ToDate(-7e5); }), ErrOverflow);
}

// The clock's own reading of the en-US forms, whatever the machine's locale.
class EnglishClock : public platform::Clock {
public:
    Date Now() override { return {}; }
    std::uint64_t Ticks() override { return 0; }
    std::string DateText(Date /*date*/) override { return {}; }
    std::string ShortDateText(Date /*date*/) override { return {}; }
    platform::Guid NewGuid() override { return {}; }
};

TEST(EnglishDates, EveryFormIsRead) {
    EnglishClock clock;
    const struct {
        const char* text;
        double days;
    } forms[] = {
        {"12/30/1899", 0},
        {"1/1/2005", 38353},
        {"01/01/2005", 38353},
        {"1-1-2005", 38353},
        {"2005-01-01", 38353},
        {"1/1/05", 38353},
        {"1/1/2005 12:00:00 AM", 38353},
        {"1/1/2005 12:00:00 PM", 38353.5},
        {"1/1/2005 6:00 pm", 38353.75},
        {"1/1/2005 18:00", 38353.75},
        {"  1/1/2005   6 AM ", 38353.25},
        {"6:00:00 AM", 0.25},
        {"2/29/2000", 36585},
        {"1/1/100", -657434},
        {"12/31/9999", 2958465},
        {"12/29/1899 6:00:00 AM", -1.25},
        {"1/1/30", 10959},
        {"12/31/29", 47483},
    };
    for (const auto& form : forms) {
        const auto date = clock.ParseDate(form.text);
        ASSERT_TRUE(date.Ok()) << form.text;
        EXPECT_DOUBLE_EQ(date->days, form.days) << form.text;
    }
}

TEST(EnglishDates, OtherTextsAreRefused) {
    EnglishClock clock;
    for (const char* text : {"",
                             "x",
                             "1",
                             "1/",
                             "1/1",
                             "1/1/",
                             "1/1-2005",
                             "0/1/2005",
                             "1/32/2005",
                             "2/29/1900",
                             "1/1/20050",
                             "1/1/2005 1",
                             "1/1/2005 13:00 PM",
                             "1/1/2005 0:00 AM",
                             "24:00",
                             "1:60",
                             "1:00:60",
                             "1:00 XM",
                             "1:00 A",
                             "1/1/2005 1:00 AM x",
                             "1:"}) {
        EXPECT_FALSE(clock.ParseDate(text).Ok()) << text;
    }
}

}  // namespace
}  // namespace kel
