// What the operations of the history have in common.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/Recordset.h"
#include "results/HistoryTables.h"
#include "results/Required.h"
#include "results/Scan.h"
#include "results/ScanHistoryDetail.h"

namespace kel::history {

inline constexpr const char* Module = "ScanHistory";

/// A count of a scan: the column, and where the scan and its record in the history have it.
struct Count {
    std::string_view column;
    std::int32_t Scan::*ofScan;
    std::int32_t ScanHistoryDetail::*ofDetail;
};
inline constexpr Count Counts[] = {
    {"ScannedProcessCount", &Scan::ScannedProcessCount, &ScanHistoryDetail::ScannedProcessCount},
    {"ScannedCookieCount", &Scan::ScannedCookieCount, &ScanHistoryDetail::ScannedCookieCount},
    {"ScannedFileCount", &Scan::ScannedFileCount, &ScanHistoryDetail::ScannedFileCount},
    {"ScannedRegistryCount", &Scan::ScannedRegistryCount, &ScanHistoryDetail::ScannedRegistryCount},
    {"DetectedProcessCount", &Scan::DetectedProcessCount, &ScanHistoryDetail::DetectedProcessCount},
    {"DetectedCookieCount", &Scan::DetectedCookieCount, &ScanHistoryDetail::DetectedCookieCount},
    {"DetectedFileCount", &Scan::DetectedFileCount, &ScanHistoryDetail::DetectedFileCount},
    {"DetectedRegistryCount", &Scan::DetectedRegistryCount, &ScanHistoryDetail::DetectedRegistryCount},
};

/// The table in memory. Raises error 91, with the caller's line, when there is none.
[[nodiscard]] Recordset& Opened(const Table& table, SourceLocation where = SourceLocation::current());

/// Lets through what the filter lets through; all, when it can't be understood.
void Restrict(Recordset& table, std::string_view filter, SourceLocation where = SourceLocation::current());

/// The filter for the rows of one scan.
[[nodiscard]] std::string OfScan(std::string_view scanID);

/// Deletes a file if it is there. Raises the run time's error when that fails.
void RemoveFile(const std::string& path);

/// Deletes the table's file and writes it again.
void SavedAnew(const Table& table, std::string_view file);
inline void SavedAnew(const Table& table) {
    SavedAnew(table, table.file);
}

/// The sum as a 32-bit number. Raises error 6 for one that does not fit.
[[nodiscard]] std::int32_t Sum(std::int32_t left, std::int32_t right, SourceLocation where = SourceLocation::current());

}  // namespace kel::history
