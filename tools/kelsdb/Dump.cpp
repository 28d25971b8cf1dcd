#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <variant>

#include "core/Recordset.h"
#include "core/Value.h"
#include "kelsdb/Commands.h"
#include "kelsdb/Csv.h"
#include "kelsdb/Files.h"
#include "platform/Platform.h"

namespace kel::kelsdb {

namespace {

constexpr long SecondsOfDay = 86400;

// A date as ISO 8601 has it, in the local time in which it was kept.
std::string IsoDate(Date date) {
    const double day = std::floor(date.days);
    long seconds = std::lround((date.days - day) * SecondsOfDay);
    // Days since 1899-12-30 as a year that begins in March, so that leap days come last.
    long days = static_cast<long>(day) + 693900 + (seconds == SecondsOfDay ? 1 : 0);
    seconds %= SecondsOfDay;
    const long era = (days >= 0 ? days : days - 146096) / 146097;
    const long ofEra = days - era * 146097;
    const long year = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const long ofYear = ofEra - (365 * year + year / 4 - year / 100);
    const long month = (5 * ofYear + 2) / 153;
    const long dayOfMonth = ofYear - (153 * month + 2) / 5 + 1;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04ld-%02ld-%02ld %02ld:%02ld:%02ld",
                  year + era * 400 + (month >= 10 ? 1 : 0), month < 10 ? month + 3 : month - 9, dayOfMonth,
                  seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text.data();
}

std::string Utf8(const std::string& native) {
    return platform::Current().text->ToUtf8(native);
}

void WriteCsvValue(std::ostream& to, const Value& value) {
    if (IsNull(value) || IsEmpty(value)) {
        return;
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        WriteCsvText(to, Utf8(*text));
    } else if (const auto* flag = std::get_if<bool>(&value)) {
        to << (*flag ? "true" : "false");
    } else if (const auto* date = std::get_if<Date>(&value)) {
        to << IsoDate(*date);
    } else {
        to << ToText(value);
    }
}

nlohmann::ordered_json JsonValue(const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return Utf8(*text);
    }
    if (const auto* flag = std::get_if<bool>(&value)) {
        return *flag;
    }
    if (const auto* date = std::get_if<Date>(&value)) {
        return IsoDate(*date);
    }
    if (const auto* whole = std::get_if<std::int32_t>(&value)) {
        return *whole;
    }
    if (const auto* real = std::get_if<double>(&value)) {
        return *real;
    }
    return nullptr;
}

void DumpCsv(Recordset& table, std::ostream& to) {
    const std::size_t columns = table.FieldCount();
    for (std::size_t i = 0; i < columns; ++i) {
        to << (i == 0 ? "" : ",");
        WriteCsvText(to, Utf8(table.Field(i).name));
    }
    to << "\r\n";
    for (; !table.Eof(); table.MoveNext()) {
        for (std::size_t i = 0; i < columns; ++i) {
            to << (i == 0 ? "" : ",");
            WriteCsvValue(to, table.Get(i));
        }
        to << "\r\n";
    }
}

void DumpJsonLines(Recordset& table, std::ostream& to) {
    for (; !table.Eof(); table.MoveNext()) {
        nlohmann::ordered_json row = nlohmann::ordered_json::object();
        for (std::size_t i = 0; i < table.FieldCount(); ++i) {
            row[Utf8(table.Field(i).name)] = JsonValue(table.Get(i));
        }
        to << row.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
    }
}

}  // namespace

int Dump(tools::HostPlatform& host, const std::string& file, DumpFormat format, const Streams& streams) {
    Recordset table;
    OpenTable(host, table, file);
    if (format == DumpFormat::Csv) {
        DumpCsv(table, streams.out);
    } else {
        DumpJsonLines(table, streams.out);
    }
    return ExitDone;
}

}  // namespace kel::kelsdb
