// All that a machine holds below a place, to be compared with what it holds later.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Platform.h"

namespace kel::test {

/// One line for each file and folder below `folder` (with a trailing backslash): its path, attributes, size, time of
/// the last write and, of a file, a digest of its bytes.
std::vector<std::string> SnapshotOfFiles(const platform::Platform& machine, const std::string& folder);

/// One line for each key and value at and below `key`, with types and bytes.
std::vector<std::string> SnapshotOfKeys(const platform::Platform& machine, platform::Hive hive, const std::string& key);

}  // namespace kel::test
