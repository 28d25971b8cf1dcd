// Signatures that name a place: the place itself is looked at, instead of a walk that would come by it.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "catalogue/SignatureTable.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "results/modIgnoredThreats.h"
#include "rules/modCleanerHelper.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "system/LookAhead.h"
#include "system/clsFolderPaths.h"
#include "system/modFiles.h"
#include "system/modMD5.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";

std::shared_ptr<clsFolderPaths> FoldersOfScan() {
    std::shared_ptr<clsFolderPaths> folders = RequireCurrentScan()->FolderPaths;
    if (!folders) {
        Raise(ErrObjectNotSet);
    }
    return folders;
}

// The files that a table of places names, from the row on that a stage has come to. Of those that are passed over some
// may be read for nothing; patterns are left out, because what they find is known only when its turn has come.
class PlacesAhead : public PathsAhead {
public:
    PlacesAhead(std::shared_ptr<SignatureTable> table, std::shared_ptr<clsFolderPaths> folders, const std::size_t& row)
        : table_(std::move(table)), folders_(std::move(folders)), row_(row) {}

    bool Next(AheadItem& item, bool /*slow*/) override {
        next_ = std::max(next_, row_);
        if (next_ > table_->Count()) {
            return false;
        }
        const auto [key, signature] = table_->At(next_++);
        std::string path;
        if (signature.OptionalScan <= OptMaxOptionLevel()) {
            path = folders_->TranslateFromVariablePath(key);
        }
        Fill(item, path.find_first_of("*?") == std::string::npos ? std::move(path) : std::string());
        return true;
    }

private:
    std::shared_ptr<SignatureTable> table_;
    std::shared_ptr<clsFolderPaths> folders_;
    const std::size_t& row_;
    std::size_t next_ = 1;
};

// Names each place of a table that counts to the front end, as a real path, and has it tested. The table may be
// replaced while this yields; what began goes on with its own. A table without levels was loaded with level 0.
template <class TestPlace>
void ForEachPlace(std::shared_ptr<SignatureTable> EngineState::*which, enScanType scanType, bool hashes,
                  TestPlace&& test) {
    const std::shared_ptr<SignatureTable> table = State().*which;
    if (!table) {
        Raise(ErrObjectNotSet);
    }
    std::size_t row = 1;
    std::optional<LookAhead> ahead;
    if (const auto& scan = CurrentScan(); hashes && scan && scan->FolderPaths) {
        ahead.emplace(std::make_unique<PlacesAhead>(table, scan->FolderPaths, row));
    }
    for (; row <= table->Count() && !ScanAbortFlag(); ++row) {
        const auto [key, signature] = table->At(row);
        if (signature.OptionalScan > OptMaxOptionLevel()) {
            DoEvents();
            continue;
        }
        if (modIgnoredThreats::IsIgnoredThreatID(signature.ThreatID)) {
            continue;
        }
        std::string path = FoldersOfScan()->TranslateFromVariablePath(key);
        RequireCurrentScan()->EventStartingLocation(path, scanType);
        test(std::move(path), signature);
        DoEvents();
    }
}

void TestFile(std::string path, const Signature& signature) {
    if (path.find_first_of("*?") != std::string::npos) {
        path = modFiles::FilePathFromFileSearch(path);
    }
    if (modFiles::FileExists(path) && !modCleanerHelper::RestrictRemoveFile(path)) {
        LastOptionalScan() = signature.OptionalScan;
        RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, signature.ThreatID, modMD5::FileMD5(path), path);
        modScannerFiles::AddDetectedThreatFileRelations(signature.ThreatID, path);
    }
}

void TestFolder(const std::string& folder, const Signature& signature) {
    if (modFiles::FolderExists(folder) && !modCleanerHelper::RestrictRemoveFolder(folder)) {
        LastOptionalScan() = signature.OptionalScan;
        RequireCurrentScan()->AddDetectedThreatFolder(ScanTypeFolder, signature.ThreatID, folder);
        modScannerFiles::AddDetectedThreatFolderContents(signature.ThreatID, folder, false);
    }
}

}  // namespace

void Scanner::ScanCommonLocations(bool /*blnQuickScan*/) {
    Trap(Module, "ScanCommonLocations", [&] {
        static constexpr std::string clsFolderPaths::*Folders[] = {
            &clsFolderPaths::PathWindows,
            &clsFolderPaths::PathProgramFiles,
            &clsFolderPaths::PathStartUpFilesAllUsers,
            &clsFolderPaths::PathStartUpFilesUser,
            &clsFolderPaths::PathProfile,
            &clsFolderPaths::PathDownloadedProgramFiles,
            &clsFolderPaths::PathDesktop,
            &clsFolderPaths::PathPrograms,
            &clsFolderPaths::PathFavorites,
            &clsFolderPaths::PathStartMenu,
            &clsFolderPaths::PathCommonStartMenu,
            &clsFolderPaths::PathCommonPrograms,
            &clsFolderPaths::PathCommonFavorites,
            &clsFolderPaths::PathLocalAppData,
            &clsFolderPaths::PathLocalSettings,
        };
        scannerState_ = ScannerStateScanningCommonLocations;
        for (const auto folder : Folders) {
            ScanFolder((*FoldersOfScan()).*folder, OptRecursiveFileScan, OptIncludeFolders);
            if (ScanAbortFlag()) {
                return;
            }
        }
        scannerState_ = ScannerStateReady;
    });
}

void Scanner::ScanKnownLocations() {
    Trap(Module, "ScanKnownLocations",
         [&] { ForEachPlace(&EngineState::FilePathDataTable, ScanTypeFiles, HashesFiles(), TestFile); });
}

void Scanner::ScanKnownFolders() {
    Trap(Module, "ScanKnownFolders",
         [&] { ForEachPlace(&EngineState::FolderDataTable, ScanTypeFolder, false, TestFolder); });
}

}  // namespace kel
