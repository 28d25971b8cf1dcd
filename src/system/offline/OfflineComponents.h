// The components of a machine that does not run: their code can't be called.
#pragma once

#include "platform/Components.h"

namespace kel::offline {

class OfflineComponents : public platform::Components {
public:
    platform::Result<std::int32_t> Register(std::string_view) override { return platform::SysError::NotSupported; }
    platform::Result<std::int32_t> Unregister(std::string_view) override { return platform::SysError::NotSupported; }
};

}  // namespace kel::offline
