// The places where programs hook themselves in: autostart and browser extension points.
#pragma once

#include <string>
#include <string_view>

namespace kel {
class Scanner;
}

namespace kel::modScannerTactics {

inline constexpr std::string_view BrowserHelperObjects =
    R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects)";
inline constexpr std::string_view DistributionUnits = R"(SOFTWARE\Microsoft\Code Store Database\Distribution Units)";
inline constexpr std::string_view Run = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)";

/// Runs the thirteen stages in turn until the scan is aborted, which is asked between two of them. Each names itself to
/// the front end as its only event, turns what it reads into paths and tests those that are there. A stage that fails
/// is reported under its name and ends; the next one goes on.
/// @param scanner its OptScanDepth is how the files are tested
void ScanCommonTactics(const Scanner& scanner);

/// The file that an entry of a run list starts, in lower case, without quotes and arguments, variables resolved and
/// completed along the search path; empty when there is none.
/// @param data data of the entry
[[nodiscard]] std::string FilePathFromRunEntry(std::string_view data);

}  // namespace kel::modScannerTactics
