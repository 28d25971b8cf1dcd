#include "kelsdb/CheckReport.h"

#include "core/RuntimeError.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::kelsdb {

void CheckReport::Print(std::string_view file, std::size_t row, std::string_view kind, std::string_view text) {
    to_ << file << ": ";
    if (row != 0) {
        to_ << "row " << row << ": ";
    }
    to_ << kind << ": " << platform::Current().text->ToUtf8(text) << '\n';
}

std::optional<std::string> CheckedTable::TextAt(std::size_t column) {
    const Value value = rows_.Get(column);
    if (IsNull(value)) {
        Error(Name(column) + " is null, which ends the load here");
        return std::nullopt;
    }
    return ToText(value);
}

std::optional<std::int32_t> CheckedTable::NumberAt(std::size_t column) {
    const Value value = rows_.Get(column);
    if (IsNull(value)) {
        Error(Name(column) + " is null, which ends the load here");
        return std::nullopt;
    }
    try {
        return ToLong(value);
    } catch (const RuntimeError&) {
        Error(Name(column) + " is no number of 32 bits, which ends the load here");
        return std::nullopt;
    }
}

std::optional<std::int16_t> CheckedTable::LevelAt(std::size_t column) {
    const auto number = NumberAt(column);
    if (!number) {
        return std::nullopt;
    }
    if (*number != static_cast<std::int16_t>(*number)) {
        Error(Name(column) + " is no number of 16 bits, which ends the load here");
        return std::nullopt;
    }
    return static_cast<std::int16_t>(*number);
}

void CheckedTable::RequireBoolean(std::size_t column) {
    const Value value = rows_.Get(column);
    if (IsNull(value)) {
        Error(Name(column) + " is null, which ends the load here");
        return;
    }
    try {
        static_cast<void>(ToBoolean(value));
    } catch (const RuntimeError&) {
        Error(Name(column) + " is neither true nor false, which ends the load here");
    }
}

std::string CheckedTable::TextOrEmptyAt(std::size_t column) const {
    const Value value = rows_.Get(column);
    return IsNull(value) ? std::string() : ToText(value);
}

std::optional<std::size_t> CheckedTable::Column(std::string_view name) const {
    for (std::size_t i = 0; i < rows_.FieldCount(); ++i) {
        if (EqualText(rows_.Field(i).name, name)) {
            return i;
        }
    }
    return std::nullopt;
}

bool CheckedTable::HasColumns(std::size_t count) {
    if (rows_.FieldCount() >= count) {
        return true;
    }
    Error("has " + Text(static_cast<std::int64_t>(rows_.FieldCount())) + " columns, and the engine reads " +
          Text(static_cast<std::int64_t>(count)));
    return false;
}

void RequireKnown(CheckedTable& table, std::int32_t threat, const KnownThreats& threats) {
    if (threats && (threat <= 0 || !threats->contains(threat))) {
        table.Error("threat " + Text(threat) + " is unknown");
    }
}

}  // namespace kel::kelsdb
