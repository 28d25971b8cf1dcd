// Transaction logs up to Windows 8: one set of changed sectors behind a map of them (DIRT).
#pragma once

#include <cstddef>
#include <span>

#include "hive/BaseBlock.h"
#include "hive/HiveImage.h"

namespace kel::offline::regf {

/// Whether the file is a log of this kind whose header is intact and whose writing was finished.
[[nodiscard]] bool IsOldLog(std::span<const std::byte> log) noexcept;

/// Applies the log whole or, when it is torn, not at all. `fields` take the log's own header. Answers whether it did.
bool ApplyOldLog(std::span<const std::byte> log, HiveImage& image, BaseBlock& fields);

}  // namespace kel::offline::regf
