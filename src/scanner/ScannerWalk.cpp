// The walk of drives and folders.
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "catalogue/SignatureTable.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "scanner/Scanner.h"
#include "scanner/WalkAhead.h"
#include "scanner/modScannerFiles.h"
#include "system/LookAhead.h"
#include "system/clsFolderPaths.h"
#include "system/modFolderPaths.h"
#include "system/modMD5.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";

// Characters of the field that the platform gives a short name in.
constexpr std::size_t AlternateNameField = 14;

constexpr std::string_view AllNames = "*.*";
constexpr std::string_view DefaultStart = "C:\\";

bool IsDirectory(const platform::FindData& entry) {
    return (entry.attributes & platform::AttributeDirectory) != 0;
}

bool HasNext(platform::Find& find, platform::FindData& entry) {
    return find.Next(entry) == platform::SysError::Success;
}

// The short name in its field, padded with code 0; nothing where the file has none.
std::string AlternateField(std::string field) {
    if (!field.empty()) {
        field.resize(AlternateNameField, '\0');
    }
    return field;
}

// The rows of a digest lie anywhere in the table. They are asked for when it is ready, in two steps: those of one
// digest when the next one is.
LookAhead::Ready FetchSignatures(std::shared_ptr<const SignatureTable> table) {
    if (!table) {
        return {};
    }
    return [table = std::move(table), last = Digest()](const Md5Digest& ready) mutable {
        table->FetchRows(std::exchange(last, Digest::Of(ready.data())));
        table->FetchStart(last);
    };
}

}  // namespace

// A file that a walk comes by. Its short name is rarely wanted, and dear.
struct Scanner::WalkedFile {
    const std::string& fullPath;
    const std::string& path;
    platform::Find& find;
    const platform::FindData& entry;

    [[nodiscard]] std::string Field() const { return AlternateField(find.AlternateName(entry)); }
};

bool Scanner::ScanDriveOrFolder() {
    Trap(Module, "ScanDriveOrFolder", [&] {
        // A copy: while the walk yields, the list may be changed.
        const Paths starts = DrivesAndPaths().Count() > 0 ? DrivesAndPaths() : modFolderPaths::GetFixedDrives();
        for (const std::string& start : starts) {
            if (ScanAbortFlag()) {
                break;
            }
            WalkFrom(start, AllNames);
        }
    });
    return true;
}

void Scanner::ScanKnownFiles(std::string_view StartPath) {
    Trap(Module, "ScanKnownFiles", [&] {
        const std::string_view label = StartPath.empty() ? std::string_view("drive") : StartPath;
        RequireCurrentScan()->EventStartingLocation("Loading " + std::string(label) + " details...", ScanTypeFiles);
        const std::string filter = State().FileExtensionFilter;
        WalkFrom(StartPath.empty() ? std::string(DefaultStart) : WithBackslash(StartPath), filter);
    });
}

void Scanner::ScanKnownFilesCommon() {
    Trap(Module, "ScanKnownFilesCommon", [&] {
        static constexpr std::string clsFolderPaths::*Folders[] = {
            &clsFolderPaths::PathWindows,
            &clsFolderPaths::PathProgramFiles,
            &clsFolderPaths::PathStartUpFilesAllUsers,
            &clsFolderPaths::PathStartUpFilesUser,
            &clsFolderPaths::PathDownloadedProgramFiles,
            &clsFolderPaths::PathLocalAppData,
        };
        scannerState_ = ScannerStateScanningknownFiles;
        const std::shared_ptr<clsFolderPaths> folders = RequireCurrentScan()->FolderPaths;
        if (!folders) {
            Raise(ErrObjectNotSet);
        }
        for (const auto folder : Folders) {
            ScanKnownFiles((*folders).*folder);
            if (ScanAbortFlag()) {
                return;
            }
        }
        scannerState_ = ScannerStateReady;
    });
}

void Scanner::WalkFrom(const std::string& start, std::string_view pattern) {
    std::optional<LookAhead> ahead;
    if (HashesFiles()) {
        ahead.emplace(std::make_unique<WalkAhead>(start, std::string(pattern == AllNames ? "" : pattern)),
                      FetchSignatures(State().MD5DataTable));
    }
    FilesListSearch(start, pattern, true);
}

void Scanner::FilesListSearch(std::string path, std::string_view pattern, bool report) {
    Trap(Module, "FilesListSearch", [&] {
        if (!path.ends_with('\\')) {
            path += '\\';
        }
        platform::FindData entry;
        const auto find = platform::Current().files->FindNames(path + std::string(AllNames), entry);
        if (!find) {
            return;
        }
        GetFileInformation(path, pattern, report);
        for (bool more = true; more && !ScanAbortFlag(); more = HasNext(**find, entry)) {
            if (IsDirectory(entry)) {
                std::string child = path + entry.name;
                if (MayBeEntered(entry.name, child)) {
                    FilesListSearch(std::move(child), pattern, report);
                }
            }
            DoEvents();
        }
    });
}

void Scanner::GetFileInformation(const std::string& path, std::string_view pattern, bool report) {
    Trap(Module, "GetFileInformation", [&] {
        platform::Files& files = *platform::Current().files;
        platform::FindData entry;
        const auto find = files.FindNames(path + std::string(AllNames), entry);
        if (!find) {
            return;
        }
        const bool takesAll = pattern == AllNames;
        std::string fullPath = path;  // one text for all files of the folder
        for (bool more = true; more && !ScanAbortFlag(); more = HasNext(**find, entry)) {
            if (!IsDirectory(entry) && (takesAll || files.MatchSpec(entry.name, pattern))) {
                fullPath.resize(path.size());
                fullPath += entry.name;
                if (DoScanZips && EqualText(Right(entry.name, 3), "zip")) {
                    ScanZipFile(fullPath, report);
                }
                if (report) {
                    RequireCurrentScan()->EventStartingLocation(fullPath, ScanTypeFiles);
                }
                TestWalkedFile({fullPath, path, **find, entry});
                DoEvents();
            }
        }
    });
}

void Scanner::TestWalkedFile(const WalkedFile& file) {
    const std::int32_t threat = modScannerFiles::IsWalkedFileThreat(
        file.fullPath,
        [&file] {
            const std::string field = file.Field();
            return field.empty() ? field : file.path + field;
        },
        OptScanDepth);
    if (threat <= 0) {
        return;
    }
    const std::shared_ptr<kel::Scan> scan = RequireCurrentScan();
    std::string hash = modMD5::FileMD5(file.fullPath);
    std::string location = file.fullPath;
    if (hash.empty()) {
        const std::string alternate = modScannerFiles::TrimAltName(file.Field());
        if (!Trim(alternate).empty()) {
            location = file.path + std::string(Trim(alternate));
            hash = modMD5::FileMD5(location);
        }
    }
    scan->AddDetectedThreatFile(ScanTypeFiles, threat, hash, location);
    modScannerFiles::AddDetectedThreatFileRelations(threat, location);
}

}  // namespace kel
