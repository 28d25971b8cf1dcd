// The line of the error log for a shipped table that is not there.
#pragma once

#include <string_view>

#include "core/SourceLocation.h"

namespace kel {

/// Reports "ln ", the caller's line, ":Missing file ", what the file holds, and its path: for the information of who
/// reads the log, since no statement failed.
/// @param what "Threat Data" or "Scan Data"
void ReportMissingFile(std::string_view what, std::string_view path,
                       SourceLocation where = SourceLocation::current()) noexcept;

}  // namespace kel
