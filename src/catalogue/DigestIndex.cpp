#include "catalogue/DigestIndex.h"

#include <algorithm>
#include <bit>
#include <limits>
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
    const Row* found = rows_.get() + starts_[bucket];
    const Row* const last = rows_.get() + starts_[bucket + 1];
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
    if (index_.count_ > std::numeric_limits<std::uint32_t>::max()) {
        Raise(ErrOverflow);
    }
    std::size_t start = 0;
    for (std::size_t part = 0; part < Parts; ++part) {
        next_[part] = start;
        start += sizes_[part];
    }
    index_.bits_ = std::max(PartBits, static_cast<unsigned>(std::bit_width(index_.count_ / RowsPerBucket)));
    index_.rows_ = std::make_unique_for_overwrite<Row[]>(index_.count_);
    index_.starts_.assign((std::size_t{1} << index_.bits_) + 1, 0);
}

std::optional<DigestIndex> DigestIndex::Builder::Finish() {
    std::vector<Row> scratch(*std::max_element(sizes_.begin(), sizes_.end()));
    for (std::size_t part = 0; part < Parts; ++part) {
        SortPart(part, scratch);
    }
    index_.starts_.back() = static_cast<std::uint32_t>(index_.count_);
    for (std::size_t bucket = 0; bucket + 1 < index_.starts_.size(); ++bucket) {
        if (!SortBucket(index_.starts_[bucket], index_.starts_[bucket + 1])) {
            return std::nullopt;
        }
    }
    return std::move(index_);
}

// A counting sort of the part by bucket, which leaves the starts of its buckets.
void DigestIndex::Builder::SortPart(std::size_t part, std::vector<Row>& scratch) {
    const std::size_t size = sizes_[part];
    const std::size_t first = next_[part] - size;
    const std::size_t buckets = std::size_t{1} << (index_.bits_ - PartBits);
    Row* const rows = index_.rows_.get() + first;
    std::uint32_t* const starts = index_.starts_.data() + part * buckets;
    const auto bucketOf = [&](const Row& row) { return index_.Bucket(row.Key()) - part * buckets; };

    std::copy_n(rows, size, scratch.begin());
    for (std::size_t i = 0; i < size; ++i) {
        ++starts[bucketOf(scratch[i])];
    }
    // Ends first; each row that is put moves its bucket's mark down, so that the marks are the starts at last.
    auto end = static_cast<std::uint32_t>(first);
    for (std::size_t bucket = 0; bucket < buckets; ++bucket) {
        end += starts[bucket];
        starts[bucket] = end;
    }
    for (std::size_t i = size; i-- > 0;) {
        index_.rows_[--starts[bucketOf(scratch[i])]] = scratch[i];
    }
}

// False when two rows of the bucket are the same digest.
bool DigestIndex::Builder::SortBucket(std::size_t first, std::size_t last) {
    Row* const from = index_.rows_.get() + first;
    Row* const to = index_.rows_.get() + last;
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
