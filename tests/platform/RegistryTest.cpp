// Keys and single values.
#include <utility>

#include "PlatformTest.h"

namespace kel::test {
namespace {

using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::HiveUsers;
using platform::SysError;
using platform::ValueType;
using namespace std::string_literals;

using RegistryKeys = PlatformTest;
using RegistryRights = PlatformTest;
using RegistryValues = PlatformTest;
using RegistryCommit = PlatformTest;

TEST_F(RegistryKeys, CreatingMakesAllParentsAndOpensWhatIsThere) {
    EXPECT_EQ(Registry().Create(HiveCurrentUser, Key("a\\b\\c")).Error(), SysError::Success);
    EXPECT_TRUE(Registry().Open(HiveCurrentUser, Key("a\\b")).Ok());
    EXPECT_EQ(OpenKey("a\\b\\c")->Set("kept", ValueType::Sz, "x\0"s), SysError::Success);
    auto again = Registry().Create(HiveCurrentUser, Key("a\\b\\c"));
    ASSERT_TRUE(again.Ok());
    EXPECT_TRUE((*again)->Query("kept").Ok());
}

TEST_F(RegistryKeys, NamesCompareWithoutRegardToCaseAndKeepTheirOwn) {
    MakeKey("MixedCase");
    EXPECT_TRUE(Registry().Open(HiveCurrentUser, Key("mIXEDcASE")).Ok());
    MakeKey("MIXEDCASE");
    EXPECT_EQ(OpenKey()->EnumKey(0).ValueOr(""), "MixedCase");
    EXPECT_EQ(OpenKey()->EnumKey(1).Error(), SysError::NoMoreItems);
}

TEST_F(RegistryKeys, MissingKeyIsNotFound) {
    EXPECT_EQ(Registry().Open(HiveCurrentUser, Key("missing")).Error(), SysError::FileNotFound);
    EXPECT_EQ(Registry().Open(HiveCurrentUser, Key("missing\\sub")).Error(), SysError::FileNotFound);
    EXPECT_EQ(Registry().Open(HiveLocalMachine, "No such key", 63).Error(), SysError::FileNotFound);
}

TEST_F(RegistryKeys, EmptyPathIsTheHive) {
    for (const platform::Hive hive : {HiveClassesRoot, HiveCurrentUser, HiveLocalMachine, HiveUsers}) {
        EXPECT_TRUE(Registry().Open(hive, "").Ok());
        EXPECT_TRUE(Registry().Open(hive, "", platform::AccessEnumerateSubKeys).Ok());
    }
}

TEST_F(RegistryKeys, TrailingBackslashDoesNotCountAndALeadingOneIsWrong) {
    EXPECT_TRUE(Registry().Open(HiveCurrentUser, "Software\\").Ok());
    EXPECT_EQ(Registry().Open(HiveCurrentUser, "\\Software").Error(), SysError::BadPathName);
}

TEST_F(RegistryKeys, OtherNumbersAreNoHives) {
    for (const platform::Hive hive : {0, 1, 5, 0x7FFFFFFF, -1}) {
        EXPECT_EQ(Registry().Open(hive, "Software").Error(), SysError::InvalidHandle) << hive;
        EXPECT_EQ(Registry().Create(hive, "Software").Error(), SysError::InvalidHandle) << hive;
        EXPECT_EQ(Registry().RemoveKey(hive, "Software"), SysError::InvalidHandle) << hive;
    }
}

TEST_F(RegistryKeys, RemovingTakesEmptyKeysOnly) {
    MakeKey("a\\b");
    EXPECT_EQ(OpenKey("a\\b")->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    EXPECT_EQ(Registry().RemoveKey(HiveCurrentUser, Key("a")), SysError::AccessDenied);
    EXPECT_EQ(Registry().RemoveKey(HiveCurrentUser, Key("A\\B")), SysError::Success);
    EXPECT_EQ(Registry().RemoveKey(HiveCurrentUser, Key("a")), SysError::Success);
    EXPECT_EQ(Registry().Open(HiveCurrentUser, Key("a")).Error(), SysError::FileNotFound);
}

TEST_F(RegistryKeys, RemovingAMissingKeyIsNotFound) {
    EXPECT_EQ(Registry().RemoveKey(HiveCurrentUser, Key("missing")), SysError::FileNotFound);
    EXPECT_EQ(OpenKey()->RemoveKey("missing"), SysError::FileNotFound);
}

TEST_F(RegistryKeys, RemovingThroughAnOpenKeyTakesASubkeyPath) {
    MakeKey("a\\b");
    const auto key = OpenKey();
    EXPECT_EQ(key->RemoveKey("a"), SysError::AccessDenied);
    EXPECT_EQ(key->RemoveKey("a\\b"), SysError::Success);
    EXPECT_EQ(key->RemoveKey("a"), SysError::Success);
}

TEST_F(RegistryKeys, ARemovedKeyAnswersSoToWhoHasItOpen) {
    MakeKey("a");
    const auto key = OpenKey("a");
    ASSERT_EQ(key->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    ASSERT_EQ(OpenKey()->RemoveKey("a"), SysError::Success);
    EXPECT_EQ(key->Query("v").Error(), SysError::KeyDeleted);
    EXPECT_EQ(key->Set("v", ValueType::Sz, "x\0"s), SysError::KeyDeleted);
    EXPECT_EQ(key->EnumKey(0).Error(), SysError::KeyDeleted);
    EXPECT_EQ(key->RemoveValue("v"), SysError::KeyDeleted);
}

TEST_F(RegistryKeys, ClassesRootShowsTheMachinesClasses) {
    const std::string name = ".keltest" + std::to_string(Machine().processes->CurrentId());
    ASSERT_TRUE(Registry().Create(HiveLocalMachine, "Software\\Classes\\" + name).Ok());
    EXPECT_TRUE(Registry().Open(HiveClassesRoot, name).Ok());
    EXPECT_EQ(Registry().RemoveKey(HiveLocalMachine, "Software\\Classes\\" + name), SysError::Success);
    EXPECT_EQ(Registry().Open(HiveClassesRoot, name).Error(), SysError::FileNotFound);
}

TEST_F(RegistryRights, EnumeratingSubkeysAllowsNothingElse) {
    if (OnWindows9x()) {
        GTEST_SKIP() << "no rights on keys there";
    }
    MakeKey("a");
    ASSERT_EQ(OpenKey()->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    const auto key = OpenKey({}, platform::AccessEnumerateSubKeys);
    EXPECT_EQ(key->EnumKey(0).ValueOr(""), "a");
    EXPECT_EQ(key->Query("v").Error(), SysError::AccessDenied);
    EXPECT_EQ(key->EnumValue(0).Error(), SysError::AccessDenied);
    EXPECT_EQ(key->Set("v", ValueType::Sz, "y\0"s), SysError::AccessDenied);
    EXPECT_EQ(key->RemoveValue("v"), SysError::AccessDenied);
}

TEST_F(RegistryRights, AllButDeleteReadsAndWrites) {
    const auto key = OpenKey({}, platform::AccessAllButDelete);
    EXPECT_EQ(key->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    EXPECT_EQ(key->Query("v").Error(), SysError::Success);
    EXPECT_EQ(key->RemoveValue("v"), SysError::Success);
}

struct StoredRow {
    const char* name;
    ValueType type;
    std::string data;
};

const StoredRow StoredRows[] = {
    {"text", ValueType::Sz, "abc\0"s},
    {"empty text", ValueType::Sz, "\0"s},
    {"no text at all", ValueType::Sz, ""s},
    {"terminated twice", ValueType::Sz, "abc\0\0"s},
    {"expandable", ValueType::ExpandSz, "%windir%\\x\0"s},
    {"several", ValueType::MultiSz, "a\0bc\0\0"s},
    {"binary", ValueType::Binary, "\0\x01\xFF\x80\0"s},
    {"no bytes", ValueType::Binary, ""s},
    {"none", ValueType::None, "\x01\x02"s},
    {"number", ValueType::Dword, "\x87\xD6\x12\0"s},
    {"number the other way round", ValueType::DwordBigEndian, "\0\0\0\x01"s},
    {"long number", ValueType::Qword, "\x01\x02\x03\x04\x05\x06\x07\x08"s},
    {"number of three bytes", ValueType::Dword, "\x01\x02\x03"s},
    {"type without a name", static_cast<ValueType>(77), "abc"s},
};

TEST_F(RegistryValues, ComeBackWithTypeAndBytes) {
    const auto key = OpenKey();
    for (const StoredRow& row : StoredRows) {
        ASSERT_EQ(key->Set(row.name, row.type, row.data), SysError::Success) << row.name;
    }
    for (const StoredRow& row : StoredRows) {
        if (OnWindows9x() && row.type == ValueType::Sz) {
            continue;  // which stores text with one terminator, however it is given
        }
        const auto value = key->Query(row.name);
        ASSERT_TRUE(value.Ok()) << row.name;
        EXPECT_EQ(value.Value().type, row.type) << row.name;
        EXPECT_EQ(value.Value().data, row.data) << row.name;
    }
}

TEST_F(RegistryValues, AMissingTerminatorIsAddedToText) {
    const auto key = OpenKey();
    for (const ValueType type : {ValueType::Sz, ValueType::ExpandSz, ValueType::MultiSz}) {
        ASSERT_EQ(key->Set("v", type, "abc"), SysError::Success);
        EXPECT_EQ(key->Query("v").ValueOr({}).data, "abc\0"s);
        EXPECT_EQ(key->Query("v", 100).ValueOr({}).data, "abc\0"s);
        EXPECT_EQ(key->EnumValue(0).ValueOr({}).value.data, "abc\0"s);
        EXPECT_EQ(key->EnumValue(0, 100, 100).ValueOr({}).value.data, "abc\0"s);
    }
    ASSERT_EQ(key->Set("v", ValueType::Binary, "abc"), SysError::Success);
    EXPECT_EQ(key->Query("v").ValueOr({}).data, "abc");
}

TEST_F(RegistryValues, EmptyNameIsTheDefaultValue) {
    const auto key = OpenKey();
    EXPECT_EQ(key->Query("").Error(), SysError::FileNotFound);
    ASSERT_EQ(key->Set("", ValueType::Sz, "default\0"s), SysError::Success);
    EXPECT_EQ(key->Query("").ValueOr({}).data, "default\0"s);
    EXPECT_EQ(key->RemoveValue(""), SysError::Success);
    EXPECT_EQ(key->Query("").Error(), SysError::FileNotFound);
}

TEST_F(RegistryValues, NamesCompareWithoutRegardToCase) {
    const auto key = OpenKey();
    ASSERT_EQ(key->Set("Name", ValueType::Sz, "1\0"s), SysError::Success);
    ASSERT_EQ(key->Set("nAME", ValueType::Sz, "2\0"s), SysError::Success);
    EXPECT_EQ(key->Query("NAME").ValueOr({}).data, "2\0"s);
    EXPECT_EQ(key->EnumValue(1).Error(), SysError::NoMoreItems);
    EXPECT_EQ(key->RemoveValue("name"), SysError::Success);
}

TEST_F(RegistryValues, SettingReplacesTypeAndData) {
    const auto key = OpenKey();
    ASSERT_EQ(key->Set("v", ValueType::Sz, "some longer text\0"s), SysError::Success);
    ASSERT_EQ(key->Set("v", ValueType::Dword, "\x01\0\0\0"s), SysError::Success);
    const auto value = key->Query("v");
    ASSERT_TRUE(value.Ok());
    EXPECT_EQ(value.Value().type, ValueType::Dword);
    EXPECT_EQ(value.Value().data, "\x01\0\0\0"s);
}

TEST_F(RegistryValues, ASmallBufferIsMoreData) {
    const auto key = OpenKey();
    ASSERT_EQ(key->Set("v", ValueType::Sz, "abc\0"s), SysError::Success);
    EXPECT_EQ(key->Query("v", 3).Error(), SysError::MoreData);
    EXPECT_EQ(key->Query("v", 0).Error(), SysError::MoreData);
    EXPECT_EQ(key->Query("v", 4).ValueOr({}).data, "abc\0"s);
    ASSERT_EQ(key->Set("b", ValueType::Binary, "12345"), SysError::Success);
    EXPECT_EQ(key->Query("b", 4).Error(), SysError::MoreData);
    EXPECT_EQ(key->Query("b", 5).ValueOr({}).data, "12345");
}

TEST_F(RegistryValues, LongOnesComeWhole) {
    const auto key = OpenKey();
    const std::string text = std::string(30000, 't') + '\0';
    const std::string bytes(100000, '\x80');
    ASSERT_EQ(key->Set("text", ValueType::Sz, text), SysError::Success);
    ASSERT_EQ(key->Set("bytes", ValueType::Binary, bytes), SysError::Success);
    EXPECT_EQ(key->Query("text").ValueOr({}).data, text);
    EXPECT_EQ(key->Query("bytes").ValueOr({}).data, bytes);
    EXPECT_EQ(key->Query("text", 20480).Error(), SysError::MoreData);
}

TEST_F(RegistryValues, LettersBeyondAsciiComeBack) {
    const std::string word = Machine().text->FromUtf8("\xC3\xA9t\xC3\xA9");
    const auto key = OpenKey();
    ASSERT_EQ(key->Set(word, ValueType::Sz, word + '\0'), SysError::Success);
    EXPECT_EQ(key->Query(word).ValueOr({}).data, word + '\0');
    EXPECT_EQ(key->EnumValue(0).ValueOr({}).name, word);
    MakeKey(word);
    EXPECT_EQ(key->EnumKey(0).ValueOr(""), word);
    EXPECT_TRUE(Registry().Open(HiveCurrentUser, Key(Machine().text->ToUpper(word))).Ok());
}

TEST_F(RegistryValues, MissingOnesAreNotFound) {
    const auto key = OpenKey();
    EXPECT_EQ(key->Query("missing").Error(), SysError::FileNotFound);
    EXPECT_EQ(key->RemoveValue("missing"), SysError::FileNotFound);
}

TEST_F(RegistryValues, RemovedOnesAreGone) {
    const auto key = OpenKey();
    ASSERT_EQ(key->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    EXPECT_EQ(key->RemoveValue("v"), SysError::Success);
    EXPECT_EQ(key->Query("v").Error(), SysError::FileNotFound);
    EXPECT_EQ(key->RemoveValue("v"), SysError::FileNotFound);
}

TEST_F(RegistryKeys, ChangesBelowAKeyOfThatNameAreCountedUnlessOthersMayChangeItToo) {
    MakeKey("watched\\below");
    MakeKey("beside");
    const auto count = [this] { return Registry().ChangesBelow("WATCHED"); };
    const auto start = count();
    if (!start) {
        SUCCEED() << "others may";
        return;
    }
    EXPECT_EQ(OpenKey("beside")->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    MakeKey("beside\\another");
    (void)OpenKey("watched\\below")->Query("v");
    EXPECT_EQ(count(), start);
    auto last = start;
    const auto isAnother = [&] { return std::exchange(last, count()) != last; };
    EXPECT_EQ(OpenKey("watched\\below")->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    EXPECT_TRUE(isAnother());
    EXPECT_EQ(OpenKey("watched\\below")->RemoveValue("v"), SysError::Success);
    EXPECT_TRUE(isAnother());
    MakeKey("watched\\other");
    EXPECT_TRUE(isAnother());
    EXPECT_EQ(OpenKey()->RemoveKey("watched\\other"), SysError::Success);
    EXPECT_TRUE(isAnother());
    Registry().Discard();
    EXPECT_TRUE(isAnother());
}

TEST_F(RegistryCommit, KeepsWhatWasWritten) {
    ASSERT_EQ(OpenKey()->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    EXPECT_EQ(Registry().Commit(), SysError::Success);
    EXPECT_EQ(Registry().Commit(), SysError::Success);
    EXPECT_EQ(OpenKey()->Query("v").ValueOr({}).data, "x\0"s);
}

TEST_F(RegistryCommit, DiscardingAfterItForgetsNothing) {
    ASSERT_EQ(OpenKey()->Set("v", ValueType::Sz, "x\0"s), SysError::Success);
    ASSERT_EQ(Registry().Commit(), SysError::Success);
    Registry().Discard();
    EXPECT_EQ(OpenKey()->Query("v").ValueOr({}).data, "x\0"s);
}

}  // namespace
}  // namespace kel::test
