// The user's tables: which there are, how they come into being, whether they are loaded.
#pragma once

#include <cstdint>

#include "catalogue/modDataManager.h"

namespace kel::modDataManager {

/// File of the ignore list, in the user data folder.
inline constexpr const char* IgnoredThreatsFile = "kelIgnoredThreatData.sdb";

/// Loads the ignore list. When its file is missing, the list becomes nothing and an empty file is made. The file is
/// read as one 32-bit little-endian number after another; what does not fill four bytes adds nothing.
/// @return true, after a failure too.
bool InitializeIgnoredThreatsData();
/// Whether the ignore list is there and holds at least one entry.
[[nodiscard]] bool IsInitializedIgnoredThreatsData();
/// Writes the ignore list anew: for each entry a 16-bit type tag of value 3 and the 32-bit number, little-endian. That
/// is not the form that the loader reads, so only an empty list survives the end of the process.
void PersistIgnoredThreatsData();
/// Whether the ignore list holds the number; false after any failure.
[[nodiscard]] bool IsIgnoredThreatInList(std::int32_t ThreatID);

/// Opens the eight history tables, and makes those whose files are missing; a new scan history gets its totals row.
/// Tables that were open are dropped without a save.
/// @return true, after a failure too.
bool InitializeScanHistoryData();
/// Whether the scan history is open and has rows under the filter in force.
[[nodiscard]] bool IsInitializedScanHistoryData();

/// Whether the index of the quarantine is open and has rows under the filter in force.
[[nodiscard]] bool IsInitializedQuarantineData();
/// Does nothing: the quarantine saves by itself.
void PersistQuarantineData();

// What Manager.UnInititalize calls. Nothing is unloaded before the process ends: the data belong to all clients.
void ReleaseIgnoredThreatsData();
void ReleaseQuarantineData();
void ReleaseScanData();
void ReleaseScanHistoryData();
void ReleaseThreatData();

}  // namespace kel::modDataManager
