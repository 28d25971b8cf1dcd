// Signatures by MD5 digest, where a large table's file has them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "catalogue/Signature.h"
#include "core/Digest.h"
#include "core/DigestOrder.h"
#include "core/StoredNumbers.h"

namespace kel {

/// The rows of a table whose digests ascend, looked up in the image of its file: no row is copied. Empty until one is
/// assigned.
class StoredDigests {
public:
    StoredDigests() = default;
    /// @param order keeps the image in which the numbers lie; must not be null
    /// @param levels each must fit 16 bits
    StoredDigests(std::shared_ptr<const DigestOrder> order, StoredNumbers threats, StoredNumbers levels)
        : order_(std::move(order)), threats_(threats), levels_(levels) {}

    [[nodiscard]] std::size_t Count() const noexcept { return order_ ? order_->Rows() : 0; }
    [[nodiscard]] std::optional<Signature> Find(const Digest& digest) const noexcept {
        const std::size_t row = order_ ? order_->Find(digest) : DigestOrder::None;
        if (row == DigestOrder::None) {
            return std::nullopt;
        }
        return Signature{threats_.At(row), static_cast<std::int16_t>(levels_.At(row))};
    }
    /// As those of DigestIndex.
    [[gnu::always_inline]] void FetchStart(const Digest& digest) const noexcept {
        if (order_) {
            order_->FetchStart(digest);
        }
    }
    [[gnu::always_inline]] void FetchRows(const Digest& digest) const noexcept {
        if (order_) {
            order_->FetchRows(digest);
        }
    }

private:
    std::shared_ptr<const DigestOrder> order_;
    StoredNumbers threats_;
    StoredNumbers levels_;
};

}  // namespace kel
