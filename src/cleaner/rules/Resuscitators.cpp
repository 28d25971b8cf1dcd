// Programs that start each other again.
#include <string>
#include <vector>

#include "catalogue/ResuscitatorTable.h"
#include "catalogue/clsKill.h"
#include "catalogue/clsResuscitator.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "rules/ProcessWalk.h"
#include "rules/RunningPrograms.h"
#include "system/modFiles.h"
#include "system/modHelper.h"
#include "system/modKvFileExplorer.h"
#include "system/modRegistry.h"
#include "system/modWinAPI.h"

namespace kel::modCleanerHelper {

namespace {

constexpr const char* Module = "modCleanerHelper";
constexpr std::string_view RunKey = R"(SOFTWARE\Microsoft\Windows\CurrentVersion\Run)";

// A process and what is known of its program, each thing asked for when a row first needs it.
class Candidate {
public:
    Candidate(const clsBadProcess& process, const walk::PathOf& path, walk::Hashes& hashes)
        : process_(process), pathOf_(path), hashes_(hashes) {}

    // A row is tested by its first text that is not empty, and by no other.
    [[nodiscard]] bool Is(const clsResuscitator& row) {
        const std::string& name = process_.ProcessName;
        if (!row.ResExeName.empty()) {
            return name.find(LCase(row.ResExeName)) != std::string::npos;
        }
        if (!row.ResExeMD5.empty()) {
            return !Path().empty() && hashes_.Of(Path()) == row.ResExeMD5;
        }
        return !row.ResInternalName.empty() && name.find(row.ResInternalName) != std::string::npos &&
               LCase(modKvFileExplorer::GetInternalFileName(Path())) == row.ResInternalName;
    }
    [[nodiscard]] const std::string& Path() {
        if (!hasPath_) {
            path_ = pathOf_();
            hasPath_ = true;
        }
        return path_;
    }

private:
    const clsBadProcess& process_;
    const walk::PathOf& pathOf_;
    walk::Hashes& hashes_;
    std::string path_;
    bool hasPath_ = false;
};

// One record for each row that a process fits.
bool FindRunning(const Collection<std::shared_ptr<clsResuscitator>>& rows, std::vector<clsKill>& found) {
    walk::Hashes hashes;
    const std::int32_t own = walk::OwnProcess();
    return walk::EachEntry([&](const clsBadProcess& process, const std::string& entry, const walk::PathOf& path) {
        if (process.ProcessID == own || Trim(entry).empty()) {
            return true;
        }
        Candidate candidate(process, path, hashes);
        for (const auto& row : rows) {
            if (candidate.Is(*row)) {
                found.push_back(
                    {entry, candidate.Path(), process.ProcessParent, row->ResDeleteFile, row->ResDeleteRegKey});
            }
        }
        return true;
    });
}

void Remove(const clsKill& kill) {
    modWinAPI::IsProcessRunning(kill.KillExe, true);
    if (kill.KillDelFile) {
        modFiles::FileDelete(kill.KillPath);
    }
    if (kill.KillDelReg) {
        RemoveRunEntriesForExe(kill.KillExe, false);
    }
}

}  // namespace

void LoadResuscitators() {
    State().Resuscitators = std::make_shared<Collection<std::shared_ptr<clsResuscitator>>>();
    ReadResuscitators(ShortHash::IsNone, *State().Resuscitators);
}

bool KillResuscitators() {
    bool done = false;
    Trap(Module, "KillResuscitators", [&] {
        const auto rows = State().Resuscitators;
        if (!rows || rows->Count() == 0) {
            done = true;
            return;
        }
        std::vector<clsKill> found;
        if (!FindRunning(*rows, found)) {
            return;
        }
        // A partner that was started again by one that had its turn later is caught in another round.
        for (std::size_t round = 0; round < found.size(); ++round) {
            for (const clsKill& kill : found) {
                Remove(kill);
            }
        }
        done = true;
    });
    return done;
}

void PrepareProcessLists() {
    Trap(Module, "PrepareProcessLists", [] {
        LoadResuscitators();
        KillResuscitators();
    });
}

std::string RemoveRunEntriesForExe(std::string_view exe, bool deleteFile) {
    Trap(Module, "RemoveRunEntriesForExe", [&] {
        for (const std::string& item : modRegistry::RegistryValuesList(platform::HiveLocalMachine, RunKey)) {
            if (InStr(Trim(item), exe) == 0 || InStr(item, ":") == 0) {
                continue;
            }
            modRegistry::DeleteRegistryValue(platform::HiveLocalMachine, RunKey, modHelper::StringBeforeColon(item));
            if (deleteFile) {
                modFiles::FileDelete(modHelper::StringAfterColon(item));
            }
        }
    });
    return {};
}

}  // namespace kel::modCleanerHelper
