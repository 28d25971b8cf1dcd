// Columns of whole numbers and Booleans, and columns of dates and reals.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/LittleEndian.h"
#include "core/RecordColumn.h"

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
    [[nodiscard]] std::uint32_t Offset(std::size_t row) const {
        switch (width_) {
            case 1:
                return data_[row];
            case 2:
                return LoadLittle<std::uint16_t>(data_ + row * 2);
            case 4:
                return LoadLittle<std::uint32_t>(data_ + row * 4);
            default:
                return 0;
        }
    }
    [[nodiscard]] std::int32_t At(std::size_t row) const {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(base_) + Offset(row));
    }
    [[nodiscard]] bool InRange() const;
    void UseOwnForm();
    void Store(std::size_t row, std::int32_t number);

    std::int32_t base_ = 0;
    std::size_t width_ = 0;
    const std::uint8_t* data_ = nullptr;
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
