// Results of the quarantine, and kinds of what it keeps, as clients see them.
#pragma once

#include <cstdint>

namespace kel {

/// Results of the operations on the quarantine. The cleaner's results have some of these names too.
enum class enQuarantineErrors : std::int32_t {
    errNone = 0,
    errInvalidThreatID = 100,
    errRestoreRebootRequired = 200,  ///< no operation answers it; clients must take it all the same
    errRestoreFailed = 300,          ///< at least one item did not come back
};

/// The file that a removed line comes from.
enum enQSpecialType : std::int32_t {
    QSpecialTypeNone = 0,
    QSpecialTypeWinIniLine = 1,
    QSpecialTypeSystemIniLine = 2,
};

}  // namespace kel
