// The links of files on the machine that the tests run on: a service, a component server, a network provider and a run
// entry that are really there.
#ifdef _WIN32
#include <gmock/gmock.h>
#include <windows.h>
// After windows.h.
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "CleanerPeer.h"
#include "Items.h"
#include "WinsockEntries.h"
#include "child/CarriedPrograms.h"
#include "child/ChildService.h"
#include "cleaner/Unhooking.h"
#include "cleaner/WinsockCatalogue.h"
#include "quarantine/QThreatLocationRegKey.h"
#include "rules/modCleanerHelper.h"
#include "support/EngineTest.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string ProcessNumber() {
    return std::to_string(::GetCurrentProcessId());
}

// Without a next start: the lists for it are not a test's to fill on this machine.
class LiveLinks : public EngineTest {
protected:
    LiveLinks() {
        platform::Platform machine = Machine();
        machine.can.live = false;
        Install(machine);
    }
    ~LiveLinks() override { Install(Machine()); }
};

class LiveService : public LiveLinks {
protected:
    std::string Key() const { return R"(SYSTEM\CurrentControlSet\Services\)" + service.Name(); }

    const std::string program = Folder() + "kel service.exe";
    ChildService service{Machine(), program};
};

TEST_F(LiveService, IsFoundByItsProgramStoppedDisabledAndRemoved) {
    EXPECT_EQ(modCleanerHelper::IsFileRunningAsService(Folder() + "KEL SERVICE.EXE"), service.Name());
    EXPECT_EQ(modCleanerHelper::KillService(service.Name()), 0);
    EXPECT_TRUE(service.Stops());
    EXPECT_EQ(modRegistry::GetRegistryValue(HiveLocalMachine, Key(), "Start"), Value(std::int32_t{4}));
    EXPECT_EQ(modCleanerHelper::RemoveService(service.Name()), 0);
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, Key()));
    EXPECT_EQ(modCleanerHelper::IsFileRunningAsService(program), "");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(LiveService, GoesOnWhenAnotherOneIsKilled) {
    EXPECT_EQ(modCleanerHelper::KillService(service.Name() + "x"), 0);
    EXPECT_TRUE(service.IsRunning());
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, Key() + "x"));
}

class LiveComponent : public LiveLinks {
protected:
    LiveComponent() {
        std::array<char, 16> digits{};
        std::snprintf(digits.data(), digits.size(), "%012lX", static_cast<unsigned long>(::GetCurrentProcessId()));
        file = Folder() + digits.data() + ".dll";
        clsid = std::string("{6B656C00-7465-7374-0000-") + digits.data() + "}";
        WriteFile(file, ChildServer());
    }
    ~LiveComponent() override { modRegistry::DeleteRegistryKeyTree(HiveClassesRoot, "CLSID\\" + clsid); }
    [[nodiscard]] bool HasKey() const { return modRegistry::RegKeyExists(HiveClassesRoot, "CLSID\\" + clsid); }

    std::string file;
    std::string clsid;
};

TEST_F(LiveComponent, IsRegisteredAndUnregisteredByItsOwnCode) {
    EXPECT_FALSE(modCleanerHelper::IsCOMRegistered(file));
    EXPECT_EQ(modCleanerHelper::RegisterCOM(file), 0);
    EXPECT_TRUE(HasKey());
    EXPECT_TRUE(modCleanerHelper::IsCOMRegistered(file));
    EXPECT_EQ(modCleanerHelper::UnRegisterCOM(file), 0);
    EXPECT_FALSE(HasKey());
    EXPECT_FALSE(modCleanerHelper::IsCOMRegistered(file));
    EXPECT_EQ(Machine().files->Remove(file), platform::SysError::Success) << "it is not loaded any more";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(LiveComponent, AnswersWhatItsCodeAnswers) {
    WriteFile(file + ".refuse", "");
    EXPECT_EQ(modCleanerHelper::RegisterCOM(file), static_cast<std::int32_t>(E_ACCESSDENIED));
    EXPECT_FALSE(HasKey());
    Machine().files->Remove(file + ".refuse");
    EXPECT_EQ(modCleanerHelper::RegisterCOM(file), 0);
    WriteFile(file + ".refuse", "");
    EXPECT_EQ(modCleanerHelper::UnRegisterCOM(file), static_cast<std::int32_t>(E_ACCESSDENIED));
    EXPECT_TRUE(HasKey());
}

TEST_F(LiveComponent, WhatIsNoServerAnswersTheSystemsNumber) {
    const std::string plain = Folder() + "plain.dll";
    WriteFile(plain, ChildModule());
    EXPECT_EQ(modCleanerHelper::RegisterCOM(plain), ERROR_PROC_NOT_FOUND);
    EXPECT_EQ(modCleanerHelper::UnRegisterCOM(plain), ERROR_PROC_NOT_FOUND);
    EXPECT_EQ(modCleanerHelper::UnRegisterCOM(Folder() + "gone.dll"), ERROR_MOD_NOT_FOUND);
    WriteFile(plain, "this is no library at all");
    EXPECT_NE(modCleanerHelper::RegisterCOM(plain), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(LiveComponent, LosesItsPlacesInTheBrowser) {
    ASSERT_EQ(modCleanerHelper::RegisterCOM(file), 0);
    const std::string filter = R"(PROTOCOLS\Filter\kel-test-)" + ProcessNumber();
    const std::string extension = R"(SOFTWARE\Microsoft\Internet Explorer\Extensions\)" + clsid;
    const std::string hooks = R"(Software\Microsoft\Internet Explorer\URLSearchHooks)";
    modRegistry::SetRegistryValue(HiveClassesRoot, filter, "CLSID", clsid, modRegistry::TypeSz);
    modRegistry::SetRegistryValue(HiveCurrentUser, extension, "ButtonText", std::string("x"), modRegistry::TypeSz);
    modRegistry::SetRegistryValue(HiveCurrentUser, hooks, clsid, std::string(), modRegistry::TypeSz);
    std::vector<std::string> keys;
    for (const auto& record : modCleanerHelper::QuarantineCLSIDMods(file)) {
        keys.push_back(record->Regkey + " " + record->RegValueName);
    }
    EXPECT_THAT(keys, ElementsAre(filter + " CLSID", filter + " ", extension + " ButtonText", extension + " ",
                                  hooks + " " + clsid));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveClassesRoot, filter));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, "SOFTWARE\\Classes\\" + filter));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveCurrentUser, extension));
    EXPECT_FALSE(modRegistry::RegValueExists(HiveCurrentUser, hooks, clsid));
    EXPECT_EQ(modCleanerHelper::UnRegisterCOM(file), 0);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(LiveLinks, ARunEntryGoesByThePathThatItStarts) {
    constexpr std::string_view run = R"(Software\Microsoft\Windows\CurrentVersion\Run)";
    const std::string name = "keltest" + ProcessNumber();
    const std::string program = Folder() + "started at logon.exe";
    WriteFile(program, "a program");
    const std::string command = "\"" + program + "\" /tray";
    modRegistry::SetRegistryValue(HiveCurrentUser, run, name, command, modRegistry::TypeSz);
    const auto cut = Items(modCleanerHelper::KillAutoRunLocationsRegistry(program));
    ASSERT_THAT(cut, SizeIs(1));
    EXPECT_EQ(cut[0]->RegHive, HiveCurrentUser);
    EXPECT_EQ(cut[0]->RegValueName, name);
    EXPECT_EQ(cut[0]->RegValueData, command);
    EXPECT_FALSE(modRegistry::RegValueExists(HiveCurrentUser, run, name));
}

// The machine's own catalogue, put aside for the life of the object; no other process does so meanwhile.
class CatalogueOfTheTest {
public:
    explicit CatalogueOfTheTest(std::string backup) : backup_(std::move(backup)) {
        EXPECT_EQ(::WaitForSingleObject(mutex_, 60000), WAIT_OBJECT_0);
        existed_ = Copy(Catalogue, backup_);
        ::SHDeleteKeyA(HKEY_LOCAL_MACHINE, Catalogue);
    }
    ~CatalogueOfTheTest() {
        ::SHDeleteKeyA(HKEY_LOCAL_MACHINE, Catalogue);
        if (existed_) {
            EXPECT_TRUE(Copy(backup_.c_str(), Catalogue));
            ::SHDeleteKeyA(HKEY_LOCAL_MACHINE, backup_.c_str());
        }
        ::ReleaseMutex(mutex_);
        ::CloseHandle(mutex_);
    }
    CatalogueOfTheTest(const CatalogueOfTheTest&) = delete;
    CatalogueOfTheTest& operator=(const CatalogueOfTheTest&) = delete;

    static constexpr const char* Catalogue =
        R"(SYSTEM\CurrentControlSet\Services\WinSock2\Parameters\Protocol_Catalog9)";

private:
    static bool Copy(const std::string& from, const std::string& to) {
        HKEY target = nullptr;
        HKEY source = nullptr;
        if (::RegOpenKeyA(HKEY_LOCAL_MACHINE, from.c_str(), &source) != ERROR_SUCCESS) {
            return false;
        }
        bool copied = ::RegCreateKeyA(HKEY_LOCAL_MACHINE, to.c_str(), &target) == ERROR_SUCCESS;
        copied = copied && ::SHCopyKeyA(source, nullptr, target, 0) == ERROR_SUCCESS;
        ::RegCloseKey(target);
        ::RegCloseKey(source);
        return copied;
    }

    std::string backup_;
    HANDLE mutex_ = ::CreateMutexA(nullptr, FALSE, "KelTestWinsockCatalogue");
    bool existed_ = false;
};

class LiveWinsock : public LiveLinks {
protected:
    static std::string KeyOf(const std::string& catalogue, int number) {
        return catalogue + "\\Catalog_Entries\\" + EntryName(number);
    }
    void AddTwelve(const std::string& catalogue, const std::string& bad) {
        for (int number = 1; number <= 12; ++number) {
            auto key = Machine().registry->Create(HiveLocalMachine, KeyOf(catalogue, number));
            ASSERT_TRUE(key.Ok());
            const std::string provider = number == 4 ? bad : "%SystemRoot%\\system32\\mswsock.dll";
            EXPECT_EQ((*key)->Set("PackedCatalogItem", platform::ValueType::Binary, CatalogItem(provider, number)),
                      platform::SysError::Success);
        }
        modRegistry::SetRegistryValue(HiveLocalMachine, catalogue, "Num_Catalog_Entries", std::int32_t{12},
                                      modRegistry::TypeDword);
    }
    void ExpectElevenWithoutTheFourth(const std::string& catalogue) {
        for (int number = 1; number <= 11; ++number) {
            auto key = Machine().registry->Open(HiveLocalMachine, KeyOf(catalogue, number));
            ASSERT_TRUE(key.Ok()) << number;
            const auto item = (*key)->Query("PackedCatalogItem");
            ASSERT_TRUE(item.Ok()) << number;
            EXPECT_EQ(item->type, platform::ValueType::Binary);
            EXPECT_EQ(item->data, CatalogItem("%SystemRoot%\\system32\\mswsock.dll", number < 4 ? number : number + 1))
                << number;
        }
        EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, KeyOf(catalogue, 12)));
        EXPECT_EQ(modRegistry::GetRegistryValue(HiveLocalMachine, catalogue, "Num_Catalog_Entries"),
                  Value(std::int32_t{11}));
    }
};

TEST_F(LiveWinsock, TheMachinesCatalogueOfTwelveIsRepaired) {
    Cleaner cleaner;
    const CatalogueOfTheTest guard("SYSTEM\\keltest-backup-" + ProcessNumber());
    const std::string bad = Folder() + "lsp.dll";
    AddTwelve(CatalogueOfTheTest::Catalogue, bad);
    EXPECT_EQ(CleanerPeer::RemoveProvider(cleaner, Folder() + "none.dll"), errNone);
    EXPECT_THAT(Items(modCleanerHelper::GetLSPCatalogEntries(bad, "")), ElementsAre("000000000004"));
    EXPECT_EQ(CleanerPeer::RemoveProvider(cleaner, bad), errLSPRemovedSuccess);
    ExpectElevenWithoutTheFourth(CatalogueOfTheTest::Catalogue);
    EXPECT_THAT(Items(modCleanerHelper::GetAllLSPCatalogEntries("")), SizeIs(11));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(LiveWinsock, AControlSetOfItsOwnIsRepairedAlone) {
    Cleaner cleaner;
    const std::string set = "keltest" + ProcessNumber();
    const std::string catalogue = "SYSTEM\\" + set + R"(\Services\WinSock2\Parameters\Protocol_Catalog9)";
    AddTwelve(catalogue, Folder() + "LSP.dll");
    EXPECT_EQ(CleanerPeer::RemoveProvider(cleaner, Folder() + "lsp.DLL", set), errLSPRemovedSuccess);
    ExpectElevenWithoutTheFourth(catalogue);
    EXPECT_TRUE(modRegistry::DeleteRegistryKeyTree(HiveLocalMachine, "SYSTEM\\" + set));
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
#endif
