// The service control manager.
#pragma once

#include "platform/Services.h"

namespace kel::windows {

class WindowsServices final : public platform::Services {
public:
    platform::Result<std::unique_ptr<platform::ServiceManager>> OpenManager(std::string_view machine,
                                                                            std::string_view database,
                                                                            std::uint32_t access) override;
};

}  // namespace kel::windows
