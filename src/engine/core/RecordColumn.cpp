#include "core/RecordColumn.h"

#include <cmath>
#include <utility>

#include "core/NumberColumn.h"
#include "core/RuntimeError.h"
#include "core/TextColumn.h"
#include "platform/Platform.h"

namespace kel {

std::unique_ptr<RecordColumn> RecordColumn::Make(const FieldDefinition& definition) {
    switch (definition.type) {
        case FieldType::Integer:
        case FieldType::SmallInt:
        case FieldType::Boolean:
            return std::make_unique<NumberColumn>(definition);
        case FieldType::Date:
        case FieldType::Numeric:
            return std::make_unique<RealColumn>(definition);
        case FieldType::VarChar:
            return std::make_unique<TextColumn>(definition);
    }
    return nullptr;
}

std::unique_ptr<RecordColumn> RecordColumn::Make(const FieldDefinition& definition, const StoredColumn& stored) {
    switch (definition.type) {
        case FieldType::Integer:
        case FieldType::SmallInt:
        case FieldType::Boolean:
            return NumberColumn::Over(definition, stored);
        case FieldType::Date:
        case FieldType::Numeric:
            return RealColumn::Over(definition, stored);
        case FieldType::VarChar:
            return TextColumn::Over(definition, stored);
    }
    return nullptr;
}

std::int32_t RecordColumn::Number(std::size_t /*row*/) const {
    Raise(ErrTypeMismatch, definition_.name);
}

double RecordColumn::Real(std::size_t /*row*/) const {
    Raise(ErrTypeMismatch, definition_.name);
}

std::string_view RecordColumn::Text(std::size_t /*row*/, std::string& /*scratch*/) const {
    Raise(ErrTypeMismatch, definition_.name);
}

const std::uint8_t* RecordColumn::Digest(std::size_t /*row*/) const {
    return nullptr;
}

Value RecordColumn::Get(std::size_t row) const {
    if (IsNull(row)) {
        return Null{};
    }
    switch (definition_.type) {
        case FieldType::Integer:
        case FieldType::SmallInt:
            return Number(row);
        case FieldType::Boolean:
            return Number(row) != 0;
        case FieldType::Date:
            return Date{Real(row)};
        case FieldType::Numeric:
            return Real(row);
        case FieldType::VarChar:
            break;
    }
    std::string scratch;
    return std::string(Text(row, scratch));
}

Value RecordColumn::Fit(const Value& value) const {
    if (kel::IsNull(value) || IsEmpty(value)) {
        return Null{};
    }
    switch (definition_.type) {
        case FieldType::Integer:
            return ToLong(value);
        case FieldType::SmallInt:
            return static_cast<std::int32_t>(ToInteger(value));
        case FieldType::Boolean:
            return ToBoolean(value);
        case FieldType::Date:
            return ToDate(value);
        case FieldType::Numeric: {
            const double number = ToDouble(value);
            if (!std::isfinite(number)) {
                Raise(ErrOverflow, definition_.name);
            }
            return number;
        }
        case FieldType::VarChar:
            break;
    }
    std::string text = ToText(value);
    // Characters are only counted where bytes could be too many.
    if (text.size() > definition_.size && platform::Current().text->Prefix(text, definition_.size) < text.size()) {
        Raise(ErrInvalidArgument, definition_.name);
    }
    return text;
}

void RecordColumn::Append(const Value& value) {
    const bool null = kel::IsNull(value);
    if (null || !nulls_.empty()) {
        nulls_.resize(rows_ / 8 + 1);
        nullBits_ = nulls_.data();
    }
    AppendValue(value);
    MarkNull(rows_++, null);
}

void RecordColumn::DropLast() {
    DropLastValue();
    MarkNull(--rows_, false);
}

void RecordColumn::Assign(std::size_t row, const Value& value) {
    AssignValue(row, value);
    MarkNull(row, kel::IsNull(value));
}

void RecordColumn::Keep(const std::vector<std::uint32_t>& rows) {
    KeepValues(rows);
    std::vector<bool> null(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        null[i] = IsNull(rows[i]);
    }
    rows_ = rows.size();
    nulls_.clear();
    nullBits_ = nullptr;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (null[i]) {
            MarkNull(i, true);
        }
    }
}

void RecordColumn::Own() {
    if (owned_) {
        return;
    }
    OwnValues();
    if (nullBits_ != nullptr) {
        nulls_.assign(nullBits_, nullBits_ + (rows_ + 7) / 8);
        nulls_.resize(rows_ / 8 + 1);
        nullBits_ = nulls_.data();
    }
    owned_ = true;
}

void RecordColumn::Borrow(const StoredColumn& stored) {
    rows_ = stored.rows;
    nullBits_ = stored.nulls.empty() ? nullptr : stored.nulls.data();
    owned_ = false;
}

void RecordColumn::MarkNull(std::size_t row, bool null) {
    if (nulls_.empty()) {
        if (!null) {
            return;
        }
        nulls_.resize(rows_ / 8 + 1);
        nullBits_ = nulls_.data();
    }
    const auto bit = static_cast<std::uint8_t>(1U << (row % 8));
    std::uint8_t& bits = nulls_[row / 8];
    bits = static_cast<std::uint8_t>(null ? bits | bit : bits & ~bit);
}

}  // namespace kel
