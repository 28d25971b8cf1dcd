// What a key or a value that was found drags in.
#include <gmock/gmock.h>

#include "RelationsTest.h"
#include "core/Text.h"
#include "scanner/modScannerRegistry.h"

namespace kel::test {
namespace {

using modScannerRegistry::AddDetectedThreatRegistryRelations;
using modScannerRegistry::AddDetectedThreatRegistrySubItems;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using platform::ValueType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RegistrySubItems : public RelationsTest {};

TEST_F(RegistrySubItems, TheValuesOfSubkeysComeFirst) {
    staged.AddText(HiveLocalMachine, "Software\\Bad", "own", "3");
    staged.AddText(HiveLocalMachine, "Software\\Bad\\One", "first", "1");
    staged.AddText(HiveLocalMachine, "Software\\Bad\\Two", "second", "2");
    AddDetectedThreatRegistrySubItems(Threat, HiveLocalMachine, "Software\\Bad");
    EXPECT_THAT(Keys(), ElementsAre("HKEY_LOCAL_MACHINE\\Software\\Bad\\One [first]=1",
                                    "HKEY_LOCAL_MACHINE\\Software\\Bad\\Two [second]=2",
                                    "HKEY_LOCAL_MACHINE\\Software\\Bad [own]=3"));
    for (const HeardThreat& heard : found) {
        EXPECT_EQ(heard.type, ScanTypeRegistry);
    }
}

TEST_F(RegistrySubItems, KeysWithoutValuesLeaveNoTrace) {
    staged.AddKey(HiveLocalMachine, "Software\\Bad\\Empty\\Emptier");
    staged.AddText(HiveLocalMachine, "Software\\Bad\\Empty\\Last", "deep", "x");
    AddDetectedThreatRegistrySubItems(Threat, HiveLocalMachine, "Software\\Bad");
    EXPECT_THAT(Keys(), ElementsAre("HKEY_LOCAL_MACHINE\\Software\\Bad\\Empty\\Last [deep]=x"));
}

TEST_F(RegistrySubItems, DataAreKeptInTheirTextForm) {
    const std::string key = "Software\\Bad";
    staged.AddText(HiveCurrentUser, key, "", "default");
    staged.AddValue(HiveCurrentUser, key, "binary", {ValueType::Binary, std::string("\x0A\x00\xFF", 3)});
    staged.AddValue(HiveCurrentUser, key, "number", {ValueType::Dword, std::string("\x87\xD6\x12\x00", 4)});
    AddDetectedThreatRegistrySubItems(Threat, HiveCurrentUser, key);
    EXPECT_THAT(Keys(), ::testing::UnorderedElementsAre("HKEY_CURRENT_USER\\Software\\Bad=default",
                                                        "HKEY_CURRENT_USER\\Software\\Bad [binary]=0A00FF",
                                                        "HKEY_CURRENT_USER\\Software\\Bad [number]=123"));
}

TEST_F(RegistrySubItems, AMissingKeyHasNone) {
    AddDetectedThreatRegistrySubItems(Threat, HiveLocalMachine, "Software\\Missing");
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RegistrySubItems, AnIgnoredThreatAddsNothing) {
    staged.AddText(HiveLocalMachine, "Software\\Bad\\One", "first", "1");
    Ignore();
    AddDetectedThreatRegistrySubItems(Threat, HiveLocalMachine, "Software\\Bad");
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(RegistrySubItems, WithoutAScanTheyAreAReportedFailure) {
    staged.AddText(HiveLocalMachine, "Software\\Bad", "first", "1");
    SetCurrentScan(nullptr);
    AddDetectedThreatRegistrySubItems(Threat, HiveLocalMachine, "Software\\Bad");
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].module, "modScannerRegistry");
    EXPECT_EQ(Reported()[0].procedure, "AddDetectedThreatRegistrySubItems");
}

class RegistryRelations : public RelationsTest {
protected:
    static bool Add(platform::Hive hive, const std::string& key, const std::string& name = {},
                    const std::string& data = {}) {
        return AddDetectedThreatRegistryRelations(Threat, hive, key, name, data);
    }
    const std::string helpers = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects\\";
    const std::string units = "SOFTWARE\\Microsoft\\Code Store Database\\Distribution Units\\";
};

TEST_F(RegistryRelations, TheFilesOwnRelationsComeBeforeIt) {
    const std::string library = AddLibrary("thing.dll", {Clsid});
    const std::string key = helpers + std::string(Clsid);
    staged.AddKey(HiveLocalMachine, key);
    EXPECT_TRUE(Add(HiveLocalMachine, key));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].location, "HKEY_LOCAL_MACHINE\\" + key);
    EXPECT_EQ(found[1].location, LCase(library));
    EXPECT_EQ(found[1].type, ScanTypeFiles);
    EXPECT_EQ(CurrentScan()->DetectedThreats()->Item(1)->ThreatLocationFiles->Item(1)->MD5, HashOf(Bytes(2000, 'l')));
}

TEST_F(RegistryRelations, ARunValueLeadsToItsProgram) {
    const std::string program = AddFile("thing.exe", 'p');
    const std::string run = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
    staged.AddText(HiveCurrentUser, run, "Thing", program + " /start");
    EXPECT_TRUE(Add(HiveCurrentUser, run, "Thing", program + " /start"));
    EXPECT_THAT(Files(), ElementsAre(LCase(program)));
    EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(RegistryRelations, ADownloadedComponentBringsItsSetupFileToo) {
    const std::string library = AddFile("thing.ocx", 'l');
    const std::string setup = AddFile("thing.inf", 's');
    const std::string key = units + std::string(Clsid);
    staged.AddText(HiveLocalMachine, key + "\\Contains\\Files", library, "");
    staged.AddText(HiveLocalMachine, key + "\\DownloadInformation", "INF", setup);
    EXPECT_TRUE(Add(HiveLocalMachine, key));
    EXPECT_THAT(Files(), ElementsAre(library, setup));
}

TEST_F(RegistryRelations, ASetupFileThatStandsForTheComponentIsAddedOnce) {
    const std::string setup = AddFile("thing.inf", 's');
    const std::string key = units + std::string(Clsid);
    staged.AddText(HiveCurrentUser, UCase(key) + "\\DownloadInformation", "INF", setup);
    EXPECT_TRUE(Add(HiveCurrentUser, UCase(key)));
    EXPECT_THAT(Files(), ElementsAre(setup));
}

TEST_F(RegistryRelations, FilesThatAreGoneOrMustStayAreLeftOut) {
    const std::string key = units + std::string(Clsid);
    staged.AddText(HiveLocalMachine, key + "\\Contains\\Files", AddFile("winforms.dll", 'f'), "");
    staged.AddText(HiveLocalMachine, key + "\\DownloadInformation", "INF", Folder() + "gone.inf");
    EXPECT_TRUE(Add(HiveLocalMachine, key));
    staged.AddText(HiveLocalMachine, key + "\\DownloadInformation", "INF", Folder() + "winforms.dll");
    EXPECT_TRUE(Add(HiveLocalMachine, key));
    EXPECT_TRUE(Add(HiveLocalMachine, "Software\\Bad"));
    EXPECT_TRUE(Add(HiveLocalMachine, ""));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RegistryRelations, AnIgnoredThreatAddsNothingAndIsAnsweredWithTrue) {
    AddLibrary("thing.dll", {Clsid});
    staged.AddKey(HiveLocalMachine, helpers + std::string(Clsid));
    Ignore();
    EXPECT_TRUE(Add(HiveLocalMachine, helpers + std::string(Clsid)));
    EXPECT_THAT(found, IsEmpty());
}

TEST_F(RegistryRelations, WithoutAScanTheyAreAReportedFailureAnsweredWithTrue) {
    AddLibrary("thing.dll", {Clsid});
    SetCurrentScan(nullptr);
    EXPECT_TRUE(Add(HiveLocalMachine, helpers + std::string(Clsid)));
    ASSERT_EQ(Reported().size(), 1U);
    EXPECT_EQ(Reported()[0].procedure, "AddDetectedThreatRegistryRelations");
}

}  // namespace
}  // namespace kel::test
