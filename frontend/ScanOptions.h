// The options of `ombrelane scan`.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frontend/SessionOptions.h"

namespace kel::frontend {

enum class OutputFormat { Text, Jsonl };

/// What the command line asked for.
struct ScanOptions : SessionOptions {
    std::vector<std::string> paths;  ///< Windows paths; empty: all fixed drives
    std::int32_t depth = 3;          ///< enScanDepth
    std::int16_t maxOption = 0;
    bool zips = false;
    OutputFormat format = OutputFormat::Text;
    bool noProgress = false;
};

/// Those that are the scan's own, in the order of the help; behind those of SessionOptionTable.
std::span<const OptionRow<ScanOptions>> ScanOptionTable();

/// What is still missing or contradictory once all options are read; nothing when the scan can start.
std::optional<std::string> CheckScanOptions(const ScanOptions& options);

}  // namespace kel::frontend
