// kelASCleaner.exe on the lists of the user.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "LogLines.h"
#include "StartTest.h"
#include "companions/Names.h"
#include "programs/CarriedCompanions.h"
#include "programs/RunningProgram.h"
#include "programs/UserDataValue.h"
#include "support/EngineTest.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* ManagerKey = R"(Software\Classes\kelThreatEngine.Manager)";
constexpr const char* ClassID = "{6B656C00-7465-7374-0000-636F6D700001}";

class CleanerProgram : public EngineTest {
protected:
    CleanerProgram() : value_(Machine(), UserFolder()) { WriteFile(Program(), CleanerProgramFile()); }

    [[nodiscard]] std::string Program() const { return AppFolder() + "kelASCleaner.exe"; }
    ProgramEnd Run(const std::string& arguments = {}) { return RunProgram(Program(), arguments); }
    [[nodiscard]] std::vector<std::string> Log() {
        return LogLines(Machine(), UserFolder(), companions::CleanerProgram);
    }
    static void List(std::string_view key, std::string_view name, std::string_view data) {
        modRegistry::SetRegistryValue(HiveCurrentUser, key, name, std::string(data), modRegistry::TypeSz);
    }
    static bool IsListed(std::string_view key, std::string_view name) {
        return modRegistry::RegValueExists(HiveCurrentUser, key, name);
    }
    static bool IsRegistered() { return modRegistry::RegKeyExists(platform::HiveLocalMachine, ManagerKey); }

private:
    UserDataValue value_;
};

TEST_F(CleanerProgram, WithNothingListedItEndsAtOnce) {
    const ProgramEnd end = Run();
    EXPECT_EQ(end.code, 0U);
    EXPECT_EQ(end.said, "");
    EXPECT_THAT(Log(), ElementsAre("Started", "Nothing is left to this start", "Ended with code 0"));
}

TEST_F(CleanerProgram, WithoutARegisteredEngineItTellsAndKeepsTheLists) {
    ASSERT_FALSE(IsRegistered()) << "another test left its server";
    WriteFile(Folder() + "some.exe", "evil");
    List(DelFiles, Folder() + "some.exe", "1");
    List(CleanerExe, "7", "scan one");
    List(Destroy, "7", "scan one");
    const ProgramEnd end = Run();
    EXPECT_EQ(end.code, 4U);
    EXPECT_THAT(end.said,
                StartsWith("kelASCleaner: The engine can't be created: kelThreatEngine.Manager is not registered: 0x"));
    ASSERT_THAT(Log(), SizeIs(3));
    EXPECT_THAT(Log()[1],
                StartsWith("Failed: The engine can't be created: kelThreatEngine.Manager is not registered: 0x"));
    EXPECT_EQ(Log()[2], "Ended with code 4");
    EXPECT_TRUE(IsListed(DelFiles, Folder() + "some.exe"));
    EXPECT_TRUE(IsListed(CleanerExe, "7"));
    EXPECT_TRUE(IsListed(Destroy, "7"));
    EXPECT_TRUE(Exists(Folder() + "some.exe"));
}

TEST_F(CleanerProgram, WithAnEngineThatIsGoneItTellsAndKeepsTheLists) {
    ASSERT_FALSE(IsRegistered()) << "another test left its server";
    const std::string classKey = std::string(R"(Software\Classes\CLSID\)") + ClassID;
    const auto set = [](const std::string& key, const std::string& data) {
        modRegistry::SetRegistryValue(platform::HiveLocalMachine, key, "", data, modRegistry::TypeSz);
    };
    set(std::string(ManagerKey) + "\\CLSID", ClassID);
    set(classKey + "\\LocalServer32", Folder() + "no such engine.exe");
    List(DelFiles, Folder() + "some.exe", "1");
    const ProgramEnd end = Run();
    modRegistry::DeleteRegistryKeyTree(platform::HiveLocalMachine, ManagerKey);
    modRegistry::DeleteRegistryKeyTree(platform::HiveLocalMachine, classKey);
    EXPECT_EQ(end.code, 4U);
    EXPECT_THAT(end.said, HasSubstr("kelThreatEngine.Manager can't be started: 0x"));
    EXPECT_TRUE(IsListed(DelFiles, Folder() + "some.exe"));
}

TEST_F(CleanerProgram, AFolderForTheUsersDataThatCantBeMadeIsTold) {
    WriteFile(Folder() + "file", "no folder");
    List(DelFiles, Folder() + "some.exe", "1");
    const ProgramEnd end = Run("/UserData \"" + Folder() + "file\\below\"");
    EXPECT_EQ(end.code, 3U);
    EXPECT_THAT(end.said, HasSubstr("The folder of the user's data can't be made"));
    EXPECT_TRUE(IsListed(DelFiles, Folder() + "some.exe"));
}

TEST_F(CleanerProgram, OtherArgumentsAreRefused) {
    EXPECT_EQ(Run("now").code, 2U);
    EXPECT_EQ(Run("/UserData").code, 2U);
}

TEST_F(CleanerProgram, TheNamedFolderTakesTheLog) {
    MakeFolder(Folder() + "named");
    EXPECT_EQ(Run("/UserData \"" + Folder() + "named\"").code, 0U);
    EXPECT_THAT(LogLines(Machine(), Folder() + "named\\", companions::CleanerProgram), SizeIs(3));
    EXPECT_THAT(Log(), IsEmpty());
}

}  // namespace
}  // namespace kel::test
