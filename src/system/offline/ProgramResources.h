// Where a program file has its version resource: PE32, PE32+ and NE files.
#pragma once

#include <string>

#include "platform/Files.h"

namespace kel::offline {

/// A version resource is never larger than this, in bytes; what a file claims beyond it is cut.
inline constexpr std::uint32_t MaximumVersionResource = 1U << 20U;

/// The bytes of the file's first version resource. ResourceTypeNotFound when it has none or is no program; the error of
/// the read when it can't be read. Reads only the headers and tables that lead there.
[[nodiscard]] platform::Result<std::string> ReadVersionResource(platform::OpenFile& file);

}  // namespace kel::offline
