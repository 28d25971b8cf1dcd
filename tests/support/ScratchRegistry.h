// A registry of a test's own: all hives are kept below the scratch key of the machine, on every platform.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "decorators/ForwardingRegistry.h"

namespace kel::test {

/// HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER and HKEY_USERS begin empty; HKEY_CLASSES_ROOT is `SOFTWARE\Classes` of the
/// first of them, as on a machine without classes of the user's own. Put it in place of a platform's registry:
/// `auto machine = Machine(); machine.registry = &registry; Install(machine);`.
class ScratchRegistry : public decorators::ForwardingRegistry {
public:
    /// @param inner the machine's registry; must outlive the object
    /// @param key an existing key below HKEY_CURRENT_USER, as ScratchMachine::Key
    ScratchRegistry(platform::Registry& inner, std::string key);

    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override;
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive, std::string_view key) override;
    platform::SysError RemoveKey(platform::Hive hive, std::string_view key) override;

    /// Makes a key with its parents.
    void Make(platform::Hive hive, std::string_view key);
    /// Writes a REG_SZ, with its terminator; the key is made if needed. An empty `name` is the default value.
    void Put(platform::Hive hive, std::string_view key, std::string_view name, std::string_view text);
    /// Writes a value of any type, byte for byte.
    void PutData(platform::Hive hive, std::string_view key, std::string_view name, platform::ValueType type,
                 std::string_view data);

private:
    [[nodiscard]] std::string Place(platform::Hive hive, std::string_view key) const;

    std::string key_;
};

}  // namespace kel::test
