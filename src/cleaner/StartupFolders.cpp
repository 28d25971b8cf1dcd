// Shortcuts in the startup folders.
#include <memory>
#include <string>

#include "cleaner/Unhooking.h"
#include "core/Failures.h"
#include "core/Guid.h"
#include "core/Text.h"
#include "quarantine/QThreatLocationFile.h"
#include "rules/modCleanerHelper.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modKvFileExplorer.h"

namespace kel::modCleanerHelper {

namespace {

constexpr std::size_t ShortestTarget = 3;

bool LeadsTo(const std::string& shortcut, std::string_view path) {
    if (modFiles::FolderExists(shortcut)) {
        return false;
    }
    const std::string target = modFiles::ShortcutTargetPath(shortcut);
    return target.size() >= ShortestTarget && EqualText(target, path);
}

}  // namespace

QuarantineLocations<QThreatLocationFile> KillAutoRunLocationsFiles(std::string_view path,
                                                                   std::string_view quarantinePath) {
    QuarantineLocations<QThreatLocationFile> moved;
    Trap("modCleanerHelper", "KillAutoRunLocationsFiles", [&] {
        for (const std::string& folder :
             {modFolderPaths::GetCommonStartupFolder(), modFolderPaths::GetUserStartupFolder()}) {
            if (folder.empty()) {
                continue;
            }
            for (const std::string& name : modKvFileExplorer::FilesListShallow(folder, "*.*")) {
                const std::string shortcut = folder + name;
                if (!LeadsTo(shortcut, path)) {
                    continue;
                }
                auto record = std::make_shared<QThreatLocationFile>();
                record->OriginalFilePath = shortcut;
                record->QuarantineFileName = NewGuidString();
                record->ThreatFileType = GetThreatFileType(shortcut);
                if (modFiles::FileMove(shortcut, std::string(quarantinePath) + record->QuarantineFileName,
                                       modFiles::MoveAndMark) == modFiles::Done) {
                    moved.Add(std::move(record));
                    CleanerLog("Removed auto start file " + shortcut);
                }
            }
        }
    });
    return moved;
}

}  // namespace kel::modCleanerHelper
