// The run time's errors for what the platform answers to a file operation.
#pragma once

#include <source_location>
#include <string_view>

#include "core/RuntimeError.h"
#include "platform/SysError.h"

namespace kel {

/// The run time's error number for a platform error of a file operation: 52 for a name that is none, 53 for a missing
/// file, 76 for a missing folder, 70 when it is in use, 75 when access is refused, 58 when it is there already, 61 when
/// the disk is full, 57 for all else.
[[nodiscard]] int FileErrorNumber(platform::SysError error) noexcept;

/// Raises that error, with the path in its text.
[[noreturn]] void RaiseFileError(platform::SysError error, std::string_view path,
                                 std::source_location where = std::source_location::current());

}  // namespace kel
