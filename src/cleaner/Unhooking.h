// Finding and cutting the links by which the machine starts or loads a file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cleaner/QuarantineRecords.h"
#include "platform/Registry.h"

/// What fails is reported under the module "modCleanerHelper" and the operation's name, and what was collected so far
/// is the result. A collection is never null: it is empty when there was nothing to cut.
namespace kel::modCleanerHelper {

/// Deletes the values of the run lists that start the file.
/// @return what was deleted
[[nodiscard]] QuarantineLocations<QThreatLocationRegKey> KillAutoRunLocationsRegistry(std::string_view path);
/// The same for one key.
[[nodiscard]] QuarantineLocations<QThreatLocationRegKey> HelperKillAutoRunLocationsRegistry(std::string_view path,
                                                                                            platform::Hive hive,
                                                                                            std::string_view key);
/// Moves the shortcuts of the startup folders that start the file into the quarantine.
/// @param quarantinePath folder of the threat in the quarantine, with its final backslash
[[nodiscard]] QuarantineLocations<QThreatLocationFile> KillAutoRunLocationsFiles(std::string_view path,
                                                                                 std::string_view quarantinePath);
/// Takes the file out of the places where the browser and the shell load extensions. Its records reach no store.
[[nodiscard]] QuarantineLocations<QThreatLocationRegKey> QuarantineCLSIDMods(std::string_view path);
/// Records a key with all that is below it and deletes it.
/// @param recursing records only
[[nodiscard]] QuarantineLocations<QThreatLocationRegKey> CreateQuarantineRegKeySet(platform::Hive hive,
                                                                                   std::string_view key,
                                                                                   bool recursing);
/// Takes the file out of win.ini and system.ini and, for a program, out of the command that opens programs.
/// @return records of ini lines and of registry values
[[nodiscard]] QuarantineRecords QuarantineSpecialFileExeParts(std::string_view path);

/// Name of the first service whose program the file is; empty without one.
[[nodiscard]] std::string IsFileRunningAsService(std::string_view path);
/// Stops and disables a service. @return 0, whatever became of it
std::int32_t KillService(std::string_view name);
/// Deletes the registry keys of a service. @return 0, whatever became of it
std::int32_t RemoveService(std::string_view name);

}  // namespace kel::modCleanerHelper
