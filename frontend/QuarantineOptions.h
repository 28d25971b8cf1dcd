// The options of `ombrelane quarantine` and `ombrelane clean`.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "frontend/ScanOptions.h"

namespace kel::frontend {

template <class Options>
struct OptionRow;

struct QuarantineOptions : SessionOptions {
    OutputFormat format = OutputFormat::Text;
    std::vector<std::string> ids;  ///< of records in the quarantine
};

struct CleanOptions : SessionOptions {
    OutputFormat format = OutputFormat::Text;
    std::string scan;
    std::vector<std::int32_t> threats;
    bool noProgress = false;
};

/// Those that are the commands' own, behind those of SessionOptionTable.
std::span<const OptionRow<QuarantineOptions>> QuarantineOptionTable();
std::span<const OptionRow<CleanOptions>> CleanOptionTable();

/// What is still missing or contradictory once all options are read; nothing when the command can start.
std::optional<std::string> CheckCleanOptions(const CleanOptions& options);

}  // namespace kel::frontend
