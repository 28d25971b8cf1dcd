// What could not be removed while the machine runs: lists in the registry for the small program that works them at the
// next logon.
#pragma once

#include <string_view>

#include "platform/Registry.h"

namespace kel::boot {

// Keys below HKEY_CURRENT_USER.
inline constexpr std::string_view Threats = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe)";
inline constexpr std::string_view Destroy = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\Destroy)";
inline constexpr std::string_view DelFolders = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFolders)";
inline constexpr std::string_view DelFiles = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFiles)";
inline constexpr std::string_view DelRegKeys = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelRegKeys)";
inline constexpr std::string_view DelRegValues = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelRegValues)";
inline constexpr std::string_view Product = R"(SOFTWARE\Kelvane Software\Ombrelane)";
inline constexpr std::string_view UserDataValue = "UserDataRootPath";
inline constexpr std::string_view RunOnce = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)";
inline constexpr std::string_view RunOnceValue = "OmbrelaneCleaner";

/// Whether what is left for the machine's next start will be done then. A machine that does not run has no next start
/// to wait for: there the lists are neither read nor written, and so it is with the system's own list.
[[nodiscard]] bool HasNextStart();

/// Lets the cleaner program run once at the next logon. Doing so twice does no harm.
void Schedule();

/// Tells the program that runs then where the user's data are, for front ends that give the engine another folder than
/// its own choice: the quarantine and the history of what is listed lie there.
void NameUserData(std::string_view folder);

/// Whether the list holds an entry of that name, without regard to case.
[[nodiscard]] bool Holds(std::string_view list, std::string_view name);

/// Writes one entry and schedules the program.
void Put(std::string_view list, std::string_view name, std::string_view data);

}  // namespace kel::boot

/// The writers of the lists. What must stay is not listed. A write that fails is silent.
namespace kel::modCleanerHelper {

void AddCleanerFolder(std::string_view path);
void AddCleanerFile(std::string_view path);
/// A key of fewer than six characters is not listed.
void AddCleanerRegKey(platform::Hive hive, std::string_view key);
/// The same for a value. One that is given twice is listed twice.
void AddCleanerRegValue(platform::Hive hive, std::string_view key, std::string_view name);

// Only for places that a running threat writes back to, known by parts of the key, without regard to case.

void AddCleanerRegKeyByLocation(platform::Hive hive, std::string_view key);
void AddCleanerRegValueByLocation(platform::Hive hive, std::string_view key, std::string_view name);

}  // namespace kel::modCleanerHelper
