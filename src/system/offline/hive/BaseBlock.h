// The first page of a hive, and the first sector of its logs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kel::offline::regf {

/// What the type field of a base block says the file is.
enum class FileType : std::uint32_t { Primary = 0, LogXp = 1, LogNt = 2, LogNew = 6 };

/// Fields of a base block; offsets in the file are those of the members' order in BaseBlock.cpp.
struct BaseBlock {
    std::uint32_t sequence1 = 1;  ///< raised before a write
    std::uint32_t sequence2 = 1;  ///< made equal after it
    std::uint64_t written = 0;    ///< FILETIME
    std::uint32_t major = 1;
    std::uint32_t minor = 5;
    FileType type = FileType::Primary;
    std::uint32_t root = 0x20;
    std::uint32_t binsSize = 0;
    bool checksumOk = false;

    [[nodiscard]] bool Dirty() const noexcept { return sequence1 != sequence2 || !checksumOk; }
};

inline constexpr std::size_t MinorOffset = 24;

/// XOR of the first 127 words, where 0 becomes 1 and ~0 becomes ~1. `block` has at least 508 bytes.
[[nodiscard]] std::uint32_t Checksum(const std::byte* block) noexcept;

/// Whether it starts with "regf".
[[nodiscard]] bool HasHiveSignature(std::span<const std::byte> file) noexcept;

/// `block` has at least 512 bytes.
[[nodiscard]] BaseBlock ParseBaseBlock(const std::byte* block) noexcept;

/// Writes the fields over a block that is there already, and the checksum over all.
void StoreBaseBlock(std::byte* block, const BaseBlock& fields) noexcept;

/// Empty when a file that begins like this can be read, otherwise why not.
[[nodiscard]] std::string WhyNotAHive(std::span<const std::byte> file);

}  // namespace kel::offline::regf
