// Dates of the engine in forms that do not depend on a locale.
#pragma once

#include <string>

#include "core/Value.h"

namespace kel::frontend {

/// `2026-11-21T08:25:26`, or with another character between day and time. Local time of the machine, in whole seconds.
[[nodiscard]] std::string IsoDate(Date date, char between = 'T');

}  // namespace kel::frontend
