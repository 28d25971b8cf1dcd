// The options of the commands that look at records and at no machine: history, ignore, threats, diagnostics.
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

struct RecordOptions {
    std::string data;
    std::string userData;
    OutputFormat format = OutputFormat::Text;
    bool dryRun = false;                ///< nothing is written, everything that would be is told
    std::string scan;                   ///< identifier, of commands that name a scan
    std::vector<std::int32_t> threats;  ///< of commands that name threats
};

std::span<const OptionRow<RecordOptions>> RecordOptionTable();

/// Takes a word of the command line that is no option. Each answers what is wrong with it, or nothing.
std::optional<std::string> TakeScan(RecordOptions& options, const std::string& word);
std::optional<std::string> TakeThreat(RecordOptions& options, const std::string& word);

}  // namespace kel::frontend
