// Numbers in the byte order of the table files, whatever that of the machine.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace kel {

/// The unsigned number at `at`, which need not be aligned.
template <class Unsigned>
[[nodiscard]] inline Unsigned LoadLittle(const std::uint8_t* at) {
    Unsigned number = 0;
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(&number, at, sizeof number);
        return number;
    }
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        number = static_cast<Unsigned>(number | static_cast<Unsigned>(static_cast<Unsigned>(at[i]) << (8 * i)));
    }
    return number;
}

template <class Unsigned>
inline void StoreLittle(std::uint8_t* at, Unsigned number) {
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        at[i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
}

template <class Unsigned>
inline void AppendLittle(std::string& bytes, Unsigned number) {
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        bytes += static_cast<char>(static_cast<std::uint8_t>(number >> (8 * i)));
    }
}

[[nodiscard]] inline double LoadReal(const std::uint8_t* at) {
    return std::bit_cast<double>(LoadLittle<std::uint64_t>(at));
}

}  // namespace kel
