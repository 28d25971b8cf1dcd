// The links of files on a disk that does not run: in its hives, as far as they can be cut there.
#ifndef _WIN32
#include <gmock/gmock.h>

#include "CleanerPeer.h"
#include "DiskFixture.h"
#include "Items.h"
#include "WinsockEntries.h"
#include "cleaner/BootLists.h"
#include "cleaner/Unhooking.h"
#include "cleaner/WinsockCatalogue.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "quarantine/QThreatLocationRegKey.h"
#include "rules/modCleanerHelper.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::SysError;
using ::testing::ElementsAre;
using ::testing::SizeIs;

class DiskLinks : public DiskFixture {
protected:
    DiskLinks() {
        MakeXp();
        Folder("user");
        File("bad/bad.dll", "a library");
        File("bad/bad.exe", "a program");
        OpenAgain();
    }
    // Ends with what is on the disk; what was not committed is gone.
    void OpenAgain() {
        installed_.reset();
        state_.reset();
        Open({}, true);
        installed_.emplace(Machine().View());
        state_.emplace();
        State().UserDataFolder = "C:\\user\\";
    }
    void Commit() { EXPECT_EQ(Machine().View().registry->Commit(), SysError::Success); }
    static std::string KeyOf(std::string_view controlSet, int number) {
        return Catalogue(controlSet) + "\\Catalog_Entries\\" + EntryName(number);
    }
    static std::string Catalogue(std::string_view controlSet) {
        return "SYSTEM\\" + std::string(controlSet) + R"(\Services\WinSock2\Parameters\Protocol_Catalog9)";
    }
    static void AddTwelve(std::string_view controlSet) {
        for (int number = 1; number <= 12; ++number) {
            auto key = platform::Current().registry->Create(HiveLocalMachine, KeyOf(controlSet, number));
            ASSERT_TRUE(key.Ok());
            const std::string provider = number == 4 ? "C:\\bad\\bad.dll" : "%SystemRoot%\\system32\\mswsock.dll";
            EXPECT_EQ((*key)->Set("PackedCatalogItem", platform::ValueType::Binary, CatalogItem(provider, number)),
                      SysError::Success);
        }
        modRegistry::SetRegistryValue(HiveLocalMachine, Catalogue(controlSet), "Num_Catalog_Entries", std::int32_t{12},
                                      modRegistry::TypeDword);
    }
    static std::string Item(std::string_view controlSet, int number) {
        auto key = platform::Current().registry->Open(HiveLocalMachine, KeyOf(controlSet, number));
        const auto value =
            key ? (*key)->Query("PackedCatalogItem") : platform::Result<platform::RegistryValue>(key.Error());
        return value.Ok() ? value->data : "absent";
    }

private:
    std::optional<platform::PlatformScope> installed_;
    std::optional<EngineScope> state_;
};

TEST_F(DiskLinks, TheCatalogueOfTheCurrentControlSetIsRepairedInItsHive) {
    AddTwelve("ControlSet001");
    AddTwelve("ControlSet002");
    Commit();
    {
        Cleaner cleaner;
        EXPECT_EQ(CleanerPeer::RemoveProvider(cleaner, "c:\\bad\\BAD.dll"), errLSPRemovedSuccess);
    }
    Commit();
    OpenAgain();
    for (int number = 1; number <= 11; ++number) {
        EXPECT_EQ(Item("ControlSet002", number),
                  CatalogItem("%SystemRoot%\\system32\\mswsock.dll", number < 4 ? number : number + 1));
    }
    EXPECT_EQ(Item("ControlSet002", 12), "absent");
    EXPECT_EQ(modRegistry::GetRegistryValue(HiveLocalMachine, Catalogue("ControlSet002"), "Num_Catalog_Entries"),
              kel::Value(std::int32_t{11}));
    EXPECT_EQ(Item("ControlSet001", 4), CatalogItem("C:\\bad\\bad.dll", 4)) << "not the current one";
    EXPECT_THAT(Items(modCleanerHelper::GetAllLSPCatalogEntries("ControlSet001")), SizeIs(12));
}

TEST_F(DiskLinks, AServiceIsDisabledAndRemovedInItsHive) {
    const std::string key = R"(SYSTEM\ControlSet002\Services\Bad)";
    modRegistry::SetRegistryValue(HiveLocalMachine, key, "ImagePath", std::string("C:\\bad\\bad.exe -service"), 1);
    EXPECT_EQ(modCleanerHelper::IsFileRunningAsService("C:\\bad\\bad.exe"), "Bad");
    EXPECT_EQ(modCleanerHelper::KillService("Bad"), 0);
    Commit();
    OpenAgain();
    EXPECT_EQ(modRegistry::GetRegistryValue(HiveLocalMachine, key, "Start"), kel::Value(std::int32_t{4}));
    EXPECT_EQ(modCleanerHelper::RemoveService("Bad"), 0);
    Commit();
    OpenAgain();
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, key));
    EXPECT_TRUE(modRegistry::RegKeyExists(HiveLocalMachine, R"(SYSTEM\ControlSet002\Services\Sample)"));
}

TEST_F(DiskLinks, WhatTheBrowserLoadsGoesAndNoNextStartIsWaitedFor) {
    const std::string clsid = "{11111111-2222-3333-4444-555555555555}";
    const std::string helper = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\Browser Helper Objects\)" + clsid;
    const std::string run = R"(Software\Microsoft\Windows\CurrentVersion\Run)";
    modRegistry::SetRegistryValue(HiveClassesRoot, "CLSID\\" + clsid + "\\InprocServer32", "",
                                  std::string("C:\\bad\\bad.dll"), 1);
    modRegistry::CreateRegistryKey(HiveLocalMachine, helper);
    modRegistry::SetRegistryValue(HiveCurrentUser, run, "Bad", std::string("\"C:\\bad\\bad.exe\" /x"), 1);
    Commit();
    EXPECT_THAT(Items(modCleanerHelper::QuarantineCLSIDMods("C:\\bad\\bad.dll")), SizeIs(1));
    EXPECT_THAT(Items(modCleanerHelper::KillAutoRunLocationsRegistry("C:\\bad\\bad.exe")), SizeIs(1));
    EXPECT_TRUE(modCleanerHelper::IsCOMRegistered("C:\\bad\\bad.dll"));
    EXPECT_EQ(modCleanerHelper::UnRegisterCOM("C:\\bad\\bad.dll"), 50) << "its code can't be called";
    Commit();
    OpenAgain();
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, helper));
    EXPECT_FALSE(modRegistry::RegValueExists(HiveCurrentUser, run, "Bad"));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveCurrentUser, boot::DelRegKeys));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveCurrentUser, boot::RunOnce));
    EXPECT_TRUE(modCleanerHelper::IsCOMRegistered("C:\\bad\\bad.dll"));
}

TEST_F(DiskLinks, WhatIsNotCommittedIsStillThere) {
    const std::string key = R"(SYSTEM\ControlSet002\Services\Bad)";
    modRegistry::SetRegistryValue(HiveLocalMachine, key, "ImagePath", std::string("C:\\bad\\bad.exe"), 1);
    Commit();
    EXPECT_EQ(modCleanerHelper::RemoveService("Bad"), 0);
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, key));
    OpenAgain();
    EXPECT_EQ(modCleanerHelper::IsFileRunningAsService("C:\\bad\\bad.exe"), "Bad");
}

}  // namespace
}  // namespace kel::test
#endif
