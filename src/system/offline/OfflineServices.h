// The services of a machine that does not run: none of them can be reached.
#pragma once

#include "platform/Services.h"

namespace kel::offline {

class OfflineServices : public platform::Services {
public:
    platform::Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view, std::string_view,
                                                                            std::uint32_t) override {
        return platform::SysError::NotSupported;
    }
};

}  // namespace kel::offline
