#include "catalogue/SignatureLoader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "catalogue/SignatureTable.h"
#include "core/RecordColumn.h"
#include "core/RuntimeError.h"
#include "core/Text.h"

namespace kel {

namespace {

bool IsNumber(FieldType type) {
    return type == FieldType::Integer || type == FieldType::SmallInt || type == FieldType::Boolean;
}

// One column with the conversions that its readers ask for.
class Reader {
public:
    Reader(const Recordset& rows, std::size_t position)
        : column_(rows.ReadColumn(position)), type_(rows.Field(position).type) {}

    [[nodiscard]] bool IsNull(std::size_t row) const { return column_->IsNull(row); }

    [[nodiscard]] const std::uint8_t* Digest(std::size_t row) const {
        return type_ == FieldType::VarChar ? column_->Digest(row) : nullptr;
    }

    // The whole column, or nothing when one is null or the column is stored otherwise.
    [[nodiscard]] std::span<const std::uint8_t> PackedDigests() const {
        return type_ == FieldType::VarChar ? column_->PackedDigests() : std::span<const std::uint8_t>();
    }
    void LetGo(std::span<const std::uint8_t> packed) const { column_->LetGo(packed); }
    [[nodiscard]] std::shared_ptr<const DigestOrder> Order() const {
        return type_ == FieldType::VarChar ? column_->Order() : nullptr;
    }
    [[nodiscard]] std::optional<StoredNumbers> Stored() const {
        return IsNumber(type_) ? column_->Stored() : std::nullopt;
    }
    // Whether no value of the column can exceed 16 bits.
    [[nodiscard]] bool IsShort() const { return IsNumber(type_) && type_ != FieldType::Integer; }
    // A block of rows; false when they need the conversions of the single reads, or one is null.
    [[nodiscard]] bool Numbers(std::size_t first, std::span<std::int32_t> into) const {
        return IsNumber(type_) && column_->Numbers(first, into);
    }

    [[nodiscard]] std::int32_t Number(std::size_t row) const {
        if (column_->IsNull(row)) {
            Raise(ErrInvalidUseOfNull);
        }
        if (IsNumber(type_)) {
            return column_->Number(row);
        }
        return ToLong(std::string(PlainText(row)));
    }

    // `scratch` holds the text of a column that has numbers.
    [[nodiscard]] std::string_view Text(std::size_t row, std::string& scratch) const {
        if (IsNumber(type_)) {
            scratch = kel::Text(column_->Number(row));
            return scratch;
        }
        return PlainText(row);
    }

private:
    [[nodiscard]] std::string_view PlainText(std::size_t row) const {
        if (type_ != FieldType::VarChar) {
            Raise(ErrTypeMismatch);
        }
        return column_->Text(row);
    }

    std::unique_ptr<Recordset::Column> column_;
    FieldType type_;
};

constexpr std::size_t ThreatColumn = 0;
constexpr std::size_t KeyColumn = 1;
constexpr std::size_t LevelColumn = 2;
// A table of this many columns has no levels.
constexpr std::size_t ColumnsWithoutLevel = 2;

constexpr std::size_t BlockRows = 1024;
// Rows after which what was read of a mapped table is let go.
constexpr std::size_t LetGoRows = 64 * BlockRows;

}  // namespace

class SignatureLoader {
public:
    SignatureLoader(const Recordset& rows, SignatureTable& into, NullKey nullKey)
        : table_(into),
          nullKey_(nullKey),
          count_(rows.RowCount()),
          threats_(rows, ThreatColumn),
          keys_(rows, KeyColumn) {
        if (rows.FieldCount() != ColumnsWithoutLevel) {
            levels_.emplace(rows, LevelColumn);
        }
    }

    void Load() {
        if (table_.form_ == KeyForm::Digests && table_.Count() == 0 && LoadDigests()) {
            return;
        }
        table_.texts_.Reserve(table_.texts_.Count() + count_);
        for (std::size_t row = 0; row < count_; ++row) {
            // The numbers first: of a row with several faults, theirs is the one that is reported.
            const Signature signature = At(row);
            table_.Add(Key(row), signature);
        }
    }

private:
    // The fast roads, for a table without any fault. False leaves the table as it was: the slow road then finds the
    // first faulty row and what is wrong with it.
    bool LoadDigests() {
        if (UseStored()) {
            return true;
        }
        DigestIndex::Builder builder;
        KeyIndex others;
        try {
            if (!ReadBlocks(builder)) {
                builder = {};
                if (!ReadRows(builder, others)) {
                    return false;
                }
            }
        } catch (const RuntimeError&) {
            return false;
        }
        std::optional<DigestIndex> built = builder.Finish();
        if (!built) {
            return false;
        }
        table_.digests_ = std::move(*built);
        table_.texts_ = std::move(others);
        return true;
    }

    // A large table as kelsdb makes it: digests in ascending order, so that none is there twice. It is not read at all.
    bool UseStored() const {
        auto order = keys_.Order();
        const auto threats = order ? threats_.Stored() : std::nullopt;
        std::optional<StoredNumbers> levels(std::in_place);
        if (levels_) {
            levels = levels_->IsShort() ? levels_->Stored() : std::nullopt;
        }
        if (!threats || !levels) {
            return false;
        }
        table_.stored_ = {std::move(order), *threats, *levels};
        return true;
    }

    // Packed digests and numbers, no nulls. False when it is another table.
    bool ReadBlocks(DigestIndex::Builder& builder) const {
        const std::span<const std::uint8_t> keys = keys_.PackedDigests();
        if (keys.empty()) {
            return false;
        }
        for (std::size_t row = 0; row < count_; ++row) {
            builder.Count(Digest::Of(&keys[row * DigestSize]));
        }
        // The rows' own memory comes in place of the file's.
        keys_.LetGo(keys);
        builder.Allocate();
        std::array<std::int32_t, BlockRows> threats{};
        std::array<std::int32_t, BlockRows> levels{};
        for (std::size_t row = 0; row < count_; row += BlockRows) {
            const std::size_t size = std::min(BlockRows, count_ - row);
            if (!threats_.Numbers(row, std::span(threats).first(size)) ||
                (levels_ && !levels_->Numbers(row, std::span(levels).first(size)))) {
                return false;
            }
            for (std::size_t i = 0; i < size; ++i) {
                const auto level = static_cast<std::int16_t>(levels[i]);
                if (level != levels[i]) {
                    return false;
                }
                builder.Place(Digest::Of(&keys[(row + i) * DigestSize]), {threats[i], level});
            }
            if ((row + BlockRows) % LetGoRows == 0) {
                const std::size_t end = row + size;
                const std::size_t begin = row + BlockRows - LetGoRows;
                keys_.LetGo(keys.subspan(begin * DigestSize, (end - begin) * DigestSize));
            }
        }
        return true;
    }

    // Keys in any form. False when one of those that are no digests is there twice.
    bool ReadRows(DigestIndex::Builder& builder, KeyIndex& others) {
        for (std::size_t row = 0; row < count_; ++row) {
            if (const auto digest = DigestAt(row)) {
                builder.Count(*digest);
            }
        }
        builder.Allocate();
        for (std::size_t row = 0; row < count_; ++row) {
            if (const auto digest = DigestAt(row)) {
                builder.Place(*digest, At(row));
            } else if (!others.Add(Key(row), At(row))) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] std::optional<Digest> DigestAt(std::size_t row) {
        if (keys_.IsNull(row)) {
            return std::nullopt;
        }
        if (const std::uint8_t* packed = keys_.Digest(row)) {
            return Digest::Of(packed);
        }
        return ParseDigest(Trim(keys_.Text(row, scratch_)));
    }

    [[nodiscard]] std::string_view Key(std::size_t row) {
        if (keys_.IsNull(row)) {
            if (nullKey_ == NullKey::Empty) {
                return {};
            }
            Raise(ErrInvalidUseOfNull);
        }
        return Trim(keys_.Text(row, scratch_));
    }

    [[nodiscard]] Signature At(std::size_t row) const {
        Signature signature;
        if (levels_) {
            const std::int32_t level = levels_->Number(row);
            if (level != static_cast<std::int16_t>(level)) {
                Raise(ErrOverflow);
            }
            signature.OptionalScan = static_cast<std::int16_t>(level);
        }
        signature.ThreatID = threats_.Number(row);
        return signature;
    }

    SignatureTable& table_;
    NullKey nullKey_;
    std::size_t count_;
    Reader threats_;
    Reader keys_;
    std::optional<Reader> levels_;
    std::string scratch_;
};

void LoadSignatures(Recordset& rows, SignatureTable& into, NullKey nullKey) {
    if (rows.Eof()) {
        return;
    }
    SignatureLoader(rows, into, nullKey).Load();
}

}  // namespace kel
