#include <gmock/gmock.h>

#include <map>

#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::SysError;
using platform::ValueType;
using ::testing::UnorderedElementsAre;
using namespace std::string_literals;

class RegistryEnumeration : public PlatformTest {
protected:
    std::vector<std::string> KeyNames(platform::RegistryKey& key) {
        std::vector<std::string> names;
        auto name = key.EnumKey(0);
        for (std::uint32_t index = 1; name; ++index) {
            names.push_back(*name);
            name = key.EnumKey(index);
        }
        EXPECT_EQ(name.Error(), SysError::NoMoreItems);
        return names;
    }
};

TEST_F(RegistryEnumeration, EmptyKeyHasNoItems) {
    const auto key = OpenKey();
    EXPECT_EQ(key->EnumKey(0).Error(), SysError::NoMoreItems);
    EXPECT_EQ(key->EnumValue(0).Error(), SysError::NoMoreItems);
    EXPECT_EQ(key->EnumValue(1000).Error(), SysError::NoMoreItems);
}

TEST_F(RegistryEnumeration, GivesEverySubkeyOnceAndNoDeeperOnes) {
    for (const char* name : {"b", "a\\deep", "C", "d e"}) {
        MakeKey(name);
    }
    EXPECT_THAT(KeyNames(*OpenKey()), UnorderedElementsAre("a", "b", "C", "d e"));
}

TEST_F(RegistryEnumeration, SeesSubkeysMadeAndRemovedMeanwhile) {
    MakeKey("a");
    const auto key = OpenKey();
    EXPECT_THAT(KeyNames(*key), UnorderedElementsAre("a"));
    MakeKey("b");
    EXPECT_THAT(KeyNames(*key), UnorderedElementsAre("a", "b"));
    ASSERT_EQ(key->RemoveKey("a"), SysError::Success);
    EXPECT_THAT(KeyNames(*key), UnorderedElementsAre("b"));
}

TEST_F(RegistryEnumeration, KeyNameNeedsRoomForItsTerminator) {
    MakeKey("abc");
    const auto key = OpenKey();
    EXPECT_EQ(key->EnumKey(0, 3).Error(), SysError::MoreData);
    EXPECT_EQ(key->EnumKey(0, 4).ValueOr(""), "abc");
}

TEST_F(RegistryEnumeration, LongKeyNameComesWhole) {
    // 255 is the longest; Wine's ANSI calls take a path of 260 at most.
    const std::string name(200, 'n');
    MakeKey(name);
    EXPECT_EQ(OpenKey()->EnumKey(0).ValueOr(""), name);
    EXPECT_EQ(OpenKey()->EnumKey(0, 200).Error(), SysError::MoreData);
}

TEST_F(RegistryEnumeration, GivesEveryValueWithItsData) {
    const auto key = OpenKey();
    const std::map<std::string, std::string> wanted{{"", "default"}, {"Some", "abc\0"s}, {"none", ""}};
    for (const auto& [name, data] : wanted) {
        ASSERT_EQ(key->Set(name, ValueType::Binary, data), SysError::Success);
    }
    std::map<std::string, std::string> got;
    for (std::uint32_t index = 0; index < wanted.size(); ++index) {
        const auto value = key->EnumValue(index);
        ASSERT_TRUE(value.Ok()) << index;
        got[value.Value().name] = value.Value().value.data;
    }
    EXPECT_EQ(got, wanted);
    EXPECT_EQ(key->EnumValue(static_cast<std::uint32_t>(wanted.size())).Error(), SysError::NoMoreItems);
}

TEST_F(RegistryEnumeration, SmallBuffersAreMoreData) {
    const auto key = OpenKey();
    ASSERT_EQ(key->Set("name", ValueType::Binary, "12345"), SysError::Success);
    EXPECT_EQ(key->EnumValue(0, 4, 5).Error(), SysError::MoreData);
    EXPECT_EQ(key->EnumValue(0, 5, 4).Error(), SysError::MoreData);
    const auto value = key->EnumValue(0, 5, 5);
    ASSERT_TRUE(value.Ok());
    EXPECT_EQ(value.Value().name, "name");
    EXPECT_EQ(value.Value().value.data, "12345");
}

TEST_F(RegistryEnumeration, GoesOnBehindAValueThatDidNotFit) {
    const auto key = OpenKey();
    ASSERT_EQ(key->Set("long", ValueType::Binary, std::string(200, 'x')), SysError::Success);
    ASSERT_EQ(key->Set("short", ValueType::Binary, "x"), SysError::Success);
    int fitted = 0;
    int refused = 0;
    for (std::uint32_t index = 0; index < 2; ++index) {
        const auto value = key->EnumValue(index, 100, 100);
        fitted += value.Ok() ? 1 : 0;
        refused += value.Error() == SysError::MoreData ? 1 : 0;
    }
    EXPECT_EQ(fitted, 1);
    EXPECT_EQ(refused, 1);
}

TEST_F(RegistryEnumeration, ManyValuesAndSubkeys) {
    constexpr std::uint32_t count = 300;
    const auto key = OpenKey();
    for (std::uint32_t number = 0; number < count; ++number) {
        const std::string name = "item" + std::to_string(number);
        MakeKey(name);
        ASSERT_EQ(key->Set(name, ValueType::Sz, name + '\0'), SysError::Success);
    }
    EXPECT_EQ(KeyNames(*key).size(), count);
    std::map<std::string, int> values;
    for (std::uint32_t index = 0; index < count; ++index) {
        ++values[key->EnumValue(index).ValueOr({}).name];
    }
    EXPECT_EQ(values.size(), count);
}

}  // namespace
}  // namespace kel::test
