// Services of the machine, by the calls of the service control manager.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/Result.h"

namespace kel::platform {

/// An open service. Closed by its destructor.
class Service {
public:
    virtual ~Service() = default;
    /// ControlService; the status that it fills is dropped. Waits for nothing.
    virtual SysError Control(std::uint32_t control) = 0;
};

/// An open service control manager. Closed by its destructor, before or after the services opened through it.
class ServiceManager {
public:
    virtual ~ServiceManager() = default;
    /// OpenServiceA.
    virtual Result<std::unique_ptr<Service>> Open(std::string_view name, std::uint32_t access) = 0;
};

/// Services of this machine and of others. A machine that does not run answers NotSupported. Never throws.
class Services {
public:
    virtual ~Services() = default;
    /// OpenSCManagerA.
    /// @param machine empty: the local one
    virtual Result<std::unique_ptr<ServiceManager>> OpenManager(std::string_view machine, std::string_view database,
                                                                std::uint32_t access) = 0;
};

}  // namespace kel::platform
