#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/Text.h"
#include "kelsdb/CheckReport.h"
#include "platform/Registry.h"
#include "system/modHelper.h"

namespace kel::kelsdb {

namespace {

constexpr std::size_t DwordTextLength = 3;

bool IsDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Numbers of 32 bits are compared as text of three decimal digits: 1 is "001", and of 1234567 "123" is left.
std::optional<std::string> DwordFault(std::string_view data) {
    const std::string folded = LCase(data);
    if (folded.starts_with("dword:") || folded.starts_with("0x") || folded.starts_with("&h")) {
        return "is written as a number: DWORD data are compared as three decimal digits";
    }
    if (IsDigits(folded) && folded.size() != DwordTextLength) {
        return "never equals DWORD data, which are compared as three decimal digits";
    }
    return std::nullopt;
}

// Positions of the columns, which the engine reads by name.
struct Columns {
    std::size_t threat = 0;
    std::size_t hive = 0;
    std::size_t key = 0;
    std::size_t name = 0;
    std::size_t data = 0;
    std::optional<std::size_t> level;
};

struct Required {
    std::string_view name;
    std::size_t Columns::*position;
};
constexpr std::array RequiredColumns{
    Required{"ThreatID", &Columns::threat},   Required{"RegHive", &Columns::hive},
    Required{"RegKey", &Columns::key},        Required{"RegValueName", &Columns::name},
    Required{"RegValueData", &Columns::data},
};

std::optional<Columns> FindColumns(CheckedTable& table) {
    Columns columns;
    bool complete = true;
    for (const Required& required : RequiredColumns) {
        const auto position = table.Column(required.name);
        if (!position) {
            table.Error("has no column " + std::string(required.name));
            complete = false;
        }
        columns.*required.position = position.value_or(0);
    }
    columns.level = table.Column("OptionalScan");
    if (!complete) {
        return std::nullopt;
    }
    return columns;
}

void CheckRow(CheckedTable& table, const Columns& columns, const KnownThreats& threats) {
    if (const auto threat = table.NumberAt(columns.threat)) {
        RequireKnown(table, *threat, threats);
    }
    if (columns.level && table.IsNullAt(*columns.level)) {
        table.Error("OptionalScan is null: no scan looks at the row");
    } else if (columns.level) {
        static_cast<void>(table.LevelAt(*columns.level));
    }
    const std::string hive = table.TextOrEmptyAt(columns.hive);
    const std::string key = table.TextOrEmptyAt(columns.key);
    const std::string name = table.TextOrEmptyAt(columns.name);
    const std::string data = table.TextOrEmptyAt(columns.data);
    if (modHelper::GetRegistryHiveFromHiveName(hive) == platform::Hive{}) {
        table.Error("\"" + hive + "\" is no hive: the row is passed over");
    }
    if (key.empty() || key == "\\" || key == "\\\\") {
        table.Error("RegKey is empty: the row is passed over");
    }
    if (name.empty() && !data.empty()) {
        table.Error("RegValueData without a RegValueName: the row is passed over");
    } else if (const auto fault = DwordFault(data)) {
        table.Error("RegValueData \"" + data + "\" " + *fault);
    }
    if ((hive + key + name + data).find('\'') != std::string::npos) {
        table.Warning("an apostrophe ends the text of a filter: a question for this entry fails");
    }
}

}  // namespace

void CheckRegKeys(CheckedTable table, const KnownThreats& threats) {
    const auto columns = FindColumns(table);
    if (!columns) {
        return;
    }
    table.ForEachRow([&] { CheckRow(table, *columns, threats); });
}

}  // namespace kel::kelsdb
