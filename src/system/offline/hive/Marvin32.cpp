#include "hive/Marvin32.h"

#include <bit>

#include "hive/Bytes.h"

namespace kel::offline::regf {
namespace {

constexpr std::uint64_t Seed = 0x82EF4D887A4E55C5;

struct State {
    std::uint32_t low = static_cast<std::uint32_t>(Seed);
    std::uint32_t high = static_cast<std::uint32_t>(Seed >> 32);

    void Mix(std::uint32_t word) noexcept {
        low += word;
        high ^= low;
        low = std::rotl(low, 20) + high;
        high = std::rotl(high, 9) ^ low;
        low = std::rotl(low, 27) + high;
        high = std::rotl(high, 19);
    }
};

}  // namespace

std::uint64_t Marvin32(std::span<const std::byte> data) noexcept {
    State state;
    std::size_t at = 0;
    for (; at + 4 <= data.size(); at += 4)
        state.Mix(Load32(data.data() + at));
    std::uint32_t last = 0x80U << (8 * (data.size() - at));
    for (std::size_t i = 0; at + i < data.size(); ++i)
        last |= static_cast<std::uint32_t>(data[at + i]) << (8 * i);
    state.Mix(last);
    state.Mix(0);
    return std::uint64_t{state.high} << 32 | state.low;
}

}  // namespace kel::offline::regf
