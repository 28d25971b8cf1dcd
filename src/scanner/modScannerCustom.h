// Rules written by hand for threats that change their names, and what undoes what they describe.
#pragma once

#include "results/ThreatLocationCustom.h"

namespace kel {
class Scanner;
}

namespace kel::modScannerCustom {

/// Runs the seven rules in turn until the scan is aborted, which is asked between two of them. Each is named to the
/// front end as its only event. What they find goes to the current scan: files and registry entries, and custom
/// locations, of which a threat has at most one of each CustomID.
/// @param scanner its OptScanDepth is how files are tested
void ScanCustom(const Scanner& scanner);

/// Undoes what a custom location describes: a line of wininit.ini, a changed command, or changed addresses of the
/// browser. A location of any other CustomID is left alone. What can't be undone stays, without a report.
void CleanCustom(const ThreatLocationCustom& location);

}  // namespace kel::modScannerCustom
