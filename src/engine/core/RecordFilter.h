// Filters of a recordset: the text form, and its evaluation on rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/RecordColumn.h"

namespace kel {

using RecordColumns = std::vector<std::unique_ptr<RecordColumn>>;

/// A conjunction of comparisons, each of a column with a constant. An empty one lets every row through.
///
///     filter     = comparison { " and " comparison }
///     comparison = column [blanks] ( "=" | "<>" | "<" | "<=" | ">" | ">=" ) [blanks] ( number | 'text' )
///
/// A quote inside a text is written twice. Texts compare without regard to case. A null is never let through.
class RecordFilter {
public:
    RecordFilter() = default;
    /// 3265 for a column that is not there; 3001 for a text that is no filter, and for a constant that can't be
    /// compared with its column. A quoted number compares with a number column as that number.
    RecordFilter(std::string_view text, const RecordColumns& columns);

    [[nodiscard]] bool IsEmpty() const { return terms_.empty(); }
    [[nodiscard]] bool Matches(const RecordColumns& columns, std::size_t row) const;

    /// Text columns that must be equal to a constant, ascending, and the hash that rows with these texts have.
    [[nodiscard]] const std::vector<std::size_t>& EqualColumns() const { return equalColumns_; }
    [[nodiscard]] std::uint64_t EqualHash() const { return equalHash_; }

private:
    enum class Operator { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual };
    struct Term {
        std::size_t column = 0;
        Operator op = Operator::Equal;
        bool isText = false;
        double number = 0;
        std::string folded;  ///< the text in lower case
    };

    static bool Holds(Operator op, int order);
    static bool TermMatches(const Term& term, const RecordColumn& column, std::size_t row);
    void CollectEqualColumns();

    std::vector<Term> terms_;
    std::vector<std::size_t> equalColumns_;
    std::uint64_t equalHash_ = 0;

    friend class FilterReader;
};

/// Rows by the texts that they hold in some columns, without regard to case: finds the few rows that a filter on
/// equality can let through. It describes the rows as they were when it was made.
class TextIndex {
public:
    /// Leaves out rows with a null in one of the columns.
    TextIndex(const RecordColumns& columns, std::vector<std::size_t> which);

    [[nodiscard]] const std::vector<std::size_t>& Columns() const { return which_; }
    /// Rows that may have this hash, ascending.
    [[nodiscard]] std::span<const std::pair<std::uint32_t, std::uint32_t>> Candidates(std::uint64_t hash) const;

private:
    std::vector<std::size_t> which_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> entries_;  ///< hash and row, sorted
};

}  // namespace kel
