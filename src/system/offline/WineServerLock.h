// Whether a Wine prefix is in use.
#pragma once

#include <filesystem>
#include <string>

namespace kel::offline {

/// The lock file that a running server of that prefix holds, empty when no server runs. A running server keeps the
/// registry in memory and writes its files when it likes, so what another program writes to them is lost.
[[nodiscard]] std::string HeldServerLock(const std::filesystem::path& prefix);

}  // namespace kel::offline
