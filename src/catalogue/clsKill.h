// A running instance of a resuscitator.
#pragma once

#include <cstdint>
#include <string>

namespace kel {

/// Filled by the cleaner when it finds one.
struct clsKill {
    std::string KillExe;
    std::string KillPath;
    std::int32_t KillParent = 0;
    bool KillDelFile = false;
    bool KillDelReg = false;
};

}  // namespace kel
