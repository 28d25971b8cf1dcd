#include "core/NumberColumn.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>

namespace kel {

namespace {

struct Range {
    std::int32_t lowest;
    std::int32_t highest;
    std::size_t width;  ///< bytes that an offset from `lowest` needs
};

Range RangeOf(FieldType type) {
    switch (type) {
        case FieldType::SmallInt:
            return {std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::int16_t>::max(), 2};
        case FieldType::Boolean:
            return {-1, 0, 1};
        default:
            return {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(), 4};
    }
}

std::size_t WidthOf(ColumnEncoding encoding) {
    switch (encoding) {
        case ColumnEncoding::Offset8:
            return 1;
        case ColumnEncoding::Offset16:
            return 2;
        case ColumnEncoding::Offset32:
            return 4;
        default:
            return 0;
    }
}

std::int32_t NumberOf(const Value& value) {
    if (const auto* flag = std::get_if<bool>(&value)) {
        return *flag ? -1 : 0;
    }
    const auto* number = std::get_if<std::int32_t>(&value);
    return number == nullptr ? 0 : *number;
}

double RealOf(const Value& value) {
    if (const auto* date = std::get_if<Date>(&value)) {
        return date->days;
    }
    const auto* number = std::get_if<double>(&value);
    return number == nullptr ? 0.0 : *number;
}

}  // namespace

NumberColumn::NumberColumn(const FieldDefinition& definition) : RecordColumn(definition) {
    UseOwnForm();
}

std::unique_ptr<NumberColumn> NumberColumn::Over(const FieldDefinition& definition, const StoredColumn& stored) {
    if (stored.encoding > ColumnEncoding::Offset32) {
        return nullptr;
    }
    auto column = std::make_unique<NumberColumn>(definition);
    column->form_.base = stored.base;
    column->form_.width = WidthOf(stored.encoding);
    column->form_.data = stored.data.data();
    column->Borrow(stored);
    return column->InRange() ? std::move(column) : nullptr;
}

bool NumberColumn::InRange() const {
    const Range range = RangeOf(Definition().type);
    if (range.width == 4) {
        return true;
    }
    if (form_.base < range.lowest || form_.base > range.highest) {
        return false;
    }
    // Most columns can't have a number outside, so that their rows need not be looked at.
    const std::uint64_t most = (std::uint64_t{1} << (8 * form_.width)) - 1;
    if (most <= static_cast<std::uint64_t>(range.highest - form_.base)) {
        return true;
    }
    std::array<std::int32_t, 1024> block{};
    for (std::size_t row = 0; row < Rows(); row += block.size()) {
        const std::span<std::int32_t> numbers(block.data(), std::min(block.size(), Rows() - row));
        Numbers(row, numbers);
        // A sum past the largest number comes round to one below the base.
        std::int32_t highest = numbers.front();
        std::int32_t lowest = numbers.front();
        for (const std::int32_t number : numbers) {
            highest = std::max(highest, number);
            lowest = std::min(lowest, number);
        }
        if (lowest < form_.base || highest > range.highest) {
            return false;
        }
    }
    return true;
}

template <class Unsigned>
void NumberColumn::NumbersOf(std::size_t first, std::span<std::int32_t> into) const {
    const std::uint8_t* const from = form_.data + first * sizeof(Unsigned);
    for (std::size_t i = 0; i < into.size(); ++i) {
        into[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(form_.base) +
                                            LoadLittle<Unsigned>(from + i * sizeof(Unsigned)));
    }
}

void NumberColumn::Numbers(std::size_t first, std::span<std::int32_t> into) const {
    switch (form_.width) {
        case 1:
            return NumbersOf<std::uint8_t>(first, into);
        case 2:
            return NumbersOf<std::uint16_t>(first, into);
        case 4:
            return NumbersOf<std::uint32_t>(first, into);
        default:
            std::fill(into.begin(), into.end(), form_.base);
    }
}

void NumberColumn::UseOwnForm() {
    const Range range = RangeOf(Definition().type);
    form_.base = range.lowest;
    form_.width = range.width;
    form_.data = own_.data();
}

void NumberColumn::Store(std::size_t row, std::int32_t number) {
    const std::uint32_t offset = static_cast<std::uint32_t>(number) - static_cast<std::uint32_t>(form_.base);
    std::uint8_t* at = own_.data() + row * form_.width;
    for (std::size_t i = 0; i < form_.width; ++i) {
        at[i] = static_cast<std::uint8_t>(offset >> (8 * i));
    }
}

void NumberColumn::OwnValues() {
    std::vector<std::int32_t> numbers(Rows());
    for (std::size_t row = 0; row < numbers.size(); ++row) {
        numbers[row] = At(row);
    }
    own_.resize(numbers.size() * RangeOf(Definition().type).width);
    UseOwnForm();
    for (std::size_t row = 0; row < numbers.size(); ++row) {
        Store(row, numbers[row]);
    }
}

void NumberColumn::AppendValue(const Value& value) {
    own_.resize(own_.size() + form_.width);
    form_.data = own_.data();
    Store(own_.size() / form_.width - 1, NumberOf(value));
}

void NumberColumn::DropLastValue() {
    own_.resize(own_.size() - form_.width);
}

void NumberColumn::AssignValue(std::size_t row, const Value& value) {
    Store(row, NumberOf(value));
}

void NumberColumn::KeepValues(const std::vector<std::uint32_t>& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        Store(i, At(rows[i]));
    }
    own_.resize(rows.size() * form_.width);
    form_.data = own_.data();
}

RecordColumn::Encoded NumberColumn::Encode(const std::vector<std::uint32_t>& rows, bool constantAllowed,
                                           std::string& data) const {
    std::int32_t lowest = std::numeric_limits<std::int32_t>::max();
    std::int32_t highest = std::numeric_limits<std::int32_t>::min();
    for (const std::uint32_t row : rows) {
        if (!IsNull(row)) {
            lowest = std::min(lowest, At(row));
            highest = std::max(highest, At(row));
        }
    }
    if (lowest > highest) {
        lowest = highest = 0;
    }
    const auto spread = static_cast<std::uint32_t>(highest) - static_cast<std::uint32_t>(lowest);
    Encoded result{ColumnEncoding::Offset32, lowest};
    if (spread == 0 && constantAllowed) {
        result.encoding = ColumnEncoding::Constant;
    } else if (spread <= 0xFF) {
        result.encoding = ColumnEncoding::Offset8;
    } else if (spread <= 0xFFFF) {
        result.encoding = ColumnEncoding::Offset16;
    }
    const std::size_t width = WidthOf(result.encoding);
    for (const std::uint32_t row : rows) {
        const std::uint32_t offset =
            IsNull(row) ? 0 : static_cast<std::uint32_t>(At(row)) - static_cast<std::uint32_t>(lowest);
        for (std::size_t i = 0; i < width; ++i) {
            data += static_cast<char>(static_cast<std::uint8_t>(offset >> (8 * i)));
        }
    }
    return result;
}

std::unique_ptr<RealColumn> RealColumn::Over(const FieldDefinition& definition, const StoredColumn& stored) {
    if (stored.encoding != ColumnEncoding::Real) {
        return nullptr;
    }
    auto column = std::make_unique<RealColumn>(definition);
    column->data_ = stored.data.data();
    column->Borrow(stored);
    for (std::size_t row = 0; row < stored.rows; ++row) {
        const double number = column->Real(row);
        if (!std::isfinite(number) || (definition.type == FieldType::Date && !IsDate(number))) {
            return nullptr;
        }
    }
    return column;
}

void RealColumn::OwnValues() {
    std::vector<double> numbers(Rows());
    for (std::size_t row = 0; row < numbers.size(); ++row) {
        numbers[row] = Real(row);
    }
    own_ = std::move(numbers);
    data_ = nullptr;
}

void RealColumn::AppendValue(const Value& value) {
    own_.push_back(RealOf(value));
}

void RealColumn::DropLastValue() {
    own_.pop_back();
}

void RealColumn::AssignValue(std::size_t row, const Value& value) {
    own_[row] = RealOf(value);
}

void RealColumn::KeepValues(const std::vector<std::uint32_t>& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        own_[i] = own_[rows[i]];
    }
    own_.resize(rows.size());
}

RecordColumn::Encoded RealColumn::Encode(const std::vector<std::uint32_t>& rows, bool /*constantAllowed*/,
                                         std::string& data) const {
    for (const std::uint32_t row : rows) {
        AppendLittle(data, std::bit_cast<std::uint64_t>(IsNull(row) ? 0.0 : Real(row)));
    }
    return {ColumnEncoding::Real, 0};
}

}  // namespace kel
