#pragma once

#include "platform/RestorePoints.h"

namespace kel::windows {

/// Asks the service by its moniker, by name.
class WindowsRestorePoints final : public platform::RestorePoints {
public:
    platform::Result<std::int32_t> Create(std::string_view description, std::int32_t type, std::int32_t event) override;
};

}  // namespace kel::windows
