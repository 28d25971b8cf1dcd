#include "engine/Manager.h"

#include <gmock/gmock.h>

#include "decorators/FaultInjectingPlatform.h"
#include "decorators/ForwardingSystem.h"
#include "results/modDataManager.h"
#include "scanner/EngineData.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"
#include "system/modCommon.h"

namespace kel::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::string_literals;

class Managers : public EngineTest {
protected:
    void Ship() {
        ShippedTables tables;
        tables.threats = {{1, "One"}, {2, "Two"}};
        tables.WriteTo(AppFolder());
    }
    Manager manager;
};

TEST_F(Managers, OpeningAnswersFalseWhenAllWentWell) {
    EXPECT_FALSE(manager.Inititalize(LanguageFrench, VersionTypeServer));
    EXPECT_EQ(manager.CurrentLanguage(), LanguageFrench);
    EXPECT_EQ(manager.CurrentVersionType(), VersionTypeServer);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(Managers, OpeningWithoutArgumentsMeansAnEnglishClient) {
    manager.Inititalize(LanguageFrench, VersionTypeServer);
    EXPECT_FALSE(manager.Inititalize());
    EXPECT_EQ(manager.CurrentLanguage(), LanguageEnglish);
    EXPECT_EQ(manager.CurrentVersionType(), VersionTypeClient);
}

TEST_F(Managers, WithAnEmptyIgnoreListTheyCountAsClosed) {
    manager.Inititalize();
    EXPECT_FALSE(manager.IsInititalized());
    manager.Inititalize();
    EXPECT_FALSE(manager.IsInititalized());
}

TEST_F(Managers, WithOneIgnoredThreatTheyCountAsOpen) {
    WriteFile(UserFolder() + "kelIgnoredThreatData.sdb", "\x05\0\0\0"s);
    manager.Inititalize();
    EXPECT_TRUE(manager.IsInititalized());
}

TEST_F(Managers, TheIgnoreListIsSharedByAllManagers) {
    Manager other;
    manager.Inititalize();
    manager.Inititalize();
    manager.IgnoredThreats()->AddIgnoredThreat(7);
    EXPECT_TRUE(other.IsInititalized());
    EXPECT_TRUE(other.IgnoredThreats()->IsIgnoredThreatID(7));
}

TEST_F(Managers, ClosingUnloadsNothing) {
    Ship();
    manager.Scanner()->SetUserDataRootPath(UserFolder());
    EXPECT_FALSE(manager.UnInititalize());
    EXPECT_TRUE(State().DataInitialized);
    EXPECT_EQ(manager.Threats()->GetThreatDisplayName(2), "Two");
    EXPECT_NE(State().RsScanHistory, nullptr);
}

TEST_F(Managers, TheScannerIsKeptAndTheOthersAreMadeAnew) {
    Manager other;
    const auto scanner = manager.Scanner();
    EXPECT_EQ(manager.Scanner(), scanner);
    EXPECT_NE(other.Scanner(), scanner);
    const auto cleaner = manager.Cleaner();
    EXPECT_EQ(manager.Cleaner(), cleaner);
    EXPECT_NE(other.Cleaner(), cleaner);
    EXPECT_NE(manager.Threats(), manager.Threats());
    EXPECT_NE(manager.Quarantine(), manager.Quarantine());
    EXPECT_NE(manager.IgnoredThreats(), manager.IgnoredThreats());
    EXPECT_NE(manager.ScanHistory(), manager.ScanHistory());
    EXPECT_NE(manager.Settings(), manager.Settings());
}

class NamedUser : public decorators::ForwardingSystemInfo {
public:
    using ForwardingSystemInfo::ForwardingSystemInfo;
    std::string user;
    std::string Environment(std::string_view name) override { return name == "USERNAME" ? user : std::string(); }
};

TEST_F(Managers, TheUserIsTheOneOfTheEnvironmentAtThatMoment) {
    platform::Platform machine = Machine();
    NamedUser system(*machine.system);
    machine.system = &system;
    Install(machine);
    system.user = "anna";
    EXPECT_EQ(manager.UserName(), "anna");
    system.user = "bert";
    EXPECT_EQ(manager.UserName(), "bert");
    Install(Machine());
}

class FailingSystem : public decorators::ForwardingSystemInfo {
public:
    using ForwardingSystemInfo::ForwardingSystemInfo;
    std::string Environment(std::string_view) override { throw std::runtime_error("no environment"); }
};

TEST_F(Managers, AUserThatCannotBeReadIsEmptyAndNotReported) {
    platform::Platform machine = Machine();
    FailingSystem system(*machine.system);
    machine.system = &system;
    Install(machine);
    EXPECT_EQ(manager.UserName(), "");
    EXPECT_THAT(Reported(), IsEmpty());
    Install(Machine());
}

TEST_F(Managers, AFailureThatCannotBeLoggedReachesNoClient) {
    decorators::FaultInjectingPlatform faults(Machine());
    faults.FailWritesFrom(1, platform::SysError::AccessDenied);
    Install(faults.View());
    EXPECT_FALSE(manager.Inititalize());
    EXPECT_EQ(manager.IgnoredThreats()->GetIgnoredThreatCount(), 0);
    manager.IgnoredThreats()->AddIgnoredThreat(1);
    Install(Machine());
    EXPECT_FALSE(Reported().empty());
    EXPECT_THAT(ErrorLog(), IsEmpty());
}

// A token with groups of a test's own.
class TestToken : public platform::Token {
public:
    TestToken(std::size_t groups, platform::Sid last) : groups_(groups), last_(std::move(last)) {}
    std::uint32_t GroupsSize() override { return 100; }
    platform::Result<std::vector<platform::TokenGroup>> Groups() override {
        std::vector<platform::TokenGroup> groups(groups_);
        for (platform::TokenGroup& group : groups) {
            group.sid = platform::Sid(8, std::byte{1});
        }
        if (!last_.empty()) {
            groups.back().sid = last_;
        }
        return groups;
    }

private:
    std::size_t groups_;
    platform::Sid last_;
};

class TestRights : public platform::Rights {
public:
    std::size_t groups = 3;
    bool admin = false;
    bool hasToken = true;

    platform::Result<std::unique_ptr<platform::Token>> OpenThreadToken() override {
        return platform::SysError::NoToken;
    }
    platform::Result<std::unique_ptr<platform::Token>> OpenProcessToken() override {
        if (!hasToken) {
            return platform::SysError::AccessDenied;
        }
        return std::unique_ptr<platform::Token>(
            std::make_unique<TestToken>(groups, admin ? Administrators() : platform::Sid()));
    }
    platform::Result<platform::Sid> MakeSid(std::uint8_t, const std::vector<std::uint32_t>&) override {
        return Administrators();
    }
    bool IsValidSid(const platform::Sid&) override { return true; }
    bool EqualSid(const platform::Sid& left, const platform::Sid& right) override { return left == right; }

private:
    static platform::Sid Administrators() { return platform::Sid(16, std::byte{5}); }
};

class ManagerRights : public Managers {
protected:
    void SetUp() override {
        platform::Platform machine = Machine();
        machine.rights = &rights;
        Install(machine);
    }
    void TearDown() override { Install(Machine()); }
    TestRights rights;
};

TEST_F(ManagerRights, AMemberOfTheAdministratorsIsOne) {
    rights.admin = true;
    EXPECT_TRUE(manager.HasAdminPermission());
    rights.admin = false;
    EXPECT_FALSE(manager.HasAdminPermission());
}

TEST_F(ManagerRights, WithoutATokenNobodyIsOne) {
    rights.admin = true;
    rights.hasToken = false;
    EXPECT_FALSE(manager.HasAdminPermission());
}

TEST_F(ManagerRights, TooManyGroupsAnswerFalseWithoutALogLine) {
    rights.groups = 150;
    rights.admin = true;
    EXPECT_FALSE(manager.HasAdminPermission());
    EXPECT_THAT(Reported(), IsEmpty());
}

class UserData : public Managers {
protected:
    UserData() { State().UserDataFolder.clear(); }
};

TEST_F(UserData, ARootGetsItsBackslashAndItsFolders) {
    Ship();
    const auto scanner = manager.Scanner();
    scanner->SetUserDataRootPath(Folder() + "new\\deep");
    EXPECT_EQ(scanner->UserDataRootPath(), Folder() + "new\\deep\\");
    EXPECT_EQ(State().UserDataFolder, Folder() + "new\\deep\\");
    EXPECT_TRUE(State().UserDataFolderIsSet);
    EXPECT_TRUE(State().DataInitialized);
    EXPECT_TRUE(Exists(Folder() + "new\\deep\\kelScanHistory.sdb"));
    EXPECT_TRUE(Exists(Folder() + "new\\deep\\kelIgnoredThreatData.sdb"));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(UserData, ASecondRootTakesOverWithoutASecondLoad) {
    Ship();
    const auto scanner = manager.Scanner();
    scanner->SetUserDataRootPath(Folder() + "first\\");
    const auto catalogue = State().ThreatCatalog;
    scanner->SetUserDataRootPath(Folder() + "second");
    EXPECT_EQ(State().ThreatCatalog, catalogue);
    EXPECT_EQ(State().UserDataFolder, Folder() + "second\\");
    EXPECT_TRUE(Exists(Folder() + "second"));
    EXPECT_FALSE(Exists(Folder() + "second\\kelScanHistory.sdb"));
}

TEST_F(UserData, ALoadGoesThroughEvenWithoutAnyTable) {
    manager.Scanner()->SetUserDataRootPath(UserFolder());
    EXPECT_TRUE(State().DataInitialized);
    EXPECT_NE(State().FileHashObject, nullptr);
    EXPECT_FALSE(Reported().empty());
    EXPECT_EQ(State().ThreatCatalog->Count(), 0U);
}

TEST_F(UserData, ARepeatedLoadReplacesAllThatWasLoaded) {
    Ship();
    manager.Scanner()->SetUserDataRootPath(UserFolder());
    const auto catalogue = State().ThreatCatalog;
    const auto history = State().RsScanHistory;
    const auto hashing = State().FileHashObject;
    modMain::LoadEngineData();
    EXPECT_NE(State().ThreatCatalog, catalogue);
    EXPECT_NE(State().RsScanHistory, history);
    EXPECT_NE(State().FileHashObject, hashing);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(UserData, WithoutAChosenRootTheFolderIsBelowTheUsersOwn) {
    auto folders = Machine().registry->Create(platform::HiveCurrentUser,
                                              "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");
    ASSERT_TRUE(folders.Ok());
    const auto before = (*folders)->Query("Local AppData");
    MakeFolder(Folder() + "local");
    const std::string local = Folder() + "local";
    ASSERT_EQ((*folders)->Set("Local AppData", platform::ValueType::Sz, local + '\0'), platform::SysError::Success);
    ASSERT_EQ(modCommon::PathLocalAppData(), local + "\\");
    modMain::PrepareUserDataFolder();
    EXPECT_EQ(State().UserDataFolder, local + "\\Kelvane Software\\Ombrelane\\");
    EXPECT_TRUE(Exists(local + "\\Kelvane Software\\Ombrelane"));
    modMain::PrepareUserDataFolder();
    EXPECT_EQ(State().UserDataFolder, local + "\\Kelvane Software\\Ombrelane\\");
    if (before) {
        (*folders)->Set("Local AppData", before->type, before->data);
    } else {
        (*folders)->RemoveValue("Local AppData");
    }
}

TEST_F(UserData, AChosenRootDoesNotMoveTheUsersOwnFolder) {
    const std::string own = modCommon::PathLocalAppData();
    State().UserDataFolderIsSet = true;
    State().UserDataFolder = UserFolder();
    EXPECT_EQ(modCommon::PathLocalAppData(), own);
}

TEST_F(UserData, OpeningBeforeTheRootIsChosenBuildsThePathFromABackslashAlone) {
    manager.Inititalize();
    EXPECT_TRUE(Exists("\\kelIgnoredThreatData.sdb"));
    Machine().files->Remove("\\kelIgnoredThreatData.sdb");
}

}  // namespace
}  // namespace kel::test
