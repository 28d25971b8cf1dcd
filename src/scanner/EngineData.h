// Loading of everything that the engine works with.
#pragma once

#include <string_view>

/// The part of this module that a scan reaches. The start of the process is in the engine module, the loaders of the
/// shipped tables are in the catalogue.
namespace kel::modMain {

/// Settles the folder of the user's data: the one that a client chose, or else "Kelvane Software\Ombrelane" below the
/// user's local application data. Makes it if it is missing. State().UserDataFolder ends in a backslash afterwards.
void PrepareUserDataFolder();

/// Loads everything, and replaces what was loaded before. Each loader traps its own failures, so the data count as
/// initialised afterwards even when a table was missing.
void LoadEngineData();

}  // namespace kel::modMain
