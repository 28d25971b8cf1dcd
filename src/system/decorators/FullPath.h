// Paths in one form, so that a decorator can compare them.
#pragma once

#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace kel::decorators {

/// The absolute path in lower case: without `\\?\`, `.`, `..`, doubled backslashes, trailing dots and blanks of a
/// component, and without a trailing backslash except at a drive's root (`c:\`).
[[nodiscard]] std::string FullPath(const platform::Platform& platform, std::string_view path);

/// Whether `path` is `folder` or lies below it; both as FullPath gives them.
[[nodiscard]] bool IsInside(std::string_view path, std::string_view folder);

}  // namespace kel::decorators
