// Whether a program runs, and the end of its processes.
#include "rules/RunningPrograms.h"

#include <algorithm>
#include <array>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "rules/ProcessWalk.h"
#include "rules/modCleanerHelper.h"
#include "system/modHelper.h"

namespace kel::modCleanerHelper {

namespace {

constexpr const char* Module = "modCleanerHelper";

// The machine can't do without them. Their names are what protects them, wherever they lie.
constexpr std::array<std::string_view, 3> NeverKilledByName{"explorer.exe", "dllhost.exe", "svchost.exe"};

// The program that ends a process with its tree.
constexpr std::string_view TreeStopper = R"(\kvASThreatAuditpk.exe)";
constexpr std::int32_t True = -1;
constexpr int Hidden = 0;

void ReportKill(std::string_view failure, KillResult code) {
    ReportError("HelperKillRunningProcessLocal Error: " + std::string(failure), Text(code), Module,
                "HelperKillRunningProcessLocal");
}

std::int32_t Kill(std::int32_t processId) {
    const auto process = platform::Current().processes->Open(static_cast<std::uint32_t>(processId), walk::EndAccess);
    if (!process) {
        ReportKill("errProcessCannotOpenProcessFailed", errProcessCannotOpenProcessFailed);
        return errProcessCannotOpenProcessFailed;
    }
    const auto exitCode = (*process)->ExitCode();
    if (!exitCode) {
        ReportKill("errProcessGetExitCodeProcessFailed", errProcessGetExitCodeProcessFailed);
        return errProcessGetExitCodeProcessFailed;
    }
    if ((*process)->End(*exitCode) != platform::SysError::Success) {
        ReportKill("errProcessTerminateProcessFailed", errProcessTerminateProcessFailed);
        return errProcessTerminateProcessFailed;
    }
    return 0;
}

}  // namespace

bool IsProcessRunning(std::string_view path, std::string_view md5) {
    bool running = false;
    Trap(Module, "IsProcessRunning", [&] {
        if (walk::OnNT()) {
            running = IsProcessRunningNT(path);
            return;
        }
        walk::EachOfSnapshot([&](const clsBadProcess& process) {
            if (process.ProcessPath.empty()) {
                return true;
            }
            if (md5.empty()) {
                // The test and the end of the walk stand together.
                running = ContainsText(path, process.ProcessPath);
                return false;
            }
            running = walk::HashOf(process.ProcessPath) == md5;
            return !running;
        });
    });
    return running;
}

bool IsProcessRunningNT(std::string_view path, std::string_view /*md5*/) {
    bool running = false;
    Trap(Module, "IsProcessRunningNT", [&] {
        const std::string wanted = LCase(path);
        walk::EachOfStatus([&](const clsBadProcess& process) {
            running = !process.ProcessPath.empty() && LCase(process.ProcessPath) == wanted;
            return !running;
        });
    });
    return running;
}

bool IsRunningProcess(std::string_view path, std::int32_t& processId) {
    bool running = false;
    Trap(Module, "IsRunningProcess", [&] {
        const std::string wanted = walk::HashOf(path);
        if (wanted.empty()) {
            return;
        }
        walk::EachOfSnapshot([&](const clsBadProcess& process) {
            if (!process.ProcessPath.empty() && walk::HashOf(process.ProcessPath) == wanted) {
                processId = process.ProcessID;
                running = true;
            }
            return !running;
        });
    });
    return running;
}

bool IsRunningProcessId(std::string_view path) {
    std::int32_t processId = 0;
    return IsRunningProcess(path, processId) && processId != 0;
}

bool ShouldUIKill(std::string_view path) {
    bool should = false;
    Trap(Module, "ShouldUIKill", [&] {
        const std::string name = LCase(modHelper::FileNameFromFilePath(path));
        const std::string folder = LCase(modHelper::FolderFromFilePath(path));
        // The engine's folder ends in a backslash at the root of a drive alone.
        should = std::find(NeverKilledByName.begin(), NeverKilledByName.end(), name) == NeverKilledByName.end() &&
                 folder != LCase(State().App.Path);
    });
    return should;
}

std::int32_t KillRunningProcess(std::string_view path) {
    // Log readers know it by this name, with its blank and hyphen.
    Trap(Module, "KillRunningProcess - ", [&] {
        const std::int32_t own = walk::OwnProcess();
        const std::string wanted = walk::HashOf(path);
        if (wanted.empty()) {
            return;
        }
        walk::Hashes hashes;
        walk::EachOfSnapshot([&](const clsBadProcess& process) {
            if (process.ProcessID != own && !process.ProcessPath.empty() && hashes.Of(process.ProcessPath) == wanted) {
                CleanerLog("Killing process - " + process.ProcessPath);
                HelperKillRunningProcessLocal(process.ProcessID);
                CleanerLog("Completed Kill - " + process.ProcessPath);
            }
            return true;
        });
    });
    return 0;
}

std::int32_t KillRunningProcessName(std::string_view name) {
    std::int32_t result = 0;
    Trap(Module, "KillRunningProcessName", [&] {
        if (walk::OnNT()) {
            result = KillRunningProcessNameNT(name);
            return;
        }
        const std::string wanted = LCase(name);
        const std::int32_t own = walk::OwnProcess();
        walk::EachEntry([&](const clsBadProcess& process, const std::string& /*entry*/, const walk::PathOf& /*path*/) {
            if (process.ProcessID != own && process.ProcessName == wanted) {
                result = HelperKillRunningProcessLocal(process.ProcessID);
            }
            return true;
        });
    });
    return result;
}

std::int32_t KillRunningProcessNameNT(std::string_view name) {
    std::int32_t result = 0;
    Trap(Module, "KillRunningProcessNameNT", [&] {
        const std::string wanted = LCase(name);
        const std::int32_t own = walk::OwnProcess();
        walk::EachOfStatus([&](const clsBadProcess& process) {
            if (process.ProcessID != own && !process.ProcessPath.empty() && LCase(process.ProcessPath) == wanted) {
                result = HelperKillRunningProcessLocal(process.ProcessID);
            }
            return result == 0;
        });
    });
    return result;
}

std::int32_t KillRunningProcessTree(std::string_view path) {
    std::int32_t result = 0;
    Trap(Module, "KillRunningProcessTree", [&] {
        if (!ShouldUIKill(path)) {
            return;
        }
        const std::int32_t own = walk::OwnProcess();
        std::int32_t processId = 0;
        // The answer is carried on in the place of the number that was asked for.
        const std::int32_t target = IsRunningProcess(path, processId) ? True : 0;
        if (target == 0 || target == own) {
            return;
        }
        const std::string program = State().App.Path + std::string(TreeStopper);
        if (platform::Current().shell->Execute("open", program, Text(target), Hidden) != platform::SysError::Success) {
            result = errProcessTerminateProcessFailed;
        }
    });
    return result;
}

std::int32_t HelperKillRunningProcessLocal(std::int32_t processId) {
    std::int32_t result = 0;
    Trap(Module, "HelperKillRunningProcessLocal", [&] { result = Kill(processId); });
    return result;
}

}  // namespace kel::modCleanerHelper
