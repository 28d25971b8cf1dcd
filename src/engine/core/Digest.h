// An MD5 digest as a value.
#pragma once

#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kel {

/// Sixteen bytes as two words, for quick comparison. The order of the words' numbers is none of the digests' texts.
struct Digest {
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    [[nodiscard]] static Digest Of(const std::uint8_t* bytes) noexcept {
        Digest digest;
        std::memcpy(&digest.first, bytes, sizeof digest.first);
        std::memcpy(&digest.second, bytes + sizeof digest.first, sizeof digest.second);
        return digest;
    }

    friend bool operator==(const Digest&, const Digest&) = default;
    friend auto operator<=>(const Digest&, const Digest&) = default;
};

static_assert(std::endian::native == std::endian::little);

/// The eight bytes of a word as a number whose order is that of the bytes.
[[nodiscard]] constexpr std::uint64_t BytesInOrder(std::uint64_t word) noexcept {
    return __builtin_bswap64(word);
}

/// Whether a digest comes before another one in the order of their bytes, which is that of their texts.
[[nodiscard]] inline bool ComesBefore(const Digest& left, const Digest& right) noexcept {
    return left.first != right.first ? BytesInOrder(left.first) < BytesInOrder(right.first)
                                     : BytesInOrder(left.second) < BytesInOrder(right.second);
}

}  // namespace kel
