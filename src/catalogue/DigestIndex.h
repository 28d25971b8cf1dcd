// Signatures by MD5 digest, packed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "catalogue/Signature.h"

namespace kel {

using Digest = std::array<std::uint8_t, 16>;

/// The digest that 32 hexadecimal digits of either case stand for; nothing for any other text.
[[nodiscard]] std::optional<Digest> ParseDigest(std::string_view text) noexcept;

/// A table that is built once and then only looked up. 24 bytes a row, grouped in buckets of about eight rows by some
/// bits of the digest, and half a byte a row for where each bucket begins.
class DigestIndex {
public:
    [[nodiscard]] std::size_t Count() const noexcept { return count_; }
    [[nodiscard]] const Signature* Find(const Digest& digest) const noexcept;

    /// Builds an index in two passes over the same rows: Count each, Allocate, Place each, Finish.
    class Builder;

private:
    struct Row {
        Digest digest;
        Signature signature;
    };
    static_assert(sizeof(Row) == 24);

    [[nodiscard]] std::size_t Bucket(const Digest& digest) const noexcept;

    std::size_t count_ = 0;
    unsigned bits_ = 0;                  ///< binary logarithm of the number of buckets
    std::unique_ptr<Row[]> rows_;        ///< by bucket
    std::vector<std::uint32_t> starts_;  ///< first row of each bucket, and count_ behind the last
};

class DigestIndex::Builder {
public:
    /// First pass.
    void Count(const Digest& digest) noexcept;
    /// Between the passes. Error 6 for more rows than 32 bits can count.
    void Allocate();
    /// Second pass: the same digests, in any order.
    void Place(const Digest& digest, Signature signature) noexcept;
    /// Hands the index out. Nothing when a digest is there twice.
    [[nodiscard]] std::optional<DigestIndex> Finish();

private:
    // A part is what one write stream fills in the second pass and what is then sorted while it lies in the cache.
    static constexpr unsigned PartBits = 8;
    static constexpr std::size_t Parts = std::size_t{1} << PartBits;

    void SortPart(std::size_t part, std::vector<Row>& scratch);
    [[nodiscard]] bool SortBucket(std::size_t first, std::size_t last);

    std::array<std::size_t, Parts> sizes_{};
    std::array<std::size_t, Parts> next_{};
    DigestIndex index_;
};

}  // namespace kel
