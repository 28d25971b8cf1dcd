// What lies in a zip archive, unpacked into a scratch folder and tested there.
#include <string>

#include "archive/XceedZip.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "platform/Platform.h"
#include "scanner/Scanner.h"
#include "scanner/modScannerFiles.h"
#include "system/modFiles.h"
#include "system/modMD5.h"

namespace kel {

namespace {

constexpr std::string_view ScratchFolder = "\\6635zipper";
constexpr std::string_view ZipInitialisation = "kelThreatEngine";

// Entries that a listing of normal files leaves out.
constexpr std::uint32_t NotNormal =
    platform::AttributeDirectory | platform::AttributeHidden | platform::AttributeSystem;

// The folder for the data ends in a backslash already; the doubled one stays in what is recorded.
std::string ZipExtractFolder() {
    return State().UserDataFolder + std::string(ScratchFolder);
}

void Unpack(const std::string& zipPath, const std::string& folder) {
    const archive::ZipHandle zip = archive::XzCreateXceedZipA(ZipInitialisation);
    archive::XzSetZipFilenameA(zip, zipPath);
    archive::XzSetFilesToProcessA(zip, "");
    archive::XzSetFilesToExcludeA(zip, "");
    archive::XzSetUnzipToFolderA(zip, folder);
    const std::int32_t result = archive::XzUnzip(zip);
    archive::XzDestroyXceedZip(zip);
    if (result != archive::UnzipDone) {
        Raise(ErrZipFailed, zipPath);
    }
}

}  // namespace

bool Scanner::ScanZipFile(const std::string& zipPath, bool report) {
    const std::string folder = ZipExtractFolder();
    // A folder that a crash left behind costs one archive: it is removed below.
    const bool done = Trap("Scanner", "ScanZipFile", [&] {
        if (modFiles::CreateFolder(folder)) {
            Unpack(zipPath, folder);
            ScanExtracted(zipPath, folder, report);
        }
    });
    modFiles::FolderRemove(folder, true);
    return done;
}

void Scanner::ScanExtracted(const std::string& zipPath, const std::string& folder, bool report) {
    platform::FindData entry;
    const auto find = platform::Current().files->FindFirst(folder + "\\*.*", entry);
    if (!find) {
        return;
    }
    bool first = true;
    do {
        if ((entry.attributes & NotNormal) != 0) {
            continue;
        }
        if (first && report) {
            RequireCurrentScan()->EventStartingLocation(zipPath + " - " + entry.name, ScanTypeFiles);
        }
        first = false;
        // That event may have brought the wish to stop.
        if (ScanAbortFlag()) {
            return;
        }
        const std::string path = folder + "\\" + entry.name;
        if (const std::int32_t threat = IsFileThreat(path, {}, OptScanDepth); threat > 0) {
            RequireCurrentScan()->AddDetectedThreatFile(ScanTypeFiles, threat, modMD5::FileMD5(path), path);
            modScannerFiles::AddDetectedThreatFileRelations(threat, path);
        }
        DoEvents();
    } while (!ScanAbortFlag() && (*find)->Next(entry) == platform::SysError::Success);
}

}  // namespace kel
