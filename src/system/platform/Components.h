// Components in libraries, registered and unregistered by their own entry points.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/Result.h"

namespace kel::platform {

/// Runs code of the libraries that it is given. A machine that does not run answers NotSupported. Never throws.
class Components {
public:
    virtual ~Components() = default;
    /// Loads the library and calls its DllRegisterServer.
    /// @return what the entry point answers, an HRESULT: negative when it failed. An error when the library can't be
    /// loaded (ModuleNotFound, BadExeFormat) or has no such entry point (ProcNotFound).
    virtual Result<std::int32_t> Register(std::string_view path) = 0;
    /// The same with its DllUnregisterServer.
    virtual Result<std::int32_t> Unregister(std::string_view path) = 0;
};

}  // namespace kel::platform
