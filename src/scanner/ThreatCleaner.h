// What a scan for a single threat cleans with: the cleaner stands above the scanner and lets itself be called here.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace kel {

class Scan;

class ThreatCleaner {
public:
    virtual ~ThreatCleaner() = default;
    /// Removes a threat that the scan detected, for good.
    virtual void DestroyThreat(Scan& scan, std::int32_t threatID) = 0;
};

/// Installs what makes a cleaner for each scan. Without it nothing is cleaned.
void SetThreatCleaners(std::function<std::shared_ptr<ThreatCleaner>()> make);

}  // namespace kel
