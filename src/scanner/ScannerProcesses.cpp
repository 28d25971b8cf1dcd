// The stage of running processes. Threats are recorded here and not stopped.
#include <algorithm>
#include <array>
#include <string>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "results/Scan.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerProcesses.h"
#include "system/modFiles.h"
#include "system/modKvFileExplorer.h"
#include "system/modWinAPI.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";

// Entries of the process list that stand for no program.
constexpr std::array<std::string_view, 2> PseudoNames{"[system process]", "system"};
constexpr std::uint32_t MostProcesses = 512;
// Query information and read memory.
constexpr std::uint32_t ProcessAccess = 1040;

// Whether a listed process may stand for a program: not an entry whose name has no end, nor a pseudo name.
bool NamesAProgram(const platform::ProcessEntry& process, std::string_view name) {
    return process.exeFile.size() < platform::ExeFileLength &&
           std::find(PseudoNames.begin(), PseudoNames.end(), name) == PseudoNames.end();
}

void TestProgram(std::string_view path) {
    RequireCurrentScan()->EventStartingLocation(path, ScanTypeProcesses);
    modScannerProcesses::TestImage(path);
}

}  // namespace

void Scanner::ScanProcesses(bool blnScanProcessModules) {
    Trap(Module, "ScanProcesses", [&] {
        platform::Processes& machine = *platform::Current().processes;
        const std::uint32_t own = machine.CurrentId();
        if (modWinAPI::GetOSVersionName() == "NT") {
            ScanProcessesNT(blnScanProcessModules);
            return;
        }
        const auto processes = machine.Snapshot();
        if (!processes) {
            return;
        }
        for (const platform::ProcessEntry& process : *processes) {
            const std::string name = LCase(process.exeFile);
            if (process.id == own || !NamesAProgram(process, name)) {
                continue;
            }
            const std::string path = modFiles::FileExists(name) ? name : modKvFileExplorer::GetProcessFilePath(process);
            if (!path.empty()) {
                if (ScanAbortFlag()) {
                    return;
                }
                TestProgram(path);
            }
            if (blnScanProcessModules && process.id != 0) {
                modScannerProcesses::ScanProcessModules(static_cast<std::int32_t>(process.id));
            }
            DoEvents();
        }
    });
}

void Scanner::ScanProcessesNT(bool scanProcessModules) {
    Trap(Module, "ScanProcessesNT", [&] {
        platform::Processes& machine = *platform::Current().processes;
        const auto identifiers = machine.Identifiers(MostProcesses);
        if (!identifiers) {
            // A machine without the calls has no stage of processes, which must not look like one without threats.
            if (identifiers.Error() == platform::SysError::NotSupported) {
                Raise(ErrFileNotFound, "psapi.dll");
            }
            return;
        }
        for (const std::uint32_t id : *identifiers) {
            if (machine.CanOpen(id, ProcessAccess) != platform::SysError::Success) {
                continue;
            }
            const std::string path = modKvFileExplorer::GetProcessFilePath(id);
            if (!path.empty()) {
                TestProgram(path);
            }
            if (scanProcessModules && id != 0) {
                modScannerProcesses::ScanProcessModules(static_cast<std::int32_t>(id));
            }
        }
    });
}

}  // namespace kel
