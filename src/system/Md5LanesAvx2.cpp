// MD5 in two vectors of eight lanes.
#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include "system/Md5Lanes.h"
#include "system/Md5Rounds.h"

namespace kel::md5 {
namespace {

struct Avx2 {
    using Vector = __m256i;
    static constexpr std::size_t Width = 8;

    KEL_LANES_INLINE Vector Load(const std::uint32_t* at) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    }
    KEL_LANES_INLINE void Store(std::uint32_t* at, Vector value) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), value);
    }
    KEL_LANES_INLINE Vector All(std::uint32_t number) { return _mm256_set1_epi32(static_cast<int>(number)); }
    KEL_LANES_INLINE Vector Add(Vector left, Vector right) { return _mm256_add_epi32(left, right); }
    template <int Bits>
    KEL_LANES_INLINE Vector Rotate(Vector value) {
        if constexpr (Bits == 16) {
            const __m256i halves = _mm256_set_epi8(13, 12, 15, 14, 9, 8, 11, 10, 5, 4, 7, 6, 1, 0, 3, 2,  //
                                                   13, 12, 15, 14, 9, 8, 11, 10, 5, 4, 7, 6, 1, 0, 3, 2);
            return _mm256_shuffle_epi8(value, halves);
        }
        return _mm256_or_si256(_mm256_slli_epi32(value, Bits), _mm256_srli_epi32(value, 32 - Bits));
    }
    // Each bit of `yes` where `which` is set, else that of `no`.
    KEL_LANES_INLINE Vector Choose(Vector which, Vector yes, Vector no) {
        return _mm256_xor_si256(no, _mm256_and_si256(which, _mm256_xor_si256(yes, no)));
    }
    KEL_LANES_INLINE Vector Parity(Vector b, Vector c, Vector d) { return _mm256_xor_si256(b, _mm256_xor_si256(c, d)); }
    // The two halves of the choice have no bit in common, so that they may be added one after the other.
    KEL_LANES_INLINE Vector AddChoice(Vector sum, Vector which, Vector yes, Vector no) {
        return _mm256_add_epi32(_mm256_add_epi32(sum, _mm256_andnot_si256(which, no)), _mm256_and_si256(which, yes));
    }
    // c ^ (b | ~d) is ~(c ^ (~b & d)), and to add ~x is to subtract x and one more, which the constant has in it.
    static constexpr std::uint32_t LastIsShortBy = 1;
    KEL_LANES_INLINE Vector AddLast(Vector sum, Vector b, Vector c, Vector d) {
        return _mm256_sub_epi32(sum, _mm256_xor_si256(c, _mm256_andnot_si256(b, d)));
    }

    // Eight words of each of eight lanes at a time.
    template <unsigned Set>
    KEL_LANES_INLINE void Transpose(const std::byte* const* data, std::size_t offset, Vector (&words)[16][Sets]) {
        for (unsigned part = 0; part < 2; ++part) {
            // Two lanes in the halves of a vector: what the unpacking by halves leaves is in order at once.
            const auto pair = [&](unsigned lane, unsigned quarter) __attribute__((always_inline)) {
                const std::size_t at = offset + 32 * part + 16 * quarter;
                return _mm256_inserti128_si256(
                    _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data[lane] + at))),
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(data[lane + 4] + at)), 1);
            };
            for (unsigned quarter = 0; quarter < 2; ++quarter) {
                const Vector row0 = pair(0, quarter);
                const Vector row1 = pair(1, quarter);
                const Vector row2 = pair(2, quarter);
                const Vector row3 = pair(3, quarter);
                const Vector low01 = _mm256_unpacklo_epi32(row0, row1);
                const Vector low23 = _mm256_unpacklo_epi32(row2, row3);
                const Vector high01 = _mm256_unpackhi_epi32(row0, row1);
                const Vector high23 = _mm256_unpackhi_epi32(row2, row3);
                const unsigned word = 8 * part + 4 * quarter;
                words[word][Set] = _mm256_unpacklo_epi64(low01, low23);
                words[word + 1][Set] = _mm256_unpackhi_epi64(low01, low23);
                words[word + 2][Set] = _mm256_unpacklo_epi64(high01, high23);
                words[word + 3][Set] = _mm256_unpackhi_epi64(high01, high23);
            }
        }
    }
};

}  // namespace

void TransformAvx2(std::uint32_t* state, const std::byte* const* data, std::size_t blocks) {
    Rounds<Avx2>::Transform(state, data, blocks);
}

}  // namespace kel::md5

#endif
