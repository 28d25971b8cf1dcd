#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
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

std::string Digits(long number, std::size_t count) {
    const std::string digits = std::to_string(number);
    return std::string(count - std::min(count, digits.size()), '0') + digits;
}

// A date as ISO 8601 has it, in the local time in which it was kept: days since 1899-12-30, with the time of day as the
// fraction, which counts forward for days before that too.
std::string IsoDate(Date date) {
    using namespace std::chrono;
    const double whole = std::trunc(date.days);
    const long seconds = std::lround(std::abs(date.days - whole) * SecondsOfDay);
    const sys_days day = sys_days{1899y / December / 30} + days{static_cast<int>(whole)} + days{seconds / SecondsOfDay};
    const year_month_day calendar{day};
    const long ofDay = seconds % SecondsOfDay;
    return Digits(static_cast<int>(calendar.year()), 4) + "-" + Digits(static_cast<unsigned>(calendar.month()), 2) +
           "-" + Digits(static_cast<unsigned>(calendar.day()), 2) + " " + Digits(ofDay / 3600, 2) + ":" +
           Digits(ofDay / 60 % 60, 2) + ":" + Digits(ofDay % 60, 2);
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
