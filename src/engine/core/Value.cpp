#include "core/Value.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string_view>

#include "core/RuntimeError.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel {

namespace {

// Days that a date can hold: 0100-01-01 to 9999-12-31.
constexpr double FirstDay = -657434.0;
constexpr double EndDay = 2958466.0;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// The number that a text is, as the run time reads it: blanks around it, a sign, thousands commas, a fraction, an
// exponent with E or D; or `&H` and hexadecimal digits, `&O` and octal ones, which are 16-bit or 32-bit patterns.
class NumberReader {
public:
    explicit NumberReader(std::string_view text) : text_(text) {}

    double Read() {
        while (!text_.empty() && (text_.front() == ' ' || text_.front() == '\t')) {
            text_.remove_prefix(1);
        }
        while (!text_.empty() && (text_.back() == ' ' || text_.back() == '\t')) {
            text_.remove_suffix(1);
        }
        if (text_.size() > 2 && text_.front() == '&') {
            return ReadPattern();
        }
        std::string plain;
        Take("+-", plain);
        const std::size_t whole = TakeDigits(plain, true);
        std::size_t fraction = 0;
        if (Take(".", plain)) {
            fraction = TakeDigits(plain, false);
        }
        if (whole + fraction == 0) {
            Raise(ErrTypeMismatch);
        }
        if (!text_.empty() && std::string_view("eEdD").find(text_.front()) != std::string_view::npos) {
            text_.remove_prefix(1);
            plain += 'e';
            Take("+-", plain);
            if (TakeDigits(plain, false) == 0) {
                Raise(ErrTypeMismatch);
            }
        }
        if (!text_.empty()) {
            Raise(ErrTypeMismatch);
        }
        double number = 0;
        const char* first = plain.c_str() + (plain.front() == '+' ? 1 : 0);
        const auto read = std::from_chars(first, plain.c_str() + plain.size(), number);
        if (read.ec == std::errc::result_out_of_range && plain.find("e-") == std::string::npos) {
            Raise(ErrOverflow);
        }
        return number;
    }

private:
    bool Take(std::string_view any, std::string& into) {
        if (text_.empty() || any.find(text_.front()) == std::string_view::npos) {
            return false;
        }
        into += text_.front();
        text_.remove_prefix(1);
        return true;
    }

    std::size_t TakeDigits(std::string& into, bool commas) {
        std::size_t count = 0;
        while (!text_.empty() && (IsDigit(text_.front()) || (commas && count > 0 && text_.front() == ','))) {
            if (text_.front() != ',') {
                into += text_.front();
                ++count;
            }
            text_.remove_prefix(1);
        }
        return count;
    }

    double ReadPattern() {
        const char kind = text_[1];
        const unsigned base = kind == 'h' || kind == 'H' ? 16U : kind == 'o' || kind == 'O' ? 8U : 0U;
        if (base == 0) {
            Raise(ErrTypeMismatch);
        }
        std::uint64_t bits = 0;
        for (const char c : text_.substr(2)) {
            const auto digit = static_cast<unsigned>(IsDigit(c)             ? c - '0'
                                                     : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                                     : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                                            : 99);
            if (digit >= base) {
                Raise(ErrTypeMismatch);
            }
            bits = bits * base + digit;
            if (bits > std::numeric_limits<std::uint32_t>::max()) {
                Raise(ErrOverflow);
            }
        }
        return bits <= std::numeric_limits<std::uint16_t>::max()
                   ? static_cast<double>(static_cast<std::int16_t>(bits))
                   : static_cast<double>(static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
    }

    std::string_view text_;
};

std::string NumberText(double number) {
    char buffer[32];
    const int length = std::snprintf(buffer, sizeof buffer, "%.15G", number);
    return {buffer, static_cast<std::size_t>(length)};
}

template <class Whole>
Whole Rounded(double number, const SourceLocation& where) {
    // nearbyint rounds halves to even, as the run time does.
    const double whole = std::nearbyint(number);
    if (!(whole >= std::numeric_limits<Whole>::min() && whole <= std::numeric_limits<Whole>::max())) {
        Raise(ErrOverflow, {}, where);
    }
    return static_cast<Whole>(whole);
}

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace

std::string ToText(const Value& value, SourceLocation where) {
    return std::visit(
        Overloaded{[](Empty) { return std::string(); },
                   [&](Null) -> std::string { Raise(ErrInvalidUseOfNull, {}, where); },
                   [](bool flag) { return std::string(flag ? "True" : "False"); },
                   [](std::int32_t number) { return Text(number); }, [](double number) { return NumberText(number); },
                   [](Date date) { return DateText(date); }, [](const std::string& text) { return text; }},
        value);
}

double ToDouble(const Value& value, SourceLocation where) {
    return std::visit(
        Overloaded{
            [](Empty) { return 0.0; }, [&](Null) -> double { Raise(ErrInvalidUseOfNull, {}, where); },
            [](bool flag) { return flag ? -1.0 : 0.0; },
            [](std::int32_t number) { return static_cast<double>(number); }, [](double number) { return number; },
            [](Date date) { return date.days; },
            [&](const std::string& text) { return AtStatement(where, [&] { return NumberReader(text).Read(); }); }},
        value);
}

std::int32_t ToLong(const Value& value, SourceLocation where) {
    return Rounded<std::int32_t>(ToDouble(value, where), where);
}

std::int16_t ToInteger(const Value& value, SourceLocation where) {
    return Rounded<std::int16_t>(ToDouble(value, where), where);
}

bool ToBoolean(const Value& value, SourceLocation where) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        if (EqualText(*text, "True") || EqualText(*text, "#TRUE#")) {
            return true;
        }
        if (EqualText(*text, "False") || EqualText(*text, "#FALSE#")) {
            return false;
        }
    }
    return ToDouble(value, where) != 0.0;
}

Date ToDate(const Value& value, SourceLocation where) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return ParseDate(*text, where);
    }
    const double days = ToDouble(value, where);
    if (!IsDate(days)) {
        Raise(ErrOverflow, {}, where);
    }
    return Date{days};
}

bool IsDate(double days) {
    return days > FirstDay - 1 && days < EndDay;
}

std::string DateText(Date date) {
    return platform::Current().clock->DateText(date);
}

std::string ShortDateText(Date date) {
    return platform::Current().clock->ShortDateText(date);
}

Date ParseDate(const std::string& text, SourceLocation where) {
    const auto date = platform::Current().clock->ParseDate(text);
    if (!date) {
        Raise(ErrTypeMismatch, {}, where);
    }
    return *date;
}

}  // namespace kel
