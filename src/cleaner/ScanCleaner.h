#pragma once

namespace kel {

/// Lets Scanner::ScanThreat clean what it finds.
void LetScannerClean();

}  // namespace kel
