// The records that lie in cells: where their fields are. Offsets count from the content of the cell.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "hive/Bytes.h"
#include "hive/Names.h"

namespace kel::offline::regf {

/// `nk`, a key.
namespace nk {
inline constexpr std::size_t FlagsAt = 2;
inline constexpr std::size_t WrittenAt = 4;
inline constexpr std::size_t ParentAt = 16;
inline constexpr std::size_t SubkeyCountAt = 20;
inline constexpr std::size_t SubkeyListAt = 28;
inline constexpr std::size_t VolatileListAt = 32;
inline constexpr std::size_t ValueCountAt = 36;
inline constexpr std::size_t ValueListAt = 40;
inline constexpr std::size_t SecurityAt = 44;
inline constexpr std::size_t ClassAt = 48;
inline constexpr std::size_t MaxNameAt = 52;  ///< 16 bits; newer versions keep flags above
inline constexpr std::size_t MaxClassAt = 56;
inline constexpr std::size_t MaxValueNameAt = 60;
inline constexpr std::size_t MaxValueDataAt = 64;
inline constexpr std::size_t NameLengthAt = 72;
inline constexpr std::size_t ClassLengthAt = 74;
inline constexpr std::size_t NameAt = 76;

inline constexpr std::uint16_t HiveEntry = 0x04;
inline constexpr std::uint16_t NoDelete = 0x08;
inline constexpr std::uint16_t CompressedName = 0x20;
inline constexpr std::uint16_t PredefinedHandle = 0x40;  ///< the value count is a handle
}  // namespace nk

/// `vk`, a value.
namespace vk {
inline constexpr std::size_t NameLengthAt = 2;
inline constexpr std::size_t DataSizeAt = 4;
inline constexpr std::size_t DataAt = 8;
inline constexpr std::size_t TypeAt = 12;
inline constexpr std::size_t FlagsAt = 16;
inline constexpr std::size_t NameAt = 20;

inline constexpr std::uint16_t CompressedName = 0x01;
inline constexpr std::uint32_t Resident = 0x80000000;  ///< up to four bytes lie in the offset field
}  // namespace vk

/// `sk`, a security descriptor that keys share; all of a hive hang together in a ring.
namespace sk {
inline constexpr std::size_t NextAt = 4;
inline constexpr std::size_t PreviousAt = 8;
inline constexpr std::size_t ReferencesAt = 12;
inline constexpr std::size_t SizeAt = 16;
inline constexpr std::size_t DescriptorAt = 20;
}  // namespace sk

/// Lists of subkeys (`li`, `lf`, `lh`), lists of such lists (`ri`), and lists of data segments (`db`).
namespace list {
inline constexpr std::size_t CountAt = 2;
inline constexpr std::size_t EntriesAt = 4;
}  // namespace list

namespace db {
inline constexpr std::size_t CountAt = 2;
inline constexpr std::size_t SegmentsAt = 4;
inline constexpr std::size_t RecordSize = 8;
inline constexpr std::size_t SegmentSize = 16344;
inline constexpr std::uint32_t FirstMinor = 4;  ///< versions before keep large data in one cell
}  // namespace db

[[nodiscard]] inline bool HasTag(std::span<const std::byte> content, const char (&letters)[3]) noexcept {
    return content.size() >= 4 && Load16(content.data()) == Tag(letters);
}

/// Whether the content is a key whose name lies within it.
[[nodiscard]] inline bool IsKey(std::span<const std::byte> content) noexcept {
    return content.size() >= nk::NameAt && HasTag(content, "nk") &&
           Load16(content.data() + nk::NameLengthAt) <= content.size() - nk::NameAt;
}
/// Only of content that IsKey.
[[nodiscard]] inline NameView KeyNameOf(const std::byte* key) noexcept {
    return {key + nk::NameAt, Load16(key + nk::NameLengthAt), (Load16(key + nk::FlagsAt) & nk::CompressedName) != 0};
}
/// Whether the content is a value whose name lies within it.
[[nodiscard]] inline bool IsValue(std::span<const std::byte> content) noexcept {
    return content.size() >= vk::NameAt && HasTag(content, "vk") &&
           Load16(content.data() + vk::NameLengthAt) <= content.size() - vk::NameAt;
}
/// Only of content that IsValue. NT 3.1 has no flags there.
[[nodiscard]] inline NameView ValueNameOf(const std::byte* value, std::uint32_t minor) noexcept {
    return {value + vk::NameAt, Load16(value + vk::NameLengthAt),
            minor >= 2 && (Load16(value + vk::FlagsAt) & vk::CompressedName) != 0};
}
[[nodiscard]] inline bool IsSecurity(std::span<const std::byte> content) noexcept {
    return content.size() >= sk::DescriptorAt && HasTag(content, "sk") &&
           Load32(content.data() + sk::SizeAt) <= content.size() - sk::DescriptorAt;
}

/// Bytes of one entry of a leaf list: 4 in `li`, 8 in `lf` and `lh`; 0 when the content is none of them.
[[nodiscard]] inline std::size_t LeafEntrySize(std::span<const std::byte> content) noexcept {
    if (HasTag(content, "lf") || HasTag(content, "lh"))
        return 8;
    return HasTag(content, "li") ? 4 : 0;
}

}  // namespace kel::offline::regf
