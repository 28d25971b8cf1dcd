// GetLongPathNameA, also where the system has none.
#pragma once

#include <string>

#include "platform/Result.h"

namespace kel::windows {

/// The path with every component by its long name; the error of the component that is not there.
platform::Result<std::string> LongPathOf(const std::string& path);

/// The same, component by component through FindFirstFileA: for systems without GetLongPathNameA (95, NT 4).
platform::Result<std::string> LongPathByFind(const std::string& path);

}  // namespace kel::windows
