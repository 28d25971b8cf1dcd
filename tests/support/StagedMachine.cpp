#include "support/StagedMachine.h"

#include <gtest/gtest.h>

#include <utility>

#include "decorators/ForwardingRegistry.h"
#include "decorators/ForwardingSystem.h"

namespace kel::test {

namespace {

using platform::Hive;
using platform::SysError;

class StagedRegistry : public decorators::ForwardingRegistry {
public:
    StagedRegistry(platform::Registry& inner, std::string root) : ForwardingRegistry(inner), root_(std::move(root)) {}

    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(Hive hive, std::string_view key,
                                                                  std::uint32_t access) override {
        return Inner().Open(platform::HiveCurrentUser, Place(hive, key), access);
    }
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(Hive hive, std::string_view key) override {
        return Inner().Create(platform::HiveCurrentUser, Place(hive, key));
    }
    SysError RemoveKey(Hive hive, std::string_view key) override {
        return Inner().RemoveKey(platform::HiveCurrentUser, Place(hive, key));
    }

private:
    [[nodiscard]] std::string Place(Hive hive, std::string_view key) const {
        static const std::map<Hive, std::string> hives{
            {platform::HiveClassesRoot, "Classes"},
            {platform::HiveCurrentUser, "User"},
            {platform::HiveLocalMachine, "Machine"},
            {platform::HiveUsers, "Users"},
        };
        const auto found = hives.find(hive);
        std::string place = root_ + "\\" + (found == hives.end() ? "None" : found->second);
        if (!key.empty()) {
            place.append("\\").append(key);
        }
        return place;
    }

    std::string root_;
};

class StagedShell : public decorators::ForwardingShell {
public:
    using ForwardingShell::ForwardingShell;
    std::map<int, std::string> folders;

    platform::Result<std::string> SpecialFolder(int identifier) override {
        const auto found = folders.find(identifier);
        return found == folders.end() ? platform::Result<std::string>(SysError::FileNotFound)
                                      : platform::Result<std::string>(found->second);
    }
};

}  // namespace

struct StagedMachine::Impl {
    StagedRegistry registry;
    StagedShell shell;
};

StagedMachine::StagedMachine(const platform::Platform& machine, std::string key)
    : impl_(new Impl{StagedRegistry(*machine.registry, std::move(key)), StagedShell(*machine.shell)}), view_(machine) {
    view_.registry = &impl_->registry;
    view_.shell = &impl_->shell;
}

StagedMachine::~StagedMachine() = default;

std::map<int, std::string>& StagedMachine::Folders() {
    return impl_->shell.folders;
}

void StagedMachine::AddKey(Hive hive, std::string_view key) {
    EXPECT_TRUE(impl_->registry.Create(hive, key).Ok()) << key;
}

void StagedMachine::AddText(Hive hive, std::string_view key, std::string_view name, std::string_view data) {
    AddValue(hive, key, name, {platform::ValueType::Sz, std::string(data) + '\0'});
}

void StagedMachine::AddValue(Hive hive, std::string_view key, std::string_view name,
                             const platform::RegistryValue& value) {
    auto open = impl_->registry.Create(hive, key);
    ASSERT_TRUE(open.Ok()) << key;
    EXPECT_EQ((*open)->Set(name, value.type, value.data), SysError::Success) << key << " " << name;
}

}  // namespace kel::test
