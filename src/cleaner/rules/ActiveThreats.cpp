// The sweep of running threats before a scan.
#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "catalogue/SignatureTable.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "results/Scan.h"
#include "results/modIgnoredThreats.h"
#include "rules/ProcessWalk.h"
#include "rules/RunningPrograms.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modHelper.h"
#include "system/modMD5.h"
#include "system/modWinAPI.h"

namespace kel::modCleanerHelper {

namespace {

constexpr const char* Module = "modCleanerHelper";
constexpr const char* Sweep = "SuspendActiveThreats";

// Systems whose processes are not searched for libraries.
constexpr std::array<std::string_view, 3> WithoutLibraries{"NT", "98", "ME"};
// Part of the names of the one family of libraries that is searched for.
constexpr std::string_view HidingLibrary = "newdot";
constexpr std::uint32_t EndedBySweep = 1;

bool IsSure(const Signature& signature) {
    return signature.OptionalScan == 0;
}

std::optional<Signature> Find(const std::shared_ptr<SignatureTable>& table, std::string_view key) {
    std::optional<Signature> hit;
    // What fails here is a miss.
    ResumeNext([&] { hit = table ? table->Find(key) : std::nullopt; });
    return hit;
}

// The path is the key, so that a second process of one program is not listed again.
void AddThreatByPath(Processes& list, std::int32_t processId, const Signature& signature, const std::string& path) {
    if (list.Contains(path)) {
        return;
    }
    const auto threat = std::make_shared<clsBadProcess>();
    threat->ProcessID = processId;
    threat->ProcessThreat = signature.ThreatID;
    threat->ProcessPath = path;
    list.Add(threat, path);
}

// The program's own signature: by its hash, or by its path where it has none. One that is found by its path is never
// listed, but its libraries are left alone.
std::optional<Signature> SignatureOf(const std::string& path, const std::string& hash) {
    if (hash.empty() && modFiles::FileExists(path)) {
        return Find(State().FilePathDataTable, modFolderPaths::TranslateToVariablePath(path));
    }
    return Find(State().MD5DataTable, hash);
}

std::string LibraryPath(std::string_view listed) {
    const std::string path =
        ReplaceText(modFiles::StringBeforeNul(listed), R"(\systemroot\)", modFolderPaths::GetWindowsFolder());
    return Replace(path, R"(\??\)", "");
}

void AddLibraries(Processes& list, std::int32_t processId, walk::Hashes& hashes) {
    DoEvents();
    const auto modules = platform::Current().processes->SnapshotModules(static_cast<std::uint32_t>(processId));
    if (!modules) {
        return;
    }
    // The first one, the program itself, was looked at.
    for (std::size_t i = 1; i < modules->size(); ++i) {
        const std::string& listed = (*modules)[i];
        if (InStr(LCase(modHelper::FileNameFromFilePath(listed)), HidingLibrary) == 0) {
            continue;
        }
        const std::string path = LibraryPath(listed);
        const std::string& hash = hashes.Of(path);
        const auto hit = hash.empty() ? std::nullopt : Find(State().MD5DataTable, hash);
        if (hit && IsSure(*hit)) {
            AddThreatByPath(list, processId, *hit, path);
        }
    }
}

Processes Threats(const char* procedure, bool libraries) {
    Processes list;
    Trap(Module, procedure, [&] {
        walk::Hashes hashes;
        const std::int32_t own = walk::OwnProcess();
        for (const auto& process : GetProcessList()) {
            const std::string& path = process->ProcessPath;
            if (process->ProcessID == own || path.empty() || RestrictRemoveFile(path)) {
                continue;
            }
            const std::string& hash = hashes.Of(path);
            const auto hit = SignatureOf(path, hash);
            if (hit && hit->ThreatID != 0) {
                if (!hash.empty() && IsSure(*hit) && !modIgnoredThreats::IsIgnoredThreatID(hit->ThreatID)) {
                    AddThreatByPath(list, process->ProcessID, *hit, path);
                }
            } else if (libraries) {
                AddLibraries(list, process->ProcessID, hashes);
            }
        }
    });
    return list;
}

void Terminate(std::string_view what, std::int32_t processId, std::string_view path) {
    const auto process = platform::Current().processes->Open(static_cast<std::uint32_t>(processId), walk::EndAccess);
    ReportError(std::string(what) + ". PID = " + Text(processId) + " Name = " + std::string(path), "0", Module, Sweep);
    if (process) {
        (void)(*process)->End(EndedBySweep);
    }
}

void Suspend(const clsBadProcess& threat, const Processes& all, std::int32_t own) {
    for (const auto& process : all) {
        if (process->ProcessParent == threat.ProcessID && process->ProcessID != own) {
            Terminate("Terminating child process", process->ProcessID, process->ProcessPath);
        }
    }
    Terminate("Terminating process", threat.ProcessID, threat.ProcessPath);
    // Only sure signatures come this far.
    LastOptionalScan() = 0;
    RequireCurrentScan()->AddDetectedThreatFile(ScanTypeProcesses, threat.ProcessThreat,
                                                modMD5::FileMD5(threat.ProcessPath), threat.ProcessPath);
}

}  // namespace

Processes GetProcessList() {
    Processes list;
    Trap(Module, "GetProcessList", [&] {
        if (walk::OnNT()) {
            list = GetProcessListNT();
            return;
        }
        walk::EachOfSnapshot([&](const clsBadProcess& process) {
            list.Add(std::make_shared<clsBadProcess>(process));
            return true;
        });
    });
    return list;
}

Processes GetProcessListNT() {
    Processes list;
    Trap(Module, "GetProcessListNT", [&] {
        walk::EachOfStatus([&](const clsBadProcess& process) {
            list.Add(std::make_shared<clsBadProcess>(process));
            return true;
        });
    });
    return list;
}

Processes GetThreatList() {
    return Threats("GetThreatList", true);
}

Processes GetThreatListOld() {
    return Threats("GetThreatListOld", false);
}

void SuspendActiveThreats() {
    Trap(Module, Sweep, [&] {
        const Processes all = GetProcessList();
        const std::string system = modWinAPI::GetOSVersionName();
        const bool old = std::find(WithoutLibraries.begin(), WithoutLibraries.end(), system) != WithoutLibraries.end();
        const std::int32_t own = walk::OwnProcess();
        for (const auto& threat : old ? GetThreatListOld() : GetThreatList()) {
            Suspend(*threat, all, own);
        }
    });
}

}  // namespace kel::modCleanerHelper
