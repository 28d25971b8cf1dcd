// From the detections of a scan to findings, each told once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "frontend/Sink.h"

namespace kel {
class Scan;
class DetectedThreat;
}  // namespace kel

namespace kel::frontend {

/// Remembers how many locations of each threat it has told.
class FindingTracker {
public:
    using Tell = std::function<void(const FindingRecord& finding)>;

    explicit FindingTracker(Tell tell) : tell_(std::move(tell)) {}

    /// Tells the locations of one threat that came since the last call.
    void Update(Scan& scan, std::int32_t threat);
    /// The same for all threats.
    void UpdateAll(Scan& scan);

    [[nodiscard]] std::int64_t Threats() const { return static_cast<std::int64_t>(told_.size()); }
    [[nodiscard]] std::int64_t Locations() const { return locations_; }

private:
    struct Told {
        std::size_t files = 0;
        std::size_t folders = 0;
        std::size_t registry = 0;
        std::size_t cookies = 0;
        std::size_t customs = 0;
        std::shared_ptr<const ThreatTexts> texts;
    };

    void TellNew(const DetectedThreat& detected);
    void TellOne(FindingRecord finding, const char* kind, std::string location, std::int16_t optionLevel);

    Tell tell_;
    std::map<std::int32_t, Told> told_;
    std::int64_t locations_ = 0;
};

}  // namespace kel::frontend
