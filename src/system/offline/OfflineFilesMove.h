// MoveFile: within a drive by the host's rename, a file across drives by a copy that is whole or not there.
#pragma once

#include <string>

#include "offline/PathResolver.h"

namespace kel::offline {

/// Renames without replacing. SysError::NotSameDevice when the host can't rename from here to there.
[[nodiscard]] platform::SysError RenameEntry(const Place& from, const Place& to);

/// Copies a file under a passing name, puts it on the medium, gives it its name, then deletes the old one.
/// A failure leaves the old one alone.
[[nodiscard]] platform::SysError MoveAcross(const Place& from, const Place& to);

}  // namespace kel::offline
