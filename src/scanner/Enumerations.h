// How a file is tested, and what a Scanner last did.
#pragma once

#include <cstdint>

namespace kel {

enum enScanDepth : std::int32_t {
    scanshallow = 1,  ///< by its path alone
    scanmedium = 2,   ///< by its MD5 alone; a file that has none is no threat
    scandeep = 3,     ///< by its MD5 where it has one, otherwise by its path
};

/// 13 and 15 do not exist. What is marked as reserved is never assigned.
enum enScannerState : std::int32_t {
    ScannerStateNotReady = 0,
    ScannerStateReady = 1,
    ScannerStateScanningProcesses = 2,  ///< reserved
    ScannerStateScanningCommonLocations = 3,
    ScannerStateScanningknownLocations = 4,  ///< reserved
    ScannerStateScanningFolder = 5,          ///< reserved
    ScannerStateScanningFile = 6,            ///< reserved
    ScannerStateScanningRegistry = 7,        ///< reserved
    ScannerStateScanningCookies = 8,         ///< reserved
    ScannerStateComplete = 9,
    ScannerStateAbort = 10,
    ScannerStateScanningknownFiles = 11,
    ScannerStateScanningknownFolders = 12,   ///< reserved
    ScannerStateScanningCommonTactics = 14,  ///< reserved
    ScannerStateScanningCustom = 16,         ///< reserved
};

}  // namespace kel
