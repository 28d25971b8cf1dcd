// Classes and the libraries that serve them.
#include <gmock/gmock.h>

#include <vector>

#include "core/Text.h"
#include "support/EngineTest.h"
#include "support/StagedMachine.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LibraryClasses : public EngineTest {
protected:
    LibraryClasses() : staged(Machine(), Key()), library(Folder() + "windows\\Thing.dll") {
        MakeFolder(Folder() + "windows\\system");
        staged.Folders()[FolderWindows] = Folder() + "windows";
        staged.Folders()[FolderSystem] = Folder() + "windows\\system";
        Install(staged.View());
        WriteFile(library, "a thing");
    }
    ~LibraryClasses() override { Install(Machine()); }

    void AddClass(const std::string& clsid, const std::string& server) {
        staged.AddText(platform::HiveClassesRoot, "CLSID\\" + clsid + "\\InprocServer32", "", server);
    }
    static std::vector<std::string> ClassesOf(const std::string& path) {
        std::vector<std::string> clsids;
        for (const std::string& clsid : modRegistry::GetDllCLSIDs(path)) {
            clsids.push_back(clsid);
        }
        return clsids;
    }

    StagedMachine staged;
    const std::string library;
};

TEST_F(LibraryClasses, AreThoseWhoseServerIsTheLibraryInListingOrder) {
    WriteFile(Folder() + "windows\\other.dll", "x");
    AddClass("{00000000-0000-0000-0000-000000000001}", library);
    AddClass("{00000000-0000-0000-0000-000000000002}", Folder() + "windows\\other.dll");
    AddClass("{00000000-0000-0000-0000-000000000003}", LCase(library));
    AddClass("{00000000-0000-0000-0000-000000000004}", Folder() + "windows\\missing.dll");
    staged.AddKey(platform::HiveClassesRoot, "CLSID\\{00000000-0000-0000-0000-000000000005}");
    EXPECT_THAT(ClassesOf(library),
                ElementsAre("{00000000-0000-0000-0000-000000000001}", "{00000000-0000-0000-0000-000000000003}"));
    EXPECT_THAT(ClassesOf(UCase(library)),
                ElementsAre("{00000000-0000-0000-0000-000000000001}", "{00000000-0000-0000-0000-000000000003}"));
}

TEST_F(LibraryClasses, AreFoundByVariablesBareNamesAndPrefixesToo) {
    AddClass("{00000000-0000-0000-0000-000000000001}", "%windir%\\thing.dll");
    AddClass("{00000000-0000-0000-0000-000000000002}", "THING.DLL");
    AddClass("{00000000-0000-0000-0000-000000000003}", "\\??\\" + library);
    AddClass("{00000000-0000-0000-0000-000000000004}", "  " + library + " ");
    AddClass("{00000000-0000-0000-0000-000000000005}", Folder() + "windows\\thi\\??\\ng.dll");
    EXPECT_EQ(ClassesOf(library).size(), 5U);
}

TEST_F(LibraryClasses, AreFoundByShortNamesToo) {
    const std::string named = Folder() + "windows\\a library with a long name.dll";
    WriteFile(named, "x");
    const auto shortForm = Machine().files->ShortPath(named);
    ASSERT_TRUE(shortForm.Ok());
    if (shortForm->find('~') == std::string::npos) {
        GTEST_SKIP() << "no short names here";
    }
    AddClass("{00000000-0000-0000-0000-000000000001}", *shortForm);
    EXPECT_THAT(ClassesOf(named), ElementsAre("{00000000-0000-0000-0000-000000000001}"));
}

TEST_F(LibraryClasses, AnIdentifierOfNineCharactersIsNone) {
    AddClass("{0000001}", library);
    AddClass("{00000002}", library);
    EXPECT_THAT(ClassesOf(library), ElementsAre("{00000002}"));
}

TEST_F(LibraryClasses, ThoseThatComeOrGoAreNoticed) {
    const std::string first = "{00000000-0000-0000-0000-000000000001}";
    const std::string second = "{00000000-0000-0000-0000-000000000002}";
    AddClass(first, library);
    EXPECT_THAT(ClassesOf(library), ElementsAre(first));
    staged.AddText(platform::HiveClassesRoot, "elsewhere", "", "x");
    EXPECT_THAT(ClassesOf(library), ElementsAre(first));
    AddClass(second, library);
    EXPECT_THAT(ClassesOf(library), ElementsAre(first, second));
    ASSERT_TRUE(modRegistry::DeleteRegistryKeyTree(platform::HiveClassesRoot, "CLSID\\" + first));
    EXPECT_THAT(ClassesOf(library), ElementsAre(second));
    AddClass(second, Folder() + "missing.dll");
    EXPECT_THAT(ClassesOf(library), IsEmpty());
}

TEST_F(LibraryClasses, WithoutClassesOrAPathThereAreNone) {
    EXPECT_THAT(ClassesOf(library), IsEmpty());
    AddClass("{00000000-0000-0000-0000-000000000001}", Folder() + "missing.dll");
    EXPECT_THAT(ClassesOf(""), IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
