// Version resources by the system's version library.
#pragma once

#include "platform/VersionResources.h"

namespace kel::windows {

class WindowsVersions final : public platform::VersionResources {
public:
    platform::Result<std::uint32_t> Size(std::string_view path) override;
    platform::Result<std::unique_ptr<platform::VersionBlock>> Load(std::string_view path, std::uint32_t size) override;
};

}  // namespace kel::windows
