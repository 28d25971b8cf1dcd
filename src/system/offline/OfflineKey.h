// An open key of the offline registry.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "offline/OfflineRegistry.h"

namespace kel::offline {

/// One key, or the keys that a merged view shows as one: the first of them wins and takes the writes.
class OfflineKey : public platform::RegistryKey {
public:
    OfflineKey(OfflineRegistry& registry, std::vector<RegistryNamespace::Place> layers, std::uint32_t access);
    ~OfflineKey() override;
    OfflineKey(const OfflineKey&) = delete;
    OfflineKey& operator=(const OfflineKey&) = delete;

    platform::Result<platform::RegistryValue> Query(std::string_view name, std::size_t capacity) override;
    platform::SysError Set(std::string_view name, platform::ValueType type, std::string_view data) override;
    platform::SysError RemoveValue(std::string_view name) override;
    platform::SysError RemoveKey(std::string_view subKey) override;
    platform::Result<std::string> EnumKey(std::uint32_t index, std::size_t capacity) override;
    platform::Result<platform::NamedRegistryValue> EnumValue(std::uint32_t index, std::size_t nameCapacity,
                                                             std::size_t dataCapacity) override;

    /// The key was deleted through another way: nothing can be done with this layer any more.
    void Forget(const RegistryTree* tree, KeyId key);
    /// Every layer is void.
    void ForgetAll() { layers_.clear(); }

private:
    [[nodiscard]] platform::SysError Allowed(std::uint32_t right) const;
    [[nodiscard]] platform::SysError Writable(std::uint32_t right) const;
    [[nodiscard]] bool IsMerged() const;
    void RefreshListing();
    platform::Result<TreeValue> ValueAt(std::uint32_t index);

    OfflineRegistry& registry_;
    std::vector<RegistryNamespace::Place> layers_;
    std::uint32_t access_;
    // What a merged view lists, as of that generation of the registry.
    std::uint64_t listed_ = static_cast<std::uint64_t>(-1);
    std::vector<std::u16string> subKeys_;
    std::vector<TreeValue> values_;
};

}  // namespace kel::offline
