// The record of one scan run.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "core/Collection.h"
#include "core/Value.h"
#include "platform/Registry.h"
#include "results/DetectedThreat.h"
#include "results/Enumerations.h"
#include "results/ScannerCallback.h"

namespace kel {

class clsFolderPaths;

/// Identity, times, counters and detections of one run, and its voice towards the front end. Every finding becomes a
/// detection through one of the five AddDetectedThreat operations, and EventStartingLocation is the one place where
/// the front end is asked whether to go on.
///
/// No operation but GetDetectedThreat raises anything: a failure is reported under the module "Scan" and the
/// operation's name, and the state reached so far stays.
class Scan {
public:
    using DetectedThreatCollection = Collection<std::shared_ptr<DetectedThreat>>;

    /// Gives the scan its identity: 30 characters of a new GUID.
    Scan();
    ~Scan();
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

    // Fields, in the order of the interface.
    std::string ScanID;
    Date StartDate;
    Date EndDate;
    std::string AbortReason;
    bool IsScheduledScan = false;
    std::shared_ptr<clsFolderPaths> FolderPaths;  ///< the machine's folders for this run
    std::int32_t ScannedProcessCount = 0;         ///< locations started, by type
    std::int32_t ScannedCookieCount = 0;
    std::int32_t ScannedFileCount = 0;
    std::int32_t ScannedRegistryCount = 0;
    std::int32_t DetectedProcessCount = 0;  ///< accepted locations, by type
    std::int32_t DetectedCookieCount = 0;
    std::int32_t DetectedFileCount = 0;  ///< folders count here too
    std::int32_t DetectedRegistryCount = 0;
    std::int32_t DetectedFolderCount = 0;  ///< never touched by the engine
    /// The detections, made at the first use; the key of each is "ThreatID:" and the number.
    std::shared_ptr<DetectedThreatCollection>& DetectedThreats();
    std::shared_ptr<ScannerCallback> Callback;

    /// Time between start and end, as text.
    [[nodiscard]] std::string TotalScanTime();

    /// Counts a location of a process, a file, the registry or a cookie and names it to the front end; then, whatever
    /// the type, asks the front end whether to stop. Fails after the count when there is no Callback.
    void EventStartingLocation(std::string_view szLocation, enScanType ScanType);
    /// Counts an accepted location and names it to the front end.
    void EventThreatDetected(std::string_view szLocation, enScanType ScanType, std::int32_t ThreatID);
    /// Sets ScanAbortFlag, tells the front end, and stores the reason ("User aborted spyware scan" for an empty one).
    void EventScanAborted(std::string_view szReason);

    // The adds. All refuse ignored threats; all but the first refuse a location that the threat has already, each by a
    // rule of its own. The first location of a threat makes its DetectedThreat, with this scan type and the level of
    // the signature that matched last.

    /// A cookie that no signature names is a failure; a DetectedThreat that it made stays.
    void AddDetectedThreatCookie(enScanType ScanType, std::int32_t ThreatID, std::string_view Cookie,
                                 std::string_view FilePath);
    /// Expands a short path. A path that is not there is dropped in silence.
    void AddDetectedThreatFile(enScanType ScanType, std::int32_t ThreatID, std::string_view MD5,
                               std::string_view FilePath);
    /// Expands a short path. Whether the folder is there is not asked.
    void AddDetectedThreatFolder(enScanType ScanType, std::int32_t ThreatID, std::string_view FolderPath);
    /// @param RegHive a predefined key's number
    /// @param ScanLevel level of the location
    void AddDetectedThreatRegKey(enScanType ScanType, std::int32_t ThreatID, platform::Hive RegHive,
                                 std::string_view Regkey, std::string_view RegValueName = {},
                                 std::string_view RegValueData = {}, std::int16_t ScanLevel = 0);
    /// Keeps the given object itself.
    void AddDetectedThreatCustom(enScanType ScanType, std::int32_t ThreatID,
                                 std::shared_ptr<ThreatLocationCustom> oThreatLocationCustom);

    /// Path of the last cookie or file of the threat that has that name or hash; empty without one.
    [[nodiscard]] std::string GetFilePathFromDetectedCookie(std::int32_t ThreatID, std::string_view Cookie);
    [[nodiscard]] std::string GetFilePathFromDetectedFile(std::int32_t ThreatID, std::string_view MD5);

    /// Threats, not locations.
    [[nodiscard]] std::int32_t DetectedThreatCount();
    /// The scan type of the threat at that place (from 1) as a number, "|" and the threat's name. Raises a RuntimeError
    /// for a place that is not there: the one failure that reaches a client.
    [[nodiscard]] std::string GetDetectedThreat(std::int32_t ThreatIndex);
    /// Level of the hash's signature; 0 for a hash that the table does not hold. The path plays no part.
    [[nodiscard]] std::int16_t GetFileOptionLevel(std::string_view MD5, std::string_view FilePath);

    // The results as text in the form of XML; not all values are escaped. A threat without a name, or without locations
    // of the kind, is left out, but for the full report. Custom locations are in none. Empty after a failure.

    /// Empty when no cookie was detected.
    [[nodiscard]] std::string ScanResultsCookies();
    /// Empty when nothing was detected in the registry.
    [[nodiscard]] std::string ScanResultsRegistry();
    /// Reads the publisher of each file from its version record.
    [[nodiscard]] std::string ScanResultsFiles();
    [[nodiscard]] std::string ScanResultsFolders();
    /// The threats without their locations.
    [[nodiscard]] std::string ScanResultsSummary();
    /// Every threat with all its files, folders, registry entries and cookies.
    [[nodiscard]] std::string ScanResultsFull();

private:
    /// The detection of a threat. Raises error 5 when it is not recorded, 91 when nothing is recorded for it.
    [[nodiscard]] DetectedThreat& Detected(std::int32_t threatID);
    [[nodiscard]] bool DetectedThreatExists(std::int32_t threatID);
    [[nodiscard]] bool DetectedFileExists(std::int32_t threatID, std::string_view filePath);
    [[nodiscard]] bool DetectedFolderExists(std::int32_t threatID, std::string_view folderPath);
    [[nodiscard]] bool DetectedRegKeyExists(std::int32_t threatID, platform::Hive regHive, std::string_view regKey,
                                            std::string_view regValueName, std::string_view regValueData);
    [[nodiscard]] bool DetectedCustomExists(std::int32_t threatID, std::int32_t customID);
    DetectedThreat& FindOrCreate(enScanType scanType, std::int32_t threatID);

    std::shared_ptr<DetectedThreatCollection> detectedThreats_;
};

/// The scan of the run; null before the first one.
[[nodiscard]] const std::shared_ptr<Scan>& CurrentScan();
/// The scan of the run, kept alive for the caller. Raises error 91, with the caller's line, when there is none.
[[nodiscard]] std::shared_ptr<Scan> RequireCurrentScan(SourceLocation where = SourceLocation::current());
/// Makes a scan the current one, and lets the listing procedures of the system modules report through it.
void SetCurrentScan(std::shared_ptr<Scan> scan);
/// Installs a function that sees each scan when it becomes the current one. The scan of a single threat is let go at
/// the end of the call that makes it, so a front end that shows what it found must take hold of it before. Empty takes
/// the function away.
void ObserveScans(std::function<void(const std::shared_ptr<Scan>&)> observer);

}  // namespace kel
