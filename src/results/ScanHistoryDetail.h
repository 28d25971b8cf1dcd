// One scan of the history, as clients see it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/Value.h"

namespace kel {

class Recordset;

/// The record of one scan with its details. Fields in the order of the interface. The recordsets are the engine's own,
/// restricted to this scan when they were handed out: the next look into the history restricts them anew.
class ScanHistoryDetail {
public:
    std::string ScanID;
    Date StartDate;
    Date EndDate;
    std::string AbortReason;
    bool IsScheduledScan = false;  ///< never filled: false for a scheduled scan too
    std::int32_t ScannedProcessCount = 0;
    std::int32_t ScannedCookieCount = 0;
    std::int32_t ScannedFileCount = 0;
    std::int32_t ScannedRegistryCount = 0;
    std::int32_t DetectedProcessCount = 0;
    std::int32_t DetectedCookieCount = 0;
    std::int32_t DetectedFileCount = 0;
    std::int32_t DetectedRegistryCount = 0;
    std::shared_ptr<Recordset> DetectedThreats;
    std::shared_ptr<Recordset> QuarantinedThreats;
    std::shared_ptr<Recordset> DeletedThreats;
    std::shared_ptr<Recordset> DetectedFiles;
    std::shared_ptr<Recordset> DetectedReg;
    std::shared_ptr<Recordset> DetectedCookies;
    std::shared_ptr<Recordset> DetThreatDetail;  ///< the same one as DetectedThreats

    /// Sum of the four detected counts. Too large a sum is reported and answers 0.
    [[nodiscard]] std::int32_t GetTotalDetectedLocationsCount() const;
    /// Time between start and end, as text.
    [[nodiscard]] std::string TotalScanTime() const;
};

}  // namespace kel
