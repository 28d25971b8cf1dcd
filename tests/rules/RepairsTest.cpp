#include <gmock/gmock.h>

#include <optional>

#include "core/EngineState.h"
#include "core/Text.h"
#include "core/Value.h"
#include "decorators/ForwardingFiles.h"
#include "platform/Platform.h"
#include "rules/BrowserAddresses.h"
#include "rules/modCleanerHelper.h"
#include "support/EngineTest.h"
#include "support/StagedMachine.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class LineRemoval : public EngineTest {
protected:
    std::string File() const { return Folder() + "file.ini"; }
    std::string After(std::string_view text, std::string_view bytes) {
        WriteFile(File(), bytes);
        modCleanerHelper::RemoveFullLineFromFile(text, File());
        return ReadFile(File());
    }
};

TEST_F(LineRemoval, TakesEachLineThatHoldsTheText) {
    EXPECT_EQ(After("bad.exe", "[rename]\r\nNUL=C:\\BAD.EXE\r\nNUL=C:\\good.exe\r\nc:\\bad.exe=x\r\n"),
              "[rename]\r\nNUL=C:\\good.exe\r\n");
}

TEST_F(LineRemoval, TakesBlankAndVeryShortLinesToo) {
    EXPECT_EQ(After("none", "ab\r\n\r\n   \r\nx\r\n  cd  \r\nlast"), "ab\r\ncd\r\nlast\r\n");
}

TEST_F(LineRemoval, KnowsEveryLineEnd) {
    EXPECT_EQ(After("bad", "one\nbad\rtwo\r\n"), "one\r\ntwo\r\n");
}

TEST_F(LineRemoval, KnowsALineByLettersOfTheCodePage) {
    const std::string text = platform::Current().text->FromUtf8("caf\xC3\xA9.exe");
    EXPECT_EQ(After(text, "run=CAF\xC9.EXE\r\nrun=th\xE9.exe\r\n"), "run=th\xE9.exe\r\n");
}

TEST_F(LineRemoval, LeavesAnEmptyFileWhenEveryLineGoes) {
    EXPECT_EQ(After("bad", "bad\r\nBAD 2\r\n"), "");
}

TEST_F(LineRemoval, OfAMissingFileDoesNothing) {
    modCleanerHelper::RemoveFullLineFromFile("x", File());
    EXPECT_FALSE(Exists(File()));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(LineRemoval, LeavesAReadOnlyFileReadOnly) {
    WriteFile(File(), "good\r\nbad\r\n");
    Machine().files->SetAttributes(File(), platform::AttributeReadOnly);
    modCleanerHelper::RemoveFullLineFromFile("bad", File());
    EXPECT_EQ(ReadFile(File()), "good\r\n");
    EXPECT_NE(Machine().files->Attributes(File()).ValueOr(0) & platform::AttributeReadOnly, 0U);
    EXPECT_THAT(Reported(), IsEmpty());
    Machine().files->SetAttributes(File(), platform::AttributeNormal);
}

// A file that is in use by somebody who lets nobody read.
class LockedFiles : public decorators::ForwardingFiles {
public:
    using ForwardingFiles::ForwardingFiles;
    platform::Result<std::unique_ptr<platform::FileView>> View(std::string_view) override {
        return platform::SysError::SharingViolation;
    }
};

TEST_F(LineRemoval, LeavesAFileThatItCannotRead) {
    WriteFile(File(), "good\r\nbad\r\n");
    platform::Platform machine = Machine();
    LockedFiles files(*machine.files);
    machine.files = &files;
    Install(machine);
    modCleanerHelper::RemoveFullLineFromFile("bad", File());
    Install(Machine());
    EXPECT_EQ(ReadFile(File()), "good\r\nbad\r\n");
    ASSERT_THAT(Reported(), SizeIs(1));
    EXPECT_EQ(Reported()[0].module, "modCleanerHelper");
    EXPECT_EQ(Reported()[0].procedure, "RemoveFullLineFromFile");
}

class BrowserRestore : public EngineTest {
protected:
    void SetUp() override {
        MakeFolder(Folder() + "system32");
        stage_.emplace(Machine(), Key() + "\\Stage");
        Stage().Folders()[FolderSystem] = Folder() + "system32";
        Install(Stage().View());
    }
    void TearDown() override { Install(Machine()); }
    StagedMachine& Stage() { return *stage_; }
    static Value Read(const addresses::Address& address) {
        return modRegistry::GetRegistryValue(address.hive, address.key, address.name);
    }

private:
    std::optional<StagedMachine> stage_;
};

TEST_F(BrowserRestore, WritesEveryAddressThatHasData) {
    for (const auto& address : addresses::Hijackable) {
        Stage().AddText(address.hive, address.key, address.name, "http://elsewhere.example/");
    }
    for (const auto& address : addresses::SchemePrefixes) {
        Stage().AddText(address.hive, address.key, address.name, "http://elsewhere.example/?");
    }
    modCleanerHelper::RestoreIEURLSettings();
    for (const auto& address : addresses::Hijackable) {
        const std::string expected =
            address.name == "Local Page" ? LCase(Folder()) + "system32\\blank.htm" : std::string(address.original);
        EXPECT_EQ(Read(address), Value(expected)) << address.key << " " << address.name;
    }
    for (const auto& address : addresses::SchemePrefixes) {
        EXPECT_EQ(Read(address), Value(std::string(address.original))) << address.key << " " << address.name;
    }
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(BrowserRestore, LeavesAMissingValueMissing) {
    Stage().AddText(HiveCurrentUser, addresses::Main, "Search Page", "");
    modCleanerHelper::RestoreIEURLSettings();
    EXPECT_EQ(modRegistry::GetRegistryValue(HiveCurrentUser, addresses::Main, "Search Page"), Value(std::string()));
    EXPECT_FALSE(modRegistry::RegValueExists(HiveCurrentUser, addresses::Main, "Start Page"));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, addresses::Main));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, addresses::Prefixes));
}

TEST_F(BrowserRestore, WritesWhatTheSettingsExpectEvenWhereNothingIs) {
    std::vector<std::string> asked;
    addresses::AskSettings([&](std::string_view name) {
        asked.emplace_back(name);
        return asked.size() == 1 ? std::string("http://home.example/") : std::string();
    });
    modCleanerHelper::ResetIEURL(HiveCurrentUser, "Software\\K", "Start", "http://default.example/");
    modCleanerHelper::ResetIEURL(HiveLocalMachine, "Software\\K", "", "http://default.example/");
    EXPECT_THAT(asked, ElementsAre("HKEY_CURRENT_USER\\Software\\K Start", "HKEY_LOCAL_MACHINE\\Software\\K"));
    EXPECT_EQ(modRegistry::GetRegistryValue(HiveCurrentUser, "Software\\K", "Start"),
              Value(std::string("http://home.example/")));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveLocalMachine, "Software\\K"));
}

TEST_F(BrowserRestore, IsTold) {
    modCleanerHelper::EnableLog() = true;
    modCleanerHelper::RestoreIEURLSettings();
    const std::string log = ReadFile(UserFolder() + "logs\\cleaner.log");
    EXPECT_THAT(log, ::testing::EndsWith("::Restore IE URL settings\r\n"));
}

TEST_F(BrowserRestore, TheCleanersLogIsOffUnlessAskedFor) {
    modCleanerHelper::CleanerLog("nothing");
    EXPECT_FALSE(Exists(UserFolder() + "logs\\cleaner.log"));
    modCleanerHelper::EnableLog() = true;
    modCleanerHelper::CleanerLog("one");
    modCleanerHelper::CleanerLog("two");
    const std::string log = ReadFile(UserFolder() + "logs\\cleaner.log");
    EXPECT_THAT(log, ::testing::HasSubstr("::one\r\n"));
    EXPECT_THAT(log, ::testing::EndsWith("::two\r\n"));
}

}  // namespace
}  // namespace kel::test
