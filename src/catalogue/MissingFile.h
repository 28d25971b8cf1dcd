// The line of the error log for a shipped table that is not there.
#pragma once

#include <source_location>
#include <string_view>

namespace kel {

/// Reports "ln ", the caller's line, ":Missing file ", what the file holds, and its path: for the information of who
/// reads the log, since no statement failed.
/// @param what "Threat Data" or "Scan Data"
void ReportMissingFile(std::string_view what, std::string_view path,
                       std::source_location where = std::source_location::current()) noexcept;

}  // namespace kel
