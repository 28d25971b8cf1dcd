// The committed rows of one column of a table, stored by type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/Recordset.h"
#include "core/Value.h"

namespace kel {

/// How the values of a column stand in a table file. The numbers are those of the file format.
enum class ColumnEncoding : std::uint8_t {
    Constant = 0,  ///< every row is `base`
    Offset8 = 1,   ///< `base` plus one byte a row
    Offset16 = 2,
    Offset32 = 3,
    Real = 4,    ///< eight bytes a row
    Text = 5,    ///< the ends of the texts in a pool, four bytes a row, then the pool
    Digest = 6,  ///< sixteen bytes a row for texts of 32 lower-case hexadecimal digits
};

inline constexpr std::size_t DigestSize = 16;
inline constexpr std::size_t DigestTextSize = 2 * DigestSize;

/// A column as it lies in the image of a table file, all lengths checked against the row count. The bytes outlive the
/// column or its next change, whichever comes first.
struct StoredColumn {
    ColumnEncoding encoding = ColumnEncoding::Constant;
    std::int32_t base = 0;
    std::span<const std::uint8_t> nulls;  ///< a bit for each row, lowest bit first; empty when no row is null
    std::span<const std::uint8_t> data;
    std::size_t rows = 0;
};

/// Values of one column by row number from 0. A column either reads from the image of a file, or owns its rows: `Own`
/// goes from the one to the other, and must be called before anything is changed.
class RecordColumn {
public:
    explicit RecordColumn(FieldDefinition definition) : definition_(std::move(definition)) {}
    virtual ~RecordColumn() = default;
    RecordColumn(const RecordColumn&) = delete;
    RecordColumn& operator=(const RecordColumn&) = delete;

    /// An empty column that owns its rows.
    static std::unique_ptr<RecordColumn> Make(const FieldDefinition& definition);
    /// A column over the image of a file. Null when the values are none of that type's.
    static std::unique_ptr<RecordColumn> Make(const FieldDefinition& definition, const StoredColumn& stored);

    [[nodiscard]] const FieldDefinition& Definition() const { return definition_; }
    [[nodiscard]] std::size_t Rows() const { return rows_; }
    [[nodiscard]] bool IsNull(std::size_t row) const {
        return nullBits_ != nullptr && (nullBits_[row / 8] >> (row % 8) & 1U) != 0;
    }

    /// Whether there may be a null.
    [[nodiscard]] bool HasNulls() const { return nullBits_ != nullptr; }

    // Reads of a row that is not null, each for the types that have it.
    [[nodiscard]] virtual std::int32_t Number(std::size_t row) const;
    [[nodiscard]] virtual double Real(std::size_t row) const;
    /// `scratch` may be used for the text.
    [[nodiscard]] virtual std::string_view Text(std::size_t row, std::string& scratch) const;
    [[nodiscard]] virtual const std::uint8_t* Digest(std::size_t row) const;

    /// The value of a row, null ones too.
    [[nodiscard]] Value Get(std::size_t row) const;
    /// `value` as this column would hold it; an error of the run time when it can't.
    [[nodiscard]] Value Fit(const Value& value) const;

    /// Adds a row with a value that Fit gave, and replaces one.
    void Append(const Value& value);
    void Assign(std::size_t row, const Value& value);
    /// Takes the last row away again. Never fails.
    void DropLast();
    /// Drops all rows but these, which are in ascending order.
    void Keep(const std::vector<std::uint32_t>& rows);
    /// Copies what lies in the image of a file.
    void Own();

    /// Puts the rows, in this order, into the form of a file: sets the encoding and the base, and appends to `data`.
    struct Encoded {
        ColumnEncoding encoding = ColumnEncoding::Constant;
        std::int32_t base = 0;
    };
    /// @param constantAllowed false for a column that must take room in every row
    virtual Encoded Encode(const std::vector<std::uint32_t>& rows, bool constantAllowed, std::string& data) const = 0;

protected:
    void Borrow(const StoredColumn& stored);
    virtual void OwnValues() = 0;
    virtual void AppendValue(const Value& value) = 0;  ///< a zero, or an empty text, for a null
    virtual void DropLastValue() = 0;
    virtual void AssignValue(std::size_t row, const Value& value) = 0;
    virtual void KeepValues(const std::vector<std::uint32_t>& rows) = 0;

private:
    void MarkNull(std::size_t row, bool null);

    FieldDefinition definition_;
    std::size_t rows_ = 0;
    const std::uint8_t* nullBits_ = nullptr;
    std::vector<std::uint8_t> nulls_;  ///< what nullBits_ points at when the rows are owned and one was ever null
    bool owned_ = true;
};

}  // namespace kel
