// What a signature table says of a key.
#pragma once

#include <cstdint>

namespace kel {

/// The threat that a key points at, and the level from which on it does.
struct Signature {
    std::int32_t ThreatID = 0;
    std::int16_t OptionalScan = 0;  ///< the signature counts when this does not exceed the scan's OptMaxOptionLevel

    friend bool operator==(const Signature&, const Signature&) = default;
};

}  // namespace kel
