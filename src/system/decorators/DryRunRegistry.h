// The registry of a dry run.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "decorators/DryRunJournal.h"
#include "decorators/RegistryOverlay.h"

namespace kel::decorators {

class DryRunRegistry final : public platform::Registry {
public:
    /// All must outlive the object.
    DryRunRegistry(const platform::Platform& inner, const DryRunJournal& journal);

    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override;
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive, std::string_view key) override;
    platform::SysError RemoveKey(platform::Hive hive, std::string_view key) override;
    platform::SysError Commit() override;
    void Discard() override;
    /// Nothing once a change was swallowed.
    std::optional<std::uint64_t> ChangesBelow(std::string_view name) override;

private:
    friend class DryRunKey;

    /// Deletes the first of the places that is there.
    /// @param shown the key as records name it
    platform::SysError Remove(const std::vector<KeyPlace>& places, const std::string& shown);
    [[nodiscard]] bool HasSubKeys(const KeyPlace& place);
    /// Nothing at the places, above them or below them differs from the machine.
    [[nodiscard]] bool Untouched(const std::vector<KeyPlace>& places) const;
    /// Whether the machine refuses that kind of write to a key of its own, which opening it tells.
    [[nodiscard]] bool Refuses(const KeyPlace& place, std::uint32_t right) const;

    platform::Platform inner_;
    const DryRunJournal& journal_;
    RegistryOverlay overlay_;
    bool rights_;  // keys have rights: not on Windows 95, 98 and ME
};

/// A key path as records have it: `HKEY_LOCAL_MACHINE\Software\X`.
[[nodiscard]] std::string ShownKey(platform::Hive hive, std::string_view key);

}  // namespace kel::decorators
