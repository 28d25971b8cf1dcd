// MD5 in two vectors of sixteen lanes.
#if defined(__x86_64__) || defined(__i386__)

#if defined(__GNUC__) && !defined(__clang__)
// GCC 12's own headers begin with a value that was never set (GCC bug 105593).
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <immintrin.h>

#include "system/Md5Lanes.h"
#include "system/Md5Rounds.h"

namespace kel::md5 {
namespace {

struct Avx512 {
    using Vector = __m512i;
    static constexpr std::size_t Width = 16;

    KEL_LANES_INLINE Vector Load(const std::uint32_t* at) { return _mm512_loadu_si512(at); }
    KEL_LANES_INLINE void Store(std::uint32_t* at, Vector value) { _mm512_storeu_si512(at, value); }
    KEL_LANES_INLINE Vector All(std::uint32_t number) { return _mm512_set1_epi32(static_cast<int>(number)); }
    KEL_LANES_INLINE Vector Add(Vector left, Vector right) { return _mm512_add_epi32(left, right); }
    template <int Bits>
    KEL_LANES_INLINE Vector Rotate(Vector value) {
        return _mm512_rol_epi32(value, Bits);
    }
    // Each bit of `yes` where `which` is set, else that of `no`. The numbers are truth tables of three bits.
    KEL_LANES_INLINE Vector Choose(Vector which, Vector yes, Vector no) {
        return _mm512_ternarylogic_epi32(which, yes, no, 0xCA);
    }
    KEL_LANES_INLINE Vector Parity(Vector b, Vector c, Vector d) { return _mm512_ternarylogic_epi32(b, c, d, 0x96); }
    KEL_LANES_INLINE Vector AddChoice(Vector sum, Vector which, Vector yes, Vector no) {
        return Add(sum, Choose(which, yes, no));
    }
    static constexpr std::uint32_t LastIsShortBy = 0;
    KEL_LANES_INLINE Vector AddLast(Vector sum, Vector b, Vector c, Vector d) {
        return Add(sum, _mm512_ternarylogic_epi32(b, c, d, 0x39));
    }

    // Sixteen words of each of sixteen lanes: fours of lanes inside the quarters of vectors, then the quarters.
    template <unsigned Set>
    KEL_LANES_INLINE void Transpose(const std::byte* const* data, std::size_t offset, Vector (&words)[16][Sets]) {
        Vector fours[4][4];  // of lanes, by word within a quarter
        for (unsigned four = 0; four < 4; ++four) {
            const Vector row0 = _mm512_loadu_si512(data[4 * four] + offset);
            const Vector row1 = _mm512_loadu_si512(data[4 * four + 1] + offset);
            const Vector row2 = _mm512_loadu_si512(data[4 * four + 2] + offset);
            const Vector row3 = _mm512_loadu_si512(data[4 * four + 3] + offset);
            const Vector low01 = _mm512_unpacklo_epi32(row0, row1);
            const Vector low23 = _mm512_unpacklo_epi32(row2, row3);
            const Vector high01 = _mm512_unpackhi_epi32(row0, row1);
            const Vector high23 = _mm512_unpackhi_epi32(row2, row3);
            fours[four][0] = _mm512_unpacklo_epi64(low01, low23);
            fours[four][1] = _mm512_unpackhi_epi64(low01, low23);
            fours[four][2] = _mm512_unpacklo_epi64(high01, high23);
            fours[four][3] = _mm512_unpackhi_epi64(high01, high23);
        }
        for (unsigned word = 0; word < 4; ++word) {
            const Vector even0 = _mm512_shuffle_i32x4(fours[0][word], fours[1][word], 0x88);
            const Vector odd0 = _mm512_shuffle_i32x4(fours[0][word], fours[1][word], 0xDD);
            const Vector even1 = _mm512_shuffle_i32x4(fours[2][word], fours[3][word], 0x88);
            const Vector odd1 = _mm512_shuffle_i32x4(fours[2][word], fours[3][word], 0xDD);
            words[word][Set] = _mm512_shuffle_i32x4(even0, even1, 0x88);
            words[word + 4][Set] = _mm512_shuffle_i32x4(odd0, odd1, 0x88);
            words[word + 8][Set] = _mm512_shuffle_i32x4(even0, even1, 0xDD);
            words[word + 12][Set] = _mm512_shuffle_i32x4(odd0, odd1, 0xDD);
        }
    }
};

}  // namespace

void TransformAvx512(std::uint32_t* state, const std::byte* const* data, std::size_t blocks) {
    Rounds<Avx512>::Transform(state, data, blocks);
}

}  // namespace kel::md5

#endif
