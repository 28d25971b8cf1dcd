// What a check finds, and the tables that it looks at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "core/Recordset.h"
#include "core/Value.h"

namespace kel::kelsdb {

/// Prints findings and counts them. An error makes the check fail, a warning does not.
class CheckReport {
public:
    explicit CheckReport(std::ostream& to) : to_(to) {}

    /// @param row from 1; 0 for a finding on the whole file
    void Error(std::string_view file, std::size_t row, std::string_view text) {
        Print(file, row, "error", text);
        ++errors_;
    }
    void Warning(std::string_view file, std::size_t row, std::string_view text) {
        Print(file, row, "warning", text);
        ++warnings_;
    }
    [[nodiscard]] std::size_t Errors() const { return errors_; }
    [[nodiscard]] std::size_t Warnings() const { return warnings_; }

private:
    void Print(std::string_view file, std::size_t row, std::string_view kind, std::string_view text);

    std::ostream& to_;
    std::size_t errors_ = 0;
    std::size_t warnings_ = 0;
};

/// One table on its way through a check, row by row.
class CheckedTable {
public:
    CheckedTable(CheckReport& report, std::string_view file, Recordset& rows)
        : report_(report), file_(file), rows_(rows) {}

    void Error(std::string_view text) { report_.Error(file_, row_, text); }
    void Warning(std::string_view text) { report_.Warning(file_, row_, text); }

    [[nodiscard]] Recordset& Rows() { return rows_; }
    /// From 1; 0 outside ForEachRow.
    [[nodiscard]] std::size_t Row() const { return row_; }

    template <class Visit>
    void ForEachRow(Visit&& visit) {
        for (; !rows_.Eof(); rows_.MoveNext()) {
            ++row_;
            visit();
        }
        row_ = 0;
    }

    // Reads of the current row as the engine does them; what would fail there is an error here, and gives nothing.
    [[nodiscard]] std::optional<std::string> TextAt(std::size_t column);
    [[nodiscard]] std::optional<std::int32_t> NumberAt(std::size_t column);
    [[nodiscard]] std::optional<std::int16_t> LevelAt(std::size_t column);
    /// Errors when the column is null or no Boolean.
    void RequireBoolean(std::size_t column);
    [[nodiscard]] bool IsNullAt(std::size_t column) const { return IsNull(rows_.Get(column)); }
    /// A null as the empty text.
    [[nodiscard]] std::string TextOrEmptyAt(std::size_t column) const;

    /// Position of a column, or nothing.
    [[nodiscard]] std::optional<std::size_t> Column(std::string_view name) const;
    /// False, and an error, when the table has fewer columns.
    [[nodiscard]] bool HasColumns(std::size_t count);

private:
    [[nodiscard]] std::string Name(std::size_t column) const { return rows_.Field(column).name; }

    CheckReport& report_;
    std::string_view file_;
    Recordset& rows_;
    std::size_t row_ = 0;
};

/// Numbers of the catalogue; nothing when it could not be read, and then no number is unknown.
using KnownThreats = std::optional<std::unordered_set<std::int32_t>>;

// The checks, one for each form of table. The recordset is open.
KnownThreats CheckThreats(CheckedTable table);
void CheckCookies(CheckedTable table, const KnownThreats& threats);
void CheckMd5(CheckedTable table, const KnownThreats& threats);
void CheckPaths(CheckedTable table, const KnownThreats& threats);
void CheckFolders(CheckedTable table, const KnownThreats& threats);
void CheckRegKeys(CheckedTable table, const KnownThreats& threats);
void CheckExtensions(CheckedTable table, const KnownThreats& threats);
void CheckResuscitators(CheckedTable table, const KnownThreats& threats);

/// An error when a signature's number is none of the catalogue's.
void RequireKnown(CheckedTable& table, std::int32_t threat, const KnownThreats& threats);

}  // namespace kel::kelsdb
