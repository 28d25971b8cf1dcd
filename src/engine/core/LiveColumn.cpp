#include "core/LiveColumn.h"

#include <utility>

#include "core/NumberColumn.h"
#include "core/TextColumn.h"

namespace kel {

namespace {

// The rows of one column that are not deleted. The type of column is known, so that a read costs one call.
template <class Stored>
class LiveColumn final : public Recordset::Column {
public:
    LiveColumn(const RecordColumn& column, std::vector<std::uint32_t> rows)
        : column_(static_cast<const Stored&>(column)), rows_(std::move(rows)) {}

    [[nodiscard]] bool IsNull(std::size_t row) const override { return column_.IsNull(At(row)); }
    [[nodiscard]] std::int32_t Number(std::size_t row) const override { return column_.Number(At(row)); }
    [[nodiscard]] std::string_view Text(std::size_t row) const override { return column_.Text(At(row), scratch_); }
    [[nodiscard]] bool Numbers(std::size_t first, std::span<std::int32_t> into) const override {
        return Block(first, into, [this](std::size_t row) { return column_.Number(row); });
    }
    [[nodiscard]] const std::uint8_t* Digest(std::size_t row) const override { return column_.Digest(At(row)); }
    [[nodiscard]] bool Digests(std::size_t first, std::span<const std::uint8_t*> into) const override {
        return Block(first, into, [this](std::size_t row) { return column_.Digest(row); }) &&
               (into.empty() || into.front() != nullptr);
    }

private:
    [[nodiscard]] std::size_t At(std::size_t row) const { return rows_.empty() ? row : rows_[row]; }

    template <class Item, class Read>
    bool Block(std::size_t first, std::span<Item> into, Read&& read) const {
        for (std::size_t i = 0; i < into.size(); ++i) {
            const std::size_t row = At(first + i);
            if (column_.IsNull(row)) {
                return false;
            }
            into[i] = read(row);
        }
        return true;
    }

    const Stored& column_;
    std::vector<std::uint32_t> rows_;  ///< empty when none is deleted
    mutable std::string scratch_;
};

}  // namespace

std::unique_ptr<Recordset::Column> MakeLiveColumn(const RecordColumn& column, std::vector<std::uint32_t> rows) {
    switch (column.Definition().type) {
        case FieldType::VarChar:
            return std::make_unique<LiveColumn<TextColumn>>(column, std::move(rows));
        case FieldType::Date:
        case FieldType::Numeric:
            return std::make_unique<LiveColumn<RealColumn>>(column, std::move(rows));
        default:
            return std::make_unique<LiveColumn<NumberColumn>>(column, std::move(rows));
    }
}

}  // namespace kel
