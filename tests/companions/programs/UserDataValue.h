// The user's part of the product's registry, as a test wants it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "cleaner/BootLists.h"
#include "platform/Platform.h"
#include "system/modRegistry.h"

namespace kel::test {

/// The product's key of this user is empty but for the folder of the user's data, for the life of the object.
class UserDataValue {
public:
    /// The engine test's platform must be installed.
    UserDataValue(const platform::Platform& platform, std::string_view folder) {
        Clear();
        const auto key = platform.registry->Create(platform::HiveCurrentUser, boot::Product);
        EXPECT_TRUE(key.Ok());
        EXPECT_EQ((*key)->Set(boot::UserDataValue, platform::ValueType::Sz, std::string(folder) + '\0'),
                  platform::SysError::Success);
    }
    ~UserDataValue() { Clear(); }
    UserDataValue(const UserDataValue&) = delete;
    UserDataValue& operator=(const UserDataValue&) = delete;

private:
    static void Clear() { modRegistry::DeleteRegistryKeyTree(platform::HiveCurrentUser, boot::Product); }
};

}  // namespace kel::test
