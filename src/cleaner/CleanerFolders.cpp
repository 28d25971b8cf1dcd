// The removal of a folder with everything below it.
#include <memory>
#include <string>

#include "cleaner/Cleaner.h"
#include "cleaner/RecordedRows.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "quarantine/QThreatLocationFolder.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modKvFileExplorer.h"

namespace kel {

namespace {

using modCleanerHelper::CleanerLog;

constexpr const char* Module = "Cleaner";

// What a link to another folder shows belongs to that one: only the link goes, with the folder that holds it.
bool IsFolderToEnter(const std::string& path) {
    const auto attributes = platform::Current().files->Attributes(path);
    return modFiles::FolderExists(path) && (attributes.ValueOr(0) & platform::AttributeReparsePoint) == 0;
}

}  // namespace

QuarantineRecords Cleaner::HelperQuarantineFolder(std::int32_t threatID, std::string_view path,
                                                  std::string_view quarantinePath, bool recursing) {
    QuarantineRecords records;
    Trap(Module, "HelperQuarantineFolder", [&] {
        const std::string folder(path);
        if (modCleanerHelper::RestrictRemoveFolder(folder)) {
            CleanerLog("Restrict Remove Folder " + folder);
            return;
        }
        if (IsFolderCleanerRequired(folder)) {
            CleanerLog("Cleaner Required Folder " + folder);
            return;
        }
        if (!modFiles::FolderExists(folder)) {
            CleanerLog("Folder does not exist " + folder);
            return;
        }
        Send("Removing folder " + folder + "...");

        std::string below = folder;
        const Collection<std::string> subfolders = modKvFileExplorer::FoldersList(below);
        for (const std::string& name : subfolders) {
            recorded::AddFolder(name);
            if (IsFolderToEnter(below + name)) {
                for (const auto& record : HelperQuarantineFolder(threatID, below + name, quarantinePath, true)) {
                    records.Add(record);
                }
            }
        }
        if (subfolders.Count() == 0) {
            recorded::AddFolder(folder);
        }
        for (const std::string& name : modKvFileExplorer::FilesListShallow(below, "*.*")) {
            const std::string file = below + name;
            // The listing names subfolders too, which are done.
            if (modFiles::FileExists(file) && !modFiles::FolderExists(file)) {
                HelperQuarantineFile(threatID, file, ThreatFileTypeUnknown, quarantinePath);
            }
        }

        if (!recursing) {
            modFiles::FolderRemove(folder, true);
            CleanerLog("Delete folder " + folder);
            // The removal answers 0 whatever it leaves.
            if (modFiles::FolderExists(folder)) {
                const std::string reason =
                    "Could not delete folder " + folder + " (error: " + Text(modFiles::FolderNotRemoved) + ")";
                CleanerLog(reason);
                AddCleanerRequiredforThreat(threatID, reason, folder);
                return;
            }
        }
        auto record = std::make_shared<QThreatLocationFolder>();
        record->OriginalFolderPath = folder;
        records.Add(std::move(record));
    });
    return records;
}

}  // namespace kel
