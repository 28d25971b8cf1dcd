#include "kelsdb/FieldValues.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "core/Text.h"
#include "kelsdb/Utf8.h"
#include "platform/Platform.h"

namespace kel::kelsdb {

namespace {

FieldOutcome Take(Value value) {
    return {std::move(value), {}};
}

FieldOutcome Refuse(const ColumnKind& column, std::string_view reason) {
    return {{}, std::string(column.name) + " " + std::string(reason)};
}

template <class Number>
std::optional<std::int32_t> ParseNumber(std::string_view text) {
    Number number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

struct BooleanWord {
    std::string_view word;
    bool value;
};
constexpr std::array BooleanWords{BooleanWord{"true", true}, BooleanWord{"false", false}, BooleanWord{"yes", true},
                                  BooleanWord{"no", false},  BooleanWord{"1", true},      BooleanWord{"0", false},
                                  BooleanWord{"-1", true}};

FieldOutcome BooleanValue(const ColumnKind& column, std::string_view text) {
    for (const BooleanWord& entry : BooleanWords) {
        if (EqualText(entry.word, text)) {
            return Take(entry.value);
        }
    }
    return Refuse(column, "is neither true nor false");
}

FieldOutcome TextValue(const ColumnKind& column, std::string_view text) {
    const auto characters = CountCharacters(text);
    if (!characters) {
        return Refuse(column, "is no UTF-8");
    }
    if (*characters > column.size) {
        return Refuse(column, "has " + Text(static_cast<std::int64_t>(*characters)) + " characters, and " +
                                  Text(column.size) + " are the most");
    }
    if (text.find('\0') != std::string_view::npos) {
        return Refuse(column, "has a character of code 0");
    }
    if (column.empty == EmptyField::Refused && Trim(text).empty()) {
        return Refuse(column, "is blank");
    }
    platform::Text& rules = *platform::Current().text;
    std::string native = rules.FromUtf8(text);
    if (rules.ToUtf8(native) != text) {
        return Refuse(column, "has characters that this system's code page lacks");
    }
    return Take(std::move(native));
}

FieldOutcome EmptyValue(const ColumnKind& column) {
    switch (column.empty) {
        case EmptyField::Null:
            return Take(Null{});
        case EmptyField::Text:
            return Take(std::string());
        case EmptyField::Zero:
            return Take(std::int32_t{0});
        case EmptyField::Refused:
            break;
    }
    return Refuse(column, "is empty");
}

}  // namespace

FieldOutcome FieldValue(const ColumnKind& column, const CsvField& field) {
    if (field.text.empty() && !field.quoted) {
        return EmptyValue(column);
    }
    switch (column.type) {
        case FieldType::VarChar:
            return TextValue(column, field.text);
        case FieldType::Boolean:
            return BooleanValue(column, Trim(field.text));
        default:
            break;
    }
    const std::string_view digits = Trim(field.text);
    const auto number =
        column.type == FieldType::SmallInt ? ParseNumber<std::int16_t>(digits) : ParseNumber<std::int32_t>(digits);
    if (!number) {
        return Refuse(column, column.type == FieldType::SmallInt ? "is no whole number from -32768 to 32767"
                                                                 : "is no whole number of 32 bits");
    }
    return Take(*number);
}

}  // namespace kel::kelsdb
