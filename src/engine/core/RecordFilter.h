// Filters of a recordset: the text form, and its evaluation on rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
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

    /// Columns that must be equal to a constant, ascending, and the hash that rows with these values have.
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

/// Rows by what they hold in some columns, texts without regard to case: finds the few rows that a filter on equality
/// can let through. Rows that are added later are added here too; any other change of one of the columns makes the
/// index useless.
class EqualIndex {
public:
    EqualIndex(const RecordColumns& columns, std::vector<std::size_t> which);

    [[nodiscard]] const std::vector<std::size_t>& Columns() const { return which_; }
    /// Takes in the rows behind those that are in. A row with a null in one of the columns is never found.
    void Extend(const RecordColumns& columns);
    /// The next row from `from` on that may have this hash. Costs no more than a step when `from` lies behind such a
    /// row.
    [[nodiscard]] std::optional<std::size_t> Next(std::uint64_t hash, std::size_t from) const;

private:
    using RowNumber = std::uint32_t;
    static constexpr RowNumber None = 0xFFFFFFFF;
    struct Chain {
        RowNumber first = None;
        RowNumber last = None;
    };
    struct Entry {
        std::uint32_t hash = 0;
        RowNumber next = None;
        bool in = false;  ///< false for a row with a null
    };

    void Append(RowNumber row);
    void Grow(std::size_t rows);
    [[nodiscard]] const Chain& ChainOf(std::uint32_t hash) const { return chains_[hash & (chains_.size() - 1)]; }

    std::vector<std::size_t> which_;
    std::vector<Entry> entries_;  ///< by row
    std::vector<Chain> chains_;   ///< rows by hash, ascending; a power of two, as many as rows at least
};

}  // namespace kel
