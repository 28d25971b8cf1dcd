// Little-endian numbers at places of an archive that may not be there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kel::archive {

/// `length` bytes from `at`, or nothing when they are not all there.
[[nodiscard]] inline std::optional<std::span<const std::byte>> BytesAt(std::span<const std::byte> bytes,
                                                                       std::uint64_t at, std::uint64_t length) {
    if (at > bytes.size() || length > bytes.size() - at) {
        return std::nullopt;
    }
    return bytes.subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(length));
}

/// The number at `at`, which must be there.
template <class Unsigned>
[[nodiscard]] Unsigned NumberAt(std::span<const std::byte> bytes, std::size_t at) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        number |= std::to_integer<std::uint64_t>(bytes[at + i]) << (8 * i);
    }
    return static_cast<Unsigned>(number);
}

}  // namespace kel::archive
