// A hive made from nothing: a root key without subkeys or values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace kel::offline::regf {

/// The bytes of a new hive of version 1.`minor` (1 to 6).
/// @param root name of the root key, at most 255 units
/// @param now FILETIME for its time stamps
[[nodiscard]] std::vector<std::byte> MakeHive(std::uint32_t minor, std::u16string_view root, std::uint64_t now);

}  // namespace kel::offline::regf
