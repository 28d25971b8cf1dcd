#include "system/Md5.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "system/Md5Lanes.h"

namespace kel {

namespace {

constexpr std::size_t BlockSize = Md5BlockBytes;

std::uint32_t LoadWord(const std::byte* at) {
    if constexpr (std::endian::native == std::endian::little) {
        std::uint32_t word = 0;
        std::memcpy(&word, at, sizeof word);
        return word;
    }
    std::uint32_t word = 0;
    for (unsigned i = 0; i < 4; ++i) {
        word |= std::to_integer<std::uint32_t>(at[i]) << (8 * i);
    }
    return word;
}

// One step: `mixed` is the round's function of b, c and d. What does not depend on b, the value of the step before, is
// summed first, since the chain through b is what the digest's speed hangs on.
#define KEL_MD5_STEP(early, late, a, b, word, shift, constant) \
    (a) += words[word] + (constant) + (early);                 \
    (a) += (late);                                             \
    (a) = std::rotl((a), (shift)) + (b)

#define KEL_MD5_F(a, b, c, d, word, shift, constant) \
    KEL_MD5_STEP(0U, ((d) ^ ((b) & ((c) ^ (d)))), a, b, word, shift, constant)
// The two halves have no bit in common, so that they may be added one after the other.
#define KEL_MD5_G(a, b, c, d, word, shift, constant) KEL_MD5_STEP((c) & ~(d), ((b) & (d)), a, b, word, shift, constant)
#define KEL_MD5_H(a, b, c, d, word, shift, constant) KEL_MD5_STEP(0U, ((b) ^ ((c) ^ (d))), a, b, word, shift, constant)
#define KEL_MD5_I(a, b, c, d, word, shift, constant) KEL_MD5_STEP(0U, ((c) ^ ((b) | ~(d))), a, b, word, shift, constant)

void Transform(std::array<std::uint32_t, 4>& state, const std::byte* block, std::size_t blocks) {
    auto [a, b, c, d] = state;
    for (; blocks != 0; --blocks, block += BlockSize) {
        std::array<std::uint32_t, 16> words;
        for (std::size_t i = 0; i < words.size(); ++i) {
            words[i] = LoadWord(block + 4 * i);
        }
        const std::array before{a, b, c, d};

        KEL_MD5_F(a, b, c, d, 0, 7, 0xd76aa478U);
        KEL_MD5_F(d, a, b, c, 1, 12, 0xe8c7b756U);
        KEL_MD5_F(c, d, a, b, 2, 17, 0x242070dbU);
        KEL_MD5_F(b, c, d, a, 3, 22, 0xc1bdceeeU);
        KEL_MD5_F(a, b, c, d, 4, 7, 0xf57c0fafU);
        KEL_MD5_F(d, a, b, c, 5, 12, 0x4787c62aU);
        KEL_MD5_F(c, d, a, b, 6, 17, 0xa8304613U);
        KEL_MD5_F(b, c, d, a, 7, 22, 0xfd469501U);
        KEL_MD5_F(a, b, c, d, 8, 7, 0x698098d8U);
        KEL_MD5_F(d, a, b, c, 9, 12, 0x8b44f7afU);
        KEL_MD5_F(c, d, a, b, 10, 17, 0xffff5bb1U);
        KEL_MD5_F(b, c, d, a, 11, 22, 0x895cd7beU);
        KEL_MD5_F(a, b, c, d, 12, 7, 0x6b901122U);
        KEL_MD5_F(d, a, b, c, 13, 12, 0xfd987193U);
        KEL_MD5_F(c, d, a, b, 14, 17, 0xa679438eU);
        KEL_MD5_F(b, c, d, a, 15, 22, 0x49b40821U);

        KEL_MD5_G(a, b, c, d, 1, 5, 0xf61e2562U);
        KEL_MD5_G(d, a, b, c, 6, 9, 0xc040b340U);
        KEL_MD5_G(c, d, a, b, 11, 14, 0x265e5a51U);
        KEL_MD5_G(b, c, d, a, 0, 20, 0xe9b6c7aaU);
        KEL_MD5_G(a, b, c, d, 5, 5, 0xd62f105dU);
        KEL_MD5_G(d, a, b, c, 10, 9, 0x02441453U);
        KEL_MD5_G(c, d, a, b, 15, 14, 0xd8a1e681U);
        KEL_MD5_G(b, c, d, a, 4, 20, 0xe7d3fbc8U);
        KEL_MD5_G(a, b, c, d, 9, 5, 0x21e1cde6U);
        KEL_MD5_G(d, a, b, c, 14, 9, 0xc33707d6U);
        KEL_MD5_G(c, d, a, b, 3, 14, 0xf4d50d87U);
        KEL_MD5_G(b, c, d, a, 8, 20, 0x455a14edU);
        KEL_MD5_G(a, b, c, d, 13, 5, 0xa9e3e905U);
        KEL_MD5_G(d, a, b, c, 2, 9, 0xfcefa3f8U);
        KEL_MD5_G(c, d, a, b, 7, 14, 0x676f02d9U);
        KEL_MD5_G(b, c, d, a, 12, 20, 0x8d2a4c8aU);

        KEL_MD5_H(a, b, c, d, 5, 4, 0xfffa3942U);
        KEL_MD5_H(d, a, b, c, 8, 11, 0x8771f681U);
        KEL_MD5_H(c, d, a, b, 11, 16, 0x6d9d6122U);
        KEL_MD5_H(b, c, d, a, 14, 23, 0xfde5380cU);
        KEL_MD5_H(a, b, c, d, 1, 4, 0xa4beea44U);
        KEL_MD5_H(d, a, b, c, 4, 11, 0x4bdecfa9U);
        KEL_MD5_H(c, d, a, b, 7, 16, 0xf6bb4b60U);
        KEL_MD5_H(b, c, d, a, 10, 23, 0xbebfbc70U);
        KEL_MD5_H(a, b, c, d, 13, 4, 0x289b7ec6U);
        KEL_MD5_H(d, a, b, c, 0, 11, 0xeaa127faU);
        KEL_MD5_H(c, d, a, b, 3, 16, 0xd4ef3085U);
        KEL_MD5_H(b, c, d, a, 6, 23, 0x04881d05U);
        KEL_MD5_H(a, b, c, d, 9, 4, 0xd9d4d039U);
        KEL_MD5_H(d, a, b, c, 12, 11, 0xe6db99e5U);
        KEL_MD5_H(c, d, a, b, 15, 16, 0x1fa27cf8U);
        KEL_MD5_H(b, c, d, a, 2, 23, 0xc4ac5665U);

        KEL_MD5_I(a, b, c, d, 0, 6, 0xf4292244U);
        KEL_MD5_I(d, a, b, c, 7, 10, 0x432aff97U);
        KEL_MD5_I(c, d, a, b, 14, 15, 0xab9423a7U);
        KEL_MD5_I(b, c, d, a, 5, 21, 0xfc93a039U);
        KEL_MD5_I(a, b, c, d, 12, 6, 0x655b59c3U);
        KEL_MD5_I(d, a, b, c, 3, 10, 0x8f0ccc92U);
        KEL_MD5_I(c, d, a, b, 10, 15, 0xffeff47dU);
        KEL_MD5_I(b, c, d, a, 1, 21, 0x85845dd1U);
        KEL_MD5_I(a, b, c, d, 8, 6, 0x6fa87e4fU);
        KEL_MD5_I(d, a, b, c, 15, 10, 0xfe2ce6e0U);
        KEL_MD5_I(c, d, a, b, 6, 15, 0xa3014314U);
        KEL_MD5_I(b, c, d, a, 13, 21, 0x4e0811a1U);
        KEL_MD5_I(a, b, c, d, 4, 6, 0xf7537e82U);
        KEL_MD5_I(d, a, b, c, 11, 10, 0xbd3af235U);
        KEL_MD5_I(c, d, a, b, 2, 15, 0x2ad7d2bbU);
        KEL_MD5_I(b, c, d, a, 9, 21, 0xeb86d391U);

        a += before[0];
        b += before[1];
        c += before[2];
        d += before[3];
    }
    state = {a, b, c, d};
}

#undef KEL_MD5_F
#undef KEL_MD5_G
#undef KEL_MD5_H
#undef KEL_MD5_I
#undef KEL_MD5_STEP

}  // namespace

void md5::TransformScalar(std::uint32_t* state, const std::byte* const* data, std::size_t blocks) {
    std::array<std::uint32_t, 4> numbers{state[0], state[1], state[2], state[3]};
    Transform(numbers, *data, blocks);
    std::copy(numbers.begin(), numbers.end(), state);
}

void Md5::Update(std::span<const std::byte> bytes) {
    const std::size_t held = static_cast<std::size_t>(length_ % BlockSize);
    length_ += bytes.size();
    if (held != 0) {
        const std::size_t taken = std::min(bytes.size(), BlockSize - held);
        std::copy_n(bytes.begin(), taken, pending_.begin() + static_cast<std::ptrdiff_t>(held));
        bytes = bytes.subspan(taken);
        if (held + taken < BlockSize) {
            return;
        }
        Transform(state_, pending_.data(), 1);
    }
    const std::size_t blocks = bytes.size() / BlockSize;
    Transform(state_, bytes.data(), blocks);
    std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(blocks * BlockSize), bytes.end(), pending_.begin());
}

Md5Digest Md5::Finish() {
    const std::uint64_t bits = length_ * 8;
    // A one bit, zeros up to the last eight bytes of a block, and there the length in bits.
    std::array<std::byte, BlockSize + 8> padding{std::byte{0x80}};
    const std::size_t held = static_cast<std::size_t>(length_ % BlockSize);
    const std::size_t zerosEnd = (held < 56 ? 56 : 120) - held;
    for (std::size_t i = 0; i < 8; ++i) {
        padding[zerosEnd + i] = static_cast<std::byte>(bits >> (8 * i));
    }
    Update(std::span(padding).first(zerosEnd + 8));
    Md5Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<std::uint8_t>(state_[i / 4] >> (8 * (i % 4)));
    }
    return digest;
}

std::string HexText(const Md5Digest& digest) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::array<char, 2 * std::tuple_size_v<Md5Digest>> text;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        text[2 * i] = digits[digest[i] >> 4];
        text[2 * i + 1] = digits[digest[i] & 15U];
    }
    return {text.data(), text.size()};
}

}  // namespace kel
