#include "scanner/modScannerProcesses.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/RuntimeError.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "results/Scan.h"
#include "scanner/modScannerFiles.h"
#include "system/clsFolderPaths.h"
#include "system/modFiles.h"
#include "system/modMD5.h"
#include "system/modWinAPI.h"

namespace kel::modScannerProcesses {

namespace {

constexpr std::array<std::string_view, 3> ToolHelpSystems{"ME", "98", "95"};
constexpr std::uint32_t MostModules = 512;
constexpr std::uint32_t ModulePathBuffer = 512;

void Report(std::string_view location) {
    RequireCurrentScan()->EventStartingLocation(location, ScanTypeProcesses);
}

void ScanSnapshotModules(std::uint32_t processId) {
    const auto modules = platform::Current().processes->SnapshotModules(processId);
    if (!modules) {
        return;
    }
    for (const std::string& path : *modules) {
        if (ScanAbortFlag()) {
            return;
        }
        Report(path);
        if (modFiles::FileExists(path)) {
            TestImage(path);
        }
    }
}

// The path of a module as the process status calls give it, in lower case and as a file path if it can be had.
std::string FilePathOf(std::string_view modulePath) {
    const std::shared_ptr<clsFolderPaths> folders = RequireCurrentScan()->FolderPaths;
    if (!folders) {
        Raise(ErrObjectNotSet);
    }
    std::string path = LCase(modFiles::StringBeforeNul(modulePath));
    path = ReplaceText(path, R"(\systemroot\)", folders->PathWindows);
    path = ReplaceText(path, R"(\??\)", "");
    return modFiles::FileExists(path) ? path : ToText(folders->ResolveFilePath(path));
}

void ScanEnumeratedModules(std::int32_t processId) {
    const auto modules = platform::Current().processes->ModulePaths(static_cast<std::uint32_t>(processId), MostModules,
                                                                    ModulePathBuffer);
    if (!modules) {
        return;
    }
    for (const std::string& modulePath : *modules) {
        if (ScanAbortFlag()) {
            return;
        }
        const std::string path = FilePathOf(modulePath);
        if (modFiles::FileExists(path)) {
            Report("PID " + Text(processId) + ": " + path);
            TestImage(path);
        }
    }
}

}  // namespace

void TestImage(std::string_view path) {
    const std::int32_t threat = modScannerFiles::IsFileThreat(path, {}, scanshallow);
    if (threat >= 1) {
        RequireCurrentScan()->AddDetectedThreatFile(ScanTypeProcesses, threat, modMD5::FileMD5(path), path);
        modScannerFiles::AddDetectedThreatFileRelations(threat, path);
    }
}

void ScanProcessModules(std::int32_t ProcessID) {
    Trap("modScannerProcesses", "ScanProcessModules", [&] {
        const std::string system = modWinAPI::GetOSVersionName();
        if (std::find(ToolHelpSystems.begin(), ToolHelpSystems.end(), system) != ToolHelpSystems.end()) {
            ScanSnapshotModules(static_cast<std::uint32_t>(ProcessID));
        } else {
            ScanEnumeratedModules(ProcessID);
        }
    });
}

}  // namespace kel::modScannerProcesses
