// What a column of a recordset or a registry read may hold.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "core/SourceLocation.h"
#include "platform/Clock.h"

namespace kel {

using platform::Date;

struct Null {
    friend bool operator==(const Null&, const Null&) = default;
};
struct Empty {
    friend bool operator==(const Empty&, const Empty&) = default;
};

/// A value of any of the types that the engine meets.
using Value = std::variant<Empty, Null, bool, std::int32_t, double, Date, std::string>;

[[nodiscard]] inline bool IsNull(const Value& value) {
    return std::holds_alternative<Null>(value);
}
[[nodiscard]] inline bool IsEmpty(const Value& value) {
    return std::holds_alternative<Empty>(value);
}

/// Conversions with the run time's rules: 94 for Null, 13 for text that is no number or Boolean, 6 when it does not
/// fit, each with the caller's line.
std::string ToText(const Value& value, SourceLocation where = SourceLocation::current());
std::int32_t ToLong(const Value& value, SourceLocation where = SourceLocation::current());
std::int16_t ToInteger(const Value& value, SourceLocation where = SourceLocation::current());
bool ToBoolean(const Value& value, SourceLocation where = SourceLocation::current());
double ToDouble(const Value& value, SourceLocation where = SourceLocation::current());
Date ToDate(const Value& value, SourceLocation where = SourceLocation::current());

/// Whether a number of days is within the dates that can be held: the years 100 to 9999.
bool IsDate(double days);

/// A date by the platform's locale, and back. ParseDate raises 13 for text that is none.
std::string DateText(Date date);
std::string ShortDateText(Date date);
Date ParseDate(const std::string& text, SourceLocation where = SourceLocation::current());

}  // namespace kel
