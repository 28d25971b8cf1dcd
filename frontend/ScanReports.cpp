#include "frontend/ScanReports.h"

#include <array>
#include <cstddef>

#include "results/Scan.h"

namespace kel::frontend {

namespace {

// In the order of ScanReport.
constexpr std::array Makers{&Scan::ScanResultsSummary, &Scan::ScanResultsFull,     &Scan::ScanResultsFiles,
                            &Scan::ScanResultsFolders, &Scan::ScanResultsRegistry, &Scan::ScanResultsCookies};

}  // namespace

std::string ReportText(Scan& scan, ScanReport report) {
    return (scan.*Makers[static_cast<std::size_t>(report)])();
}

}  // namespace kel::frontend
