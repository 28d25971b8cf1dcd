// A running process that the signature tables know, or a child of one.
#pragma once

#include <cstdint>
#include <string>

namespace kel {

/// Filled by the cleaner when it walks the processes.
struct clsBadProcess {
    std::string ProcessName;
    std::int32_t ProcessID = 0;
    std::string ProcessPath;
    std::int32_t ProcessParent = 0;
    std::int32_t ProcessThreat = 0;
};

}  // namespace kel
