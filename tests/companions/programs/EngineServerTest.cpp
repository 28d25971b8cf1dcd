// The whole road on the machine itself: a clean that leaves a file that is held, and the next start with the registered
// engine.
#include <gmock/gmock.h>
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "InProcessEngine.h"
#include "LogLines.h"
#include "ScanThatFound.h"
#include "StartTest.h"
#include "companions/Names.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "programs/CarriedCompanions.h"
#include "programs/RunningProgram.h"
#include "programs/UserDataValue.h"
#include "support/EngineTest.h"
#include "support/ShippedTables.h"
#include "system/modRegistry.h"

namespace kel::test {
namespace {

using platform::HiveCurrentUser;
using ::testing::Contains;
using ::testing::ElementsAre;

constexpr const char* ScanID = "AAAAAAAA-BBBB-CCCC-DDDD-EEEEEE";
constexpr std::int32_t Threat = 7;
constexpr const char* RunOnce = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)";
constexpr DWORD Patience = 10000;

// The server in a folder of the test's, registered for the machine and ended afterwards.
class RegisteredServer {
public:
    RegisteredServer(platform::Platform platform, std::string program)
        : platform_(platform), program_(std::move(program)) {
        WriteFile(platform_, program_, ServerProgramFile());
        const ProgramEnd end = RunProgram(program_, "/RegServer");
        EXPECT_EQ(end.code, 0U) << end.said;
    }
    ~RegisteredServer() {
        End();
        const ProgramEnd end = RunProgram(program_, "/UnregServer");
        EXPECT_EQ(end.code, 0U) << end.said;
    }
    RegisteredServer(const RegisteredServer&) = delete;
    RegisteredServer& operator=(const RegisteredServer&) = delete;

    /// Closes its window, as a shutdown of the machine does, and waits for its end. One that is killed stays registered
    /// with Wine as running.
    static void End() {
        for (HWND window = ::FindWindowA("frmHolder", nullptr); window != nullptr;
             window = ::FindWindowA("frmHolder", nullptr)) {
            DWORD id = 0;
            ::GetWindowThreadProcessId(window, &id);
            const HANDLE process = ::OpenProcess(SYNCHRONIZE, FALSE, id);
            ::PostMessageA(window, WM_CLOSE, 0, 0);
            const DWORD end = ::WaitForSingleObject(process, Patience);
            ::CloseHandle(process);
            if (end != WAIT_OBJECT_0) {
                ADD_FAILURE() << "the server does not end";
                return;
            }
        }
    }

private:
    platform::Platform platform_;
    std::string program_;
};

class CleanerProgramAndServer : public EngineTest {
protected:
    CleanerProgramAndServer() : value_(Machine(), UserFolder()) {
        WriteFile(AppFolder() + "kelASCleaner.exe", CleanerProgramFile());
        tables_.threats = {{Threat, "Seven"}};
        tables_.WriteTo(AppFolder());
        WriteFile(Path(), "evil");
        server_.emplace(Machine(), AppFolder() + "kelThreatEngine.exe");
    }
    ~CleanerProgramAndServer() override {
        server_.reset();
        modRegistry::DeleteRegistryValue(HiveCurrentUser, RunOnce, "OmbrelaneCleaner");
    }

    [[nodiscard]] std::string Path() const { return Folder() + "some.exe"; }

    /// Scans in this process, and cleans while another holds the file.
    void CleanWhileHeld(bool destroy) {
        InProcessEngine before(Folder() + "app");
        before.Start();
        before.SetUserDataFolder(UserFolder());
        const auto scan = ScanThatFound(Path(), ScanID, Threat);
        before.Root().ScanHistory()->Add(scan);
        const HANDLE held = ::CreateFileA(Path().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_NE(held, INVALID_HANDLE_VALUE);
        {
            Cleaner cleaner;
            cleaner.InitializeClean(ScanID, scan->DetectedThreats());
            if (destroy) {
                cleaner.DestroyThreat(Threat);
            } else {
                EXPECT_EQ(cleaner.QuarantineThreat(Threat), errNone);
            }
            EXPECT_TRUE(cleaner.IsRebootRequired());
        }
        before.Root().ScanHistory()->Persist();
        ::CloseHandle(held);
        EXPECT_TRUE(Exists(Path()));
        EXPECT_TRUE(modRegistry::RegValueExists(HiveCurrentUser, DelFiles, Path()));
        EXPECT_TRUE(modRegistry::RegValueExists(HiveCurrentUser, CleanerExe, "7"));
    }
    /// As the system does it: what the run-once value names, without arguments.
    ProgramEnd StartMachine() {
        const std::string program = ToText(modRegistry::GetRegistryValue(HiveCurrentUser, RunOnce, "OmbrelaneCleaner"));
        EXPECT_EQ(program, AppFolder() + "kelASCleaner.exe");
        modRegistry::DeleteRegistryValue(HiveCurrentUser, RunOnce, "OmbrelaneCleaner");
        return RunProgram(program, "");
    }
    [[nodiscard]] std::vector<std::string> Log() {
        return LogLines(Machine(), UserFolder(), companions::CleanerProgram);
    }

private:
    ShippedTables tables_;
    UserDataValue value_;
    std::optional<RegisteredServer> server_;
};

TEST_F(CleanerProgramAndServer, AHeldFileIsGoneAfterTheNextStart) {
    CleanWhileHeld(false);
    const ProgramEnd end = StartMachine();
    EXPECT_EQ(end.code, 0U) << end.said;
    EXPECT_EQ(end.said, "");
    EXPECT_FALSE(Exists(Path()));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveCurrentUser, CleanerExe)) << "all lists are empty";
    EXPECT_THAT(
        Log(), ElementsAre("Started", "DelFiles: " + Path() + ": deleted",
                           "Threat 7 of scan " + std::string(ScanID) + ": nothing is left of it", "Ended with code 0"));
    EXPECT_THAT(LogLines(Machine(), UserFolder(), "cleaner"), Contains("File delete complete for " + Path()));
}

TEST_F(CleanerProgramAndServer, AThreatToBeDestroyedIsGoneFromTheQuarantineAfterTheNextStart) {
    CleanWhileHeld(true);
    EXPECT_TRUE(modRegistry::RegValueExists(HiveCurrentUser, Destroy, "7"));
    const ProgramEnd end = StartMachine();
    EXPECT_EQ(end.code, 0U) << end.said;
    EXPECT_FALSE(Exists(Path()));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveCurrentUser, CleanerExe));
    InProcessEngine after(Folder() + "app");
    after.Start();
    after.SetUserDataFolder(UserFolder());
    after.InitializeClean(ScanID);
    EXPECT_EQ(after.Root().Quarantine()->Count(), 0);
    const auto detail = after.Root().ScanHistory()->GetScanHistoryDetail(ScanID);
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(detail->DeletedThreats->RecordCount(), 1);
}

TEST_F(CleanerProgramAndServer, AFileThatCameBackIsRemovedByTheEngineAgain) {
    CleanWhileHeld(false);
    modRegistry::DeleteRegistryKeyTree(HiveCurrentUser, DelFiles);
    const ProgramEnd end = StartMachine();
    EXPECT_EQ(end.code, 0U) << end.said;
    EXPECT_FALSE(Exists(Path()));
    EXPECT_FALSE(modRegistry::RegKeyExists(HiveCurrentUser, CleanerExe));
    EXPECT_THAT(Log(),
                Contains("Threat 7 of scan " + std::string(ScanID) + ": " + Path() + " is there: removing it again"));
}

TEST_F(CleanerProgramAndServer, AFileThatIsStillHeldStaysListed) {
    CleanWhileHeld(true);
    const HANDLE held = ::CreateFileA(Path().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const ProgramEnd end = StartMachine();
    ::CloseHandle(held);
    EXPECT_EQ(end.code, 1U) << end.said;
    EXPECT_TRUE(Exists(Path()));
    EXPECT_TRUE(modRegistry::RegValueExists(HiveCurrentUser, CleanerExe, "7"));
    EXPECT_TRUE(modRegistry::RegValueExists(HiveCurrentUser, Destroy, "7"));
    EXPECT_THAT(LogLines(Machine(), UserFolder(), "cleaner"), Contains(::testing::EndsWith("(CLEANER RUNNING)")));
}

}  // namespace
}  // namespace kel::test
