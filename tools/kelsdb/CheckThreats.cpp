#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "catalogue/ThreatRecord.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "kelsdb/CheckReport.h"
#include "platform/Platform.h"

namespace kel::kelsdb {

namespace {

constexpr std::size_t Id = 0;
constexpr std::size_t Name = 1;
constexpr std::size_t Category = 2;
constexpr std::size_t Type = 3;
constexpr std::size_t Level = 7;
constexpr std::size_t AdviseType = 8;
constexpr std::size_t CanQuarantine = 10;
constexpr std::size_t RemovalType = 11;
constexpr std::size_t OptionLevel = 13;
constexpr std::size_t Columns = 14;

constexpr std::int32_t VersionId = 0;
constexpr std::int32_t LowestLevel = 5;

// Characters that the history of scans has room for. It doesn't cut these two: a longer one ends the record of every
// scan that finds the threat.
constexpr std::size_t HistoryName = 60;
constexpr std::size_t HistoryCategory = 50;

void CheckLength(CheckedTable& table, std::size_t column, std::string_view what, std::size_t longest) {
    const std::string text = table.TextOrEmptyAt(column);
    if (platform::Current().text->Prefix(text, longest) < text.size()) {
        table.Warning("the " + std::string(what) + " has more than " + Text(static_cast<std::int64_t>(longest)) +
                      " characters: the history loses the detections of a scan that finds the threat");
    }
}

// What LoadThreatObject converts when a client asks for the threat.
void CheckConversions(CheckedTable& table) {
    const std::string removal(Trim(table.TextOrEmptyAt(RemovalType)));
    try {
        const std::int32_t type = ToLong(removal);
        if (type < CustomRemovalTypeNone || type > CustomRemovalTypeCustomScriptOnly) {
            table.Warning("removal type " + Text(type) + " is none of 0 to 7");
        }
    } catch (const RuntimeError&) {
        table.Error("removal type \"" + removal + "\" is no number: the threat can't be asked for");
    }
    const std::int32_t option = table.IsNullAt(OptionLevel) ? 0 : table.NumberAt(OptionLevel).value_or(0);
    if (option != static_cast<std::int16_t>(option)) {
        table.Error("option level " + Text(option) + " has more than 16 bits: the threat can't be asked for");
    }
}

void CheckThreat(CheckedTable& table, std::int32_t id) {
    if (id < 0) {
        table.Error("threat " + Text(id) + " is not positive");
    }
    const auto level = table.IsNullAt(Level) ? 0 : table.NumberAt(Level);
    if (level && (*level < 0 || *level > LowestLevel)) {
        table.Warning("level " + Text(*level) + " has no texts");
    }
    const auto advise = table.IsNullAt(AdviseType) ? 0 : table.NumberAt(AdviseType);
    if (advise && (*advise < 0 || *advise > 2)) {
        table.Warning("advise type " + Text(*advise) + " has no text");
    }
    if (Trim(table.TextOrEmptyAt(Name)).empty()) {
        table.Warning("the threat has no name");
    }
    CheckLength(table, Name, "name", HistoryName);
    CheckLength(table, Category, "category", HistoryCategory);
    CheckConversions(table);
}

}  // namespace

KnownThreats CheckThreats(CheckedTable table) {
    KnownThreats known;
    if (!table.HasColumns(Columns)) {
        return known;
    }
    if (!table.Column("ThreatID")) {
        table.Error("has no column ThreatID, by which the version row is found");
    }
    known.emplace();
    std::unordered_map<std::int32_t, std::size_t> rows;
    bool hasVersion = false;
    table.ForEachRow([&] {
        // Each column that the loader takes without care for nulls.
        const auto id = table.NumberAt(Id);
        static_cast<void>(table.TextAt(Category));
        static_cast<void>(table.TextAt(Type));
        if (!table.IsNullAt(CanQuarantine)) {
            table.RequireBoolean(CanQuarantine);
        }
        if (!id) {
            return;
        }
        const auto [first, added] = rows.try_emplace(*id, table.Row());
        if (!added) {
            table.Error("threat " + Text(*id) + " is there already, in row " +
                        Text(static_cast<std::int64_t>(first->second)) + ", which ends the load here");
            return;
        }
        known->insert(*id);
        if (*id == VersionId) {
            hasVersion = true;
            if (table.IsNullAt(Name)) {
                table.Error("the version row has no version, which ends the load at its start");
            }
        } else {
            CheckThreat(table, *id);
        }
    });
    if (!hasVersion) {
        table.Error("has no version row (ThreatID 0), which ends the load at its start");
    }
    return known;
}

}  // namespace kel::kelsdb
