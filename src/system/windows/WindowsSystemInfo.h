// Version of the running system and the process's environment.
#pragma once

#include "platform/SystemInfo.h"

namespace kel::windows {

class WindowsSystemInfo final : public platform::SystemInfo {
public:
    platform::Result<platform::OsVersion> Version() override;
    std::string Environment(std::string_view name) override;
};

}  // namespace kel::windows
