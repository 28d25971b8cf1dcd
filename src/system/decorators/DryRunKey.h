// An open key of a dry run.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "decorators/DryRunRegistry.h"

namespace kel::decorators {

class DryRunKey final : public platform::RegistryKey {
public:
    /// @param whole the machine's key as it was asked for; null when it has none
    DryRunKey(DryRunRegistry& registry, std::vector<KeyPlace> places, std::unique_ptr<platform::RegistryKey> whole,
              std::uint32_t access, std::string shown);

    platform::Result<platform::RegistryValue> Query(std::string_view name, std::size_t capacity) override;
    platform::SysError Set(std::string_view name, platform::ValueType type, std::string_view data) override;
    platform::SysError RemoveValue(std::string_view name) override;
    platform::SysError RemoveKey(std::string_view subKey) override;
    platform::Result<std::string> EnumKey(std::uint32_t index, std::size_t capacity) override;
    platform::Result<platform::NamedRegistryValue> EnumValue(std::uint32_t index, std::size_t nameCapacity,
                                                             std::size_t dataCapacity) override;

private:
    struct Layer {
        KeyPlace place;
        std::uint32_t removals = 0;  // when it was opened
        bool there = false;          // when it was opened
        std::unique_ptr<platform::RegistryKey> machine;
        bool asked = false;  // whether the machine was asked for its key
    };

    /// The machine's key answers alone.
    [[nodiscard]] bool Through();
    [[nodiscard]] platform::SysError Allowed(std::uint32_t right);
    [[nodiscard]] bool Alive(const Layer& layer) const;
    /// The machine's key under a layer; null where it does not show.
    platform::RegistryKey* Machine(Layer& layer);
    platform::Result<platform::RegistryValue> QueryLayer(Layer& layer, std::string_view name);
    void List();

    DryRunRegistry& registry_;
    std::vector<Layer> layers_;
    std::unique_ptr<platform::RegistryKey> whole_;
    std::uint32_t access_;
    std::string shown_;
    std::uint64_t epoch_;

    std::uint64_t listed_ = static_cast<std::uint64_t>(-1);  // the generation of the two lists
    std::vector<std::string> subKeys_;
    std::vector<platform::NamedRegistryValue> values_;
    std::uint64_t checked_ = static_cast<std::uint64_t>(-1);  // the generation of `through_`
    bool through_ = false;
};

}  // namespace kel::decorators
