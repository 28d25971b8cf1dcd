// The rounds of MD5 over vectors of lanes. Included by one unit for each kind of processor, which is compiled for that
// processor alone: all here is in the unit's own unnamed namespace, so that no other unit is linked to its code.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::md5 {
namespace {

#define KEL_LANES_INLINE [[gnu::always_inline]] static inline

// Two vectors are worked on by turns, since a step waits for the one before it.
constexpr unsigned Sets = 2;

constexpr std::uint32_t Constants[64] = {
    0xd76aa478U, 0xe8c7b756U, 0x242070dbU, 0xc1bdceeeU, 0xf57c0fafU, 0x4787c62aU, 0xa8304613U, 0xfd469501U,
    0x698098d8U, 0x8b44f7afU, 0xffff5bb1U, 0x895cd7beU, 0x6b901122U, 0xfd987193U, 0xa679438eU, 0x49b40821U,
    0xf61e2562U, 0xc040b340U, 0x265e5a51U, 0xe9b6c7aaU, 0xd62f105dU, 0x02441453U, 0xd8a1e681U, 0xe7d3fbc8U,
    0x21e1cde6U, 0xc33707d6U, 0xf4d50d87U, 0x455a14edU, 0xa9e3e905U, 0xfcefa3f8U, 0x676f02d9U, 0x8d2a4c8aU,
    0xfffa3942U, 0x8771f681U, 0x6d9d6122U, 0xfde5380cU, 0xa4beea44U, 0x4bdecfa9U, 0xf6bb4b60U, 0xbebfbc70U,
    0x289b7ec6U, 0xeaa127faU, 0xd4ef3085U, 0x04881d05U, 0xd9d4d039U, 0xe6db99e5U, 0x1fa27cf8U, 0xc4ac5665U,
    0xf4292244U, 0x432aff97U, 0xab9423a7U, 0xfc93a039U, 0x655b59c3U, 0x8f0ccc92U, 0xffeff47dU, 0x85845dd1U,
    0x6fa87e4fU, 0xfe2ce6e0U, 0xa3014314U, 0x4e0811a1U, 0xf7537e82U, 0xbd3af235U, 0x2ad7d2bbU, 0xeb86d391U};
constexpr int Shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
// The word that a step takes, by round: from, and on by.
constexpr unsigned FirstWord[4] = {0, 1, 5, 0};
constexpr unsigned WordStep[4] = {1, 5, 3, 7};

template <class V>
struct Rounds {
    using Vector = typename V::Vector;

    // `sum` and the round's function of b, c and d.
    template <unsigned Number>
    KEL_LANES_INLINE Vector Mix(Vector sum, Vector b, Vector c, Vector d) {
        if constexpr (Number == 0) {
            return V::Add(sum, V::Choose(b, c, d));
        } else if constexpr (Number == 1) {
            return V::AddChoice(sum, d, b, c);
        } else if constexpr (Number == 2) {
            return V::Add(sum, V::Parity(b, c, d));
        } else {
            return V::AddLast(sum, b, c, d);
        }
    }

    template <unsigned Step>
    KEL_LANES_INLINE void One(Vector (&state)[Sets][4], const Vector (&words)[16][Sets]) {
        constexpr unsigned Number = Step / 16;
        constexpr unsigned Word = (FirstWord[Number] + WordStep[Number] * (Step % 16)) % 16;
        constexpr unsigned A = (4 - Step % 4) % 4;
        constexpr unsigned B = (A + 1) % 4;
        constexpr unsigned C = (A + 2) % 4;
        constexpr unsigned D = (A + 3) % 4;
        const Vector constant = V::All(Constants[Step] - (Number == 3 ? V::LastIsShortBy : 0U));
        Vector sum0 = V::Add(V::Add(state[0][A], words[Word][0]), constant);
        Vector sum1 = V::Add(V::Add(state[1][A], words[Word][1]), constant);
        sum0 = Mix<Number>(sum0, state[0][B], state[0][C], state[0][D]);
        sum1 = Mix<Number>(sum1, state[1][B], state[1][C], state[1][D]);
        state[0][A] = V::Add(V::template Rotate<Shifts[Number][Step % 4]>(sum0), state[0][B]);
        state[1][A] = V::Add(V::template Rotate<Shifts[Number][Step % 4]>(sum1), state[1][B]);
    }

    template <unsigned From>
    KEL_LANES_INLINE void Four(Vector (&state)[Sets][4], const Vector (&words)[16][Sets]) {
        One<From>(state, words);
        One<From + 1>(state, words);
        One<From + 2>(state, words);
        One<From + 3>(state, words);
    }

    template <unsigned From>
    KEL_LANES_INLINE void Sixteen(Vector (&state)[Sets][4], const Vector (&words)[16][Sets]) {
        Four<From>(state, words);
        Four<From + 4>(state, words);
        Four<From + 8>(state, words);
        Four<From + 12>(state, words);
    }

    KEL_LANES_INLINE void Transform(std::uint32_t* numbers, const std::byte* const* data, std::size_t blocks) {
        constexpr std::size_t Lanes = Sets * V::Width;
        Vector state[Sets][4];
        for (unsigned row = 0; row < 4; ++row) {
            state[0][row] = V::Load(numbers + row * Lanes);
            state[1][row] = V::Load(numbers + row * Lanes + V::Width);
        }
        for (std::size_t block = 0; block < blocks; ++block) {
            Vector words[16][Sets];
            V::template Transpose<0>(data, block * 64, words);
            V::template Transpose<1>(data + V::Width, block * 64, words);
            Vector before[Sets][4];
            for (unsigned row = 0; row < 4; ++row) {
                before[0][row] = state[0][row];
                before[1][row] = state[1][row];
            }
            Sixteen<0>(state, words);
            Sixteen<16>(state, words);
            Sixteen<32>(state, words);
            Sixteen<48>(state, words);
            for (unsigned row = 0; row < 4; ++row) {
                state[0][row] = V::Add(state[0][row], before[0][row]);
                state[1][row] = V::Add(state[1][row], before[1][row]);
            }
        }
        for (unsigned row = 0; row < 4; ++row) {
            V::Store(numbers + row * Lanes, state[0][row]);
            V::Store(numbers + row * Lanes + V::Width, state[1][row]);
        }
    }
};

}  // namespace
}  // namespace kel::md5
