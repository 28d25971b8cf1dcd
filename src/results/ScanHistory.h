#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "results/ScanHistoryDetail.h"

namespace kel {

class Scan;

/// What all scans saw and what was done about it. Without state: every object works on the eight history tables of the
/// process, which clients share. Their filters are shared too, and each operation leaves them as it needed them.
///
/// Failures are reported under the module "ScanHistory" and the operation's name, and the result is then empty.
class ScanHistory {
public:
    // In slot order.

    /// Adds a scan: its counts to the totals, a row of its own unless it has one already, and its detections with the
    /// locations of their files, registry keys and cookies; then saves these tables. A scan without an identifier is
    /// passed over. A failure is reported under the name "FoundAt".
    /// @return always 0, as with the two other adds
    std::int32_t Add(const std::shared_ptr<Scan>& oScan);
    /// Notes that a threat of a known scan was put into the quarantine. The row waits in memory for Persist.
    std::int32_t AddQuarantinedThreat(std::string_view ScanID, std::int32_t ThreatID);
    /// Notes that a threat was deleted, and saves. Whether the scan is known is not asked.
    std::int32_t AddDeletedThreat(std::string_view ScanID, std::int32_t ThreatID);

    /// Removes one scan: its row goes, while its details and its share of the totals stay. An empty identifier removes
    /// all rows and begins new totals, and what was not saved of the other tables is lost.
    void Delete(std::string_view ScanID = {});
    /// Removes all rows but that of the last scan. The totals go too; Add begins them anew.
    void Truncate();

    /// @return null for an unknown identifier
    [[nodiscard]] std::shared_ptr<ScanHistoryDetail> GetScanHistoryDetail(std::string_view ScanID);
    /// The table of scans itself, restricted to the rows that are scans.
    [[nodiscard]] std::shared_ptr<Recordset> GetScanHistoryDetails();
    /// A table of its own with the scans that began at a date. A part of 0 or less matches every date.
    /// @param intYear with its century
    [[nodiscard]] std::shared_ptr<Recordset> GetScanHistoryDetailsByDate(std::int16_t intYear = 0,
                                                                         std::int16_t intMonth = 0,
                                                                         std::int16_t intDay = 0);
    /// Asks a table for a column that it does not have: each call is a line in the log and an empty text.
    [[nodiscard]] std::string GetScanIDByThreatID(std::int32_t ThreatID);
    /// The scan that ended last; null without one.
    [[nodiscard]] std::shared_ptr<ScanHistoryDetail> GetLastScanHistoryDetail();
    /// Does nothing. @return always 0
    [[nodiscard]] std::int32_t Count() const;
    /// When the last scan began, as text. Without one that is a failure, and empty.
    [[nodiscard]] std::string GetLastScanDate();
    [[nodiscard]] std::int32_t TotalScansRun();
    /// Does nothing.
    void AddTotalScansRun();
    /// Locations that the scans of the history detected, not threats.
    [[nodiscard]] std::int32_t TotalThreatsDetected();
    /// Does nothing.
    void AddTotalThreatsDetected(std::int32_t Count = 0);
    /// Identifier of the scan that ended last, and after the first day of 2001; of several the first. Empty without
    /// one.
    [[nodiscard]] std::string GetLastScanID();
    /// Saves the tables of detections and of what was put into the quarantine.
    void Persist();
};

}  // namespace kel
