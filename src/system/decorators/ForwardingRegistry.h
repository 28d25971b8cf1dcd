// Registry access that passes everything on: the base of what changes some of it.
#pragma once

#include <memory>
#include <utility>

#include "platform/Registry.h"

namespace kel::decorators {

/// `inner` must outlive the object.
class ForwardingRegistry : public platform::Registry {
public:
    explicit ForwardingRegistry(platform::Registry& inner) : inner_(inner) {}

    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override {
        return inner_.Open(hive, key, access);
    }
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive,
                                                                    std::string_view key) override {
        return inner_.Create(hive, key);
    }
    platform::SysError RemoveKey(platform::Hive hive, std::string_view key) override {
        return inner_.RemoveKey(hive, key);
    }
    platform::SysError Commit() override { return inner_.Commit(); }
    void Discard() override { inner_.Discard(); }
    std::optional<std::uint64_t> ChangesBelow(std::string_view name) override { return inner_.ChangesBelow(name); }

protected:
    [[nodiscard]] platform::Registry& Inner() const { return inner_; }

private:
    platform::Registry& inner_;
};

/// Owns the key that it passes everything on to.
class ForwardingKey : public platform::RegistryKey {
public:
    explicit ForwardingKey(std::unique_ptr<platform::RegistryKey> inner) : inner_(std::move(inner)) {}

    platform::Result<platform::RegistryValue> Query(std::string_view name, std::size_t capacity) override {
        return inner_->Query(name, capacity);
    }
    platform::SysError Set(std::string_view name, platform::ValueType type, std::string_view data) override {
        return inner_->Set(name, type, data);
    }
    platform::SysError RemoveValue(std::string_view name) override { return inner_->RemoveValue(name); }
    platform::SysError RemoveKey(std::string_view subKey) override { return inner_->RemoveKey(subKey); }
    platform::Result<std::string> EnumKey(std::uint32_t index, std::size_t capacity) override {
        return inner_->EnumKey(index, capacity);
    }
    platform::Result<platform::NamedRegistryValue> EnumValue(std::uint32_t index, std::size_t nameCapacity,
                                                             std::size_t dataCapacity) override {
        return inner_->EnumValue(index, nameCapacity, dataCapacity);
    }

protected:
    [[nodiscard]] platform::RegistryKey& Inner() const { return *inner_; }

private:
    std::unique_ptr<platform::RegistryKey> inner_;
};

}  // namespace kel::decorators
