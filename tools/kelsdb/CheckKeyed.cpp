// The four keyed tables: cookies, MD5, paths, folders.
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "catalogue/DigestIndex.h"
#include "core/Text.h"
#include "kelsdb/CheckReport.h"
#include "kelsdb/PathForms.h"

namespace kel::kelsdb {

namespace {

constexpr std::size_t Id = 0;
constexpr std::size_t Key = 1;
constexpr std::size_t Level = 2;
constexpr std::size_t ColumnsWithoutLevel = 2;

enum class NullKey { EndsLoad, IsEmpty };

// What all four have in common; `checkForm` looks at a trimmed key that is not blank.
void CheckKeyed(CheckedTable& table, const KnownThreats& threats, NullKey nullKey,
                const std::function<void(std::string_view)>& checkForm) {
    if (!table.HasColumns(ColumnsWithoutLevel)) {
        return;
    }
    const bool hasLevel = table.Rows().FieldCount() > ColumnsWithoutLevel;
    std::unordered_map<std::string, std::size_t> rows;
    table.ForEachRow([&] {
        if (const auto threat = table.NumberAt(Id)) {
            RequireKnown(table, *threat, threats);
        }
        if (hasLevel) {
            static_cast<void>(table.LevelAt(Level));
        }
        const bool null = table.IsNullAt(Key);
        const auto text = null && nullKey == NullKey::IsEmpty ? std::string() : table.TextAt(Key);
        if (!text) {
            return;
        }
        const std::string_view key = Trim(*text);
        const auto [first, added] = rows.try_emplace(LCase(key), table.Row());
        if (!added) {
            table.Error("key \"" + std::string(key) + "\" is there already, in row " +
                        Text(static_cast<std::int64_t>(first->second)) + ", which ends the load here");
        } else if (key.empty()) {
            table.Error("the key is blank: nothing is ever looked up by it");
        } else {
            checkForm(key);
        }
    });
}

std::string Quoted(std::string_view key) {
    return "\"" + std::string(key) + "\"";
}

// Names of cookie files are `user@domain[n].txt`; what can't stand in a file's name can't be asked for.
std::optional<std::string> CookieFault(std::string_view key) {
    if (key.find('[') != std::string_view::npos) {
        return "has a bracket, before which the domain of a cookie file ends";
    }
    if (key.find_first_of("\\/:*?\"<>|") != std::string_view::npos) {
        return "has a character that no file name has";
    }
    return std::nullopt;
}

void ReportFault(CheckedTable& table, std::string_view key, const PathFinding& finding) {
    if (finding.fault.empty()) {
        return;
    }
    const std::string text = "key " + Quoted(key) + " " + finding.fault;
    if (finding.unreachable) {
        table.Error(text);
    } else {
        table.Warning(text);
    }
}

}  // namespace

void CheckCookies(CheckedTable table, const KnownThreats& threats) {
    CheckKeyed(table, threats, NullKey::EndsLoad, [&](std::string_view key) {
        if (const auto fault = CookieFault(key)) {
            table.Error("key " + Quoted(key) + " " + *fault);
        }
    });
}

void CheckMd5(CheckedTable table, const KnownThreats& threats) {
    CheckKeyed(table, threats, NullKey::EndsLoad, [&](std::string_view key) {
        if (!ParseDigest(key)) {
            table.Error("key " + Quoted(key) + " is no MD5 of 32 hexadecimal digits: no file has it");
        }
    });
}

void CheckPaths(CheckedTable table, const KnownThreats& threats) {
    const PathForms forms;
    CheckKeyed(table, threats, NullKey::IsEmpty, [&](std::string_view key) {
        for (const PathFinding& finding : forms.File(key)) {
            ReportFault(table, key, finding);
        }
    });
}

void CheckFolders(CheckedTable table, const KnownThreats& threats) {
    const PathForms forms;
    CheckKeyed(table, threats, NullKey::IsEmpty, [&](std::string_view key) {
        for (const PathFinding& finding : forms.Folder(key)) {
            ReportFault(table, key, finding);
        }
    });
}

}  // namespace kel::kelsdb
