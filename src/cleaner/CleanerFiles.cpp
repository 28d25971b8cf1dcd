// The removal of one file, with all that starts or loads it.
#include <memory>
#include <string>

#include "cleaner/BootLists.h"
#include "cleaner/Cleaner.h"
#include "cleaner/RecordedRows.h"
#include "cleaner/Unhooking.h"
#include "core/Failures.h"
#include "core/Guid.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "quarantine/QThreatLocationFile.h"
#include "quarantine/QThreatLocationRegKey.h"
#include "quarantine/QuarantineTables.h"
#include "rules/BrowserAddresses.h"
#include "rules/RunningPrograms.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modProcesses.h"
#include "system/modRegistry.h"
#include "system/modWinAPI.h"

namespace kel {

namespace {

using modCleanerHelper::CleanerLog;
using platform::HiveLocalMachine;

constexpr const char* Module = "Cleaner";

constexpr std::string_view Winlogon = R"(Software\Microsoft\Windows NT\CurrentVersion\Winlogon)";
constexpr std::string_view Userinit = "Userinit";
constexpr std::string_view UserinitProgram = "userinit.exe";
constexpr std::string_view SharedLibraries = R"(software\microsoft\windows\currentversion\shareddlls)";
constexpr std::string_view ModuleUsage = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\ModuleUsage\)";

// What stands for a process that runs where an identifier is asked for: no process has that number, so that nothing
// is reached by it.
constexpr std::int32_t Running = -1;

}  // namespace

// The steps of one file's removal, in their order.
struct Cleaner::FileRemoval {
    Cleaner& cleaner;
    std::int32_t threatID;
    std::string path;
    enThreatFileTypes type;
    std::string folder;  ///< of the threat in the quarantine
    QuarantineRecords& records;

    std::shared_ptr<QThreatLocationFile> file = std::make_shared<QThreatLocationFile>();
    bool failed = false;

    void Run();

private:
    // Either source counts: what the caller knows, and the name.
    [[nodiscard]] bool Is(enThreatFileTypes wanted) const {
        return type == wanted || modCleanerHelper::GetThreatFileType(path) == wanted;
    }
    [[nodiscard]] bool IsLibrary() const { return Is(ThreatFileTypeDll); }
    [[nodiscard]] bool IsProgram() const { return Is(ThreatFileTypeExe) || type == ThreatFileTypeSYS; }
    void Send(std::string_view step) { cleaner.Send("Removing file " + path + std::string(step)); }
    void Fail(const std::string& reason) {
        failed = true;
        cleaner.AddCleanerRequiredforThreat(threatID, reason, path);
    }

    [[nodiscard]] bool IsLeftAlone() const;
    void Record();
    void RemoveServiceOfFile();
    void TakeOutOfLogonChain();
    void RemoveNetworkProvider();
    void RemoveFromBrowser();
    void UnregisterComponents();
    void RecordSharedLibrary();
    void RemoveModuleUsage();
    void RemoveAutoruns();
    [[nodiscard]] bool EndProcess();
    void MoveToQuarantine();
};

void Cleaner::FileRemoval::Run() {
    CleanerLog("Removing file " + path);
    if (IsLeftAlone()) {
        return;
    }
    Record();
    if (IsProgram()) {
        Send(", checking process status...");
        RemoveServiceOfFile();
        TakeOutOfLogonChain();
    }
    if (IsLibrary()) {
        RemoveNetworkProvider();
        RemoveFromBrowser();
    }
    if (IsLibrary() || Is(ThreatFileTypeOCX)) {
        UnregisterComponents();
    }
    RecordSharedLibrary();
    RemoveModuleUsage();
    if (IsProgram()) {
        RemoveAutoruns();
    }
    if (!IsProgram() || EndProcess()) {
        MoveToQuarantine();
    }
    if (!failed) {
        records.Add(file);
    }
}

bool Cleaner::FileRemoval::IsLeftAlone() const {
    if (modCleanerHelper::RestrictRemoveFile(path)) {
        CleanerLog("Restrict Remove File " + path);
        return true;
    }
    if (cleaner.IsFileCleanerRequired(path)) {
        CleanerLog("Cleaner Required File " + path);
        return true;
    }
    if (!modFiles::FileExists(path)) {
        CleanerLog("File does not exists " + path);
        return true;
    }
    return false;
}

// The row stays, whatever becomes of the file.
void Cleaner::FileRemoval::Record() {
    Send("...");
    if (type == ThreatFileTypeUnknown) {
        type = modCleanerHelper::GetThreatFileType(path);
    }
    file->QuarantineFileName = NewGuidString();
    file->OriginalFilePath = path;
    file->ActionRegisterFile = type == ThreatFileTypeDll || type == ThreatFileTypeOCX;
    file->ThreatFileType = type;
    file->RestoreOrder = 1;
    recorded::Add(*file);
}

void Cleaner::FileRemoval::RemoveServiceOfFile() {
    const std::string name = modCleanerHelper::IsFileRunningAsService(path);
    if (name.empty()) {
        return;
    }
    CleanerLog("Terminating service named " + name + " for " + path);
    struct Step {
        std::int32_t (*work)(std::string_view name);
        std::string_view failure;
    };
    for (const Step& step : {Step{modCleanerHelper::KillService, "Could not stop service "},
                             Step{modCleanerHelper::RemoveService, "Could not remove service "}}) {
        if (step.work(name) != 0) {
            const std::string reason = std::string(step.failure) + name + " for " + path;
            CleanerLog(reason);
            Fail(reason);
        }
    }
}

void Cleaner::FileRemoval::TakeOutOfLogonChain() {
    const std::string value = ToText(modRegistry::GetRegistryValue(HiveLocalMachine, Winlogon, Userinit));
    if (InStr(value, modHelper::FileNameFromFilePath(path)) == 0) {
        return;
    }
    CleanerLog("Cleaning Winlogon Userinit for " + path);
    std::string wanted = addresses::Expected(HiveLocalMachine, Winlogon, Userinit);
    if (wanted.empty()) {
        const std::string program = modFolderPaths::GetSystemFolder() + std::string(UserinitProgram);
        if (!modFiles::FileExists(program)) {
            return;
        }
        wanted = program + ",";
    }
    modRegistry::SetRegistryValue(HiveLocalMachine, Winlogon, Userinit, wanted, modRegistry::TypeSz);
}

void Cleaner::FileRemoval::RemoveNetworkProvider() {
    Send(", checking LSP status...");
    if (cleaner.HelperRemoveLSP(threatID, path) == errLSPRemovedSuccess) {
        CleanerLog("Removed all related Winsock LSP handler for " + path);
        cleaner.isRebootRequired_ = true;
    }
}

// What is cut here reaches no store, so that it can't be brought back.
void Cleaner::FileRemoval::RemoveFromBrowser() {
    Send(", checking additional integration...");
    if (modWinAPI::GetOSVersionName() == "ME") {
        return;
    }
    for (const auto& location : modCleanerHelper::QuarantineCLSIDMods(path)) {
        records.Add(location);
    }
}

void Cleaner::FileRemoval::UnregisterComponents() {
    Send(", checking COM...");
    if (!modCleanerHelper::IsCOMRegistered(path)) {
        return;
    }
    Send(", unregistering file...");
    CleanerLog("Unregistering COM entry points for file " + path);
    modCleanerHelper::UnRegisterCOM(path);
    file->ActionRegisterFile = true;
    Recordset& files = quarantine::Opened(quarantine::Files);
    files.Set("ActionRegisterFile", true);
    files.Update();
}

// The count is recorded and left where it is.
void Cleaner::FileRemoval::RecordSharedLibrary() {
    if (!modRegistry::RegValueExists(HiveLocalMachine, SharedLibraries, path)) {
        return;
    }
    CleanerLog("Removing shared dll registry entry for " + path);
    QThreatLocationRegKey location;
    location.RegHive = HiveLocalMachine;
    location.Regkey = SharedLibraries;
    location.RegValueName = path;
    location.RegValueData = "1";
    location.RegValueDataType = modRegistry::TypeDword;
    recorded::Add(location);
}

void Cleaner::FileRemoval::RemoveModuleUsage() {
    const std::string key = std::string(ModuleUsage) + path;
    if (!modRegistry::RegKeyExists(HiveLocalMachine, key)) {
        return;
    }
    CleanerLog("Removing ModuleUsage dll registry entry for " + path);
    for (const auto& location : modCleanerHelper::CreateQuarantineRegKeySet(HiveLocalMachine, key, false)) {
        recorded::Add(*location);
    }
}

void Cleaner::FileRemoval::RemoveAutoruns() {
    Send(", checking registry autorun locations...");
    for (const auto& location : modCleanerHelper::KillAutoRunLocationsRegistry(path)) {
        recorded::Add(*location);
    }
    Send(", checking file autorun locations...");
    for (const auto& shortcut : modCleanerHelper::KillAutoRunLocationsFiles(path, folder)) {
        recorded::Add(*shortcut);
    }
    Send(", checking special autorun locations...");
    // The answer is walked as if it held files, which it never does: with anything in it the removal ends here, when
    // its repairs are made and the file is still in its place.
    if (modCleanerHelper::QuarantineSpecialFileExeParts(path).Count() > 0) {
        Raise(ErrTypeMismatch);
    }
}

// False when the process stays, and the file with it.
bool Cleaner::FileRemoval::EndProcess() {
    if (!modCleanerHelper::IsProcessRunning(path)) {
        return true;
    }
    CleanerLog("Terminating process " + path);
    modCleanerHelper::KillRunningProcessTree(path);
    if (modCleanerHelper::KillRunningProcess(path) != 0) {
        CleanerLog("Could not terminate running process " + path);
        Fail("Could not kill running process " + path);
        return false;
    }
    if (modCleanerHelper::IsProcessRunning(path)) {
        modProcesses::TerminateThreadTree(modCleanerHelper::IsRunningProcessId(path) ? Running : 0, true);
    }
    return true;
}

void Cleaner::FileRemoval::MoveToQuarantine() {
    Send(", moving file...");
    const std::string target = std::string(Trim(folder)) + std::string(Trim(file->QuarantineFileName));
    CleanerLog("Disable file " + path + " and quarantine to " + target);
    modCleanerHelper::KillRunningProcessName(modHelper::FileNameFromFilePath(path));
    if (modFiles::FileMove(path, target, modFiles::MoveAndMark) == modFiles::Done) {
        return;
    }
    if (modFiles::FileDelete(path) == modFiles::Done) {
        CleanerLog("File completely deleted " + path);
        return;
    }
    CleanerLog("Delete file " + path + " failed, adding to FileDeleteReboot");
    if (boot::HasNextStart()) {
        modFiles::FileDeleteOnReboot(path);
    }
    cleaner.isRebootRequired_ = true;
    CleanerLog("Disable file " + path + " failed, file locked or in memory");
    Fail("Could not quarantine file " + path + ", unknown error moving file.");
}

QuarantineRecords Cleaner::HelperQuarantineFile(std::int32_t threatID, std::string_view path, enThreatFileTypes type,
                                                std::string_view quarantinePath) {
    QuarantineRecords records;
    Trap(Module, "HelperQuarantineFile",
         [&] { FileRemoval{*this, threatID, std::string(path), type, std::string(quarantinePath), records}.Run(); });
    return records;
}

}  // namespace kel
