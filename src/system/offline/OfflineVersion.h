// Which version of Windows a machine runs that does not run.
#pragma once

#include <optional>

#include "platform/Files.h"
#include "platform/Registry.h"
#include "platform/SystemInfo.h"

namespace kel::offline {

/// Of a Wine prefix: the version that the user chose for its programs, else what CurrentVersion says.
[[nodiscard]] std::optional<platform::OsVersion> VersionOfWinePrefix(platform::Registry& registry);
/// What `SOFTWARE\Microsoft\Windows NT\CurrentVersion` says.
[[nodiscard]] std::optional<platform::OsVersion> VersionFromRegistry(platform::Registry& registry);
/// By the names of the folders, where there is no registry. Nothing when drive C: has no Windows folder.
[[nodiscard]] std::optional<platform::OsVersion> VersionFromFolders(platform::Files& files);

}  // namespace kel::offline
