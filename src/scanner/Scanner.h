// What a front end drives to run a scan.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/Collection.h"
#include "results/Scan.h"
#include "scanner/Enumerations.h"

namespace kel {

class clsFolderPaths;

/// Options, the list of drives and folders to walk, and the orders of a scan. There is one running scan for each
/// engine: two Scanner objects share the current scan, the abort flag and the limits.
///
/// A front end calls InitializeScan, sets the options (OptMaxMD5Len behind it), names drives and folders if it wants
/// other than all fixed drives, and calls RunScanEasy, or single stages and then SetScanComplete. Scan()->Callback
/// delivers the events.
///
/// Nothing is raised: a failure is reported under the module "Scanner", and the procedure leaves with its result as it
/// stands. A failed stage does not fail the scan. The object must stay alive while one of its operations runs: events
/// and yields let other calls in.
class Scanner {
public:
    Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    // Options, in the order of the interface.
    bool DoScanProcesses = false;
    bool DoScanRegistry = false;
    bool DoScanCookies = false;
    bool DoDriveScan = false;        ///< RunScanEasy walks the drives or folders
    bool DoMostCommon = false;       ///< RunScanEasy runs ScanMostCommon
    bool DoScanZips = false;         ///< the walk opens files whose names end in "zip"
    bool DoSkipCommonFiles = false;  ///< ScanMostCommon leaves out ScanKnownFiles
    bool OptScanProcessesDeep = false;
    bool OptRecursiveFileScan = false;
    bool OptIncludeFolders = false;
    enScanDepth OptScanDepth{};  ///< none at first: no file is tested

    // Operations, in slot order.

    /// The current scan; null before the first InitializeScan.
    [[nodiscard]] std::shared_ptr<kel::Scan> Scan() const { return CurrentScan(); }
    [[nodiscard]] const std::string& LastError() const { return lastError_; }
    [[nodiscard]] std::int32_t LastErrorCode() const { return lastErrorCode_; }
    [[nodiscard]] enScannerState ScannerState() const { return scannerState_; }
    bool IsScheduledScan = false;

    /// Makes a new current scan, and loads the engine's data if they are not loaded or the threat data file has
    /// changed in size. OptMaxMD5Len becomes 2500000. Drives and folders added before stay, unless none was.
    /// @return true, after a failure too.
    bool InitializeScan();
    /// Closes the scan: its end, and its record in the history if optWriteHistory is set.
    void SetScanComplete();
    /// Ends the scan at its next test of the flag.
    void AbortScan(std::string_view szReason);

    [[nodiscard]] std::int32_t IsFileThreat(std::string_view FilePath, std::string_view AltPath, enScanDepth ScanDepth,
                                            std::string_view MD5 = {});
    [[nodiscard]] std::int32_t FileThreatExists(std::string_view ThisFile);

    /// Walks `StartPath`, or `C:\`, for files whose names match the catalogue's extension filter.
    void ScanKnownFiles(std::string_view StartPath = {});
    /// Lists a folder, then tests each item. Without `blnRecursive` the items are bare names, which are looked for in
    /// the process's current folder. Beyond the direct subfolders only with `blnIncludeFolders`.
    void ScanFolder(std::string_view FolderPath, bool blnRecursive = false, bool blnIncludeFolders = false);
    [[nodiscard]] std::int32_t IsFolderThreat(std::string_view FolderPath,
                                              const std::shared_ptr<clsFolderPaths>& oclsFolderPaths = nullptr);

    /// The whole scan, as the options say. SetScanComplete runs in all cases.
    /// @return whether it was not aborted.
    bool RunScanEasy();

    [[nodiscard]] std::int32_t MD5ThreatExists(std::string_view ThisMD5);
    [[nodiscard]] std::int32_t FilePathThreatExists(std::string_view ThisPath);
    [[nodiscard]] std::int32_t FolderThreatExists(std::string_view ThisFolder);
    [[nodiscard]] std::int32_t CookieThreatExists(std::string_view ThisCookie);

    void AddScanDriveAndPath(std::string_view ThisDrive);
    [[nodiscard]] std::int16_t ScanDriveAndPathCount();
    /// @param ThisIndex from 1; any other gives an empty text
    [[nodiscard]] std::string GetScanDriveAndPath(std::int16_t ThisIndex);
    /// Walks the drives and folders that were added, or else all fixed drives. True, after a failure too.
    bool ScanDriveOrFolder();
    /// Makes the current scan ready to run again; drives and folders are forgotten. True, after a failure too.
    bool ResetScan();
    /// The places where threats usually are. Always false.
    bool ScanMostCommon();

    // Module-level options, shared by all Scanner objects.
    [[nodiscard]] std::int32_t OptMaxMD5Len() const;  ///< bytes; larger files are tested by path alone
    void SetOptMaxMD5Len(std::int32_t bytes);
    [[nodiscard]] std::int32_t ScannerPriority() const;
    /// Hands the number to the process's priority class and to the thread's priority as it is.
    void SetScannerPriority(std::int32_t priority);
    [[nodiscard]] bool SuspendActive() const;
    void SetSuspendActive(bool suspend);
    [[nodiscard]] bool ScanAllUsers() const;
    void SetScanAllUsers(bool all);
    [[nodiscard]] std::int16_t OptMaxOptionLevel() const;
    void SetOptMaxOptionLevel(std::int16_t level);
    [[nodiscard]] bool optWriteHistory() const;
    void SetoptWriteHistory(bool write);
    /// The same as DoSkipCommonFiles.
    [[nodiscard]] bool SkipCommonFiles() const { return DoSkipCommonFiles; }
    void SetSkipCommonFiles(bool skip) { DoSkipCommonFiles = skip; }
    [[nodiscard]] std::string UserDataRootPath() const;
    /// Chooses the folder of the user's data, and loads the engine's data if they are not loaded.
    void SetUserDataRootPath(std::string_view path);

    /// Gives nothing: its arguments go in by value.
    void GetScannerVersion(std::int32_t MajorVersion, std::int32_t MinorVersion, std::int32_t Revision) const;
    /// Version of the signatures as a number; 0 when its text is none, which is reported.
    [[nodiscard]] std::int32_t ScanDBVersion() const;

private:
    friend struct ScannerPeer;
    using Paths = Collection<std::string>;

    // Orders that nothing calls at present.
    void RunQuickScan();
    void RunExhaustiveScan();
    void ScanKnownFilesCommon();

    // The walk of ScanDriveOrFolder and ScanKnownFiles.
    void FilesListSearch(std::string path, std::string_view pattern, bool report);
    void GetFileInformation(const std::string& path, std::string_view pattern, bool report);
    void TestWalkedFile(const std::string& fullPath, const std::string& path, const std::string& alternateName);
    bool ScanZipFile(const std::string& zipPath, bool report);
    void ScanExtracted(const std::string& zipPath, const std::string& folder, bool report);

    // The lists of ScanFolder.
    Paths FilesListDeep(std::string_view path, bool includeFolders, bool report);
    Paths FileTreeBuilder(const std::string& path, bool includeFolders, bool report);
    Paths FilesListShallowKvArray(std::string_view path, std::string_view pattern);
    void TestListedItem(std::string item, bool includeFolders);

    void ClearForScan();

    std::string lastError_;
    std::int32_t lastErrorCode_ = 0;
    enScannerState scannerState_ = ScannerStateNotReady;
    std::shared_ptr<Paths> scanDriveAndPaths_;
    bool scanPathsAreDefault_ = true;
};

/// Detections of the last RunScanEasy, for the cleaner; null from InitializeScan on until then.
[[nodiscard]] const std::shared_ptr<Scan::DetectedThreatCollection>& ThreatsToClean();

/// Whether RunScanEasy runs.
[[nodiscard]] bool ScanInProgress();

}  // namespace kel
