// The file and the class behind a place in the registry.
#include <optional>
#include <ostream>

#include "core/Text.h"
#include "rules/modCleanerHelper.h"
#include "support/EngineTest.h"
#include "support/StagedMachine.h"

namespace kel::test {
namespace {

using modCleanerHelper::GetCLSIDfromRegistryLocations;
using modCleanerHelper::GetFilePathfromRegistryLocations;
using platform::Hive;
using platform::HiveClassesRoot;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::HiveUsers;

const std::string Guid = "{11111111-2222-3333-4444-555555555555}";
const std::string Library = "{AAAAAAAA-2222-3333-4444-555555555555}";

class RegistryLocations : public EngineTest {
protected:
    RegistryLocations() : staged(Machine(), Key()), file(Folder() + "thing.dll") {
        MakeFolder(Folder() + "windows\\system");
        staged.Folders()[FolderWindows] = Folder() + "windows";
        staged.Folders()[FolderSystem] = Folder() + "windows\\system";
        Install(staged.View());
        WriteFile(file, "a thing");
    }
    ~RegistryLocations() override { Install(Machine()); }

    void AddClass(const std::string& clsid, const std::string& server) {
        staged.AddText(HiveClassesRoot, "CLSID\\" + clsid + "\\InprocServer32", "", server);
    }
    static std::string FileOf(Hive hive, const std::string& key, const std::string& name = {}) {
        return GetFilePathfromRegistryLocations(hive, key, name, {});
    }
    static std::string ClassOf(Hive hive, const std::string& key, const std::string& name = {}) {
        return GetCLSIDfromRegistryLocations(hive, key, name, {});
    }

    StagedMachine staged;
    const std::string file;
};

TEST(FileTypes, TheLastThreeLettersDecide) {
    using modCleanerHelper::GetThreatFileType;
    EXPECT_EQ(GetThreatFileType("c:\\x.exe"), ThreatFileTypeExe);
    EXPECT_EQ(GetThreatFileType("c:\\x.DLL"), ThreatFileTypeDll);
    EXPECT_EQ(GetThreatFileType("c:\\x.Ocx"), ThreatFileTypeOCX);
    EXPECT_EQ(GetThreatFileType("c:\\x.sys"), ThreatFileTypeSYS);
    EXPECT_EQ(GetThreatFileType("c:\\x.exe.txt"), ThreatFileTypeGeneral);
    EXPECT_EQ(GetThreatFileType("c:\\folder"), ThreatFileTypeGeneral);
    EXPECT_EQ(GetThreatFileType("notanexe"), ThreatFileTypeExe);
}

TEST(FileTypes, APathUnderFourCharactersIsGeneral) {
    using modCleanerHelper::GetThreatFileType;
    EXPECT_EQ(GetThreatFileType(".exe"), ThreatFileTypeExe);
    EXPECT_EQ(GetThreatFileType("exe"), ThreatFileTypeGeneral);
    EXPECT_EQ(GetThreatFileType(""), ThreatFileTypeGeneral);
}

TEST_F(RegistryLocations, AnEmptyKeyLeadsNowhere) {
    EXPECT_EQ(FileOf(HiveLocalMachine, "", file), "");
    EXPECT_EQ(ClassOf(HiveLocalMachine, "", Guid), "");
}

TEST_F(RegistryLocations, AnyOtherPlaceLeadsNowhere) {
    staged.AddText(HiveLocalMachine, "SOFTWARE\\Thing", "path", file);
    EXPECT_EQ(FileOf(HiveLocalMachine, "SOFTWARE\\Thing", "path"), "");
    EXPECT_EQ(ClassOf(HiveLocalMachine, "SOFTWARE\\Thing\\" + Guid), "");
}

const std::string Units = "SOFTWARE\\Microsoft\\Code Store Database\\Distribution Units\\";

TEST_F(RegistryLocations, ADownloadedComponentIsItsFirstFileThatIsThere) {
    const std::string files = Units + Guid + "\\Contains\\Files";
    staged.AddText(HiveLocalMachine, files, Folder() + "missing.dll", "");
    staged.AddText(HiveLocalMachine, files, file, "");
    staged.AddText(HiveLocalMachine, Units + Guid + "\\DownloadInformation", "INF", "C:\\setup.inf");
    EXPECT_EQ(FileOf(HiveLocalMachine, Units + Guid), file);
    EXPECT_EQ(FileOf(HiveLocalMachine, UCase(Units) + Guid), file);
}

TEST_F(RegistryLocations, ADownloadedComponentWithoutFilesIsItsSetupFile) {
    staged.AddText(HiveLocalMachine, Units + Guid + "\\DownloadInformation", "INF", "C:\\setup.inf");
    EXPECT_EQ(FileOf(HiveLocalMachine, Units + Guid), "C:\\setup.inf");
    staged.AddText(HiveLocalMachine, Units + Guid + "\\Contains\\Files", Folder() + "missing.dll", "");
    EXPECT_EQ(FileOf(HiveLocalMachine, Units + Guid), "C:\\setup.inf");
    EXPECT_EQ(FileOf(HiveLocalMachine, Units + Library), "");
}

TEST_F(RegistryLocations, BelowADownloadedComponentItsClassCounts) {
    AddClass(Guid, file);
    staged.AddText(HiveLocalMachine, Units + Guid + "\\DownloadInformation", "INF", "C:\\setup.inf");
    EXPECT_EQ(FileOf(HiveLocalMachine, Units + Guid + "\\Contains"), LCase(file));
}

TEST_F(RegistryLocations, ATypeLibraryIsItsFileForThisMachine) {
    const std::string place = "TypeLib\\" + Library + "\\1.0\\0\\win32";
    staged.AddText(HiveClassesRoot, place, "", file);
    EXPECT_EQ(FileOf(HiveClassesRoot, "TypeLib\\" + Library), file);
    EXPECT_EQ(FileOf(HiveClassesRoot, "typelib\\" + Library + "\\1.0\\0"), file);
    EXPECT_EQ(FileOf(HiveLocalMachine, "SOFTWARE\\Classes\\TypeLib\\" + Library), "");
    staged.AddText(HiveLocalMachine, "SOFTWARE\\Classes\\" + place, "", file);
    EXPECT_EQ(FileOf(HiveLocalMachine, "SOFTWARE\\Classes\\TypeLib\\" + Library), file);
    EXPECT_EQ(FileOf(HiveCurrentUser, "SOFTWARE\\Classes\\TypeLib\\" + Library), "");
}

TEST_F(RegistryLocations, ATypeLibraryWhoseFileIsGoneLeadsNowhere) {
    staged.AddText(HiveClassesRoot, "TypeLib\\" + Library + "\\1.0\\0\\win32", "", Folder() + "missing.tlb");
    AddClass(Library, file);
    EXPECT_EQ(FileOf(HiveClassesRoot, "TypeLib\\" + Library), "");
}

TEST_F(RegistryLocations, AnInterfaceIsTheFileOfItsTypeLibrary) {
    staged.AddText(HiveClassesRoot, "Interface\\" + Guid + "\\TypeLib", "", Library);
    staged.AddText(HiveClassesRoot, "TypeLib\\" + Library + "\\1.0\\0\\win32", "", file);
    EXPECT_EQ(FileOf(HiveClassesRoot, "Interface\\" + Guid), file);
    staged.AddText(HiveLocalMachine, "SOFTWARE\\Classes\\Interface\\" + Guid + "\\TypeLib", "", Library);
    EXPECT_EQ(FileOf(HiveLocalMachine, "SOFTWARE\\Classes\\Interface\\" + Guid), "");
    staged.AddText(HiveLocalMachine, "SOFTWARE\\Classes\\TypeLib\\" + Library + "\\1.0\\0\\win32", "", file);
    EXPECT_EQ(FileOf(HiveLocalMachine, "SOFTWARE\\Classes\\Interface\\" + Guid), file);
}

TEST_F(RegistryLocations, ShortIdentifiersOfInterfacesLeadNowhere) {
    const std::string twenty = "{" + std::string(18, '1') + "}";
    const std::string longer = "{" + std::string(19, '1') + "}";
    for (const std::string& guid : {twenty, longer}) {
        staged.AddText(HiveClassesRoot, "Interface\\" + guid + "\\TypeLib", "", Library);
        staged.AddText(HiveClassesRoot, "Interface\\" + Guid + "\\TypeLib", "", guid);
        staged.AddText(HiveClassesRoot, "TypeLib\\" + guid + "\\1.0\\0\\win32", "", file);
        staged.AddText(HiveClassesRoot, "TypeLib\\" + Library + "\\1.0\\0\\win32", "", file);
        const std::string expected = guid == twenty ? "" : file;
        EXPECT_EQ(FileOf(HiveClassesRoot, "Interface\\" + guid), expected);
        EXPECT_EQ(FileOf(HiveClassesRoot, "Interface\\" + Guid), expected);
    }
}

TEST_F(RegistryLocations, ASharedLibraryIsTheValuesName) {
    const std::string key = "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";
    EXPECT_EQ(FileOf(HiveLocalMachine, key, "C:\\Missing.dll"), "C:\\Missing.dll");
    EXPECT_EQ(FileOf(HiveLocalMachine, key), "");
}

TEST_F(RegistryLocations, AModuleInUseIsWhatStandsBehindItsKey) {
    const std::string key = "Software\\Microsoft\\Windows\\CurrentVersion\\ModuleUsage\\";
    EXPECT_EQ(FileOf(HiveLocalMachine, key + "C:/Windows/Thing.ocx"), "C:/Windows/Thing.ocx");
    EXPECT_EQ(FileOf(HiveLocalMachine, key), "");
}

TEST_F(RegistryLocations, ShortNamesOfSharedLibrariesAndModulesAreLengthened) {
    const std::string folder = Folder() + "a long folder name\\";
    MakeFolder(folder);
    WriteFile(folder + "a library with a long name.dll", "x");
    const auto shortForm = Machine().files->ShortPath(folder + "a library with a long name.dll");
    ASSERT_TRUE(shortForm.Ok());
    if (shortForm->find('~') == std::string::npos) {
        GTEST_SKIP() << "no short names here";
    }
    const std::string key = "Software\\Microsoft\\Windows\\CurrentVersion\\";
    EXPECT_TRUE(
        EqualText(FileOf(HiveLocalMachine, key + "SharedDLLs", *shortForm), folder + "a library with a long name.dll"));
    EXPECT_TRUE(EqualText(FileOf(HiveLocalMachine, key + "ModuleUsage\\" + *shortForm),
                          folder + "a library with a long name.dll"));
}

TEST_F(RegistryLocations, AClassLeadsToItsLibrary) {
    AddClass(Guid, file);
    for (const std::string& key :
         {"CLSID\\" + Guid, "clsid\\" + Guid + "\\InprocServer32",
          "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects\\" + Guid}) {
        EXPECT_EQ(FileOf(HiveLocalMachine, key), LCase(file)) << key;
    }
    EXPECT_EQ(FileOf(HiveLocalMachine, "CLSID\\" + Library), "");
}

TEST_F(RegistryLocations, ARunEntryLeadsToTheProgramThatItStarts) {
    const std::string current = "Software\\Microsoft\\Windows\\CurrentVersion\\";
    WriteFile(Folder() + "windows\\bad.exe", "x");
    const std::string program = LCase(Folder()) + "windows\\bad.exe";
    staged.AddText(HiveCurrentUser, current + "Run", "plain", Folder() + "windows\\bad.exe");
    staged.AddText(HiveCurrentUser, current + "Run", "arguments", "\"" + Folder() + "windows\\bad.exe\" /start");
    staged.AddText(HiveCurrentUser, current + "Run", "variable", "%windir%\\bad.exe");
    staged.AddText(HiveCurrentUser, current + "Run", "bare", "bad.exe");
    staged.AddText(HiveCurrentUser, current + "Run", "missing", "missing.exe");
    staged.AddText(HiveLocalMachine, current + "RunServicesOnce", "", "bad.exe");
    for (const char* name : {"plain", "arguments", "variable", "bare"}) {
        EXPECT_EQ(FileOf(HiveCurrentUser, current + "Run", name), program) << name;
    }
    EXPECT_EQ(FileOf(HiveCurrentUser, current + "Run", "missing"), "");
    EXPECT_EQ(FileOf(HiveCurrentUser, current + "Run", "none"), "");
    EXPECT_EQ(FileOf(HiveLocalMachine, current + "RunServicesOnce"), program);
}

struct NamedPlace {
    std::string key;
    bool byName;
};
void PrintTo(const NamedPlace& place, std::ostream* stream) {
    *stream << place.key;
}

class ClassPlaces : public RegistryLocations, public ::testing::WithParamInterface<NamedPlace> {};

TEST_P(ClassPlaces, NameTheirClassInTheKeyOrByAValue) {
    const std::string& key = GetParam().key;
    const std::string inKey = key + "\\" + Guid;
    const std::string& byName = Library;
    const std::string expected = GetParam().byName ? byName : Guid;
    EXPECT_EQ(ClassOf(HiveLocalMachine, inKey, byName), expected);
    EXPECT_EQ(ClassOf(HiveCurrentUser, UCase(inKey), byName), expected);
    EXPECT_EQ(ClassOf(HiveUsers, LCase(inKey), byName), expected);
    EXPECT_EQ(ClassOf(HiveLocalMachine, key + "\\none"), "");
}

INSTANTIATE_TEST_SUITE_P(
    All, ClassPlaces,
    ::testing::Values(NamedPlace{"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects",
                                 false},
                      NamedPlace{"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\ShellExecuteHooks", true},
                      NamedPlace{"Software\\Microsoft\\Internet Explorer\\Explorer Bars", false},
                      NamedPlace{"Software\\Microsoft\\Internet Explorer\\Toolbar", true},
                      NamedPlace{"Software\\Microsoft\\Internet Explorer\\Extensions", false},
                      NamedPlace{"Software\\Microsoft\\Internet Explorer\\Toolbar\\ShellBrowser", true},
                      NamedPlace{"Software\\Microsoft\\Internet Explorer\\Toolbar\\WebBrowser", true},
                      NamedPlace{"Software\\Microsoft\\Internet Explorer\\URLSearchHooks", true},
                      NamedPlace{"CLSID", false}, NamedPlace{"SOFTWARE\\Classes\\TypeLib", false},
                      NamedPlace{"SOFTWARE\\Classes\\Interface", false},
                      NamedPlace{"SOFTWARE\\Microsoft\\Code Store Database\\Distribution Units", false}));

TEST_F(RegistryLocations, AProgIDNamesItsClass) {
    staged.AddText(HiveClassesRoot, "Thing.Object\\CLSID", "", Guid);
    staged.AddText(HiveLocalMachine, "SOFTWARE\\Classes\\Thing.Object\\CLSID", "", Library);
    EXPECT_EQ(ClassOf(HiveClassesRoot, "Thing.Object"), Guid);
    EXPECT_EQ(ClassOf(HiveLocalMachine, "software\\classes\\Thing.Object"), Library);
    EXPECT_EQ(ClassOf(HiveClassesRoot, "ThingObject"), "");
    EXPECT_EQ(ClassOf(HiveCurrentUser, "SOFTWARE\\Classes\\Thing.Object"), "");
    AddClass(Guid, file);
    EXPECT_EQ(FileOf(HiveClassesRoot, "Thing.Object"), LCase(file));
}

TEST_F(RegistryLocations, AKeyWithAnOpeningBraceIsNoProgID) {
    staged.AddText(HiveClassesRoot, "Thing.{Object\\CLSID", "", Guid);
    EXPECT_EQ(ClassOf(HiveClassesRoot, "Thing.{Object"), "");
}

TEST_F(RegistryLocations, AnApplicationNamesItsClassByItsIdentifier) {
    staged.AddText(HiveClassesRoot, "AppID\\thing.exe", "AppID", "the " + Guid + " one");
    EXPECT_EQ(ClassOf(HiveClassesRoot, "AppID\\thing.exe"), Guid);
    staged.AddText(HiveClassesRoot, "AppID\\other.exe", "AppID", "{11111111-2222-333}");
    EXPECT_EQ(ClassOf(HiveClassesRoot, "AppID\\other.exe"), "");
}

TEST_F(RegistryLocations, BracesInTheWrongOrderAreReported) {
    EXPECT_EQ(ClassOf(HiveLocalMachine, "CLSID\\}{"), "");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].procedure, "GuidFromText");
}

}  // namespace
}  // namespace kel::test
