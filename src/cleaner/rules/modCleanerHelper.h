// The rules that scanner and cleaner share: what must stay, what kind of file a path names, and which file stands
// behind a place in the registry.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Registry.h"
#include "results/Enumerations.h"

/// What fails is reported under the module "modCleanerHelper" and answers false, empty or ThreatFileTypeGeneral.
namespace kel::modCleanerHelper {

// The tests that stand between every removal and the disk or the registry. True means: leave it alone.

/// By name, by place and by the publisher in the file's version resource.
[[nodiscard]] bool RestrictRemoveFile(std::string_view path);
/// Whether the path is one of the machine's own folders, written with the final backslash that its entry has. What is
/// below such a folder is not protected. The list is made at the first call and never refreshed.
[[nodiscard]] bool RestrictRemoveFolder(std::string_view path);
/// Whether the key is one that the machine needs, in any hive. What is below such a key is not protected.
[[nodiscard]] bool RestrictRemoveRegistryKey(platform::Hive hive, std::string_view key);
/// Whether the value is one that the machine needs, in any hive. The entries have a blank before the bracket and the
/// text that they are compared with has none, so no value is ever refused.
[[nodiscard]] bool RestrictRemoveRegistryValue(platform::Hive hive, std::string_view key, std::string_view name);

/// The kind of a file by the last three letters of its path.
[[nodiscard]] enThreatFileTypes GetThreatFileType(std::string_view path);

// From a registry location to what is behind it. The places are known by parts of the key, without regard to case; the
// first that fits decides. `data` is not looked at: where a value's data count they are read anew.

/// The file that a key or a value leads to: a downloaded component, a type library, an interface, a shared library, a
/// module in use, a registered class or a run entry. Empty for any other place. A shared library and a module are
/// named as the registry names them, whether they are there or not.
[[nodiscard]] std::string GetFilePathfromRegistryLocations(platform::Hive hive, std::string_view key,
                                                           std::string_view name, std::string_view data);
/// The class that a key or a value names, in braces; empty for a place that names none.
[[nodiscard]] std::string GetCLSIDfromRegistryLocations(platform::Hive hive, std::string_view key,
                                                        std::string_view name, std::string_view data);

// Component servers.

/// Whether some class of the machine is served by that file. A path of fewer than three characters is none.
[[nodiscard]] bool IsCOMRegistered(std::string_view path);
/// Has a library register or unregister its components by its own entry point, which runs the library's code.
/// @return what the entry point answers, or the platform's error number when it can't be called (50 on a machine that
/// does not run); 1 for a program (".exe"), which is never run; 0 for a path of fewer than three characters.
std::int32_t RegisterCOM(std::string_view path);
std::int32_t UnRegisterCOM(std::string_view path);

// Repairs of what threats change and nobody wants deleted.

/// Takes every line that contains `text`, without regard to case, out of a text file, and with them the lines of fewer
/// than two characters. What stays is trimmed. A read-only file is read-only again afterwards; nothing happens when the
/// file is missing. A file that can't be read as a whole is not written.
void RemoveFullLineFromFile(std::string_view text, std::string_view path);
/// Writes what the settings expect in a value of the browser; without that, `original` over data that are there. A
/// value that is missing or empty stays so.
/// @param name empty for the default value
void ResetIEURL(platform::Hive hive, std::string_view key, std::string_view name, std::string_view original);
/// Gives the browser back the addresses that it was shipped with, wherever it has any.
void RestoreIEURLSettings();

// The cleaner's log.

/// Whether CleanerLog writes; false at first.
[[nodiscard]] bool& EnableLog();
/// Appends the present date and time, "::" and the text to `logs\cleaner.log` in the user data folder.
void CleanerLog(std::string_view text);

}  // namespace kel::modCleanerHelper
