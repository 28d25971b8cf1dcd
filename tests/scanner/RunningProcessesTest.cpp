// The process scan over a child process that really runs, and loads a module of the test's own. The suite runs under
// every version of Windows that the scan has a branch for.
#ifdef _WIN32

#include <gmock/gmock.h>

#include "child/ChildProcess.h"
#include "core/Text.h"
#include "support/ScanTest.h"
#include "system/modFolderPaths.h"
#include "system/modKvFileExplorer.h"
#include "system/modProcesses.h"
#include "system/modWinAPI.h"

namespace kel::test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr std::int32_t SpyProgram = 7;
constexpr std::int32_t SpyModule = 8;

// The process list of Windows XP names programs without their folders, so that only those of the Windows folders are
// found again: the child stands there.
class RunningProcesses : public ScanTest {
protected:
    RunningProcesses() {
        const std::string own = std::to_string(Machine().processes->CurrentId());
        programName_ = "kelspy" + own + ".exe";
        programPath_ = modFolderPaths::GetWindowsFolder() + programName_;
        modulePath_ = LCase(Folder()) + "kelhook.dll";
        tables.threats = {{SpyProgram, "Spy"}, {SpyModule, "Hook"}};
        tables.paths = {{SpyProgram, modFolderPaths::TranslateToVariablePath(programPath_)}, {SpyModule, modulePath_}};
        child_.emplace(Machine(), programPath_, ChildOptions{.threads = 1, .modulePath = modulePath_});
    }
    void SetUp() override { Begin(); }

    [[nodiscard]] static bool OnNT() { return modWinAPI::GetOSVersionName() == "NT"; }
    [[nodiscard]] static bool On9x() {
        const std::string word = modWinAPI::GetOSVersionName();
        return word == "95" || word == "98" || word == "ME";
    }
    /// How a module of the child is named to the front end.
    [[nodiscard]] std::string ModuleLocation(const std::string& path) const {
        return On9x() ? path : "PID " + std::to_string(child_->Id()) + ": " + path;
    }
    [[nodiscard]] std::vector<std::string> LowerStarted() const {
        std::vector<std::string> locations;
        for (const std::string& location : StartedLocations()) {
            locations.push_back(location.starts_with("PID") ? location : LCase(location));
        }
        return locations;
    }
    [[nodiscard]] std::string OwnPid() const {
        return "PID " + std::to_string(Machine().processes->CurrentId()) + ": ";
    }

    std::string programName_;
    std::string programPath_;
    std::string modulePath_;
    std::optional<ChildProcess> child_;
};

TEST_F(RunningProcesses, ARunningThreatIsFoundByThePathOfItsProgram) {
    scanner.ScanProcesses();
    EXPECT_THAT(LowerStarted(), Contains(programPath_).Times(1));
    ASSERT_THAT(FilesOf(SpyProgram), SizeIs(1));
    EXPECT_EQ(LCase(FilesOf(SpyProgram)[0]), programPath_);
    EXPECT_THAT(FilesOf(SpyModule), IsEmpty());
    EXPECT_THAT(LowerStarted(), Each(Not(StartsWith("PID"))));
    EXPECT_EQ(scanner.Scan()->ScannedProcessCount, static_cast<std::int32_t>(started.size()));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunningProcesses, ALoadedThreatIsFoundByThePathOfTheModule) {
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), Contains(ModuleLocation(modulePath_)).Times(1));
    ASSERT_THAT(FilesOf(SpyModule), SizeIs(1));
    EXPECT_EQ(LCase(FilesOf(SpyModule)[0]), modulePath_);
    EXPECT_THAT(FilesOf(SpyProgram), SizeIs(1)) << "the program is a module of its process too, and recorded once";
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunningProcesses, TheOwnProcessIsTestedOnNTAlone) {
    scanner.ScanProcesses(true);
    const std::string own =
        LCase(Machine().processes->FirstModulePath(Machine().processes->CurrentId(), 2048, 512).ValueOr("none"));
    if (OnNT()) {
        EXPECT_THAT(LowerStarted(), Contains(own));
        EXPECT_THAT(LowerStarted(), Contains(OwnPid() + own));
    } else {
        EXPECT_THAT(LowerStarted(), Not(Contains(own)));
        EXPECT_THAT(LowerStarted(), Each(Not(StartsWith(OwnPid()))));
    }
}

TEST_F(RunningProcesses, AProgramOutsideTheWindowsFoldersHasAPathOnNTAlone) {
    const std::string elsewhere = LCase(Folder()) + "kelelsewhere.exe";
    const ChildProcess other(Machine(), elsewhere);
    scanner.ScanProcesses(true);
    if (OnNT()) {
        EXPECT_THAT(LowerStarted(), Contains(elsewhere));
    } else {
        EXPECT_EQ(modKvFileExplorer::GetProcessFilePath(other.Id()), "");
        // Its modules are tested all the same, and its program is the first of them.
        EXPECT_THAT(LowerStarted(),
                    Contains(On9x() ? elsewhere : "PID " + std::to_string(other.Id()) + ": " + elsewhere).Times(1));
    }
}

TEST_F(RunningProcesses, AnEndedProcessIsNotFound) {
    child_.reset();
    scanner.ScanProcesses(true);
    EXPECT_THAT(LowerStarted(), Not(Contains(programPath_)));
    EXPECT_THAT(FilesOf(SpyProgram), IsEmpty());
    EXPECT_THAT(FilesOf(SpyModule), IsEmpty());
}

TEST_F(RunningProcesses, ARunAbortsInIt) {
    scanner.DoScanProcesses = true;
    scanner.OptScanProcessesDeep = true;
    abortAtPoll = 1;
    EXPECT_FALSE(scanner.RunScanEasy());
    EXPECT_EQ(scanner.ScannerState(), ScannerStateComplete);
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunningProcesses, AChildIsAChildOfItsParent) {
    const auto children = modProcesses::GetProcessChildren(static_cast<std::int32_t>(Machine().processes->CurrentId()));
    ASSERT_NE(children, nullptr);
    std::vector<std::int32_t> identifiers;
    for (const std::int32_t child : *children) {
        identifiers.push_back(child);
    }
    EXPECT_THAT(identifiers, Contains(static_cast<std::int32_t>(child_->Id())));
}

TEST_F(RunningProcesses, EndingTheThreadsOfAProcessLeavesItRunning) {
    // The right that is asked for does not allow it.
    modProcesses::TerminateThreadTree(static_cast<std::int32_t>(child_->Id()), true);
    scanner.ScanProcesses();
    EXPECT_THAT(FilesOf(SpyProgram), SizeIs(1));
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(RunningProcesses, AProgramIsFoundByItsNameAndEndedButNotOnNT) {
    EXPECT_EQ(modWinAPI::IsProcessRunning(UCase(programName_), false), !OnNT());
    EXPECT_EQ(modWinAPI::IsProcessRunning(programName_, true), !OnNT());
    if (OnNT()) {
        scanner.ScanProcesses();
        EXPECT_THAT(FilesOf(SpyProgram), SizeIs(1)) << "it still runs";
    } else {
        ASSERT_TRUE(child_->Ended());
        EXPECT_EQ(child_->ExitCode(), 0U);
    }
}

}  // namespace
}  // namespace kel::test

#endif
