#include "rules/ProcessWalk.h"

#include "core/Text.h"
#include "platform/Platform.h"
#include "system/modFiles.h"
#include "system/modHelper.h"
#include "system/modKvFileExplorer.h"
#include "system/modMD5.h"
#include "system/modWinAPI.h"

namespace kel::walk {

namespace {

constexpr std::uint32_t MostProcesses = 512;

// What the hashing of a file may answer beside a hash.
constexpr std::string_view InvalidFile = "invalid file!";

}  // namespace

bool OnNT() {
    return modWinAPI::GetOSVersionName() == "NT";
}

bool EachEntry(const VisitEntry& visit) {
    const auto entries = platform::Current().processes->Snapshot();
    if (!entries) {
        return false;
    }
    const bool onNT = OnNT();
    for (const platform::ProcessEntry& entry : *entries) {
        clsBadProcess process;
        process.ProcessName = LCase(entry.exeFile);
        process.ProcessID = static_cast<std::int32_t>(entry.id);
        process.ProcessParent = static_cast<std::int32_t>(entry.parentId);
        const PathOf path = [&] {
            if (modFiles::FileExists(process.ProcessName)) {
                return process.ProcessName;
            }
            // The entry at hand spares another snapshot where programs are named by one.
            return onNT ? modKvFileExplorer::GetProcessFilePath(entry.id)
                        : modKvFileExplorer::GetProcessFilePath(entry);
        };
        if (!visit(process, entry.exeFile, path)) {
            break;
        }
    }
    return true;
}

bool EachOfSnapshot(const Visit& visit) {
    return EachEntry([&](const clsBadProcess& process, const std::string& /*entry*/, const PathOf& path) {
        clsBadProcess withPath = process;
        withPath.ProcessPath = path();
        return visit(withPath);
    });
}

bool EachOfStatus(const Visit& visit) {
    const auto identifiers = platform::Current().processes->Identifiers(MostProcesses);
    if (!identifiers) {
        return false;
    }
    for (const std::uint32_t id : *identifiers) {
        clsBadProcess process;
        process.ProcessID = static_cast<std::int32_t>(id);
        process.ProcessPath = modKvFileExplorer::GetProcessFilePath(id);
        process.ProcessName = LCase(modHelper::FileNameFromFilePath(process.ProcessPath));
        process.ProcessParent = process.ProcessID;
        if (!visit(process)) {
            break;
        }
    }
    return true;
}

std::int32_t OwnProcess() {
    return static_cast<std::int32_t>(platform::Current().processes->CurrentId());
}

std::string Meaningful(std::string hash) {
    if (hash == InvalidFile) {
        hash.clear();
    }
    return hash;
}

std::string HashOf(std::string_view path) {
    return Meaningful(modMD5::FileMD5(path));
}

const std::string& Hashes::Of(const std::string& path) {
    const auto [place, isNew] = known_.try_emplace(path);
    if (isNew) {
        place->second = HashOf(path);
    }
    return place->second;
}

}  // namespace kel::walk
