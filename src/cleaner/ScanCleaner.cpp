#include "cleaner/ScanCleaner.h"

#include <memory>

#include "cleaner/Cleaner.h"
#include "results/Scan.h"
#include "scanner/ThreatCleaner.h"

namespace kel {

namespace {

class ScanCleaner final : public ThreatCleaner {
public:
    void DestroyThreat(Scan& scan, std::int32_t threatID) override {
        cleaner_.InitializeClean(scan.ScanID, scan.DetectedThreats());
        cleaner_.SetEnableLog(true);
        cleaner_.DestroyThreat(threatID);
    }

private:
    Cleaner cleaner_;
};

}  // namespace

void LetScannerClean() {
    SetThreatCleaners([] { return std::make_shared<ScanCleaner>(); });
}

}  // namespace kel
