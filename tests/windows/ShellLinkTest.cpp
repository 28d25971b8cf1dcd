// Links that the system's shell writes itself.
#include <gtest/gtest.h>
#include <initguid.h>
#include <windows.h>

#include <objbase.h>
#include <shlobj.h>

#include <string>

#include "support/EngineTest.h"
#include "system/modFiles.h"

namespace kel::test {
namespace {

class SystemShellLinks : public EngineTest {
protected:
    void SetUp() override { ASSERT_GE(::CoInitialize(nullptr), 0); }
    void TearDown() override { ::CoUninitialize(); }

    static void Save(const std::string& target, const std::string& path) {
        IShellLinkA* link = nullptr;
        ASSERT_EQ(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA,
                                     reinterpret_cast<void**>(&link)),
                  S_OK);
        EXPECT_EQ(link->SetPath(target.c_str()), S_OK);
        EXPECT_EQ(link->SetArguments("/start"), S_OK);
        EXPECT_EQ(link->SetDescription("A thing"), S_OK);
        IPersistFile* file = nullptr;
        EXPECT_EQ(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)), S_OK);
        EXPECT_EQ(file->Save(std::wstring(path.begin(), path.end()).c_str(), TRUE), S_OK);
        file->Release();
        link->Release();
    }
};

TEST_F(SystemShellLinks, TheShortcutOfTheSystemGivesItsTarget) {
    const std::string target = Folder() + "a thing.exe";
    WriteFile(target, std::string(2000, 'x'));
    Save(target, Folder() + "thing.lnk");
    EXPECT_EQ(modFiles::ShortcutTargetPath(Folder() + "thing.lnk"), target);
}

TEST_F(SystemShellLinks, TheShortcutToADeepFolderGivesItsTarget) {
    const std::string target = Folder() + "one\\two of them\\three";
    MakeFolder(target);
    Save(target, Folder() + "deep.lnk");
    EXPECT_EQ(modFiles::ShortcutTargetPath(Folder() + "deep.lnk"), target);
}

}  // namespace
}  // namespace kel::test
