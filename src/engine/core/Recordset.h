// Tables in memory that are saved to files: rows, filters and saving, with the meaning of the recordset service.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/SourceLocation.h"
#include "core/StoredNumbers.h"
#include "core/Value.h"

namespace kel {

class DigestOrder;

/// Column types by the service's numbers.
enum class FieldType : std::uint16_t {
    Integer = 3,    ///< adInteger, 32-bit
    SmallInt = 2,   ///< adSmallInt, 16-bit
    Date = 7,       ///< adDate
    Boolean = 11,   ///< adBoolean
    Numeric = 131,  ///< adNumeric
    VarChar = 200,  ///< adVarChar, with a maximum length in characters
};

/// One column.
struct FieldDefinition {
    std::string name;
    FieldType type = FieldType::VarChar;
    std::uint32_t size = 0;  ///< characters for VarChar, otherwise 0
};

/// A table whose rows lie in memory. Failures are RuntimeErrors with the caller's line: 3704 when it is closed, 3705
/// when it is open, 3021 without a current row, 3265 for an unknown column, 3001 for a filter that can't be understood,
/// 53 for a missing file, 58 for a save to a named path that exists, 13 and 6 for a value that does not fit its column.
/// Text longer than its column is an error 3001, not a cut: writers cut.
///
/// A row that AddNew began is pending until Update, another AddNew, a move or a filter commits it; Save writes
/// committed rows only. Setting a filter goes to the first row that it lets through.
class Recordset {
public:
    Recordset();
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    /// Defines a column of a table that is not open yet.
    void AppendField(std::string_view name, FieldType type, std::uint32_t size = 0,
                     SourceLocation where = SourceLocation::current());
    /// Opens the defined columns as an empty, writable table.
    void Open(SourceLocation where = SourceLocation::current());
    /// Loads a saved table whole. A damaged or foreign file is an error 3709 that names the file.
    void Open(std::string_view path, SourceLocation where = SourceLocation::current());
    void Close(SourceLocation where = SourceLocation::current());
    [[nodiscard]] bool IsOpen() const noexcept;
    /// Writes all committed rows, whatever the filter says, as a new file. `path` empty: in place of the file that the
    /// table was opened from or last saved to.
    void Save(std::string_view path = {}, SourceLocation where = SourceLocation::current());
    /// The same in the order of the bytes of one column's texts, nulls first, and otherwise of the rows. A large table
    /// of digests that was saved so is looked up where it lies, without a copy. `path` must not be empty.
    void SaveInOrder(std::size_t position, std::string_view path, SourceLocation where = SourceLocation::current());

    /// Restricts the rows; the empty text lets all through.
    void SetFilter(std::string_view filter, SourceLocation where = SourceLocation::current());
    [[nodiscard]] const std::string& Filter() const;

    [[nodiscard]] bool Eof(SourceLocation where = SourceLocation::current()) const;
    [[nodiscard]] bool Bof(SourceLocation where = SourceLocation::current()) const;
    void MoveFirst(SourceLocation where = SourceLocation::current());
    void MoveLast(SourceLocation where = SourceLocation::current());
    void MoveNext(SourceLocation where = SourceLocation::current());
    /// From behind the last row to the last one; from the first one to before it.
    void MovePrevious(SourceLocation where = SourceLocation::current());
    /// Rows that the filter lets through.
    [[nodiscard]] std::int32_t RecordCount(SourceLocation where = SourceLocation::current()) const;

    [[nodiscard]] std::size_t FieldCount() const;
    [[nodiscard]] const FieldDefinition& Field(std::size_t position,
                                               SourceLocation where = SourceLocation::current()) const;

    /// The column's value in the current row.
    [[nodiscard]] Value Get(std::size_t position, SourceLocation where = SourceLocation::current()) const;
    [[nodiscard]] Value Get(std::string_view name, SourceLocation where = SourceLocation::current()) const;
    void Set(std::size_t position, const Value& value, SourceLocation where = SourceLocation::current());
    void Set(std::string_view name, const Value& value, SourceLocation where = SourceLocation::current());

    void AddNew(SourceLocation where = SourceLocation::current());
    void Update(SourceLocation where = SourceLocation::current());
    /// Deletes the current row; the position stays on it until a move, and reads fail meanwhile.
    void Delete(SourceLocation where = SourceLocation::current());

    /// For loaders of large tables: the committed rows of one column in order, without moving the current row.
    /// Reads cost no allocation. Row numbers count from 0 and ignore the filter.
    class Column {
    public:
        virtual ~Column() = default;
        [[nodiscard]] virtual bool IsNull(std::size_t row) const = 0;
        /// Only for Integer, SmallInt and Boolean columns, not null.
        [[nodiscard]] virtual std::int32_t Number(std::size_t row) const = 0;
        /// The numbers of the rows from `first` on, for loops over millions of them. False when one of them is null.
        [[nodiscard]] virtual bool Numbers(std::size_t first, std::span<std::int32_t> into) const = 0;
        /// Only for VarChar columns, not null. In the machine's code page; valid until the next call.
        [[nodiscard]] virtual std::string_view Text(std::size_t row) const = 0;
        /// Sixteen bytes when the column is stored as packed lower-case hexadecimal digests, else null.
        [[nodiscard]] virtual const std::uint8_t* Digest(std::size_t row) const = 0;
        /// The digests of all rows, sixteen bytes each, one behind the other. Nothing when one of them is null or
        /// deleted, or the column is not stored so.
        [[nodiscard]] virtual std::span<const std::uint8_t> PackedDigests() const = 0;
        /// Says that these of the packed digests won't be read for a while: the memory of a table that is read from its
        /// file is given back.
        virtual void LetGo(std::span<const std::uint8_t> packed) const = 0;
        /// For a lookup without a copy: the packed digests of all rows, when they are in ascending order in a large
        /// table's file. It may outlive the table, and what Stored gives of the same table lives as long. Null when it
        /// is another table, or has nulls or deleted rows.
        [[nodiscard]] virtual std::shared_ptr<const DigestOrder> Order() const = 0;
        /// The numbers of all rows as they lie in the file, for Integer, SmallInt and Boolean columns. Nothing when one
        /// is null or deleted, or they don't lie in a file.
        [[nodiscard]] virtual std::optional<StoredNumbers> Stored() const = 0;
    };
    [[nodiscard]] std::size_t RowCount(SourceLocation where = SourceLocation::current()) const;
    [[nodiscard]] std::unique_ptr<Column> ReadColumn(std::size_t position,
                                                     SourceLocation where = SourceLocation::current()) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel
