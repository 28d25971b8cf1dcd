#include "catalogue/DigestIndex.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

#include "core/RuntimeError.h"

namespace kel {

namespace {

constexpr std::size_t RowsPerBucket = 4;
// A bucket of more rows than this is kept in order and searched by halves. Digests are spread evenly, so only a table
// that was made up to have such buckets has any.
constexpr std::size_t SortedBucket = 24;

constexpr std::uint8_t NoDigit = 0xFF;

constexpr std::array<std::uint8_t, 256> DigitValues = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(NoDigit);
    for (std::uint8_t i = 0; i < 10; ++i) {
        values[static_cast<std::size_t>('0' + i)] = i;
    }
    for (std::uint8_t i = 0; i < 6; ++i) {
        values[static_cast<std::size_t>('a' + i)] = static_cast<std::uint8_t>(10 + i);
        values[static_cast<std::size_t>('A' + i)] = static_cast<std::uint8_t>(10 + i);
    }
    return values;
}();

// Whether two marks are equal with fewer than `reach` places between the one and the other. No test of each pair: the
// compiler makes vectors of this.
bool HasEqualNear(std::span<const std::uint32_t> marks, std::size_t reach) {
    std::uint32_t equal = 0;
    for (std::size_t distance = 1; distance < reach && distance < marks.size(); ++distance) {
        const std::uint32_t* const other = marks.data() + distance;
        const std::size_t count = marks.size() - distance;
        for (std::size_t i = 0; i < count; ++i) {
            equal |= marks[i] == other[i] ? 1U : 0U;
        }
    }
    return equal != 0;
}

}  // namespace

std::optional<Digest> ParseDigest(std::string_view text) noexcept {
    std::array<std::uint8_t, sizeof(Digest)> bytes{};
    if (text.size() != 2 * bytes.size()) {
        return std::nullopt;
    }
    unsigned seen = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned high = DigitValues[static_cast<unsigned char>(text[2 * i])];
        const unsigned low = DigitValues[static_cast<unsigned char>(text[2 * i + 1])];
        seen |= high | low;
        bytes[i] = static_cast<std::uint8_t>(high << 4 | (low & 0xFU));
    }
    if ((seen & 0xF0U) != 0) {
        return std::nullopt;
    }
    return Digest::Of(bytes.data());
}

std::optional<Signature> DigestIndex::Find(const Digest& digest) const noexcept {
    if (count_ == 0) {
        return std::nullopt;
    }
    const std::size_t bucket = Bucket(digest);
    const Row* found = rows_.Get() + starts_[bucket];
    const Row* const last = rows_.Get() + starts_[bucket + 1];
    if (static_cast<std::size_t>(last - found) > SortedBucket) {
        found =
            std::lower_bound(found, last, digest, [](const Row& row, const Digest& key) { return row.Key() < key; });
    } else {
        found = std::find_if(found, last, [&](const Row& row) { return row.Key() == digest; });
    }
    if (found == last || found->Key() != digest) {
        return std::nullopt;
    }
    return Signature{found->threatID, found->optionalScan};
}

void DigestIndex::Builder::Allocate() {
    const std::uint64_t count = std::accumulate(sizes_.begin(), sizes_.end(), std::uint64_t{0});
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        Raise(ErrOverflow);
    }
    index_.count_ = static_cast<std::size_t>(count);
    std::uint32_t start = 0;
    for (std::size_t part = 0; part < Parts; ++part) {
        next_[part] = start;
        start += sizes_[part];
    }
    index_.bits_ = std::max(PartBits, static_cast<unsigned>(std::bit_width(index_.count_ / RowsPerBucket)));
    index_.rows_ = LargeArray<Row>(index_.count_);
    index_.starts_ = LargeArray<std::uint32_t>((std::size_t{1} << index_.bits_) + 1);
}

std::optional<DigestIndex> DigestIndex::Builder::Finish() {
    Scratch scratch(*std::max_element(sizes_.begin(), sizes_.end()));
    for (std::size_t part = 0; part < Parts; ++part) {
        if (!SortPart(part, scratch)) {
            return std::nullopt;
        }
    }
    index_.starts_[std::size_t{1} << index_.bits_] = static_cast<std::uint32_t>(index_.count_);
    return std::move(index_);
}

// A counting sort of the part by bucket, which leaves the starts of its buckets. False when a digest is there twice.
bool DigestIndex::Builder::SortPart(std::size_t part, Scratch& scratch) {
    const std::size_t size = sizes_[part];
    const std::size_t first = next_[part] - size;
    const std::size_t buckets = std::size_t{1} << (index_.bits_ - PartBits);
    Row* const rows = index_.rows_.Get() + first;
    std::uint32_t* const starts = index_.starts_.Get() + part * buckets;

    std::copy_n(rows, size, scratch.rows.begin());
    std::fill_n(starts, buckets, 0);
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint64_t mixed = Mix(scratch.rows[i].Key());
        scratch.buckets[i] = static_cast<std::uint32_t>((mixed >> (64 - index_.bits_)) - part * buckets);
        scratch.marks[i] = static_cast<std::uint32_t>(mixed);
        ++starts[scratch.buckets[i]];
    }
    // Ends first; each row that is put moves its bucket's mark down, so that the marks are the starts at last.
    auto end = static_cast<std::uint32_t>(first);
    std::uint32_t largest = 0;
    for (std::size_t bucket = 0; bucket < buckets; ++bucket) {
        largest = std::max(largest, starts[bucket]);
        end += starts[bucket];
        starts[bucket] = end;
    }
    for (std::size_t i = size; i-- > 0;) {
        const std::size_t at = --starts[scratch.buckets[i]] - first;
        rows[at] = scratch.rows[i];
        scratch.sortedMarks[at] = scratch.marks[i];
    }
    if (largest <= SortedBucket && !HasEqualNear(std::span(scratch.sortedMarks).first(size), largest)) {
        return true;
    }
    for (std::size_t bucket = 0; bucket < buckets; ++bucket) {
        if (!SortBucket(starts[bucket], bucket + 1 < buckets ? starts[bucket + 1] : first + size)) {
            return false;
        }
    }
    return true;
}

// False when two rows of the bucket are the same digest.
bool DigestIndex::Builder::SortBucket(std::size_t first, std::size_t last) {
    Row* const from = index_.rows_.Get() + first;
    Row* const to = index_.rows_.Get() + last;
    if (last - first > SortedBucket) {
        std::sort(from, to, [](const Row& left, const Row& right) { return left.Key() < right.Key(); });
        return std::adjacent_find(from, to,
                                  [](const Row& left, const Row& right) { return left.Key() == right.Key(); }) == to;
    }
    for (const Row* row = from; row != to; ++row) {
        for (const Row* other = from; other != row; ++other) {
            if (row->Key() == other->Key()) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace kel
