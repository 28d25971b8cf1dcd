#include "catalogue/DigestIndex.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

#include "core/RuntimeError.h"
#include "system/Md5.h"

namespace kel {

namespace {

constexpr std::size_t RowsPerBucket = 4;
// A bucket of more rows than this is kept in order and searched by halves. Digests are spread evenly, so only a table
// that was made up to have such buckets has any.
constexpr std::size_t SortedBucket = 24;

constexpr std::uint64_t EachByte(std::uint64_t value) {
    return value * 0x0101010101010101U;
}

// The four bytes that eight hexadecimal digits stand for, all eight at once. `good` keeps its upper bits only where
// each character is a digit.
std::uint64_t FourBytes(const char* text, std::uint64_t& good) {
    std::uint64_t characters = 0;
    std::memcpy(&characters, text, sizeof characters);
    // Sums that reach bit 7 of a byte without a carry into the next one, as long as no character has that bit itself.
    const std::uint64_t seven = characters & EachByte(0x7F);
    const std::uint64_t lower = seven | EachByte(0x20);
    const std::uint64_t digit = (seven + EachByte(0x80 - '0')) & ~(seven + EachByte(0x80 - '0' - 10));
    const std::uint64_t letter = (lower + EachByte(0x80 - 'a')) & ~(lower + EachByte(0x80 - 'a' - 6));
    good &= (digit | letter) & ~characters;
    std::uint64_t values = (seven & EachByte(0x0F)) + 9 * (letter >> 7 & EachByte(1));
    values = (values << 4 | values >> 8) & 0x00FF00FF00FF00FFU;
    values = (values | values >> 8) & 0x0000FFFF0000FFFFU;
    return (values | values >> 16) & 0xFFFFFFFFU;
}

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

std::string HexText(const Digest& digest) {
    Md5Digest bytes;
    std::memcpy(bytes.data(), &digest.first, sizeof digest.first);
    std::memcpy(bytes.data() + sizeof digest.first, &digest.second, sizeof digest.second);
    return HexText(bytes);
}

std::optional<Digest> ParseDigest(std::string_view text) noexcept {
    if (text.size() != 2 * sizeof(Digest)) {
        return std::nullopt;
    }
    const char* const from = text.data();
    std::uint64_t good = EachByte(0x80);
    Digest digest;
    digest.first = FourBytes(from, good) | FourBytes(from + 8, good) << 32;
    digest.second = FourBytes(from + 16, good) | FourBytes(from + 24, good) << 32;
    return good == EachByte(0x80) ? std::optional(digest) : std::nullopt;
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
