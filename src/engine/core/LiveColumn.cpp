#include "core/LiveColumn.h"

#include <type_traits>
#include <utility>

#include "core/DigestOrder.h"
#include "core/NumberColumn.h"
#include "core/TextColumn.h"

namespace kel {

namespace {

// The rows of one column that are not deleted. The type of column is known, so that a read costs one call.
template <class Typed>
class LiveColumn final : public Recordset::Column {
public:
    LiveColumn(const RecordColumn& column, std::vector<std::uint32_t> rows, std::shared_ptr<platform::FileView> image,
               std::shared_ptr<const DigestOrder> order)
        : column_(static_cast<const Typed&>(column)),
          rows_(std::move(rows)),
          image_(std::move(image)),
          order_(std::move(order)) {}

    [[nodiscard]] bool IsNull(std::size_t row) const override { return column_.IsNull(At(row)); }
    [[nodiscard]] std::int32_t Number(std::size_t row) const override { return column_.Number(At(row)); }
    [[nodiscard]] std::string_view Text(std::size_t row) const override { return column_.Text(At(row), scratch_); }
    [[nodiscard]] bool Numbers(std::size_t first, std::span<std::int32_t> into) const override {
        if constexpr (std::is_same_v<Typed, NumberColumn>) {
            if (rows_.empty() && !column_.HasNulls()) {
                column_.Numbers(first, into);
                return true;
            }
        }
        for (std::size_t i = 0; i < into.size(); ++i) {
            const std::size_t row = At(first + i);
            if (column_.IsNull(row)) {
                return false;
            }
            into[i] = column_.Number(row);
        }
        return true;
    }
    [[nodiscard]] const std::uint8_t* Digest(std::size_t row) const override { return column_.Digest(At(row)); }
    [[nodiscard]] std::span<const std::uint8_t> PackedDigests() const override {
        const std::uint8_t* const first = column_.Rows() == 0 ? nullptr : column_.Digest(0);
        if (first == nullptr || !rows_.empty() || column_.HasNulls()) {
            return {};
        }
        return {first, column_.Rows() * DigestSize};
    }
    void LetGo(std::span<const std::uint8_t> packed) const override {
        if (image_) {
            image_->LetGo(std::as_bytes(packed));
        }
    }
    [[nodiscard]] std::shared_ptr<const DigestOrder> Order() const override {
        const auto packed = order_ ? PackedDigests() : std::span<const std::uint8_t>();
        return !packed.empty() && packed.data() == order_->Digests() ? order_ : nullptr;
    }
    [[nodiscard]] std::optional<StoredNumbers> Stored() const override {
        if constexpr (std::is_same_v<Typed, NumberColumn>) {
            if (image_ && rows_.empty() && !column_.HasNulls()) {
                return column_.Form();
            }
        }
        return std::nullopt;
    }

private:
    [[nodiscard]] std::size_t At(std::size_t row) const { return rows_.empty() ? row : rows_[row]; }

    const Typed& column_;
    std::vector<std::uint32_t> rows_;  ///< empty when none is deleted
    std::shared_ptr<platform::FileView> image_;
    std::shared_ptr<const DigestOrder> order_;
    mutable std::string scratch_;
};

}  // namespace

std::unique_ptr<Recordset::Column> MakeLiveColumn(const RecordColumn& column, std::vector<std::uint32_t> rows,
                                                  std::shared_ptr<platform::FileView> image,
                                                  std::shared_ptr<const DigestOrder> order) {
    switch (column.Definition().type) {
        case FieldType::VarChar:
            return std::make_unique<LiveColumn<TextColumn>>(column, std::move(rows), std::move(image),
                                                            std::move(order));
        case FieldType::Date:
        case FieldType::Numeric:
            return std::make_unique<LiveColumn<RealColumn>>(column, std::move(rows), std::move(image),
                                                            std::move(order));
        default:
            return std::make_unique<LiveColumn<NumberColumn>>(column, std::move(rows), std::move(image),
                                                              std::move(order));
    }
}

}  // namespace kel
