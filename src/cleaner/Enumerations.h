// Results and states of the cleaner, as clients see them.
#pragma once

#include <cstdint>

namespace kel {

/// Nothing sets a cleaner back to not ready.
enum enCleanerState : std::int32_t { CleanerStateNotReady = 0, CleanerStateReady = 1 };

/// Result of the cleaner's operations. Those that say so are never produced; they belong to the interface.
enum enCleanerErrors : std::int32_t {
    errNone = 0,
    errCleanerStateNotReady = 1,               ///< never
    errCleanerDetectedThreatsNull = 100,       ///< never
    errCleanerDetectedThreatsCountZero = 101,  ///< never
    errCouldNotLocateThreat = 200,             ///< the threat is not in the catalogue
    errCannotQuarantineThreat = 300,           ///< nothing is known of where it is, or a registry value stayed
    errXPRestoreCannotSetRestorePointNotXP = 400,
    errXPRestoreCannotSetRestorePointFailed = 401,
    errNoLocationsQuarantined = 500,              ///< never
    errLSPRemovedSuccess = 800,                   ///< of the Winsock repair only
    errLSPRemovedFailed = 801,                    ///< never
    errLSPRemovedFailedCouldNotFindLSP = 802,     ///< never
    errLSPRemovedFailedLSPFoundNoMD5Match = 803,  ///< never
    errCustomScriptFailedDownloadURLBlank = 1001,
    errCustomScriptFailedDownloadDataBlank = 1002,
    errCustomScriptFailedScriptBlank = 1003,
};

}  // namespace kel
