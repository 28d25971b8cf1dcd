// Digests that stand in ascending order, and where to look for one of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/Digest.h"
#include "core/LargeArray.h"
#include "core/RecordColumn.h"

namespace kel {

/// A column of packed digests of which each exceeds the one before it, in the order of their bytes, and a directory
/// over it: for each value of their uppermost bits where its digests begin. The digests are looked up where they lie,
/// in the image of their file, and never copied; the directory takes 0.5 to 1 byte for each.
class DigestOrder {
public:
    /// @param digests must outlive the result, with the bytes of `rows` digests; `rows` must fit 32 bits
    /// @return null when the first rows show that they are in no order, or there are none
    [[nodiscard]] static std::unique_ptr<DigestOrder> Begin(const std::uint8_t* digests, std::size_t rows);

    /// Takes in the digests that end at `end` or before it, while whoever else reads them has them in the cache.
    void TakeUpTo(const std::uint8_t* end) noexcept;
    /// Takes in the rest. False when they are not in order, or one is there twice: then nothing may be looked up.
    [[nodiscard]] bool Finish() noexcept;

    [[nodiscard]] const std::uint8_t* Digests() const noexcept { return digests_; }
    [[nodiscard]] std::size_t Rows() const noexcept { return rows_; }

    static constexpr std::size_t None = static_cast<std::size_t>(-1);
    /// The row of a digest, or None.
    [[nodiscard]] std::size_t Find(const Digest& digest) const noexcept;
    // To be inlined always: for the compiler a function that only asks for memory does nothing, and its calls may go.
    /// Asks for the memory that Find will look at first, and without waiting for it. FetchRows wants it to be there.
    [[gnu::always_inline]] void FetchStart(const Digest& digest) const noexcept {
        __builtin_prefetch(starts_.Get() + Bucket(digest));
    }
    /// Asks for what Find will look at then.
    [[gnu::always_inline]] void FetchRows(const Digest& digest) const noexcept {
        const std::uint8_t* const rows = digests_ + std::size_t{starts_[Bucket(digest)]} * DigestSize;
        __builtin_prefetch(rows);
        __builtin_prefetch(rows + LineSize);
    }

private:
    static constexpr std::size_t LineSize = 64;

    DigestOrder(const std::uint8_t* digests, std::size_t rows);

    [[nodiscard]] Digest At(std::size_t row) const noexcept { return Digest::Of(digests_ + row * DigestSize); }
    [[nodiscard]] std::size_t Bucket(const Digest& digest) const noexcept {
        return static_cast<std::size_t>(BytesInOrder(digest.first) >> shift_);
    }

    const std::uint8_t* digests_;
    std::size_t rows_;
    unsigned shift_;                    ///< what is left of the first word's 64 bits is the bucket
    LargeArray<std::uint32_t> starts_;  ///< first row of each bucket, and the number of rows behind the last
    std::size_t taken_ = 0;
    bool ascends_ = true;
};

}  // namespace kel
