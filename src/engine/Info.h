#pragma once

#include <string>

namespace kel {

/// What a support person asks first: the versions, and what is loaded. Clients make it themselves.
class Info {
public:
    // In slot order.

    /// Version of the threat data; empty before a load.
    [[nodiscard]] std::string DBVersionThreatData() const;
    /// The same text: the signatures have no version of their own.
    [[nodiscard]] std::string DBVersionScanData() const;
    /// A text of lines, each a label and a value. Threats and signatures count as loaded during a load alone, so their
    /// counts are not shown, and their flags tell "False", in an engine that is well.
    /// @param reserved not read
    /// @return empty after a failure, which is reported under "Info" and "Diagnostics"
    [[nodiscard]] std::string Diagnostics(bool reserved = false) const;
};

}  // namespace kel
