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
    /// Always empty and 0: failures go to the error log.
    [[nodiscard]] const std::string& LastError() const { return lastError_; }
    [[nodiscard]] std::int32_t LastErrorCode() const { return lastErrorCode_; }
    /// What was last done; no operation tests it.
    [[nodiscard]] enScannerState ScannerState() const { return scannerState_; }
    bool IsScheduledScan = false;  ///< handed to the scan at its end

    /// Makes a new current scan, and loads the engine's data if they are not loaded or the threat data file has
    /// changed in size. OptMaxMD5Len becomes 2500000. Drives and folders added before stay, unless none was.
    /// @return true, after a failure too.
    bool InitializeScan();
    /// Closes the scan: its end, and its record in the history if optWriteHistory is set.
    void SetScanComplete();
    /// Ends the scan at its next test of the flag, and tells the front end.
    /// @param szReason kept with the scan; empty: the usual text
    void AbortScan(std::string_view szReason);

    /// Tests the programs of the running processes by their paths, whatever OptScanDepth says.
    /// @param blnScanProcessModules also every module of each process
    void ScanProcesses(bool blnScanProcessModules = false);

    // File identification; each answers the number of a threat, or 0 for none. modScannerFiles tells the rules.

    /// Tests a file by path and MD5, as the depth says.
    /// @param AltPath path with the file's short name, tried when the platform refuses the long one; or empty
    /// @param MD5 not used: the hash is always computed
    [[nodiscard]] std::int32_t IsFileThreat(std::string_view FilePath, std::string_view AltPath, enScanDepth ScanDepth,
                                            std::string_view MD5 = {});
    /// Always 0: the catalogue has no table of bare file names.
    [[nodiscard]] std::int32_t FileThreatExists(std::string_view ThisFile);

    /// Runs ScanFolder, with OptRecursiveFileScan and OptIncludeFolders, on the folders where software usually lives.
    /// @param blnQuickScan not used
    void ScanCommonLocations(bool blnQuickScan = false);
    /// Looks for each file that a signature names by its path. That it is there is the whole test: its hash plays no
    /// part. A path with wildcards stands for the first file that it finds.
    void ScanKnownLocations();
    /// The same for folders, whose contents are recorded too.
    void ScanKnownFolders();
    /// Walks `StartPath`, or `C:\`, for files whose names match the catalogue's extension filter.
    void ScanKnownFiles(std::string_view StartPath = {});
    /// Tests the files that autostart and browser extension points load. modScannerTactics tells the rules.
    void ScanCommonTactics();
    /// Lists a folder, then tests each item. Without `blnRecursive` the items are bare names, which are looked for in
    /// the process's current folder. Beyond the direct subfolders only with `blnIncludeFolders`.
    void ScanFolder(std::string_view FolderPath, bool blnRecursive = false, bool blnIncludeFolders = false);
    /// Tests a folder by its path.
    /// @param oclsFolderPaths folders for the variable form; null: those of the current scan
    [[nodiscard]] std::int32_t IsFolderThreat(std::string_view FolderPath,
                                              const std::shared_ptr<clsFolderPaths>& oclsFolderPaths = nullptr);

    /// Asks of each registry signature, in the order of the table, whether its key, value or data is on this machine.
    /// Each signature counts as one location. The registry is that of the user whom the engine runs as, whatever
    /// ScanAllUsers says. The table's filter stays as the stage sets it.
    void ScanRegistry();
    /// Looks up the domain in the name of each cookie file: of the current user, or of all with ScanAllUsers.
    void ScanCookies();

    /// The whole scan, as the options say. SetScanComplete runs in all cases.
    /// @return whether it was not aborted.
    bool RunScanEasy();

    // Lookups in the signature tables, without regard to case. A hit stores its level for the detection that follows.

    /// @param ThisMD5 32 hexadecimal digits
    [[nodiscard]] std::int32_t MD5ThreatExists(std::string_view ThisMD5);
    /// @param ThisPath variable form of a file's path
    [[nodiscard]] std::int32_t FilePathThreatExists(std::string_view ThisPath);
    /// @param ThisFolder variable form of a folder
    [[nodiscard]] std::int32_t FolderThreatExists(std::string_view ThisFolder);
    /// @param ThisCookie domain
    [[nodiscard]] std::int32_t CookieThreatExists(std::string_view ThisCookie);

    /// Appends a drive or folder for ScanDriveOrFolder to walk. The text is not looked at.
    void AddScanDriveAndPath(std::string_view ThisDrive);
    /// Entries of the list; more than 32767 are a reported overflow, and 0.
    [[nodiscard]] std::int16_t ScanDriveAndPathCount();
    /// An entry of the list.
    /// @param ThisIndex from 1; any other gives an empty text
    [[nodiscard]] std::string GetScanDriveAndPath(std::int16_t ThisIndex);
    /// Walks the drives and folders that were added, or else all fixed drives. True, after a failure too.
    bool ScanDriveOrFolder();
    /// Makes the current scan ready to run again; drives and folders are forgotten. True, after a failure too.
    bool ResetScan();
    /// The places where threats usually are. Always false.
    bool ScanMostCommon();

    // Module-level options, shared by all Scanner objects; false or 0 at first.

    /// Limit in bytes: larger files are tested by path alone.
    [[nodiscard]] std::int32_t OptMaxMD5Len() const;
    /// InitializeScan sets 2500000, and so does RunScanEasy when it is 0.
    void SetOptMaxMD5Len(std::int32_t bytes);
    /// The number that was stored last, whatever the machine made of it.
    [[nodiscard]] std::int32_t ScannerPriority() const;
    /// Hands the number to the process's priority class and to the thread's priority as it is.
    void SetScannerPriority(std::int32_t priority);
    /// Whether RunScanEasy stops threats that run before it begins.
    [[nodiscard]] bool SuspendActive() const;
    void SetSuspendActive(bool suspend);
    /// Whether the stages look at the cookies and registries of all users.
    [[nodiscard]] bool ScanAllUsers() const;
    void SetScanAllUsers(bool all);
    /// Highest level of a signature that counts.
    [[nodiscard]] std::int16_t OptMaxOptionLevel() const;
    void SetOptMaxOptionLevel(std::int16_t level);
    /// Whether SetScanComplete writes the scan to the history.
    [[nodiscard]] bool optWriteHistory() const;
    void SetoptWriteHistory(bool write);
    /// The same as DoSkipCommonFiles.
    [[nodiscard]] bool SkipCommonFiles() const { return DoSkipCommonFiles; }
    void SetSkipCommonFiles(bool skip) { DoSkipCommonFiles = skip; }
    /// The folder that was chosen, with a trailing backslash; empty before that.
    [[nodiscard]] std::string UserDataRootPath() const;
    /// Chooses the folder of the user's data, and loads the engine's data if they are not loaded.
    void SetUserDataRootPath(std::string_view path);

    /// Gives nothing: its arguments go in by value.
    void GetScannerVersion(std::int32_t MajorVersion, std::int32_t MinorVersion, std::int32_t Revision) const;
    /// The first registry signature that has these texts, without regard to case: the number of its threat, or 0. Tests
    /// no level and nothing on the machine. Without a name but with a value the first signature of all answers. An
    /// apostrophe in a text is a reported failure. The table's filter stays as it is set here.
    /// @param RegHive name of a hive, as the table has it
    [[nodiscard]] std::int32_t IsRegKeyThreat(std::string_view RegHive, std::string_view Regkey,
                                              std::string_view RegValueName, const Value& RegValue);
    /// Version of the signatures as a number; 0 when its text is none, which is reported.
    [[nodiscard]] std::int32_t ScanDBVersion() const;

    /// Loads the catalogue again and writes it to `Threat.txt` in the user data folder, in place of what was there.
    /// Threats without a name are left out; an empty catalogue leaves no file.
    /// @return the end of the list only; the whole of it is in the file. Empty for an empty catalogue and after a
    ///         failure, which is reported under the module "Manager".
    std::string ThreatList();
    /// Looks for one threat by its registry and path signatures, whatever their levels, and without events. The scan
    /// that it makes is released at its end, so that none is current afterwards; one for an unknown number stays.
    /// @param CleanIt removes what was found
    /// @return false when a full run is in progress, else true, whatever was found or failed
    bool ScanThreat(std::int32_t ThreatID, bool CleanIt);
    /// Loads all of the engine's data again.
    void ReloadThreatData();

    /// Whether files are tested by their hash, so that it pays to read them ahead.
    [[nodiscard]] bool HashesFiles() const { return OptScanDepth == scanmedium || OptScanDepth == scandeep; }

private:
    friend struct ScannerPeer;
    using Paths = Collection<std::string>;

    // Orders that nothing calls at present.
    void RunQuickScan();
    void RunExhaustiveScan();
    void ScanKnownFilesCommon();
    void ScanCustom();

    // The process scan where the process status calls list processes.
    void ScanProcessesNT(bool scanProcessModules);

    static void WriteThreatList(std::string_view text);

    // The walk of ScanDriveOrFolder and ScanKnownFiles.
    void WalkFrom(const std::string& start, std::string_view pattern);
    void FilesListSearch(std::string path, std::string_view pattern, bool report);
    void GetFileInformation(const std::string& path, std::string_view pattern, bool report);
    struct WalkedFile;
    void TestWalkedFile(const WalkedFile& file);
    bool ScanZipFile(const std::string& zipPath, bool report);
    void ScanExtracted(const std::string& zipPath, const std::string& folder, bool report);

    // The lists of ScanFolder.
    Paths FilesListDeep(std::string_view path, bool includeFolders, bool report);
    Paths FileTreeBuilder(const std::string& path, bool includeFolders, bool report);
    Paths FilesListShallowKvArray(std::string_view path, std::string_view pattern);
    void TestListedItem(std::string item, bool includeFolders);

    /// The list of drives and folders, made at its first use.
    Paths& DrivesAndPaths();
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
