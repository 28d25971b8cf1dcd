// Signatures by MD5 digest, packed.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/Signature.h"
#include "core/Digest.h"
#include "core/LargeArray.h"

namespace kel {

/// 32 lower-case hexadecimal digits.
[[nodiscard]] std::string HexText(const Digest& digest);

/// The digest that 32 hexadecimal digits of either case stand for; nothing for any other text.
[[nodiscard]] std::optional<Digest> ParseDigest(std::string_view text) noexcept;

/// A table that is built once and then only looked up. 24 bytes a row, grouped in buckets of about four rows by some
/// bits of the digest, and a byte a row for where each bucket begins.
class DigestIndex {
public:
    [[nodiscard]] std::size_t Count() const noexcept { return count_; }
    [[nodiscard]] std::optional<Signature> Find(const Digest& digest) const noexcept;
    // To be inlined always: for the compiler a function that only asks for memory does nothing, and its calls may go.
    /// Asks for the memory that Find will look at first, and without waiting for it. FetchRows wants it to be there.
    [[gnu::always_inline]] void FetchStart(const Digest& digest) const noexcept {
        if (count_ != 0) {
            __builtin_prefetch(starts_.Get() + Bucket(digest));
        }
    }
    /// Asks for what Find will look at then.
    [[gnu::always_inline]] void FetchRows(const Digest& digest) const noexcept {
        if (count_ != 0) {
            const Row* const rows = rows_.Get() + starts_[Bucket(digest)];
            __builtin_prefetch(rows);
            __builtin_prefetch(rows + RowsALine);
        }
    }

    /// Builds an index in two passes over the same rows: Count each, Allocate, Place each, Finish.
    class Builder;

private:
    // Without initial values: millions of them are made only to be filled.
    struct Row {
        std::uint64_t first;
        std::uint64_t second;
        std::int32_t threatID;
        std::int16_t optionalScan;

        [[nodiscard]] Digest Key() const noexcept { return {first, second}; }
    };
    static_assert(sizeof(Row) == 24);
    static constexpr std::size_t RowsALine = 64 / sizeof(Row);

    // Spreads digests over 64 bits, whose upper ones pick the bucket. The products make counted-up digests of test data
    // spread like real ones.
    static std::uint64_t Mix(const Digest& digest) noexcept {
        constexpr std::uint64_t Factor = 0x9E3779B97F4A7C15U;
        const std::uint64_t mixed = (digest.first ^ std::rotl(digest.second, 29)) * Factor;
        return (mixed ^ (mixed >> 32)) * Factor;
    }
    [[nodiscard]] std::size_t Bucket(const Digest& digest) const noexcept {
        return static_cast<std::size_t>(Mix(digest) >> (64 - bits_));
    }

    std::size_t count_ = 0;
    unsigned bits_ = 0;                 ///< binary logarithm of the number of buckets
    LargeArray<Row> rows_;              ///< by bucket
    LargeArray<std::uint32_t> starts_;  ///< first row of each bucket, and count_ behind the last
};

class DigestIndex::Builder {
public:
    /// First pass.
    void Count(const Digest& digest) noexcept { ++sizes_[Part(digest)]; }
    /// Between the passes. Error 6 for more rows than 32 bits can count.
    void Allocate();
    /// Second pass: the same digests, in any order.
    void Place(const Digest& digest, Signature signature) noexcept {
        Row* const row = index_.rows_.Get() + next_[Part(digest)]++;
        // The rows go to a thousand places by turns: each place's next line is fetched while its first ones are filled.
        __builtin_prefetch(row + PrefetchRows, 1);
        *row = {digest.first, digest.second, signature.ThreatID, signature.OptionalScan};
    }
    /// Hands the index out. Nothing when a digest is there twice.
    [[nodiscard]] std::optional<DigestIndex> Finish();

private:
    // A part is what one write stream fills in the second pass and what is then sorted while it lies in the cache: 24
    // to 120 KiB for one to five million rows.
    static constexpr unsigned PartBits = 10;
    static constexpr std::size_t Parts = std::size_t{1} << PartBits;
    static constexpr std::size_t PrefetchRows = 6;

    // What the sorting of a part needs, by row.
    struct Scratch {
        explicit Scratch(std::size_t most) : rows(most), buckets(most), marks(most), sortedMarks(most) {}
        std::vector<Row> rows;
        std::vector<std::uint32_t> buckets;
        std::vector<std::uint32_t> marks;
        std::vector<std::uint32_t> sortedMarks;
    };

    static std::size_t Part(const Digest& digest) noexcept {
        return static_cast<std::size_t>(Mix(digest) >> (64 - PartBits));
    }
    [[nodiscard]] bool SortPart(std::size_t part, Scratch& scratch);
    [[nodiscard]] bool SortBucket(std::size_t first, std::size_t last);

    std::array<std::uint32_t, Parts> sizes_{};
    std::array<std::uint32_t, Parts> next_{};  ///< where the next row of each goes
    DigestIndex index_;
};

}  // namespace kel
