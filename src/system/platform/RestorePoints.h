// The service that can take the system back to an earlier state.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/Result.h"

namespace kel::platform {

/// A machine that does not run, or has no such service, answers an error. Never throws.
class RestorePoints {
public:
    virtual ~RestorePoints() = default;
    /// CreateRestorePoint of the object "winmgmts:\\.\root\default:Systemrestore".
    /// @param type what the point is made for; 0: an installation
    /// @param event 100: a change begins
    /// @return what the service answers, 0 when it made the point
    virtual Result<std::int32_t> Create(std::string_view description, std::int32_t type, std::int32_t event) = 0;
};

}  // namespace kel::platform
