#include "system/modRegistry.h"

#include <gmock/gmock.h>

#include "Fakes.h"
#include "Items.h"
#include "support/EngineTest.h"
#include "system/modFiles.h"

namespace kel {
namespace {

using namespace std::string_literals;
using platform::SysError;
using platform::ValueType;
using test::Items;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

constexpr platform::Hive User = platform::HiveCurrentUser;

class Registry : public test::EngineTest {
protected:
    void Store(std::string_view name, ValueType type, std::string_view data) { StoreIn(Key(), name, type, data); }
    void StoreIn(const std::string& key, std::string_view name, ValueType type, std::string_view data) {
        auto open = Machine().registry->Create(User, key);
        ASSERT_TRUE(open.Ok());
        ASSERT_EQ((*open)->Set(name, type, data), SysError::Success);
    }
    std::string Stored(std::string_view name, ValueType type) {
        auto open = Machine().registry->Open(User, Key());
        EXPECT_TRUE(open.Ok());
        auto value = (*open)->Query(name);
        EXPECT_TRUE(value.Ok()) << name;
        EXPECT_EQ(value->type, type);
        return value->data;
    }
    bool HasKey(const std::string& key) { return Machine().registry->Open(User, key).Ok(); }
};

TEST_F(Registry, TextsAreReadWithoutOneTrailingNul) {
    Store("sz", ValueType::Sz, "text\0"s);
    Store("expand", ValueType::ExpandSz, "%x%\0"s);
    Store("multi", ValueType::MultiSz, "a\0b\0\0"s);
    Store("empty", ValueType::Sz, "\0"s);
    EXPECT_EQ(modRegistry::GetRegistryValue(User, Key(), "sz"), Value("text"s));
    EXPECT_EQ(modRegistry::GetRegistryValue(User, Key(), "expand"), Value("%x%"s));
    EXPECT_EQ(modRegistry::GetRegistryValue(User, Key(), "multi"), Value("a\0b\0"s));
    EXPECT_EQ(modRegistry::GetRegistryValue(User, Key(), "empty"), Value(""s));
}

TEST_F(Registry, NumbersAreReadAsSigned32Bit) {
    Store("dword", ValueType::Dword, "\xfe\xff\xff\xff"s);
    EXPECT_EQ(modRegistry::GetRegistryValue(User, Key(), "dword"), Value(std::int32_t{-2}));
}

TEST_F(Registry, OtherTypesAndMissingValuesReadAsEmpty) {
    Store("binary", ValueType::Binary, "abc");
    EXPECT_TRUE(IsEmpty(modRegistry::GetRegistryValue(User, Key(), "binary")));
    EXPECT_TRUE(IsEmpty(modRegistry::GetRegistryValue(User, Key(), "missing")));
    EXPECT_TRUE(IsEmpty(modRegistry::GetRegistryValue(User, Key() + "\\missing", "x")));
    EXPECT_TRUE(IsEmpty(modRegistry::GetRegistryValue(12345, Key(), "x")));
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Registry, ADwordsTextIsItsFirstThreeDigits) {
    const auto dword = [&](std::uint32_t number) {
        std::string bytes;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>(number >> shift & 0xffU);
        }
        Store("n", ValueType::Dword, bytes);
        return modRegistry::GetRegistryValueText(User, Key(), "n");
    };
    EXPECT_EQ(dword(1234567), "123");
    EXPECT_EQ(dword(7), "007");
    EXPECT_EQ(dword(0), "000");
    EXPECT_EQ(dword(42), "042");
    EXPECT_EQ(dword(0xffffffffU), "429");
}

TEST_F(Registry, BinaryTextIsHexadecimal) {
    Store("b", ValueType::Binary, "\x0a\x00\xff"s);
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key(), "b"), "0A00FF");
    Store("b", ValueType::Binary, "");
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key(), "b"), "");
}

TEST_F(Registry, AValuesTextLosesItsLastByte) {
    Store("sz", ValueType::Sz, "text\0"s);
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key(), "sz"), "text");
    Store("none", static_cast<ValueType>(0), "abcd");
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key(), "none"), "abc");
}

TEST_F(Registry, AValueAboveTheBufferHasNoText) {
    Store("fits", ValueType::Binary, std::string(20480, 'a'));
    Store("large", ValueType::Binary, std::string(20481, 'a'));
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key(), "fits").size(), 2U * 20480);
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key(), "large"), "");
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key(), "missing"), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Registry, TypesHaveTheCataloguesNumbers) {
    Store("sz", ValueType::Sz, "x\0"s);
    Store("expand", ValueType::ExpandSz, "x\0"s);
    Store("dword", ValueType::Dword, "\1\0\0\0"s);
    Store("binary", ValueType::Binary, "x");
    Store("multi", ValueType::MultiSz, "x\0\0"s);
    EXPECT_EQ(modRegistry::GetRegistryValueType(User, Key(), "sz"), 1);
    EXPECT_EQ(modRegistry::GetRegistryValueType(User, Key(), "expand"), 2);
    EXPECT_EQ(modRegistry::GetRegistryValueType(User, Key(), "dword"), 4);
    EXPECT_EQ(modRegistry::GetRegistryValueType(User, Key(), "binary"), 3);
    EXPECT_EQ(modRegistry::GetRegistryValueType(User, Key(), "multi"), 3);
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Registry, TheTypeOfAMissingValueIsReported) {
    EXPECT_EQ(modRegistry::GetRegistryValueType(User, Key(), "missing"), 0);
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modRegistry");
    EXPECT_EQ(Reported()[0].procedure, "GetRegistryValueType");
    EXPECT_EQ(Reported()[0].number, "5");
}

TEST_F(Registry, SettingMakesTheKeyAndWritesByType) {
    const std::string key = Key() + "\\made\\here";
    EXPECT_TRUE(modRegistry::SetRegistryValue(User, "\\" + key, "t", "text"s, 1));
    EXPECT_TRUE(modRegistry::SetRegistryValue(User, key, "n", std::int32_t{-2}, 4));
    EXPECT_TRUE(modRegistry::SetRegistryValue(User, key, "m", "a\0\0"s, 7));
    EXPECT_EQ(modRegistry::GetRegistryValue(User, key, "t"), Value("text"s));
    EXPECT_EQ(modRegistry::GetRegistryValue(User, key, "n"), Value(std::int32_t{-2}));
    EXPECT_EQ(modRegistry::GetRegistryValue(User, key, "m"), Value("a\0"s));
}

TEST_F(Registry, SettingANumberTakesANumbersText) {
    EXPECT_TRUE(modRegistry::SetRegistryValue(User, Key(), "n", "17"s, 4));
    EXPECT_EQ(modRegistry::GetRegistryValue(User, Key(), "n"), Value(std::int32_t{17}));
    EXPECT_TRUE(modRegistry::SetRegistryValue(User, Key(), "x", "no number"s, 4));
    EXPECT_FALSE(modRegistry::RegValueExists(User, Key(), "x"));
}

TEST_F(Registry, SettingAnotherTypeWritesNothingAndIsTrue) {
    EXPECT_TRUE(modRegistry::SetRegistryValue(User, Key() + "\\three", "b", "abc"s, 3));
    EXPECT_TRUE(modRegistry::RegKeyExists(User, Key() + "\\three"));
    EXPECT_FALSE(modRegistry::RegValueExists(User, Key() + "\\three", "b"));
}

TEST_F(Registry, SettingWithoutAKeyIsFalseAndAFailedWriteTrue) {
    EXPECT_FALSE(modRegistry::SetRegistryValue(User, "", "x", "x"s, 1));
    EXPECT_FALSE(modRegistry::SetRegistryValue(User, "\\", "x", "x"s, 1));
    EXPECT_TRUE(modRegistry::SetRegistryValue(12345, "x", "x", "x"s, 1));
}

TEST_F(Registry, BinaryTextGivesBackTheStoredBytes) {
    const std::string text = modRegistry::BinaryTextFromHex("0A00FF41");
    EXPECT_EQ(text, "\x0a|\xff"s + "A");
    EXPECT_EQ(modRegistry::BytesFromBinaryText(text), "\x0a\0\xff"s + "A");
    EXPECT_TRUE(modRegistry::SetRegistryBinaryValue(User, Key() + "\\new", "b", text));
    EXPECT_EQ(modRegistry::GetRegistryValueText(User, Key() + "\\new", "b"), "0A00FF41");
    EXPECT_FALSE(modRegistry::SetRegistryBinaryValue(12345, "x", "b", text));
}

TEST_F(Registry, BinaryTextLosesBlanksAtItsEndsAndBars) {
    EXPECT_EQ(modRegistry::BinaryTextFromHex("20410042"
                                             "20"),
              "A|B");
    EXPECT_EQ(modRegistry::BytesFromBinaryText(modRegistry::BinaryTextFromHex("417C42")), "A\0B"s);
    EXPECT_EQ(modRegistry::BinaryTextFromHex(""), "");
    EXPECT_EQ(modRegistry::BinaryTextFromHex("4142f"), "AB\x0f");
    EXPECT_EQ(modRegistry::BinaryTextFromHex("41zz"), "");
    EXPECT_TRUE(Reported().empty());
}

TEST_F(Registry, KeysAreMadeWithoutTheirLeadingBackslash) {
    EXPECT_TRUE(modRegistry::CreateRegistryKey(User, "\\" + Key() + "\\k"));
    EXPECT_TRUE(modRegistry::RegKeyExists(User, Key() + "\\k"));
    EXPECT_FALSE(modRegistry::CreateRegistryKey(User, "\\"));
    EXPECT_FALSE(modRegistry::CreateRegistryKey(User, ""));
}

TEST_F(Registry, AKeyWithSubkeysIsNotDeleted) {
    modRegistry::CreateRegistryKey(User, Key() + "\\a\\b");
    EXPECT_FALSE(modRegistry::DeleteRegistryKey(User, Key() + "\\a"));
    EXPECT_TRUE(modRegistry::DeleteRegistryKey(User, Key() + "\\a\\b"));
    EXPECT_TRUE(modRegistry::DeleteRegistryKey(User, Key() + "\\a"));
    EXPECT_FALSE(modRegistry::DeleteRegistryKey(User, Key() + "\\a"));
}

TEST_F(Registry, ATreeIsDeletedWithAllThatIsBelowIt) {
    const std::string tree = Key() + "\\tree";
    for (const char* key : {"\\a\\b\\c", "\\a\\d", "\\e"}) {
        StoreIn(tree + key, "v", ValueType::Sz, "x\0"s);
    }
    StoreIn(Key() + "\\treetop", "v", ValueType::Sz, "x\0"s);
    EXPECT_TRUE(modRegistry::DeleteRegistryKeyTree(User, tree + "\\"));
    EXPECT_FALSE(HasKey(tree));
    EXPECT_TRUE(HasKey(Key() + "\\treetop"));
}

TEST_F(Registry, DeletingATreeIsTrueWhenItsParentIsThere) {
    EXPECT_TRUE(modRegistry::DeleteRegistryKeyTree(User, Key() + "\\missing"));
    EXPECT_FALSE(modRegistry::DeleteRegistryKeyTree(User, Key() + "\\missing\\below"));
}

TEST_F(Registry, ATreeDirectlyBelowTheHiveIsDeletedAndFalse) {
    modRegistry::CreateRegistryKey(User, "KelTestTop\\a\\b");
    EXPECT_FALSE(modRegistry::DeleteRegistryKeyTree(User, "KelTestTop"));
    EXPECT_FALSE(HasKey("KelTestTop"));
}

TEST_F(Registry, AnEmptyPathIsNoTreeToDelete) {
    test::RedirectedRegistry redirected(*Machine().registry, Key());
    auto machine = Machine();
    machine.registry = &redirected;
    Install(machine);
    ASSERT_TRUE(modRegistry::CreateRegistryKey(User, "a\\b"));
    for (const char* path : {"", "\\"}) {
        EXPECT_FALSE(modRegistry::DeleteRegistryKeyTree(User, path));
        EXPECT_TRUE(modRegistry::RegKeyExists(User, "a\\b")) << path;
    }
}

TEST_F(Registry, ValuesAreDeleted) {
    Store("v", ValueType::Sz, "x\0"s);
    EXPECT_TRUE(modRegistry::DeleteRegistryValue(User, Key(), "v"));
    EXPECT_FALSE(modRegistry::DeleteRegistryValue(User, Key(), "v"));
    EXPECT_FALSE(modRegistry::DeleteRegistryValue(User, Key() + "\\missing", "v"));
}

TEST_F(Registry, SubkeysOfAMissingKeyAreNothingAtAll) {
    EXPECT_FALSE(modRegistry::RegistrySubKeys(User, Key() + "\\missing").has_value());
    const auto none = modRegistry::RegistrySubKeys(User, Key());
    ASSERT_TRUE(none.has_value());
    EXPECT_EQ(none->Count(), 0U);
    modRegistry::CreateRegistryKey(User, Key() + "\\b");
    modRegistry::CreateRegistryKey(User, Key() + "\\A");
    EXPECT_THAT(Items(modRegistry::RegistrySubKeys(User, Key()).value()), UnorderedElementsAre("A", "b"));
}

TEST_F(Registry, ValuesAreListedWithoutTheLastByteOfTheirData) {
    Store("text", ValueType::Sz, "C:\\x\0"s);
    Store("number", ValueType::Dword, "\x01\x02\x03\x04"s);
    Store("raw", ValueType::Binary, "\x00\xff\x20"s);
    Store("none", ValueType::Binary, "");
    Store("", ValueType::Sz, "default\0"s);
    EXPECT_THAT(Items(modRegistry::RegistryValuesList(User, Key())),
                UnorderedElementsAre("text:C:\\x", "number:\x01\x02\x03", "raw:\0\xff"s, "none:", ":default"));
    EXPECT_EQ(modRegistry::RegistryValuesList(User, Key() + "\\missing").Count(), 0U);
}

TEST_F(Registry, ValueNamesKeepTheirNulAndLeaveOutValuesWithoutData) {
    Store("one", ValueType::Sz, "x\0"s);
    Store("  blanks ", ValueType::Sz, "x\0"s);
    Store("none", ValueType::Binary, "");
    EXPECT_THAT(Items(modRegistry::RegistryValueNames(User, Key())), UnorderedElementsAre("one\0"s, "blanks \0"s));
    EXPECT_EQ(modFiles::StringBeforeNul("one\0"s), "one");
    EXPECT_EQ(modRegistry::RegistryValueCount(User, Key()), 2);
    EXPECT_EQ(modRegistry::RegistryValueCount(User, Key() + "\\missing"), 0);
}

// Values around one that is too large for the buffers.
TEST_F(Registry, AnEnumerationGoesOnBehindAValueThatDoesNotFit) {
    Store("a", ValueType::Sz, "1\0"s);
    Store("b", ValueType::Binary, std::string(20001, 'x'));
    Store("c", ValueType::Sz, "3\0"s);
    EXPECT_THAT(Items(modRegistry::RegistryValuesList(User, Key())), UnorderedElementsAre("a:1", "c:3"));
    EXPECT_EQ(modRegistry::RegistryValueCount(User, Key()), 2);
}

// A key that answers every enumeration with the same error.
struct BrokenRegistry : decorators::ForwardingRegistry {
    struct BrokenKey : decorators::ForwardingKey {
        using ForwardingKey::ForwardingKey;
        platform::Result<platform::NamedRegistryValue> EnumValue(std::uint32_t, std::size_t, std::size_t) override {
            return SysError::RegistryCorrupt;
        }
    };
    using ForwardingRegistry::ForwardingRegistry;
    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override {
        auto open = Inner().Open(hive, key, access);
        return std::unique_ptr<platform::RegistryKey>(std::make_unique<BrokenKey>(std::move(open).Value()));
    }
};

TEST_F(Registry, AnEnumerationOfNothingButErrorsEnds) {
    BrokenRegistry broken(*Machine().registry);
    auto machine = Machine();
    machine.registry = &broken;
    Install(machine);
    EXPECT_EQ(modRegistry::RegistryValuesList(User, Key()).Count(), 0U);
}

TEST_F(Registry, KeysAndValuesAreFoundWithoutRegardToCase) {
    Store("Name", ValueType::Sz, "x\0"s);
    EXPECT_TRUE(modRegistry::RegKeyExists(User, Key()));
    EXPECT_FALSE(modRegistry::RegKeyExists(User, Key() + "\\missing"));
    EXPECT_TRUE(modRegistry::RegValueExists(User, Key(), "nAME"));
    EXPECT_FALSE(modRegistry::RegValueExists(User, Key(), "other"));
    EXPECT_FALSE(modRegistry::RegValueExists(User, Key() + "\\missing", "Name"));
}

TEST_F(Registry, DataIsComparedAsTextWithoutRegardToCase) {
    Store("t", ValueType::Sz, "Bad.EXE\0"s);
    Store("empty", ValueType::Sz, "\0"s);
    Store("n", ValueType::Dword, "\x87\xd6\x12\x00"s);
    EXPECT_TRUE(modRegistry::RegValueDataEquals(User, Key(), "t", "bad.exe"));
    EXPECT_FALSE(modRegistry::RegValueDataEquals(User, Key(), "t", "bad.ex"));
    EXPECT_TRUE(modRegistry::RegValueDataEquals(User, Key(), "empty", ""));
    EXPECT_FALSE(modRegistry::RegValueDataEquals(User, Key(), "missing", ""));
    EXPECT_TRUE(modRegistry::RegValueDataEquals(User, Key(), "n", "123"));
    EXPECT_FALSE(modRegistry::RegValueDataEquals(User, Key(), "n", "1234567"));
}

}  // namespace
}  // namespace kel
