// UTF-16 as the registry stores it, and UTF-8 as the offline platform's code page.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kel::offline {

/// UTF-8 of UTF-16 text. A lone surrogate becomes the three bytes that it would have as a character (WTF-8), so that
/// every UTF-16 text comes back unchanged from FromWtf8.
[[nodiscard]] std::string ToWtf8(std::u16string_view text);

/// UTF-16 of UTF-8 text, with three-byte surrogates taken as they are. A byte that begins no valid sequence becomes
/// the unit of its own number.
[[nodiscard]] std::u16string FromWtf8(std::string_view text);

/// UTF-16 units of little-endian bytes; an odd byte at the end is left out.
[[nodiscard]] std::u16string UnitsFromBytes(std::span<const std::byte> bytes);

/// Little-endian bytes of UTF-16 units.
[[nodiscard]] std::vector<std::byte> BytesFromUnits(std::u16string_view units);

}  // namespace kel::offline
