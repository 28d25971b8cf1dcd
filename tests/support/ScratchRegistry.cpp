#include "support/ScratchRegistry.h"

#include <gtest/gtest.h>

#include <utility>

namespace kel::test {

namespace {

struct Root {
    platform::Hive hive;
    std::string_view place;
};

constexpr Root Roots[] = {
    {platform::HiveClassesRoot, "\\HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes"},
    {platform::HiveCurrentUser, "\\HKEY_CURRENT_USER"},
    {platform::HiveLocalMachine, "\\HKEY_LOCAL_MACHINE"},
    {platform::HiveUsers, "\\HKEY_USERS"},
};

}  // namespace

ScratchRegistry::ScratchRegistry(platform::Registry& inner, std::string key)
    : ForwardingRegistry(inner), key_(std::move(key)) {
    for (const Root& root : Roots) {
        Make(root.hive, "");
    }
}

// Empty for a number that is no hive.
std::string ScratchRegistry::Place(platform::Hive hive, std::string_view key) const {
    std::string place;
    for (const Root& root : Roots) {
        if (root.hive == hive) {
            place.append(key_).append(root.place);
            if (!key.empty()) {
                place.append("\\").append(key);
            }
        }
    }
    return place;
}

platform::Result<std::unique_ptr<platform::RegistryKey>> ScratchRegistry::Open(platform::Hive hive,
                                                                               std::string_view key,
                                                                               std::uint32_t access) {
    const std::string place = Place(hive, key);
    return place.empty() ? Inner().Open(hive, key, access) : Inner().Open(platform::HiveCurrentUser, place, access);
}

platform::Result<std::unique_ptr<platform::RegistryKey>> ScratchRegistry::Create(platform::Hive hive,
                                                                                 std::string_view key) {
    const std::string place = Place(hive, key);
    return place.empty() ? Inner().Create(hive, key) : Inner().Create(platform::HiveCurrentUser, place);
}

platform::SysError ScratchRegistry::RemoveKey(platform::Hive hive, std::string_view key) {
    const std::string place = Place(hive, key);
    return place.empty() ? Inner().RemoveKey(hive, key) : Inner().RemoveKey(platform::HiveCurrentUser, place);
}

void ScratchRegistry::Make(platform::Hive hive, std::string_view key) {
    EXPECT_TRUE(Create(hive, key).Ok()) << key;
}

void ScratchRegistry::Put(platform::Hive hive, std::string_view key, std::string_view name, std::string_view text) {
    PutData(hive, key, name, platform::ValueType::Sz, std::string(text) + '\0');
}

void ScratchRegistry::PutData(platform::Hive hive, std::string_view key, std::string_view name,
                              platform::ValueType type, std::string_view data) {
    auto open = Create(hive, key);
    ASSERT_TRUE(open.Ok()) << key;
    EXPECT_EQ((*open)->Set(name, type, data), platform::SysError::Success) << key << " [" << name << "]";
}

}  // namespace kel::test
