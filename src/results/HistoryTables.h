// The eight history tables: their files, and where they lie in memory.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/EngineState.h"
#include "core/Recordset.h"

namespace kel::history {

struct Table {
    std::string_view file;  ///< in the user data folder
    std::shared_ptr<Recordset> EngineState::*recordset;
};

/// One row for each scan, and one with the sums of all.
inline constexpr Table Scans = {"kelScanHistory.sdb", &EngineState::RsScanHistory};
inline constexpr Table Quarantined = {"KelQThreatHistory.sdb", &EngineState::RsQThreatHistory};
inline constexpr Table Deleted = {"KelDThreatHistory.sdb", &EngineState::RsDThreatHistory};
// What a scan detected: its threats, and their locations by kind.
inline constexpr Table Detected = {"KelDetHist.sdb", &EngineState::RsDetHist};
inline constexpr Table DetectedFiles = {"KelDetFileHist.sdb", &EngineState::RsDetFileHist};
inline constexpr Table DetectedFolders = {"KelDetFolderHist.sdb", &EngineState::RsDetFolderHist};
inline constexpr Table DetectedCookies = {"KelDetCookieHist.sdb", &EngineState::RsDetCookieHist};
inline constexpr Table DetectedRegistry = {"KelDetRegHist.sdb", &EngineState::RsDetRegHist};

/// The row of `Scans` that is no scan.
inline constexpr std::string_view TotalsID = "Totals";

/// Path of a table's file. The separator may stand twice in it.
[[nodiscard]] inline std::string PathOf(std::string_view file) {
    return State().UserDataFolder + "\\" + std::string(file);
}

}  // namespace kel::history
