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

enum class OutputFormat { Text, Jsonl, Xml, Html };

/// The engine's own texts about a scan.
enum class ScanReport { Summary, Full, Files, Folders, Registry, Cookies };

/// What the command line asked for.
struct ScanOptions : SessionOptions {
    std::vector<std::string> paths;  ///< Windows paths; empty: all fixed drives
    bool processes = false;
    bool modules = false;
    bool common = false;
    bool registry = false;
    bool cookies = false;
    bool full = false;
    bool allUsers = false;
    std::int32_t depth = 3;  ///< enScanDepth
    std::int16_t maxOption = 0;
    std::int32_t maxMd5Len = 0;  ///< bytes; 0: the engine's own limit
    bool zips = false;
    bool skipCommonFiles = false;
    bool suspendActive = false;
    std::int32_t priority = 0;          ///< the system's number of a priority class; 0: as it is
    std::int32_t threat = 0;            ///< the only threat to look for; 0: all
    std::vector<std::int32_t> threats;  ///< as they were named; of a scan that cleans, those that are to go
    bool quarantine = false;
    bool destroy = false;
    bool yes = false;
    OutputFormat format = OutputFormat::Text;
    bool formatNamed = false;  ///< it is not the default
    std::optional<ScanReport> report;
    std::string output;  ///< file of the host; empty: standard output
    bool noProgress = false;

    [[nodiscard]] bool Cleans() const { return quarantine || destroy; }
};

template <class Options>
struct OptionRow;

/// Those that are the scan's own, in the order of the help; behind those of SessionOptionTable.
std::span<const OptionRow<ScanOptions>> ScanOptionTable();

/// What is still missing or contradictory once all options are read; nothing when the scan can start.
std::optional<std::string> CheckScanOptions(const ScanOptions& options);

}  // namespace kel::frontend
