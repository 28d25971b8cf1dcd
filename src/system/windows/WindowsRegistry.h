// The live registry by the ANSI calls.
#pragma once

#include "platform/Registry.h"

namespace kel::windows {

class WindowsRegistry final : public platform::Registry {
public:
    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override;
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive, std::string_view key) override;
    platform::SysError RemoveKey(platform::Hive hive, std::string_view key) override;
    platform::SysError Commit() override;
    void Discard() override;
    std::optional<std::uint64_t> ChangesBelow(std::string_view /*name*/) override { return std::nullopt; }
};

}  // namespace kel::windows
