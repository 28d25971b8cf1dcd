// Transaction logs since Windows 8.1: numbered entries (HvLE) of whole pages, each with two checksums.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "hive/BaseBlock.h"
#include "hive/HiveImage.h"

namespace kel::offline::regf {

/// What the entries of one log did to an image.
struct NewLogOutcome {
    std::size_t applied = 0;
    std::size_t skipped = 0;       ///< older than the hive
    bool stoppedByDamage = false;  ///< a torn entry, or one whose number does not follow, ended the replay
};

/// Whether the file is a log of this kind with an intact header.
[[nodiscard]] bool IsNewLog(std::span<const std::byte> log) noexcept;

/// Applies the entries numbered `next` and up to the image's bins, as long as the numbers follow each other. `next` and
/// `fields.binsSize` go on with them. Entries before `next` are left out; the first invalid entry ends the replay.
NewLogOutcome ApplyNewLog(std::span<const std::byte> log, HiveImage& image, BaseBlock& fields, std::uint32_t& next);

}  // namespace kel::offline::regf
