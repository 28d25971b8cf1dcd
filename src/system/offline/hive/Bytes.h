// Little-endian numbers at any position of a hive or log.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kel::offline::regf {

static_assert(std::endian::native == std::endian::little, "hives are little-endian and read in place");

template <class T>
[[nodiscard]] inline T Load(const std::byte* at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <class T>
inline void Store(std::byte* at, T value) noexcept {
    std::memcpy(at, &value, sizeof value);
}

[[nodiscard]] inline std::uint16_t Load16(const std::byte* at) noexcept {
    return Load<std::uint16_t>(at);
}
[[nodiscard]] inline std::uint32_t Load32(const std::byte* at) noexcept {
    return Load<std::uint32_t>(at);
}
[[nodiscard]] inline std::uint64_t Load64(const std::byte* at) noexcept {
    return Load<std::uint64_t>(at);
}
inline void Store16(std::byte* at, std::size_t value) noexcept {
    Store(at, static_cast<std::uint16_t>(value));
}
inline void Store32(std::byte* at, std::size_t value) noexcept {
    Store(at, static_cast<std::uint32_t>(value));
}
inline void Store64(std::byte* at, std::uint64_t value) noexcept {
    Store(at, value);
}

/// Two ASCII letters as the signature of a record, `Tag("nk")`.
[[nodiscard]] constexpr std::uint16_t Tag(const char (&letters)[3]) noexcept {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(letters[0]) | static_cast<unsigned char>(letters[1])
                                                                                   << 8);
}

[[nodiscard]] constexpr std::size_t RoundUp(std::size_t value, std::size_t step) noexcept {
    return (value + step - 1) / step * step;
}

inline constexpr std::size_t PageSize = 4096;        ///< bins are multiples of it
inline constexpr std::size_t BinHeaderSize = 32;     ///< "hbin", own offset, size...
inline constexpr std::size_t SectorSize = 512;       ///< unit of the logs
inline constexpr std::uint32_t NoCell = 0xFFFFFFFF;  ///< "none" in every field that holds the offset of a cell
inline constexpr std::size_t MaxBins = 0x7FFFF000;   ///< offsets above have another meaning

}  // namespace kel::offline::regf
