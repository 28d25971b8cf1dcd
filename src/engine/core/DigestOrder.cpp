#include "core/DigestOrder.h"

#include <algorithm>
#include <bit>

namespace kel {

namespace {

// A bucket has half as many to as many rows.
constexpr std::size_t MostPerBucket = 8;
// A bucket of more rows than this is halved until it has no more. Digests are spread evenly, so only a table that was
// made up to have such buckets has any.
constexpr std::size_t WalkedRows = 24;
// So many rows show whether it is worth to begin.
constexpr std::size_t FirstRows = 16;

unsigned BucketBits(std::size_t rows) {
    return std::max(1U, static_cast<unsigned>(std::bit_width(rows / MostPerBucket)));
}

}  // namespace

DigestOrder::DigestOrder(const std::uint8_t* digests, std::size_t rows)
    : digests_(digests), rows_(rows), shift_(64 - BucketBits(rows)), starts_((std::size_t{1} << BucketBits(rows)) + 1) {
}

std::unique_ptr<DigestOrder> DigestOrder::Begin(const std::uint8_t* digests, std::size_t rows) {
    for (std::size_t row = 1; row < std::min(rows, FirstRows); ++row) {
        if (!ComesBefore(Digest::Of(digests + (row - 1) * DigestSize), Digest::Of(digests + row * DigestSize))) {
            return nullptr;
        }
    }
    if (rows == 0) {
        return nullptr;
    }
    std::unique_ptr<DigestOrder> order(new DigestOrder(digests, rows));
    std::fill_n(order->starts_.Get(), (std::size_t{1} << BucketBits(rows)) + 1, 0);
    return order;
}

// Leaves the end of each bucket that has rows, as the start of the next one.
void DigestOrder::TakeUpTo(const std::uint8_t* end) noexcept {
    const std::size_t last =
        end <= digests_ ? 0 : std::min(rows_, static_cast<std::size_t>(end - digests_) / DigestSize);
    if (!ascends_ || taken_ >= last) {
        return;
    }
    std::uint32_t* const starts = starts_.Get();
    const unsigned shift = shift_;
    std::uint64_t before = taken_ == 0 ? 0 : BytesInOrder(At(taken_ - 1).first);
    for (std::size_t row = taken_; row < last; ++row) {
        const std::uint64_t first = BytesInOrder(At(row).first);
        if (first <= before && row != 0 && !ComesBefore(At(row - 1), At(row))) {
            ascends_ = false;
            return;
        }
        before = first;
        starts[static_cast<std::size_t>(first >> shift) + 1] = static_cast<std::uint32_t>(row + 1);
    }
    taken_ = last;
}

bool DigestOrder::Finish() noexcept {
    TakeUpTo(digests_ + rows_ * DigestSize);
    if (ascends_) {
        std::uint32_t start = 0;
        for (std::size_t bucket = 0; bucket <= std::size_t{1} << (64 - shift_); ++bucket) {
            start = std::max(start, starts_[bucket]);
            starts_[bucket] = start;
        }
    }
    return ascends_;
}

std::size_t DigestOrder::Find(const Digest& digest) const noexcept {
    const std::size_t bucket = Bucket(digest);
    std::size_t row = starts_[bucket];
    std::size_t end = starts_[bucket + 1];
    while (end - row > WalkedRows) {
        const std::size_t middle = row + (end - row) / 2;
        (ComesBefore(digest, At(middle)) ? end : row) = middle;
    }
    for (; row < end; ++row) {
        if (At(row) == digest) {
            return row;
        }
    }
    return None;
}

}  // namespace kel
