// Which files are component servers, and who is asked to register them.
#include <gmock/gmock.h>

#include <utility>
#include <vector>

#include "decorators/ReadOnlyPlatform.h"
#include "rules/modCleanerHelper.h"
#include "support/EngineTest.h"
#include "support/StagedMachine.h"
#include "system/modFiles.h"

namespace kel::test {
namespace {

using modCleanerHelper::IsCOMRegistered;
using modCleanerHelper::RegisterCOM;
using modCleanerHelper::UnRegisterCOM;
using platform::HiveClassesRoot;
using platform::Result;
using platform::SysError;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Remembers what it was asked, and answers what a test wants.
class MadeComponents : public platform::Components {
public:
    Result<std::int32_t> answer = 0;
    std::vector<std::string> asked;

    Result<std::int32_t> Register(std::string_view path) override {
        asked.push_back("register " + std::string(path));
        return answer;
    }
    Result<std::int32_t> Unregister(std::string_view path) override {
        asked.push_back("unregister " + std::string(path));
        return answer;
    }
};

class ComponentServers : public EngineTest {
protected:
    ComponentServers() : staged(Machine(), Key()), file(Folder() + "a server with a long name.dll") {
        MakeFolder(Folder() + "windows\\system");
        staged.Folders()[FolderWindows] = Folder() + "windows";
        staged.Folders()[FolderSystem] = Folder() + "windows\\system";
        platform::Platform machine = staged.View();
        machine.components = &components;
        Install(machine);
        WriteFile(file, "a server");
    }
    ~ComponentServers() override { Install(Machine()); }

    void AddClass(std::string_view clsid, std::string_view server) {
        staged.AddText(HiveClassesRoot, "CLSID\\" + std::string(clsid) + "\\InprocServer32", "", server);
    }

    StagedMachine staged;
    MadeComponents components;
    const std::string file;
    static constexpr std::string_view Clsid = "{11111111-2222-3333-4444-555555555555}";
};

TEST_F(ComponentServers, AClassLeadsToItsFile) {
    EXPECT_FALSE(IsCOMRegistered(file)) << "no class at all";
    AddClass("{00000000-2222-3333-4444-555555555555}", Folder() + "another.dll");
    staged.AddKey(HiveClassesRoot, "CLSID\\{10000000-2222-3333-4444-555555555555}");
    EXPECT_FALSE(IsCOMRegistered(file));
    AddClass(Clsid, file);
    EXPECT_TRUE(IsCOMRegistered(file));
    EXPECT_TRUE(IsCOMRegistered(Folder() + "A Server With A Long Name.DLL"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ComponentServers, VariablesAreResolved) {
    WriteFile(Folder() + "windows\\system\\inside.dll", "a server");
    AddClass(Clsid, "%windir%\\system\\inside.dll");
    EXPECT_TRUE(IsCOMRegistered(Folder() + "windows\\system\\inside.dll"));
}

TEST_F(ComponentServers, AnotherFolderIsAnotherServer) {
    MakeFolder(Folder() + "other");
    WriteFile(Folder() + "other\\a server with a long name.dll", "another one");
    AddClass(Clsid, Folder() + "other\\a server with a long name.dll");
    EXPECT_FALSE(IsCOMRegistered(file));
}

TEST_F(ComponentServers, AnotherNameOfTheSameFileIsNotKnown) {
    AddClass(Clsid, Folder() + "anothe~1.dll");
    EXPECT_FALSE(IsCOMRegistered(file));
    const std::string shortForm = modFiles::ShortPathFromLongPath(file);
    ASSERT_NE(shortForm, "");
    staged.AddText(HiveClassesRoot, "CLSID\\" + std::string(Clsid) + "\\InprocServer32", "", shortForm);
    const bool sameName = shortForm.ends_with("a server with a long name.dll");
    EXPECT_EQ(IsCOMRegistered(file), sameName) << shortForm;
}

TEST_F(ComponentServers, AKeyThatIsTooShortForAClassIsNone) {
    AddClass("{1234567890123456789", file);
    EXPECT_FALSE(IsCOMRegistered(file));
    AddClass("{12345678901234567890", file);
    EXPECT_TRUE(IsCOMRegistered(file));
}

TEST_F(ComponentServers, AVeryShortPathIsNone) {
    AddClass(Clsid, "ab");
    EXPECT_FALSE(IsCOMRegistered("ab"));
    EXPECT_FALSE(IsCOMRegistered(""));
    EXPECT_EQ(RegisterCOM("ab"), 0);
    EXPECT_EQ(UnRegisterCOM(""), 0);
    EXPECT_THAT(components.asked, IsEmpty());
}

TEST_F(ComponentServers, AServerThatIsGoneIsNone) {
    AddClass(Clsid, file);
    Machine().files->Remove(file);
    EXPECT_FALSE(IsCOMRegistered(file));
}

TEST_F(ComponentServers, AProgramAnswersOneAndIsNotRun) {
    EXPECT_EQ(UnRegisterCOM(Folder() + "server.exe"), 1);
    EXPECT_EQ(UnRegisterCOM("C:\\SERVER.EXE"), 1);
    EXPECT_EQ(RegisterCOM(Folder() + "server.Exe"), 1);
    EXPECT_THAT(components.asked, IsEmpty());
}

TEST_F(ComponentServers, TheLibraryIsAsked) {
    components.answer = -2147467259;
    EXPECT_EQ(RegisterCOM(file), -2147467259);
    components.answer = 0;
    EXPECT_EQ(UnRegisterCOM("C:\\some.ocx"), 0);
    EXPECT_EQ(RegisterCOM("abc"), 0);
    EXPECT_THAT(components.asked, ElementsAre("register " + file, "unregister C:\\some.ocx", "register abc"));
}

TEST_F(ComponentServers, ALibraryThatCannotBeCalledGivesThePlatformsNumber) {
    components.answer = SysError::ModuleNotFound;
    EXPECT_EQ(RegisterCOM(file), 126);
    components.answer = SysError::ProcNotFound;
    EXPECT_EQ(UnRegisterCOM(file), 127);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(ComponentServers, OnAPlatformThatOnlyReadsNoneIsAsked) {
    platform::Platform machine = staged.View();
    machine.components = &components;
    decorators::ReadOnlyPlatform readOnly(machine);
    Install(readOnly.View());
    EXPECT_EQ(RegisterCOM(file), 5);
    EXPECT_EQ(UnRegisterCOM(file), 5);
    EXPECT_THAT(components.asked, IsEmpty());
    Install(Machine());
}

TEST_F(ComponentServers, AMachineThatDoesNotRunSaysSo) {
    Install(Machine());
    if (Machine().can.components) {
        EXPECT_NE(UnRegisterCOM(file), 0) << "this one is no library";
        return;
    }
    EXPECT_EQ(RegisterCOM(file), 50);
    EXPECT_EQ(UnRegisterCOM(file), 50);
}

}  // namespace
}  // namespace kel::test
