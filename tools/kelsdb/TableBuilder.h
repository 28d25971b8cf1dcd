// A new table, row by row.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/Recordset.h"
#include "core/Value.h"
#include "kelsdb/Csv.h"
#include "kelsdb/TableKinds.h"

namespace kel::kelsdb {

class TableBuilder {
public:
    /// @param columns positions in the kind's columns that the table has, ascending
    TableBuilder(const TableKind& kind, std::vector<std::size_t> columns);

    /// Adds a row of fields, one for each column.
    /// @param line where the row comes from, for the report of a later row with the same key
    /// @return empty, or why the row can't be taken
    [[nodiscard]] std::string Add(const std::vector<CsvField>& fields, std::size_t line);

    /// Whether there is a row with that key.
    [[nodiscard]] bool Has(std::string_view key) const;

    [[nodiscard]] Recordset& Rows() { return rows_; }
    /// The column by which the rows are put in order when they are written, as a position in Rows(): that of digests,
    /// because the engine looks them up in the file if they are in order.
    [[nodiscard]] std::optional<std::size_t> Order() const;
    [[nodiscard]] std::size_t Count() const { return count_; }

private:
    [[nodiscard]] std::string TakeKey(Value& key, std::size_t line);

    const TableKind& kind_;
    std::vector<std::size_t> columns_;
    Recordset rows_;
    std::size_t count_ = 0;
    std::unordered_map<std::string, std::size_t> lines_;  ///< of the keys so far
};

}  // namespace kel::kelsdb
