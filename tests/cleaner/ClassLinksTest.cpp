// Keys that go as a whole, and the places where extensions are loaded by their class.
#include <gmock/gmock.h>

#include "Items.h"
#include "RemovalTest.h"
#include "cleaner/BootLists.h"
#include "cleaner/Unhooking.h"
#include "decorators/ForwardingRegistry.h"
#include "quarantine/QThreatLocationRegKey.h"

namespace kel::test {
namespace {

using modCleanerHelper::CreateQuarantineRegKeySet;
using modCleanerHelper::QuarantineCLSIDMods;
using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::ValueType;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

// "key [name=data] type", of a key "key".
std::vector<std::string> Shown(const QuarantineLocations<QThreatLocationRegKey>& records) {
    std::vector<std::string> shown;
    for (const auto& record : records) {
        std::string& text = shown.emplace_back(record->Regkey);
        if (!record->RegValueName.empty() || record->RegValueDataType != 0) {
            text += " [" + record->RegValueName + "=" + record->RegValueData + "] " +
                    std::to_string(record->RegValueDataType);
        }
    }
    return shown;
}

class KeySets : public RemovalTest {};

TEST_F(KeySets, AnEmptyKeyIsOneRecordAndGoes) {
    Stage().AddKey(HiveLocalMachine, "Software\\Thing\\Empty");
    const auto set = CreateQuarantineRegKeySet(HiveLocalMachine, "Software\\Thing\\Empty", false);
    ASSERT_THAT(Items(set), SizeIs(1));
    EXPECT_EQ(set.Item(1)->RegHive, HiveLocalMachine);
    EXPECT_EQ(set.Item(1)->Regkey, "Software\\Thing\\Empty");
    EXPECT_EQ(set.Item(1)->RegValueName, "");
    EXPECT_EQ(set.Item(1)->RegValueDataType, 0);
    EXPECT_FALSE(KeyExists(HiveLocalMachine, "Software\\Thing\\Empty"));
    EXPECT_TRUE(KeyExists(HiveLocalMachine, "Software\\Thing"));
    EXPECT_THAT(Log(), ElementsAre("Removing registry value HKEY_LOCAL_MACHINE\\Software\\Thing\\Empty",
                                   "Removing registry key HKEY_LOCAL_MACHINE\\Software\\Thing\\Empty"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(KeySets, SubkeysComeFirstThenValuesThenTheKey) {
    Stage().AddText(HiveCurrentUser, "Thing\\Top", "t", "top");
    Stage().AddText(HiveCurrentUser, "Thing\\Top\\A\\Deep", "d", "deep");
    Stage().AddText(HiveCurrentUser, "Thing\\Top\\B", "", "default");
    const auto set = CreateQuarantineRegKeySet(HiveCurrentUser, "Thing\\Top", false);
    EXPECT_THAT(Shown(set),
                ElementsAre("Thing\\Top\\A\\Deep [d=deep] 1", "Thing\\Top\\A\\Deep", "Thing\\Top\\A",
                            "Thing\\Top\\B [=default] 1", "Thing\\Top\\B", "Thing\\Top [t=top] 1", "Thing\\Top"));
    EXPECT_FALSE(KeyExists(HiveCurrentUser, "Thing\\Top"));
    EXPECT_THAT(Log(), ElementsAre("Removing registry value HKEY_CURRENT_USER\\Thing\\Top\\A\\Deep [d=deep]",
                                   "Removing registry value HKEY_CURRENT_USER\\Thing\\Top\\A\\Deep",
                                   "Removing registry value HKEY_CURRENT_USER\\Thing\\Top\\A",
                                   "Removing registry value HKEY_CURRENT_USER\\Thing\\Top\\B [=default]",
                                   "Removing registry value HKEY_CURRENT_USER\\Thing\\Top\\B",
                                   "Removing registry value HKEY_CURRENT_USER\\Thing\\Top [t=top]",
                                   "Removing registry value HKEY_CURRENT_USER\\Thing\\Top",
                                   "Removing registry key HKEY_CURRENT_USER\\Thing\\Top"));
}

TEST_F(KeySets, ValuesAreKeptInTextFormWithTheirTypes) {
    const auto add = [&](std::string_view name, ValueType type, std::string data) {
        Stage().AddValue(HiveCurrentUser, "Thing\\Types", name, {type, std::move(data)});
    };
    add("1 expanded", ValueType::ExpandSz, std::string("%windir%\\x") + '\0');
    add("2 number", ValueType::Dword, std::string("\x87\xd6\x12\0", 4));
    add("3 bytes", ValueType::Binary, std::string("\x0a\0\xff", 3));
    add("4 empty", ValueType::Binary, "");
    add("C:\\a\\file.dll", ValueType::Sz, std::string("1") + '\0');
    const auto set = CreateQuarantineRegKeySet(HiveCurrentUser, "Thing\\Types", false);
    std::vector<std::string> shown = Shown(set);
    EXPECT_EQ(shown.back(), "Thing\\Types");
    EXPECT_THAT(shown, ::testing::UnorderedElementsAre("Thing\\Types [1 expanded=%windir%\\x] 2",
                                                       "Thing\\Types [2 number=123] 4",
                                                       "Thing\\Types [3 bytes=0A00FF] 3", "Thing\\Types [4 empty=] 3",
                                                       "Thing\\Types [C:\\a\\file.dll=1] 1", "Thing\\Types"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(KeySets, OnTheWayDownNothingIsDeleted) {
    Stage().AddText(HiveCurrentUser, "Thing\\Below\\Key", "name", "data");
    EXPECT_THAT(Items(CreateQuarantineRegKeySet(HiveCurrentUser, "Thing\\Below", true)), SizeIs(3));
    EXPECT_EQ(Data(HiveCurrentUser, "Thing\\Below\\Key", "name"), "data");
    EXPECT_THAT(Log(), Not(Contains(::testing::StartsWith("Removing registry key"))));
}

const std::string Clsid = "{11111111-2222-3333-4444-555555555555}";
const std::string Other = "{AAAAAAAA-2222-3333-4444-555555555555}";

struct KeyPlace {
    Hive hive;
    std::string key;
    std::string log;
};

const std::vector<KeyPlace> KeyPlaces = {
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects)", "Removing BHO "},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", "Removing IE Extension "},
    {HiveCurrentUser, R"(SOFTWARE\Microsoft\Internet Explorer\Extensions)", "Removing IE Extension "},
    {HiveLocalMachine, R"(Software\Microsoft\Internet Explorer\Explorer Bars)", "Removing IE Explorer Bar "},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Code Store Database\Distribution Units)", "Removing IE ActiveX "},
};

const std::vector<KeyPlace> ValuePlaces = {
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Internet Explorer\Toolbar)", "Removing IE Toolbar "},
    {HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\ShellBrowser)", "Removing IE ShellBrowser "},
    {HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\Toolbar\WebBrowser)", "Removing IE WebBrowser "},
    {HiveCurrentUser, R"(Software\Microsoft\Internet Explorer\URLSearchHooks)", "Removing IE URLSearchHook "},
    {HiveLocalMachine, R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\ShellExecuteHooks)",
     "Removing IE ShellExecuteHook "},
};

constexpr std::string_view Loaded = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\ShellServiceObjectDelayLoad)";
constexpr std::string_view RootFilter = R"(PROTOCOLS\Filter)";
constexpr std::string_view MachineFilter = R"(SOFTWARE\Classes\PROTOCOLS\Filter)";

std::string FullKey(Hive hive, const std::string& key) {
    return (hive == HiveLocalMachine ? "HKEY_LOCAL_MACHINE\\" : "HKEY_CURRENT_USER\\") + key;
}

class ClassLinks : public RemovalTest {
protected:
    ClassLinks() {
        AddClass(Clsid, file);
        AddClass(Other, AddThing("good.dll"));
    }
    void AddClass(const std::string& clsid, const std::string& server) {
        Stage().AddText(HiveClassesRoot, "CLSID\\" + clsid + "\\InprocServer32", "", server);
    }
    const std::string file = AddThing("bad.dll");
};

TEST_F(ClassLinks, KeysOfTheClassGoAndComeOnTheBootList) {
    std::vector<std::string> log;
    std::vector<std::string> records;
    for (const KeyPlace& place : KeyPlaces) {
        Stage().AddText(place.hive, place.key + "\\" + Clsid, "name", "data");
        Stage().AddKey(place.hive, place.key + "\\" + Other);
        const std::string full = FullKey(place.hive, place.key) + "\\" + Clsid;
        log.insert(log.end(),
                   {place.log + Clsid + " for file " + file, "Removing registry value " + full + " [name=data]",
                    "Removing registry value " + full, "Removing registry key " + full});
        records.insert(records.end(), {place.key + "\\" + Clsid + " [name=data] 1", place.key + "\\" + Clsid});
    }
    EXPECT_EQ(Shown(QuarantineCLSIDMods(file)), records);
    EXPECT_EQ(Log(), log);
    for (const KeyPlace& place : KeyPlaces) {
        EXPECT_FALSE(KeyExists(place.hive, place.key + "\\" + Clsid)) << place.key;
        EXPECT_TRUE(KeyExists(place.hive, place.key + "\\" + Other)) << place.key;
        EXPECT_EQ(Data(HiveCurrentUser, boot::DelRegKeys, FullKey(place.hive, place.key) + "\\" + Clsid), "1");
    }
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ClassLinks, ValuesOfTheClassGoAndComeOnTheBootList) {
    std::vector<std::string> log;
    std::vector<std::string> records;
    for (const KeyPlace& place : ValuePlaces) {
        Stage().AddValue(place.hive, place.key, Clsid, {ValueType::Binary, std::string("\1\0", 2)});
        Stage().AddText(place.hive, place.key, Other, "stays");
        log.insert(log.end(), {place.log + Clsid + " for file " + file,
                               "Remove registry value " + FullKey(place.hive, place.key) + " [" + Clsid + "=0100]"});
        records.push_back(place.key + " [" + Clsid + "=0100] 3");
    }
    EXPECT_EQ(Shown(QuarantineCLSIDMods(file)), records);
    EXPECT_EQ(Log(), log);
    int number = 0;
    for (const KeyPlace& place : ValuePlaces) {
        EXPECT_EQ(Data(place.hive, place.key, Clsid), "absent") << place.key;
        EXPECT_EQ(Data(place.hive, place.key, Other), "stays") << place.key;
        EXPECT_EQ(
            Data(HiveCurrentUser, boot::DelRegValues, FullKey(place.hive, place.key) + " " + std::to_string(++number)),
            Clsid);
    }
}

TEST_F(ClassLinks, FiltersOfTheClassGoFromBothHives) {
    for (const auto& [hive, key] :
         {std::pair(HiveClassesRoot, RootFilter), std::pair(HiveLocalMachine, MachineFilter)}) {
        Stage().AddText(hive, std::string(key) + "\\text/html", "CLSID", "{11111111-2222-3333-4444-555555555555}");
        Stage().AddText(hive, std::string(key) + "\\text/xml", "CLSID", Other);
        Stage().AddKey(hive, std::string(key) + "\\without");
    }
    EXPECT_THAT(Shown(QuarantineCLSIDMods(file)),
                ElementsAre("PROTOCOLS\\Filter\\text/html [CLSID=" + Clsid + "] 1", "PROTOCOLS\\Filter\\text/html",
                            "SOFTWARE\\Classes\\PROTOCOLS\\Filter\\text/html [CLSID=" + Clsid + "] 1",
                            "SOFTWARE\\Classes\\PROTOCOLS\\Filter\\text/html"));
    EXPECT_FALSE(KeyExists(HiveClassesRoot, "PROTOCOLS\\Filter\\text/html"));
    EXPECT_FALSE(KeyExists(HiveLocalMachine, "SOFTWARE\\Classes\\PROTOCOLS\\Filter\\text/html"));
    EXPECT_TRUE(KeyExists(HiveClassesRoot, "PROTOCOLS\\Filter\\text/xml"));
    EXPECT_THAT(Log(),
                Contains("Removing HKEY_CLASSES_ROOT PROTOCOLS\\Filter text/html (" + Clsid + ") for file " + file));
    EXPECT_THAT(Log(),
                Contains("Removing HKEY_LOCAL_MACHINE PROTOCOLS\\Filter text/html (" + Clsid + ") for file " + file));
    EXPECT_THAT(Log(), Not(Contains(::testing::StartsWith("Removing Protocol filer")))) << "none is left for it";
    EXPECT_EQ(Data(HiveCurrentUser, boot::DelRegValues,
                   "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\PROTOCOLS\\Filter\\text/html 1"),
              "CLSID");
    EXPECT_EQ(Data(HiveCurrentUser, boot::DelRegValues,
                   "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\PROTOCOLS\\Filter\\text/html 2"),
              "absent");
}

// Two names of one key, as on a machine where a subkey comes back at once: the key can't be deleted.
class KeptKeys : public decorators::ForwardingRegistry {
public:
    using ForwardingRegistry::ForwardingRegistry;
    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(Hive hive, std::string_view key,
                                                                  std::uint32_t access) override {
        if (access == platform::AccessAllButDelete && key == MachineFilter) {
            return platform::SysError::AccessDenied;
        }
        return Inner().Open(hive, key, access);
    }
};

TEST_F(ClassLinks, AFilterWhoseKeyStaysLosesItsClass) {
    const std::string key = std::string(MachineFilter) + "\\text/html";
    Stage().AddText(HiveLocalMachine, key, "CLSID", Clsid);
    platform::Platform machine = Staged();
    KeptKeys registry(*machine.registry);
    machine.registry = &registry;
    Install(machine);
    const auto cut = QuarantineCLSIDMods(file);
    Install(Staged());
    EXPECT_THAT(Shown(cut), ElementsAre(key + " [CLSID=" + Clsid + "] 1", key, key + " [CLSID=" + Clsid + "] 1"));
    EXPECT_TRUE(KeyExists(HiveLocalMachine, key));
    EXPECT_EQ(Data(HiveLocalMachine, key, "CLSID"), "absent");
    EXPECT_THAT(Log(), Contains("Removing Protocol filer text/html" + Clsid + " for file " + file));
    EXPECT_EQ(Data(HiveCurrentUser, boot::DelRegValues, "HKEY_LOCAL_MACHINE\\" + key + " 2"), "CLSID");
}

TEST_F(ClassLinks, WhatTheShellLoadsGoesByTheFileOfItsClass) {
    Stage().AddText(HiveLocalMachine, Loaded, "Bad", Clsid);
    Stage().AddText(HiveLocalMachine, Loaded, "Good", Other);
    Stage().AddText(HiveLocalMachine, Loaded, "Text", "no class, and longer than twenty characters");
    const std::string key(Loaded);
    EXPECT_THAT(Shown(QuarantineCLSIDMods(file)), ElementsAre(key + " [Bad=" + Clsid + "] 1"));
    EXPECT_EQ(Data(HiveLocalMachine, Loaded, "Bad"), "absent");
    EXPECT_EQ(Data(HiveLocalMachine, Loaded, "Good"), Other);
    EXPECT_THAT(Log(), ElementsAre("Removing Protocol ShellServiceObjectDelayLoad " + Clsid + " for file " + file,
                                   "Remove registry value HKEY_LOCAL_MACHINE\\" + key + " [Bad=" + Clsid + "]"));
    EXPECT_EQ(Data(HiveCurrentUser, boot::DelRegValues, "HKEY_LOCAL_MACHINE\\" + key + " 1"), "Bad");
}

TEST_F(ClassLinks, EveryClassOfTheFileIsWorked) {
    const std::string second = "{22222222-2222-3333-4444-555555555555}";
    AddClass(second, file);
    const std::string helpers = KeyPlaces[0].key;
    Stage().AddKey(HiveLocalMachine, helpers + "\\" + second);
    Stage().AddKey(HiveLocalMachine, helpers + "\\" + Clsid);
    EXPECT_THAT(Shown(QuarantineCLSIDMods(file)), ElementsAre(helpers + "\\" + Clsid, helpers + "\\" + second));
}

TEST_F(ClassLinks, AFileWithoutClassesHasNoLinks) {
    Stage().AddText(HiveLocalMachine, Loaded, "Good", Other);
    EXPECT_THAT(Items(QuarantineCLSIDMods(AddThing("plain.dll"))), IsEmpty());
    EXPECT_THAT(Items(QuarantineCLSIDMods("")), IsEmpty());
    EXPECT_THAT(Items(QuarantineCLSIDMods(file)), IsEmpty()) << "a class that nothing loads";
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
