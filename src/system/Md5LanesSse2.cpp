// MD5 in two vectors of four lanes.
#if defined(__x86_64__) || defined(__i386__)

#include <emmintrin.h>

#include "system/Md5Lanes.h"
#include "system/Md5Rounds.h"

namespace kel::md5 {
namespace {

struct Sse2 {
    using Vector = __m128i;
    static constexpr std::size_t Width = 4;

    KEL_LANES_INLINE Vector Load(const std::uint32_t* at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    }
    KEL_LANES_INLINE void Store(std::uint32_t* at, Vector value) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), value);
    }
    KEL_LANES_INLINE Vector All(std::uint32_t number) { return _mm_set1_epi32(static_cast<int>(number)); }
    KEL_LANES_INLINE Vector Add(Vector left, Vector right) { return _mm_add_epi32(left, right); }
    template <int Bits>
    KEL_LANES_INLINE Vector Rotate(Vector value) {
        if constexpr (Bits == 16) {
            return _mm_shufflehi_epi16(_mm_shufflelo_epi16(value, 0xB1), 0xB1);
        }
        return _mm_or_si128(_mm_slli_epi32(value, Bits), _mm_srli_epi32(value, 32 - Bits));
    }
    // Each bit of `yes` where `which` is set, else that of `no`.
    KEL_LANES_INLINE Vector Choose(Vector which, Vector yes, Vector no) {
        return _mm_xor_si128(no, _mm_and_si128(which, _mm_xor_si128(yes, no)));
    }
    KEL_LANES_INLINE Vector Parity(Vector b, Vector c, Vector d) { return _mm_xor_si128(b, _mm_xor_si128(c, d)); }
    // The two halves of the choice have no bit in common, so that they may be added one after the other.
    KEL_LANES_INLINE Vector AddChoice(Vector sum, Vector which, Vector yes, Vector no) {
        return _mm_add_epi32(_mm_add_epi32(sum, _mm_andnot_si128(which, no)), _mm_and_si128(which, yes));
    }
    // c ^ (b | ~d) is ~(c ^ (~b & d)), and to add ~x is to subtract x and one more, which the constant has in it.
    static constexpr std::uint32_t LastIsShortBy = 1;
    KEL_LANES_INLINE Vector AddLast(Vector sum, Vector b, Vector c, Vector d) {
        return _mm_sub_epi32(sum, _mm_xor_si128(c, _mm_andnot_si128(b, d)));
    }

    // Four words of each of four lanes at a time.
    template <unsigned Set>
    KEL_LANES_INLINE void Transpose(const std::byte* const* data, std::size_t offset, Vector (&words)[16][Sets]) {
        for (unsigned part = 0; part < 4; ++part) {
            const auto row = [&](unsigned lane) __attribute__((always_inline)) {
                return _mm_loadu_si128(reinterpret_cast<const __m128i*>(data[lane] + offset + 16 * part));
            };
            const Vector low01 = _mm_unpacklo_epi32(row(0), row(1));
            const Vector low23 = _mm_unpacklo_epi32(row(2), row(3));
            const Vector high01 = _mm_unpackhi_epi32(row(0), row(1));
            const Vector high23 = _mm_unpackhi_epi32(row(2), row(3));
            words[4 * part][Set] = _mm_unpacklo_epi64(low01, low23);
            words[4 * part + 1][Set] = _mm_unpackhi_epi64(low01, low23);
            words[4 * part + 2][Set] = _mm_unpacklo_epi64(high01, high23);
            words[4 * part + 3][Set] = _mm_unpackhi_epi64(high01, high23);
        }
    }
};

}  // namespace

void TransformSse2(std::uint32_t* state, const std::byte* const* data, std::size_t blocks) {
    Rounds<Sse2>::Transform(state, data, blocks);
}

}  // namespace kel::md5

#endif
