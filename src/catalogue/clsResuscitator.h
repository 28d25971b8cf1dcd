// A helper program that starts a removed threat again.
#pragma once

#include <string>

namespace kel {

/// One row of `kelRes.sdb`. A running program is tested by the first of the three texts that is not empty.
struct clsResuscitator {
    std::string ResExeName;       ///< part of a process name
    std::string ResExeMD5;        ///< at most 32 characters
    std::string ResInternalName;  ///< internal name in the version resource
    bool ResDeleteFile = false;
    bool ResDeleteRegKey = false;
};

}  // namespace kel
