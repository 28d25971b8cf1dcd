// The fixture of the rules for threats that change their names.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ScannerPeer.h"
#include "StagedScanTest.h"
#include "scanner/CustomRules.h"
#include "scanner/modScannerCustom.h"
#include "scanner/modScannerTactics.h"

namespace kel::test {

class CustomScanTest : public StagedScanTest {
protected:
    void Run() { ScannerPeer::ScanCustom(scanner); }

    /// The detection of a threat, or null.
    [[nodiscard]] std::shared_ptr<DetectedThreat> Detection(std::int32_t threat) {
        for (const auto& detected : *scanner.Scan()->DetectedThreats()) {
            if (detected->ThreatID == threat) {
                return detected;
            }
        }
        return nullptr;
    }
    /// Custom locations of a threat; none when it was not detected.
    [[nodiscard]] std::vector<std::shared_ptr<ThreatLocationCustom>> Customs(std::int32_t threat) {
        std::vector<std::shared_ptr<ThreatLocationCustom>> customs;
        if (const auto detected = Detection(threat)) {
            for (const auto& custom : *detected->ThreatLocationCustoms) {
                customs.push_back(custom);
            }
        }
        return customs;
    }
    /// Registry locations of a threat as "hive key" or "hive key name", in order.
    [[nodiscard]] std::vector<std::string> KeysOf(std::int32_t threat) {
        std::vector<std::string> keys;
        if (const auto detected = Detection(threat)) {
            for (const auto& key : *detected->ThreatLocationRegKeys) {
                std::string text = key->RegHive() == platform::HiveLocalMachine ? "HKLM " : "HKCU ";
                text += key->Regkey();
                keys.push_back(key->RegValueName().empty() ? text : text + " " + key->RegValueName());
            }
        }
        return keys;
    }
};

}  // namespace kel::test
