// What a front end drives to remove detected threats from the machine.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cleaner/CleanerCallback.h"
#include "cleaner/Enumerations.h"
#include "cleaner/QuarantineRecords.h"
#include "core/Collection.h"
#include "results/DetectedThreat.h"

namespace kel {

class clsFolderPaths;

/// Removes one threat after the other, in a fixed order of work, into the quarantine. A front end calls InitializeClean
/// for a scan, then QuarantineThreat or DestroyThreat once for each threat, and at the end UninitializeClean.
/// Callback delivers the progress.
///
/// Nothing is raised: a failure is reported under the module "Cleaner" and the operation's name, and the operation
/// leaves with its result as it stands. What can't be removed while the machine runs is left to its next start, which
/// IsRebootRequired tells; on a disk that does not run there is no next start. The object must stay alive while one of
/// its operations runs.
class Cleaner {
public:
    using DetectedThreatCollection = Collection<std::shared_ptr<DetectedThreat>>;

    /// Makes the folder of the quarantine when it is missing.
    Cleaner();
    /// Releases the list of programs that start each other again.
    ~Cleaner();
    Cleaner(const Cleaner&) = delete;
    Cleaner& operator=(const Cleaner&) = delete;

    // In the order of the interface.

    std::shared_ptr<clsFolderPaths> FolderPaths;  ///< made by InitializeClean
    bool IsCleanerRunning = false;                ///< set by the program that works after the start of the machine
    std::shared_ptr<CleanerCallback> Callback;    ///< made by InitializeClean, in place of any other
    /// Whether something is left for the next start. Never becomes false again.
    [[nodiscard]] bool IsRebootRequired() const { return isRebootRequired_; }
    [[nodiscard]] enCleanerState CleanerState() const { return cleanerState_; }
    /// What InitializeClean was given; made empty at the first use.
    [[nodiscard]] const std::shared_ptr<DetectedThreatCollection>& DetectedThreats();

    /// Opens the stores of the quarantine anew, and ends programs that start each other again.
    /// @param ScanID the scan that found the threats; may be empty
    /// @param inDetectedThreats what it found; null or empty leaves those of the call before
    /// @return always errNone
    enCleanerErrors InitializeClean(std::string_view ScanID,
                                    std::shared_ptr<DetectedThreatCollection> inDetectedThreats = nullptr);
    void UninitializeClean();
    /// Makes a restore point of the system, named by the time.
    /// @param RestorePointDescription not used
    /// @return errXPRestoreCannotSetRestorePointNotXP on another system than "XP",
    ///         errXPRestoreCannotSetRestorePointFailed when the system refuses, else errNone
    enCleanerErrors SetWindowsXPRestorePoint(std::string_view RestorePointDescription = {});
    /// Removes a threat from the machine into the quarantine.
    /// @param ForceDestroy the removal is none that the history counts as a quarantine
    /// @param outQuarantineThreatID identifier in the quarantine; left as it is unless the work came to its end
    enCleanerErrors QuarantineThreat(std::int32_t ThreatID, bool ForceDestroy, std::string& outQuarantineThreatID);
    enCleanerErrors QuarantineThreat(std::int32_t ThreatID, bool ForceDestroy = false);
    /// Removes a threat and then what the quarantine keeps of it, at the next start when a part of it could not go.
    /// @return always errNone
    enCleanerErrors DestroyThreat(std::int32_t ThreatID);

    // Work off the four lists of what was left to the start of the machine; each list is deleted then.
    void RunAllCleanerFolders();
    void RunAllCleanerFiles();
    void RunAllCleanerRegistryKeys();
    void RunAllCleanerRegistryValues();

    [[nodiscard]] bool HasAdminPermission() const;
    // Shared by all objects.
    /// Whether `cleaner.log` is written; false at first.
    [[nodiscard]] bool EnableLog() const;
    void SetEnableLog(bool enable);
    /// Folder that the quarantine lies in; empty, as at first: the folder of the user's data.
    [[nodiscard]] std::string QuarantineRootPath() const;
    void SetQuarantineRootPath(std::string_view path);

private:
    friend struct CleanerPeer;

    // The removal of one threat, a stage each.
    struct Work;
    void Send(std::string_view details);

    // What is known of a detection.
    [[nodiscard]] bool IsThreatInDetectedThreats(std::int32_t threatID);
    [[nodiscard]] std::shared_ptr<DetectedThreat> GetDetectedThreatByID(std::int32_t threatID);
    [[nodiscard]] std::shared_ptr<DetectedThreat> GenerateDetectedThreat(std::int32_t threatID);
    [[nodiscard]] std::string GetFilePathFromDetectedFile(std::int32_t threatID, std::string_view md5);
    [[nodiscard]] std::string GetFilePathFromDetectedCookie(std::int32_t threatID, std::string_view cookie);
    [[nodiscard]] std::string GetCookieFilePath(std::int32_t threatID, std::string_view cookie);

    // Files and folders. The answers hold the records of what went; nobody reads them.
    struct FileRemoval;

    /// Takes one file off the machine, with all that starts or loads it.
    /// @param type ThreatFileTypeUnknown: found by the path
    /// @param quarantinePath folder of the threat in the quarantine, with its final backslash
    QuarantineRecords HelperQuarantineFile(std::int32_t threatID, std::string_view path, enThreatFileTypes type,
                                           std::string_view quarantinePath);
    /// @param recursing the folder lies below one that is being removed
    QuarantineRecords HelperQuarantineFolder(std::int32_t threatID, std::string_view path,
                                             std::string_view quarantinePath, bool recursing);

    // Network providers.
    enCleanerErrors HelperRemoveLSP(std::int32_t threatID, std::string_view path);
    enCleanerErrors HelperRemoveLSPByControlSet(std::int32_t threatID, std::string_view path,
                                                std::string_view controlSet);

    // What is left to the next start.

    /// @param reason for the log
    void AddCleanerRequiredforThreat(std::int32_t threatID, std::string_view reason, std::string_view path);
    [[nodiscard]] bool IsThreatCleanerRequired(std::int32_t threatID) const;
    [[nodiscard]] bool IsFileCleanerRequired(std::string_view path) const;
    [[nodiscard]] bool IsFolderCleanerRequired(std::string_view path) const;

    bool isRebootRequired_ = false;
    enCleanerState cleanerState_ = CleanerStateNotReady;
    std::shared_ptr<DetectedThreatCollection> detectedThreats_;
    std::string scanID_;
    bool cleanerRequired_ = false;
    Collection<std::string> cleanerThreats_;  ///< "ThreatID:" and the number, as item and key
    Collection<std::string> cleanerFiles_;    ///< paths, as item and key
    Collection<std::string> cleanerFolders_;
    std::string currentThreatName_;
};

}  // namespace kel
