// Columns of whole numbers and Booleans, and columns of dates and reals.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/LittleEndian.h"
#include "core/RecordColumn.h"
#include "core/StoredNumbers.h"

namespace kel {

/// Integer, SmallInt and Boolean (-1 and 0). A row is an unsigned offset from a base, modulo 2 to the 32nd, of as many
/// bytes as the column needs; the owned form has the width that its type needs.
class NumberColumn final : public RecordColumn {
public:
    explicit NumberColumn(const FieldDefinition& definition);
    static std::unique_ptr<NumberColumn> Over(const FieldDefinition& definition, const StoredColumn& stored);

    [[nodiscard]] std::int32_t Number(std::size_t row) const override { return At(row); }
    [[nodiscard]] double Real(std::size_t row) const override { return At(row); }
    /// The numbers of the rows from `first` on, whatever their nulls.
    void Numbers(std::size_t first, std::span<std::int32_t> into) const;
    /// All rows as they lie in memory, until the next change.
    [[nodiscard]] const StoredNumbers& Form() const { return form_; }
    Encoded Encode(const std::vector<std::uint32_t>& rows, bool constantAllowed, std::string& data) const override;

protected:
    void OwnValues() override;
    void AppendValue(const Value& value) override;
    void DropLastValue() override;
    void AssignValue(std::size_t row, const Value& value) override;
    void KeepValues(const std::vector<std::uint32_t>& rows) override;

private:
    template <class Unsigned>
    void NumbersOf(std::size_t first, std::span<std::int32_t> into) const;
    [[nodiscard]] std::int32_t At(std::size_t row) const { return form_.At(row); }
    [[nodiscard]] bool InRange() const;
    void UseOwnForm();
    void Store(std::size_t row, std::int32_t number);

    StoredNumbers form_;
    std::vector<std::uint8_t> own_;
};

/// Date and Numeric: eight bytes a row, finite.
class RealColumn final : public RecordColumn {
public:
    using RecordColumn::RecordColumn;
    static std::unique_ptr<RealColumn> Over(const FieldDefinition& definition, const StoredColumn& stored);

    [[nodiscard]] double Real(std::size_t row) const override {
        return data_ == nullptr ? own_[row] : LoadReal(data_ + row * sizeof(double));
    }
    Encoded Encode(const std::vector<std::uint32_t>& rows, bool constantAllowed, std::string& data) const override;

protected:
    void OwnValues() override;
    void AppendValue(const Value& value) override;
    void DropLastValue() override;
    void AssignValue(std::size_t row, const Value& value) override;
    void KeepValues(const std::vector<std::uint32_t>& rows) override;

private:
    const std::uint8_t* data_ = nullptr;  ///< null when the rows are owned
    std::vector<double> own_;
};

}  // namespace kel
