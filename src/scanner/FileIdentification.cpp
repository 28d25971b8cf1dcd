#include <optional>
#include <utility>

#include "catalogue/SignatureTable.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "results/Scan.h"
#include "rules/modCleanerHelper.h"
#include "scanner/modScannerFiles.h"
#include "system/LookAhead.h"
#include "system/clsFolderPaths.h"
#include "system/modFiles.h"
#include "system/modFolderPaths.h"
#include "system/modMD5.h"

namespace kel::modScannerFiles {

namespace {

struct TakenFolders {
    std::optional<clsFolderPaths> folders;
};

// By a text or a digest.
template <class Key>
std::int32_t Lookup(const std::shared_ptr<SignatureTable>& table, const Key& key) {
    std::int32_t threat = 0;
    // What fails here is a miss.
    ResumeNext([&] {
        const auto hit = table ? table->Find(key) : std::nullopt;
        if (hit) {
            LastOptionalScan() = hit->OptionalScan;
            threat = hit->OptionalScan > OptMaxOptionLevel() ? 0 : hit->ThreatID;
        }
    });
    return threat;
}

std::string VariableForm(std::string_view path) {
    const auto& folders = ModuleData<TakenFolders>().folders;
    return folders ? folders->TranslateToVariablePath(path) : modFolderPaths::TranslateToVariablePath(path);
}

// Bytes of a file, nothing when it is not there; a folder has none, as in its find data. The length alone tells of most
// files that they are there. The one place where a name that the platform can't take becomes the error that asks for
// the short name.
std::optional<std::uint64_t> LengthIfThere(std::string_view path) {
    platform::Files& files = *platform::Current().files;
    const auto length = files.Length(path);
    if (length) {
        return *length;
    }
    if (length.Error() != platform::SysError::InvalidName) {
        if (!files.PathExists(path)) {
            return std::nullopt;
        }
        if (files.PathIsDirectory(path) != 0) {
            return 0;
        }
    }
    paths::RaiseFileError(length.Error(), path);
}

// What is known of a file before it is tested. The stamp saves a question where files are read ahead.
struct Known {
    std::uint64_t length = 0;
    std::optional<platform::FileStamp> stamp;
};

std::optional<Known> KnownIfThere(std::string_view path) {
    if (LookAhead::Active()) {
        if (const auto stamp = platform::Current().files->Stamp(path)) {
            return Known{stamp->size, *stamp};
        }
    }
    const auto length = LengthIfThere(path);
    return length ? std::optional(Known{*length, {}}) : std::nullopt;
}

std::optional<Digest> HashOf(std::string_view path, const Known& known) {
    const auto hash = known.stamp ? modMD5::FileDigest(path, *known.stamp) : modMD5::FileDigest(path);
    return hash ? std::optional(Digest::Of(hash->data())) : std::nullopt;
}

std::int32_t TestByDepth(std::string_view path, enScanDepth depth, const Known& known) {
    switch (depth) {
        case scanshallow:
            return FilePathThreatExists(VariableForm(path));
        case scanmedium: {
            const auto hash = HashOf(path, known);
            return hash ? Lookup(State().MD5DataTable, *hash) : 0;
        }
        case scandeep: {
            // A known path with another hash is another file.
            const auto hash = HashOf(path, known);
            return hash ? Lookup(State().MD5DataTable, *hash) : FilePathThreatExists(VariableForm(path));
        }
        default:
            return 0;
    }
}

std::int32_t Identify(std::string_view path, enScanDepth depth) {
    const std::optional<Known> known = KnownIfThere(path);
    if (!known) {
        return 0;
    }
    if (std::cmp_greater(known->length, OptMaxMD5Len())) {
        depth = scanshallow;
    }
    const std::int32_t threat = TestByDepth(path, depth, *known);
    return threat > 0 && !modCleanerHelper::RestrictRemoveFile(path) ? threat : 0;
}

// Identify, and again under the short name for as long as the name is refused and there is more of it to drop.
template <class AltPath>
std::int32_t IdentifyOrRetry(std::string_view path, const AltPath& giveAltPath, enScanDepth depth) {
    std::string alternate;
    for (bool first = true;; first = false) {
        try {
            return Identify(path, depth);
        } catch (const RuntimeError& error) {
            if (first && error.Number() == ErrBadFileName) {
                alternate = giveAltPath();
            }
            if (error.Number() != ErrBadFileName || alternate.empty()) {
                if (ContainsText(error.Text(), "File not found")) {
                    return 0;
                }
                throw;
            }
        }
        alternate = TrimAltName(alternate);
        path = alternate;
        path.remove_suffix(path.ends_with('\0') ? 1 : 0);
    }
}

template <class AltPath>
std::int32_t TestFile(std::string_view FilePath, const AltPath& giveAltPath, enScanDepth ScanDepth) {
    std::int32_t threat = 0;
    Trap("Scanner", "IsFileThreat", [&] {
        std::string translated;
        std::string_view path = Trim(FilePath);
        if (path.find('%') != std::string_view::npos) {
            translated = modFolderPaths::TranslateEnvironmentVariablesPaths(path);
            path = Trim(translated);
        }
        threat = IdentifyOrRetry(path, giveAltPath, ScanDepth);
    });
    return threat;
}

}  // namespace

std::int32_t MD5ThreatExists(std::string_view ThisMD5) {
    return Lookup(State().MD5DataTable, ThisMD5);
}

std::int32_t FilePathThreatExists(std::string_view ThisPath) {
    return Lookup(State().FilePathDataTable, ThisPath);
}

std::int32_t FolderThreatExists(std::string_view ThisFolder) {
    return Lookup(State().FolderDataTable, ThisFolder);
}

std::int32_t CookieThreatExists(std::string_view ThisCookie) {
    return Lookup(State().CookieDataTable, ThisCookie);
}

std::int32_t FileThreatExists(std::string_view /*ThisFile*/) {
    return 0;
}

std::int32_t IsFileThreat(std::string_view FilePath, std::string_view AltPath, enScanDepth ScanDepth,
                          std::string_view /*MD5*/) {
    return TestFile(
        FilePath, [AltPath] { return std::string(AltPath); }, ScanDepth);
}

std::int32_t IsWalkedFileThreat(std::string_view FilePath, const std::function<std::string()>& AltPath,
                                enScanDepth ScanDepth) {
    return TestFile(FilePath, AltPath, ScanDepth);
}

std::int32_t IsFolderThreat(std::string_view FolderPath, const std::shared_ptr<clsFolderPaths>& oclsFolderPaths) {
    std::int32_t threat = 0;
    Trap("modScannerFiles", "IsFolderThreat", [&] {
        const std::shared_ptr<clsFolderPaths> folders =
            oclsFolderPaths ? oclsFolderPaths : RequireCurrentScan()->FolderPaths;
        if (!folders) {
            Raise(ErrObjectNotSet);
        }
        const std::string folder = folders->TranslateToVariablePath(LCase(FolderPath));
        const std::int32_t found = FolderThreatExists(folder);
        // Both are asked of the variable form, so a folder below a special one passes only if they resolve that form.
        if (found > 0 && modFiles::FolderExists(folder) && !modCleanerHelper::RestrictRemoveFolder(folder)) {
            threat = found;
        }
    });
    return threat;
}

std::string TrimAltName(std::string_view name) {
    std::string_view rest = name.substr(0, name.size() < 2 ? 0 : name.size() - 2);
    if (rest.ends_with('\0')) {
        rest.remove_suffix(1);
    }
    return std::string(rest);
}

void TakeFolders(const clsFolderPaths& folders) {
    ModuleData<TakenFolders>().folders = folders;
}

}  // namespace kel::modScannerFiles
