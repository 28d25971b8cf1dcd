// A folder, listed first and then tested item by item. The listings have namesakes in modKvFileExplorer that serve the
// rest of the engine.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "system/LookAhead.h"
#include "system/modKvFileExplorer.h"
#include "system/modMD5.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";
constexpr std::string_view AllNames = "*.*";

// The first character of a listed name is compared with this code.
constexpr char SkippedFirst = '\x02';

bool IsDirectory(const platform::FindData& entry) {
    return (entry.attributes & platform::AttributeDirectory) != 0;
}

// Throws out "." and "..", whose paths end in a dot.
bool IsAccepted(std::string_view path) {
    return path.size() >= 3 && !path.ends_with('.') && path.find("\\..\\") == std::string_view::npos &&
           path.find("\\.\\") == std::string_view::npos;
}

void Report(std::string_view location) {
    RequireCurrentScan()->EventStartingLocation(location, ScanTypeFiles);
}

// The items as they are tested.
std::vector<std::string> LowerCase(const Collection<std::string>& items) {
    std::vector<std::string> paths;
    paths.reserve(items.Count());
    for (const std::string& item : items) {
        paths.push_back(LCase(item));
    }
    return paths;
}

}  // namespace

void Scanner::ScanFolder(std::string_view FolderPath, bool blnRecursive, bool blnIncludeFolders) {
    Trap(Module, "ScanFolder", [&] {
        const Paths items = blnRecursive ? FilesListDeep(FolderPath, blnIncludeFolders, false)
                                         : FilesListShallowKvArray(FolderPath, AllNames);
        std::optional<LookAhead> ahead;
        if (HashesFiles() && blnRecursive) {
            ahead.emplace(std::make_unique<ListedFiles>(LowerCase(items)));
        }
        for (const std::string& item : items) {
            if (ScanAbortFlag()) {
                return;
            }
            Report(item);
            TestListedItem(item, blnIncludeFolders);
            DoEvents();
        }
    });
}

void Scanner::TestListedItem(std::string item, bool includeFolders) {
    if (item.size() <= 3) {
        return;
    }
    item = LCase(item);
    const int directory = platform::Current().files->PathIsDirectory(item);
    const std::int32_t threat = (directory == 16 || directory == 1) && includeFolders
                                    ? FolderThreatExists(item)
                                    : IsFileThreat(item, {}, OptScanDepth);
    if (threat <= 0) {
        return;
    }
    // A dot anywhere, in a parent's name too, makes the item a file.
    const std::shared_ptr<kel::Scan> scan = RequireCurrentScan();
    if (item.find('.') != std::string::npos) {
        scan->AddDetectedThreatFile(ScanTypeFiles, threat, modMD5::FileMD5(item), item);
        modScannerFiles::AddDetectedThreatFileRelations(threat, item);
    } else {
        scan->AddDetectedThreatFolder(ScanTypeFiles, threat, item);
        modScannerFiles::AddDetectedThreatFolderContents(threat, item, false);
    }
}

Scanner::Paths Scanner::FilesListShallowKvArray(std::string_view path, std::string_view pattern) {
    Paths names;
    Trap(Module, "FilesListShallowKvArray", [&] {
        platform::FindData entry;
        const auto find = platform::Current().files->FindFirst(WithBackslash(path) + std::string(pattern), entry);
        if (!find) {
            return;
        }
        do {
            if (entry.name != "." && entry.name != "..") {
                names.Add(entry.name);
            }
        } while ((*find)->Next(entry) == platform::SysError::Success);
    });
    return names;
}

Scanner::Paths Scanner::FilesListDeep(std::string_view path, bool includeFolders, bool report) {
    Paths list;
    Trap(Module, "FilesListDeep", [&] {
        const std::string folder = WithBackslash(path);
        platform::FindData entry;
        const auto find = platform::Current().files->FindFirst(folder + std::string(AllNames), entry);
        if (!find) {
            return;
        }
        // Adds one path; false when the walk is to end.
        const auto add = [&](const std::string& item) {
            if (report) {
                if (ScanAbortFlag()) {
                    return false;
                }
                Report(item);
            }
            list.Add(item);
            DoEvents();
            return true;
        };
        for (const std::string& name : modKvFileExplorer::FilesListShallow(folder, AllNames)) {
            if (!add(folder + name)) {
                return;
            }
        }
        do {
            if (!IsDirectory(entry) || entry.name.starts_with(SkippedFirst)) {
                continue;
            }
            for (const std::string& item : FileTreeBuilder(folder + entry.name, includeFolders, report)) {
                if (ScanAbortFlag() || !add(item)) {
                    return;
                }
            }
        } while ((*find)->Next(entry) == platform::SysError::Success);
    });
    return list;
}

Scanner::Paths Scanner::FileTreeBuilder(const std::string& path, bool includeFolders, bool report) {
    Paths list;
    Trap(Module, "FileTreeBuilder", [&] {
        const std::string folder = WithBackslash(path);
        platform::FindData entry;
        const auto find = platform::Current().files->FindFirst(folder + std::string(AllNames), entry);
        if (!find) {
            return;
        }
        do {
            const std::string full = folder + entry.name;
            if (!IsAccepted(full)) {
                continue;
            }
            list.Add(full);
            if (!IsDirectory(entry) || !includeFolders) {
                continue;
            }
            if (report) {
                if (ScanAbortFlag()) {
                    return;
                }
                Report(full);
            }
            for (const std::string& item : FileTreeBuilder(full, true, report)) {
                list.Add(item);
                DoEvents();
                if (ScanAbortFlag()) {
                    return;
                }
            }
        } while ((*find)->Next(entry) == platform::SysError::Success);
    });
    return list;
}

}  // namespace kel
