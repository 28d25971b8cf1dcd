// The options of `ombrelane scan`, as a table: the parser, the help and the manual are made from it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kel::frontend {

enum class OutputFormat { Text, Jsonl };

/// What the command line asked for.
struct ScanOptions {
    std::string machine;
    std::vector<std::string> drives;  ///< `C=DIR`
    std::string user;
    std::string data;
    std::string userData;
    std::vector<std::string> paths;  ///< Windows paths; empty: all fixed drives
    std::int32_t depth = 3;          ///< enScanDepth
    std::int16_t maxOption = 0;
    bool zips = false;
    OutputFormat format = OutputFormat::Text;
    bool noProgress = false;
};

/// One option. `apply` answers what is wrong with the value, or nothing.
struct OptionRow {
    const char* name;      ///< with its two hyphens
    const char* argument;  ///< what the value is called in the help; empty for a switch
    bool repeatable;
    const char* help;
    std::optional<std::string> (*apply)(ScanOptions& options, const std::string& value);
};

/// All options in the order of the help.
std::span<const OptionRow> ScanOptionTable();

/// What is still missing or contradictory once all options are read; nothing when the scan can start.
std::optional<std::string> CheckScanOptions(const ScanOptions& options);

}  // namespace kel::frontend
