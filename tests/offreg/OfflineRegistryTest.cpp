// The predefined keys over several files: what is mounted where, what is merged, and text as the ANSI calls have it.
#include "offline/OfflineRegistry.h"

#include <gtest/gtest.h>

#include "Scratch.h"
#include "offline/RegistryData.h"
#include "offline/WineRegistryFile.h"
#include "offline/Wtf8.h"

namespace kel::offline {
namespace {

using platform::AccessMaximumAllowed;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::HiveUsers;
using platform::SysError;
using platform::ValueType;
using test::RegistryFile;

constexpr std::string_view MachineKeys =
    "\n[Software\\\\Classes\\\\.both] 1\n@=\"machine\"\n\"only machine\"=\"m\"\n"
    "\n[Software\\\\Classes\\\\.both\\\\shell] 1\n"
    "\n[Software\\\\Classes\\\\.machine] 1\n@=\"m\"\n"
    "\n[Software\\\\Link] 1\n#link\n\"SymbolicLinkValue\"=hex(6):5c,00,52,00,65,00,67,00,69,00,73,00,74,00,72,00,79,00,"
    "5c,00,4d,00,61,00,63,00,68,00,69,00,6e,00,65,00,5c,00,53,00,6f,00,66,00,74,00,77,00,61,00,72,00,65,00,5c,00,54,"
    "00\n"
    "\n[Software\\\\Circle] 1\n#link\n\"SymbolicLinkValue\"=hex(6):5c,00,52,00,65,00,67,00,69,00,73,00,74,00,72,00,79,"
    "00,5c,00,4d,00,61,00,63,00,68,00,69,00,6e,00,65,00,5c,00,53,00,6f,00,66,00,74,00,77,00,61,00,72,00,65,00,5c,00,"
    "43,00,69,00,72,00,63,00,6c,00,65,00\n"
    "\n[Software\\\\Elsewhere] 1\n#link\n\"SymbolicLinkValue\"=hex(6):5c,00,78,00\n"
    "\n[Software\\\\T\\\\sub] 1\n\"v\"=\"target\"\n";
constexpr std::string_view UserKeys =
    "\n[Software\\\\Classes\\\\.BOTH] 1\n@=\"user\"\n"
    "\n[Software\\\\Classes\\\\.both\\\\open] 1\n"
    "\n[Software\\\\Classes\\\\.user\\\\deep] 1\n";

class OfflineRegistryTest : public ::testing::Test {
protected:
    OfflineRegistryTest() {
        machine_ = &Add({u"MACHINE"}, MachineKeys);
        user_ = &Add({u"USER", u"S-1-5-21-1"}, UserKeys);
        Add({u"USER", u".DEFAULT"}, "\n[Default] 1\n");
        registry_.SetCurrentUser(u"S-1-5-21-1");
        registry_.SetWritable(true);
    }

    WineRegistryFile& Add(const KeyPath& path, std::string_view keys) {
        return static_cast<WineRegistryFile&>(
            registry_.Add(path, WineRegistryFile::FromText(RegistryFile(keys), "x.reg")));
    }
    std::unique_ptr<platform::RegistryKey> Open(platform::Hive hive, std::string_view path) {
        auto key = registry_.Open(hive, path, AccessMaximumAllowed);
        EXPECT_TRUE(key.Ok()) << path;
        return key ? std::move(key).Value() : nullptr;
    }
    SysError OpenError(platform::Hive hive, std::string_view path) {
        return registry_.Open(hive, path, AccessMaximumAllowed).Error();
    }
    std::vector<std::string> SubKeys(platform::Hive hive, std::string_view path) {
        std::vector<std::string> names;
        const auto key = Open(hive, path);
        for (std::uint32_t index = 0; key != nullptr; ++index) {
            const auto name = key->EnumKey(index, platform::Unlimited);
            if (!name) {
                EXPECT_EQ(name.Error(), SysError::NoMoreItems);
                break;
            }
            names.push_back(*name);
        }
        return names;
    }
    std::vector<std::string> Values(platform::Hive hive, std::string_view path) {
        std::vector<std::string> texts;
        const auto key = Open(hive, path);
        for (std::uint32_t index = 0; key != nullptr; ++index) {
            const auto value = key->EnumValue(index, platform::Unlimited, platform::Unlimited);
            if (!value) {
                EXPECT_EQ(value.Error(), SysError::NoMoreItems);
                break;
            }
            texts.push_back(value->name + "=" + value->value.data.substr(0, value->value.data.find('\0')));
        }
        return texts;
    }

    using Names = std::vector<std::string>;
    OfflineRegistry registry_;
    WineRegistryFile* machine_;
    WineRegistryFile* user_;
};

TEST_F(OfflineRegistryTest, UsersAreMountedBelowHkeyUsers) {
    EXPECT_EQ(SubKeys(HiveUsers, ""), (Names{".DEFAULT", "S-1-5-21-1"}));
    EXPECT_EQ(SubKeys(HiveUsers, ".Default"), (Names{"Default"}));
    EXPECT_EQ(SubKeys(HiveUsers, "s-1-5-21-1\\Software"), (Names{"Classes"}));
    EXPECT_EQ(SubKeys(HiveCurrentUser, ""), (Names{"Software"}));
}

TEST_F(OfflineRegistryTest, NothingIsMadeOrDeletedBesideTheFiles) {
    EXPECT_EQ(registry_.Create(HiveUsers, "S-1-5-21-2").Error(), static_cast<SysError>(1021));
    EXPECT_EQ(registry_.RemoveKey(HiveUsers, "S-1-5-21-1"), SysError::AccessDenied);
    EXPECT_EQ(registry_.RemoveKey(HiveLocalMachine, ""), SysError::AccessDenied);
    EXPECT_EQ(OpenError(HiveUsers, "S-1-5-21-2"), SysError::FileNotFound);
}

TEST_F(OfflineRegistryTest, ClassesOfTheUserLieOverThoseOfTheMachine) {
    EXPECT_EQ(SubKeys(HiveClassesRoot, ""), (Names{".BOTH", ".machine", ".user"}));
    EXPECT_EQ(SubKeys(HiveClassesRoot, ".both"), (Names{"open", "shell"}));
    EXPECT_EQ(Values(HiveClassesRoot, ".both"), (Names{"=user", "only machine=m"}));
    EXPECT_EQ(Open(HiveClassesRoot, ".both")->Query("", platform::Unlimited)->data, std::string("user\0", 5));
    EXPECT_EQ(Open(HiveClassesRoot, ".both")->Query("ONLY MACHINE", platform::Unlimited)->data, std::string("m\0", 2));
    EXPECT_EQ(Values(HiveLocalMachine, "Software\\Classes\\.both"), (Names{"=machine", "only machine=m"}));
}

TEST_F(OfflineRegistryTest, AMergedWriteGoesToTheUsersKeyWhereThereIsOne) {
    EXPECT_EQ(Open(HiveClassesRoot, ".both")->Set("n", ValueType::Sz, std::string_view("1\0", 2)), SysError::Success);
    EXPECT_EQ(Open(HiveClassesRoot, ".machine")->Set("n", ValueType::Sz, std::string_view("2\0", 2)),
              SysError::Success);
    EXPECT_EQ(Values(HiveCurrentUser, "Software\\Classes\\.both"), (Names{"=user", "n=1"}));
    EXPECT_EQ(Values(HiveLocalMachine, "Software\\Classes\\.machine"), (Names{"=m", "n=2"}));
}

TEST_F(OfflineRegistryTest, ANewMergedKeyIsTheMachinesUnlessItsParentIsTheUsersAlone) {
    ASSERT_TRUE(registry_.Create(HiveClassesRoot, ".new\\x").Ok());
    ASSERT_TRUE(registry_.Create(HiveClassesRoot, ".user\\x").Ok());
    EXPECT_EQ(OpenError(HiveLocalMachine, "Software\\Classes\\.new\\x"), SysError::Success);
    EXPECT_EQ(OpenError(HiveCurrentUser, "Software\\Classes\\.user\\x"), SysError::Success);
    EXPECT_EQ(OpenError(HiveLocalMachine, "Software\\Classes\\.user"), SysError::FileNotFound);
}

TEST_F(OfflineRegistryTest, AMergedDeleteTakesTheUsersKeyFirst) {
    EXPECT_EQ(registry_.RemoveKey(HiveClassesRoot, ".both"), SysError::AccessDenied);
    EXPECT_EQ(registry_.RemoveKey(HiveClassesRoot, ".both\\open"), SysError::Success);
    EXPECT_EQ(registry_.RemoveKey(HiveClassesRoot, ".both"), SysError::Success);
    EXPECT_EQ(Values(HiveClassesRoot, ".both"), (Names{"=machine", "only machine=m"}));
    EXPECT_EQ(Open(HiveClassesRoot, ".both")->RemoveValue("only machine"), SysError::Success);
    EXPECT_EQ(Values(HiveLocalMachine, "Software\\Classes\\.both"), (Names{"=machine"}));
}

TEST_F(OfflineRegistryTest, AMergedListingFollowsChanges) {
    const auto key = Open(HiveClassesRoot, ".both");
    EXPECT_EQ(*key->EnumKey(0, platform::Unlimited), "open");
    EXPECT_EQ(key->RemoveKey("open"), SysError::Success);
    EXPECT_EQ(*key->EnumKey(0, platform::Unlimited), "shell");
    EXPECT_EQ(key->RemoveKey("shell"), SysError::Success);
    EXPECT_EQ(key->EnumKey(0, platform::Unlimited).Error(), SysError::NoMoreItems);
}

TEST_F(OfflineRegistryTest, LinksLeadToTheirTargets) {
    EXPECT_EQ(SubKeys(HiveLocalMachine, "Software\\link"), (Names{"sub"}));
    EXPECT_EQ(Values(HiveLocalMachine, "Software\\Link\\Sub"), (Names{"v=target"}));
    ASSERT_TRUE(registry_.Create(HiveLocalMachine, "Software\\Link\\made").Ok());
    EXPECT_EQ(SubKeys(HiveLocalMachine, "Software\\T"), (Names{"made", "sub"}));
}

TEST_F(OfflineRegistryTest, LinksThatLeadNowhereEnd) {
    EXPECT_EQ(OpenError(HiveLocalMachine, "Software\\Circle"), SysError::RegistryCorrupt);
    EXPECT_EQ(OpenError(HiveLocalMachine, "Software\\Circle\\a\\b"), SysError::RegistryCorrupt);
    EXPECT_EQ(OpenError(HiveLocalMachine, "Software\\Elsewhere"), SysError::FileNotFound);
}

TEST_F(OfflineRegistryTest, DeletingALinkLeavesItsTarget) {
    EXPECT_EQ(registry_.RemoveKey(HiveLocalMachine, "Software\\Link"), SysError::Success);
    EXPECT_EQ(OpenError(HiveLocalMachine, "Software\\Link"), SysError::FileNotFound);
    EXPECT_EQ(OpenError(HiveLocalMachine, "Software\\T\\sub"), SysError::Success);
}

TEST_F(OfflineRegistryTest, AMountTakesThePlaceOfWhatItsParentHasThere) {
    Add({u"USER", u"S-1-5-21-1", u"Software", u"Classes"}, "\n[.mounted] 1\n");
    EXPECT_EQ(SubKeys(HiveCurrentUser, "Software\\Classes"), (Names{".mounted"}));
    EXPECT_EQ(SubKeys(HiveCurrentUser, "Software"), (Names{"Classes"}));
    EXPECT_EQ(SubKeys(HiveClassesRoot, ""), (Names{".both", ".machine", ".mounted"}));
    EXPECT_EQ(registry_.RemoveKey(HiveCurrentUser, "Software\\Classes"), SysError::AccessDenied);
}

TEST_F(OfflineRegistryTest, AKeyOfAFileCanBeShownAtASecondPlace) {
    registry_.Mount({u"MACHINE", u"SYSTEM", u"CurrentControlSet"}, *machine_, {u"Software", u"T"});
    EXPECT_EQ(SubKeys(HiveLocalMachine, ""), (Names{"Software", "SYSTEM"}));
    EXPECT_EQ(SubKeys(HiveLocalMachine, "System"), (Names{"CurrentControlSet"}));
    EXPECT_EQ(Values(HiveLocalMachine, "System\\CurrentControlSet\\sub"), (Names{"v=target"}));
    ASSERT_TRUE(registry_.Create(HiveLocalMachine, "System\\CurrentControlSet\\made").Ok());
    EXPECT_EQ(SubKeys(HiveLocalMachine, "Software\\T"), (Names{"made", "sub"}));
}

TEST_F(OfflineRegistryTest, PathsAreTakenAsTheCallsTakeThem) {
    EXPECT_EQ(OpenError(HiveLocalMachine, "SOFTWARE\\\\t\\Sub\\"), SysError::Success);
    EXPECT_EQ(OpenError(HiveLocalMachine, "\\Software"), SysError::BadPathName);
    EXPECT_EQ(OpenError(HiveLocalMachine, std::string(256, 'x')), SysError::InvalidParameter);
    EXPECT_EQ(OpenError(HiveLocalMachine, "/Software"), SysError::FileNotFound);
    EXPECT_EQ(OpenError(7, "Software"), SysError::InvalidHandle);
}

TEST_F(OfflineRegistryTest, PathsDeeperThan512LevelsAreRefused) {
    std::string path = "Software";
    for (int level = 2; level < 512; ++level) {
        path += "\\k";
    }
    EXPECT_TRUE(registry_.Create(HiveLocalMachine, path).Ok()) << "512 levels with the hive's own";
    EXPECT_EQ(registry_.Create(HiveLocalMachine, path + "\\k").Error(), SysError::InvalidParameter);
    EXPECT_EQ(OpenError(HiveLocalMachine, path + "\\k\\k"), SysError::InvalidParameter);
    EXPECT_EQ(registry_.RemoveKey(HiveLocalMachine, path), SysError::Success);
}

TEST_F(OfflineRegistryTest, AClosedRegistryRefusesEveryWrite) {
    registry_.SetWritable(false);
    const auto key = Open(HiveLocalMachine, "Software\\T");
    EXPECT_EQ(key->Set("n", ValueType::Sz, "x"), SysError::WriteProtect);
    EXPECT_EQ(key->RemoveValue("n"), SysError::WriteProtect);
    EXPECT_EQ(key->RemoveKey("sub"), SysError::WriteProtect);
    EXPECT_EQ(registry_.RemoveKey(HiveLocalMachine, "Software\\T\\sub"), SysError::WriteProtect);
    EXPECT_EQ(registry_.Create(HiveLocalMachine, "Software\\New").Error(), SysError::WriteProtect);
    EXPECT_TRUE(registry_.Create(HiveLocalMachine, "Software\\T").Ok()) << "what is there is opened";
    EXPECT_FALSE(machine_->Changed());
}

TEST_F(OfflineRegistryTest, OpenKeysAreVoidAfterADiscard) {
    const auto key = Open(HiveLocalMachine, "Software\\T");
    registry_.Discard();
    EXPECT_EQ(*key->EnumKey(0, platform::Unlimited), "sub") << "nothing had changed";
    EXPECT_EQ(key->Set("n", ValueType::Sz, "x"), SysError::Success);
    registry_.Discard();
    EXPECT_EQ(key->EnumKey(0, platform::Unlimited).Error(), SysError::KeyDeleted);
    EXPECT_EQ(key->Query("n", platform::Unlimited).Error(), SysError::KeyDeleted);
    EXPECT_EQ(Values(HiveLocalMachine, "Software\\T"), Names{});
}

TEST_F(OfflineRegistryTest, OpenKeysOutliveACommit) {
    const auto key = Open(HiveLocalMachine, "Software\\T");
    EXPECT_EQ(key->Set("n", ValueType::Sz, "x"), SysError::Success);
    EXPECT_EQ(registry_.Commit(), SysError::Success);
    EXPECT_EQ(key->Query("n", platform::Unlimited)->data, std::string("x\0", 2));
}

TEST_F(OfflineRegistryTest, TextIsStoredAsItIsGiven) {
    const auto key = Open(HiveLocalMachine, "Software\\T");
    EXPECT_EQ(key->Set("without", ValueType::Sz, "\xC3\xA9"), SysError::Success);
    EXPECT_EQ(key->Set("with", ValueType::ExpandSz, std::string_view("a\0", 2)), SysError::Success);
    const KeyId id = test::KeyAt(*machine_, u"Software\\T");
    EXPECT_EQ(machine_->FindValue(id, u"without")->data, BytesFromUnits(u"\x00E9"));
    EXPECT_EQ(machine_->FindValue(id, u"with")->data, BytesFromUnits(std::u16string(u"a\0", 2)));
}

// A name of 255 letters of three bytes each fills no buffer of 512 characters.
TEST_F(OfflineRegistryTest, RoomIsCountedInCharacters) {
    std::string name;
    for (int letter = 0; letter < 255; ++letter) {
        name += "\xE4\xB8\xAD";
    }
    ASSERT_TRUE(registry_.Create(HiveLocalMachine, "Software\\T\\" + name).Ok());
    const auto key = Open(HiveLocalMachine, "Software\\T");
    EXPECT_EQ(key->EnumKey(1, 256).ValueOr(""), name);
    EXPECT_EQ(key->EnumKey(1, 255).Error(), SysError::MoreData);

    ASSERT_EQ(key->Set(name, ValueType::Sz, name), SysError::Success);
    EXPECT_EQ(key->EnumValue(0, 256, 256)->name, name);
    EXPECT_EQ(key->EnumValue(0, 255, 256).Error(), SysError::MoreData);
    EXPECT_EQ(key->EnumValue(0, 256, 255).Error(), SysError::MoreData);
    EXPECT_EQ(key->Query(name, 256)->data, name + '\0');
    EXPECT_EQ(key->Query(name, 255).Error(), SysError::MoreData);

    ASSERT_EQ(key->Set("raw", ValueType::Binary, name), SysError::Success);
    EXPECT_EQ(key->Query("raw", 764).Error(), SysError::MoreData);
    EXPECT_EQ(key->Query("raw", 765)->data, name);
}

TEST(RegistryDataTest, AMissingTerminatorIsAddedWhereThereIsText) {
    const auto ansi = [](std::uint32_t type, std::u16string_view units) {
        return ToAnsi({u"", type, BytesFromUnits(units)}).data;
    };
    EXPECT_EQ(ansi(1, u"ab"), std::string("ab\0", 3));
    EXPECT_EQ(ansi(1, std::u16string_view(u"ab\0", 3)), std::string("ab\0", 3));
    EXPECT_EQ(ansi(7, std::u16string_view(u"a\0b\0\0", 5)), std::string("a\0b\0\0", 5));
    EXPECT_EQ(ansi(2, u""), "");
    EXPECT_EQ(ansi(3, u"ab"), std::string("a\0b\0", 4));
    EXPECT_EQ(ansi(1, std::u16string_view(u"a\0b", 3)), std::string("a\0b\0", 4));
}

TEST(RegistryDataTest, OddBytesAndLoneSurrogatesDoNoHarm) {
    TreeValue value{u"", 1, {std::byte{0x41}, std::byte{0}, std::byte{0x42}}};
    EXPECT_EQ(ToAnsi(value).data, std::string("A\0", 2));
    value.data = {std::byte{0x41}};
    EXPECT_EQ(ToAnsi(value).data, "");
    const std::u16string lone{0xDC41, u'\0'};
    value.data = BytesFromUnits(lone);
    EXPECT_EQ(FromAnsi(ValueType::Sz, ToAnsi(value).data), value.data);
}

}  // namespace
}  // namespace kel::offline
