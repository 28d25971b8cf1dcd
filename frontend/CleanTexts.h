// What a clean says to people.
#pragma once

#include <string>
#include <vector>

#include "frontend/CleanRecords.h"

namespace kel::frontend {

/// One line about a threat, ready to be shown.
[[nodiscard]] std::string Outcome(const CleanRecord& record, bool destroys);

/// The last lines.
[[nodiscard]] std::vector<std::string> Conclusion(const CleanSummaryRecord& record);

}  // namespace kel::frontend
