// Version of the system and environment variables.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace kel::platform {

/// What GetVersionExA fills (OSVERSIONINFOA).
struct OsVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    std::uint32_t platformId = 0;  ///< 1: Windows 95, 98, ME; 2: NT family
    std::string servicePack;       ///< szCSDVersion
};

/// Never throws.
class SystemInfo {
public:
    virtual ~SystemInfo() = default;
    /// GetVersionExA.
    virtual Result<OsVersion> Version() = 0;
    /// The environment variable, empty when it is not set. Names compare without regard to case. Offline: what the
    /// chosen user of the machine would have (USERNAME, USERPROFILE, SystemRoot, windir ...), never the host's.
    virtual std::string Environment(std::string_view name) = 0;
};

}  // namespace kel::platform
