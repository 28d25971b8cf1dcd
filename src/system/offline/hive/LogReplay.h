// Brings a dirty hive up to date in memory from its transaction logs, as Windows does when it loads it.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "hive/HiveImage.h"

namespace kel::offline::regf {

/// One log as it lies on the disk.
struct LogFile {
    std::string path;
    std::vector<std::byte> bytes;
};

/// What a replay did.
struct ReplayOutcome {
    bool dirty = false;              ///< the hive's own header asks for a replay
    bool replayed = false;           ///< at least one log was applied
    std::vector<std::string> notes;  ///< for people: what was applied, and which log was not and why
};

/// Applies those of `logs` (in any order) that belong to a dirty hive, and mends the image's base block. A clean hive
/// stays untouched: its logs are void. A stale log, or one that is torn, ends the replay there.
[[nodiscard]] ReplayOutcome ReplayLogs(HiveImage& image, std::span<const LogFile> logs);

}  // namespace kel::offline::regf
