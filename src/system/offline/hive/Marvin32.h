// The checksum of new transaction logs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace kel::offline::regf {

/// Marvin32 with the seed that the registry uses.
[[nodiscard]] std::uint64_t Marvin32(std::span<const std::byte> data) noexcept;

}  // namespace kel::offline::regf
