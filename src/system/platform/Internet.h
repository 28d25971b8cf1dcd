// Files from the network.
#pragma once

#include <string_view>

#include "platform/SysError.h"

namespace kel::platform {

/// A machine that does not run answers NotSupported. Never throws.
class Internet {
public:
    virtual ~Internet() = default;
    /// URLDownloadToFileA without callback: fetches what is at the address into a file, which is replaced when it is
    /// there. The answer of a server that has nothing at the address is a page that says so: that is a success.
    virtual SysError Download(std::string_view url, std::string_view path) = 0;
};

}  // namespace kel::platform
