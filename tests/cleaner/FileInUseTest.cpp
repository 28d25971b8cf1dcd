// Files that are really in use: open without sharing, or running.
#ifdef _WIN32

#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "RemovalTest.h"
#include "child/ChildProcess.h"
#include "core/Value.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modRegistry.h"
#include "system/modWinAPI.h"

namespace kel::test {
namespace {

using namespace std::string_literals;
using platform::HiveCurrentUser;
using platform::HiveLocalMachine;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* SessionManager = R"(SYSTEM\CurrentControlSet\Control\Session Manager)";
constexpr const char* DelFiles = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe\DelFiles)";

// Nobody else may open, move or delete the file meanwhile.
class HeldFile {
public:
    explicit HeldFile(const std::string& path)
        : handle_(::CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)) {
        EXPECT_NE(handle_, INVALID_HANDLE_VALUE) << path;
    }
    ~HeldFile() { ::CloseHandle(handle_); }
    HeldFile(const HeldFile&) = delete;
    HeldFile& operator=(const HeldFile&) = delete;

private:
    HANDLE handle_;
};

// On the version of Windows that the program is told.
class FileInUse : public RemovalTest {
protected:
    FileInUse() { SetVersion(Machine().system->Version().ValueOr(WindowsXp)); }

    [[nodiscard]] static bool UsesWinInit() {
        const std::string word = modWinAPI::GetOSVersionName();
        return word == "98" || word == "ME";
    }
    [[nodiscard]] std::string Pending() {
        auto key = Stage().View().registry->Open(HiveLocalMachine, SessionManager);
        if (!key) {
            return {};
        }
        const auto value = (*key)->Query("PendingFileRenameOperations");
        EXPECT_TRUE(!value || value->type == platform::ValueType::MultiSz);
        return value ? value->data : std::string();
    }
    [[nodiscard]] bool Runs(const ChildProcess& child) {
        const auto processes = Machine().processes->Snapshot();
        EXPECT_TRUE(processes.Ok());
        return std::any_of(processes->begin(), processes->end(),
                           [&](const platform::ProcessEntry& process) { return process.id == child.Id(); });
    }
    // What tells the system to delete these files at its next start.
    void ExpectPending(const std::vector<std::string>& paths) {
        std::string entries;
        std::string lines;
        for (const std::string& path : paths) {
            const std::string shortPath = modFiles::ShortPathFromLongPath(path);
            EXPECT_NE(shortPath, "");
            entries += R"(\??\)" + shortPath + "\0\0\0"s;
            lines += "[rename]\r\nNUL=" + shortPath + "\r\n";
        }
        const std::string file = Windows() + "WININIT.INI";
        EXPECT_EQ(Pending(), UsesWinInit() ? "" : entries);
        EXPECT_EQ(Exists(file) ? ReadFile(file) : "", UsesWinInit() ? lines : "");
    }
};

TEST_F(FileInUse, IsLeftToTheNextStart) {
    const std::string path = AddThing("some long name.dat", "held");
    {
        const HeldFile held(path);
        EXPECT_EQ(Remove(path).Count(), 0U);
    }
    EXPECT_EQ(ReadFile(path), "held");
    ExpectPending({path});
    EXPECT_EQ(Data(HiveCurrentUser, DelFiles, path), "1");
    EXPECT_TRUE(cleaner.IsRebootRequired());
    EXPECT_TRUE(CleanerPeer::IsFileLeft(cleaner, path));
    EXPECT_THAT(RecordedFiles(), ElementsAre(path));
    const std::vector<std::string> log = Log();
    ASSERT_EQ(log.size(), 5U);
    EXPECT_EQ(log[2], "Delete file " + path + " failed, adding to FileDeleteReboot");
    EXPECT_EQ(log[3], "Disable file " + path + " failed, file locked or in memory");
    EXPECT_EQ(log[4], "Special cleaner required to remove threat on restart, reason: Could not quarantine file " +
                          path + ", unknown error moving file.");
    EXPECT_THAT(Reported(), IsEmpty());
}

TEST_F(FileInUse, IsListedBesideTheOneBeforeIt) {
    const std::string one = AddThing("the first one.dat");
    const std::string two = AddThing("the second one.dat");
    const HeldFile heldOne(one);
    const HeldFile heldTwo(two);
    Remove(one);
    Remove(two);
    ExpectPending({one, two});
}

TEST_F(FileInUse, IsDeletedByTheProgramAfterTheStart) {
    const std::string path = AddThing("some.dat");
    {
        const HeldFile held(path);
        Remove(path);
    }
    Cleaner atStart;
    atStart.IsCleanerRunning = true;
    atStart.RunAllCleanerFiles();
    EXPECT_FALSE(Exists(path));
    EXPECT_THAT(Log(), Contains("File delete complete for " + path));
}

TEST_F(FileInUse, KeepsItsFolder) {
    const std::string top = AddThing("evil\\");
    const std::string path = AddThing("evil\\held.dat");
    const std::string other = AddThing("evil\\other.dat");
    {
        const HeldFile held(path);
        CleanerPeer::QuarantineFolder(cleaner, Threat, top, Quarantined());
    }
    EXPECT_TRUE(Exists(path));
    EXPECT_FALSE(Exists(other));
    EXPECT_TRUE(CleanerPeer::IsFolderLeft(cleaner, top));
    EXPECT_THAT(Log(), Contains("Could not delete folder " + top + " (error: 32)"));
}

TEST_F(FileInUse, ARunningProgramIsEndedAndMoved) {
    const std::string name = "kelrun" + std::to_string(::GetCurrentProcessId()) + ".exe";
    const std::string path = Things() + name;
    const ChildProcess child(Machine(), path);
    Remove(path);
    EXPECT_TRUE(child.Ended());
    if (modWinAPI::GetOSVersionName() == "NT") {
        // There it is known by its path, elsewhere mostly by its name alone.
        EXPECT_THAT(Log(), Contains("Terminating process " + path));
    }
    EXPECT_FALSE(Exists(path));
    EXPECT_THAT(RecordedFiles(), ElementsAre(path));
    EXPECT_TRUE(QuarantinedBytes(0).ends_with("6635\r\n"));
}

TEST_F(FileInUse, AProcessWithTheNameOfALibraryIsEndedButNotOnNT) {
    const std::string name = "kelrun" + std::to_string(::GetCurrentProcessId()) + ".dll";
    const std::string path = AddThing(name, "a library");
    MakeFolder(Things() + "other");
    const ChildProcess child(Machine(), Things() + "other\\" + name);
    Remove(path);
    EXPECT_FALSE(Exists(path));
    if (modWinAPI::GetOSVersionName() == "NT") {
        // There a process is known by its path alone, and a bare name is none.
        EXPECT_TRUE(Runs(child));
    } else {
        EXPECT_TRUE(child.Ended());
    }
}

// On the machine's own registry and Windows folder, which are put back as they were.
class FileInUseLive : public RemovalTest {
protected:
    FileInUseLive()
        : productWasThere_(KeyIsThere(Product)), makerWasThere_(KeyIsThere(Maker)), pendingBefore_(Pending()) {
        Install(Machine());
        winInit_ = modFolderPaths::GetWindowsFolder() + "WININIT.INI";
        if (Exists(winInit_)) {
            winInitBefore_ = ReadFile(winInit_);
        }
    }
    ~FileInUseLive() override {
        if (auto key = Registry().Open(HiveLocalMachine, SessionManager)) {
            if (pendingBefore_) {
                (*key)->Set(PendingOperations, platform::ValueType::MultiSz, *pendingBefore_);
            } else {
                (*key)->RemoveValue(PendingOperations);
            }
        }
        if (auto key = Registry().Open(HiveCurrentUser, RunOnce)) {
            (*key)->RemoveValue(Scheduled);
        }
        modRegistry::DeleteRegistryKeyTree(HiveCurrentUser, CleanerExe);
        if (!productWasThere_) {
            Registry().RemoveKey(HiveCurrentUser, Product);
        }
        if (!makerWasThere_) {
            Registry().RemoveKey(HiveCurrentUser, Maker);
        }
        if (winInitBefore_) {
            WriteFile(winInit_, *winInitBefore_);
        } else {
            Machine().files->Remove(winInit_);
        }
    }
    FileInUseLive(const FileInUseLive&) = delete;
    FileInUseLive& operator=(const FileInUseLive&) = delete;

    static constexpr const char* Maker = R"(SOFTWARE\Kelvane Software)";
    static constexpr const char* Product = R"(SOFTWARE\Kelvane Software\Ombrelane)";
    static constexpr const char* CleanerExe = R"(SOFTWARE\Kelvane Software\Ombrelane\CleanerExe)";
    static constexpr const char* RunOnce = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\RunOnce)";
    static constexpr const char* Scheduled = "OmbrelaneCleaner";
    static constexpr const char* PendingOperations = "PendingFileRenameOperations";

    [[nodiscard]] platform::Registry& Registry() const { return *Machine().registry; }
    [[nodiscard]] bool KeyIsThere(std::string_view key) const { return Registry().Open(HiveCurrentUser, key).Ok(); }
    [[nodiscard]] std::optional<std::string> Pending() const {
        auto key = Registry().Open(HiveLocalMachine, SessionManager);
        if (!key) {
            return std::nullopt;
        }
        auto value = (*key)->Query(PendingOperations);
        return value ? std::optional(value->data) : std::nullopt;
    }

    bool productWasThere_;
    bool makerWasThere_;
    std::optional<std::string> pendingBefore_;
    std::string winInit_;
    std::optional<std::string> winInitBefore_;
};

TEST_F(FileInUseLive, IsInTheListsOfTheMachineUntilItsStart) {
    const std::string path = AddThing("some long name.dat", "held");
    {
        const HeldFile held(path);
        Remove(path);
    }
    ASSERT_EQ(ReadFile(path), "held");
    const std::string shortPath = modFiles::ShortPathFromLongPath(path);
    const std::string word = modWinAPI::GetOSVersionName();
    if (word == "98" || word == "ME") {
        EXPECT_TRUE(ReadFile(winInit_).ends_with("[rename]\r\nNUL=" + shortPath + "\r\n"));
    } else {
        EXPECT_TRUE(Pending().value_or("").ends_with(R"(\??\)" + shortPath + "\0\0\0"s));
    }
    EXPECT_TRUE(modRegistry::RegValueExists(HiveCurrentUser, DelFiles, path));
    EXPECT_EQ(ToText(modRegistry::GetRegistryValue(HiveCurrentUser, CleanerExe, "7")), "scan one");
    EXPECT_EQ(ToText(modRegistry::GetRegistryValue(HiveCurrentUser, RunOnce, Scheduled)),
              AppFolder() + "kelASCleaner.exe");

    Cleaner atStart;
    atStart.IsCleanerRunning = true;
    atStart.RunAllCleanerFiles();
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(KeyIsThere(DelFiles));
    EXPECT_THAT(Reported(), IsEmpty());
}

}  // namespace
}  // namespace kel::test

#endif
