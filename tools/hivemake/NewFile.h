// A file that is written whole or not at all.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <system_error>

namespace kel::hivemake {

/// Puts these bytes in the place of `path`, by way of a temporary file beside it that is gone afterwards in any case.
/// An old file is replaced where it lies, also when `path` is a link to it, and keeps its mode. What is no file (a
/// folder, a device) is refused.
/// @return why it could not be done; then what was there is as it was
[[nodiscard]] std::error_code WriteNewFile(const std::filesystem::path& path, std::span<const std::byte> bytes);

}  // namespace kel::hivemake
