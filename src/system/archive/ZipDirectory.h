// The central directory of a zip archive.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "archive/UnzipResult.h"
#include "archive/ZipLimits.h"
#include "archive/ZipReader.h"

namespace kel::archive {

/// Reads all entries of an archive in the directory's order, each with the place of its bytes.
/// @return UnzipDone, or why the archive can't be unpacked; then `entries` means nothing.
[[nodiscard]] UnzipResult ReadZipDirectory(std::span<const std::byte> archive, const ZipLimits& limits,
                                           std::vector<ZipEntry>& entries);

}  // namespace kel::archive
