// Unpacking a whole archive into a folder of the machine.
#pragma once

#include <functional>
#include <string_view>

#include "archive/UnzipResult.h"
#include "archive/ZipLimits.h"

namespace kel::archive {

/// Tells which entries are wanted, by their relative path in the machine's code page.
using EntryFilter = std::function<bool(std::string_view path)>;

/// Unpacks an archive into an existing folder, with the folders that the entries' names hold. Nothing is written
/// outside it and no existing file is overwritten. All names and sizes are checked before the first byte is written.
/// A failure is no exception; what came out before it stays for the caller to remove.
[[nodiscard]] UnzipResult Unzip(std::string_view archive, std::string_view folder, const EntryFilter& wanted,
                                const ZipLimits& limits = DefaultZipLimits);

}  // namespace kel::archive
