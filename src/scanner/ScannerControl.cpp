// Beginning, ending and resetting a scan, and the orders of its stages.
#include <functional>
#include <memory>
#include <string>

#include "archive/XceedZip.h"
#include "catalogue/ShippedTables.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Paths.h"
#include "platform/Platform.h"
#include "results/ScanHistory.h"
#include "rules/RunningPrograms.h"
#include "scanner/EngineData.h"
#include "scanner/Scanner.h"
#include "scanner/ScannerModule.h"
#include "scanner/modScannerFiles.h"
#include "system/clsFolderPaths.h"
#include "system/modFolderPaths.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";

std::int32_t ThreatDataFileLength() {
    const std::string path = shipped::Path(shipped::ThreatData);
    const auto length = platform::Current().files->Length(path);
    if (!length) {
        paths::RaiseFileError(length.Error(), path);
    }
    return static_cast<std::int32_t>(*length);
}

void LoadFolders(Scan& scan) {
    scan.FolderPaths = std::make_shared<clsFolderPaths>();
    scan.FolderPaths->LoadFolderPaths();
    modScannerFiles::TakeFolders(*scan.FolderPaths);
}

void ClearCounters(Scan& scan) {
    scan.DetectedCookieCount = 0;
    scan.DetectedFileCount = 0;
    scan.DetectedProcessCount = 0;
    scan.DetectedRegistryCount = 0;
    scan.ScannedProcessCount = 0;
    scan.ScannedCookieCount = 0;
    scan.ScannedFileCount = 0;
    scan.ScannedRegistryCount = 0;
}

Date Now() {
    return platform::Current().clock->Now();
}

}  // namespace

Scanner::Scanner() {
    archive::XceedZipInitDLL();
}

void Scanner::ClearForScan() {
    lastError_.clear();
    lastErrorCode_ = 0;
    scannerState_ = ScannerStateReady;
}

bool Scanner::InitializeScan() {
    Trap(Module, "InitializeScan", [&] {
        SharedByScanners().scanInProgress = false;
        kel::OptMaxMD5Len() = DefaultMaxMD5Len;
        if (ThreatDataFileLength() != State().ThreatDataFileLength || !State().DataInitialized) {
            modMain::LoadEngineData();
        }
        ClearForScan();
        if (scanPathsAreDefault_) {
            scanDriveAndPaths_ = std::make_shared<Paths>();
        }
        ScanAbortFlag() = false;
        const auto scan = std::make_shared<kel::Scan>();
        SetCurrentScan(scan);
        SharedByScanners().threatsToClean.reset();
        scan->StartDate = Now();
        scan->Callback = std::make_shared<ScannerCallback>();
        LoadFolders(*scan);
    });
    return true;
}

bool Scanner::ResetScan() {
    Trap(Module, "ResetScan", [&] {
        ClearForScan();
        scanDriveAndPaths_ = std::make_shared<Paths>();
        ScanAbortFlag() = false;
        if (CurrentScan()) {
            const std::shared_ptr<kel::Scan> scan = RequireCurrentScan();
            scan->StartDate = Now();
            ClearCounters(*scan);
            SharedByScanners().threatsToClean = std::make_shared<kel::Scan::DetectedThreatCollection>();
            LoadFolders(*scan);
        }
    });
    return true;
}

void Scanner::SetScanComplete() {
    Trap(Module, "SetScanComplete", [&] {
        scannerState_ = ScannerStateComplete;
        const std::shared_ptr<kel::Scan> scan = RequireCurrentScan();
        if (IsScheduledScan) {
            scan->IsScheduledScan = true;
        }
        scan->EndDate = Now();
        if (SharedByScanners().writeHistory) {
            ScanHistory().Add(scan);
        }
    });
}

void Scanner::AbortScan(std::string_view szReason) {
    Trap(Module, "AbortScan", [&] {
        ScanAbortFlag() = true;
        scannerState_ = ScannerStateAbort;
        RequireCurrentScan()->EventScanAborted(szReason);
    });
}

bool Scanner::RunScanEasy() {
    bool finished = false;
    // The log knows this order by the name of another one.
    Trap(Module, "RunQuickScan", [&] {
        SharedByScanners().scanInProgress = true;
        if (kel::OptMaxMD5Len() == 0) {
            kel::OptMaxMD5Len() = DefaultMaxMD5Len;
        }
        modCleanerHelper::PrepareProcessLists();
        if (SharedByScanners().suspendActive) {
            modCleanerHelper::SuspendActiveThreats();
        }
        // A call that the yield behind a stage lets in may end the scan there.
        if (DoScanProcesses) {
            ScanProcesses(OptScanProcessesDeep);
            DoEvents();
        }
        if (DoMostCommon && !ScanAbortFlag()) {
            ScanMostCommon();
            DoEvents();
        }
        if (DoDriveScan && !ScanAbortFlag()) {
            ScanDriveOrFolder();
            DoEvents();
        }
        if (DoScanRegistry && !ScanAbortFlag()) {
            ScanRegistry();
            DoEvents();
        }
        if (DoScanCookies && !ScanAbortFlag()) {
            ScanCookies();
            DoEvents();
        }
        SetScanComplete();
        SharedByScanners().threatsToClean = RequireCurrentScan()->DetectedThreats();
        finished = !ScanAbortFlag();
        SharedByScanners().scanInProgress = false;
    });
    return finished;
}

bool Scanner::ScanMostCommon() {
    Trap(Module, "ScanMostCommon", [&] {
        ScanCommonTactics();
        if (!DoSkipCommonFiles && !ScanAbortFlag()) {
            ScanKnownFiles();
        }
        if (!ScanAbortFlag()) {
            ScanKnownFolders();
        }
        if (!ScanAbortFlag()) {
            ScanKnownLocations();
        }
    });
    return false;
}

void Scanner::RunQuickScan() {
    Trap(Module, "RunQuickScan", [&] {
        const std::function<void()> stages[] = {
            [this] { ScanProcesses(false); }, [this] { ScanKnownLocations(); }, [this] { ScanKnownFiles(); },
            [this] { ScanKnownFolders(); },   [this] { ScanCommonTactics(); },  [this] { ScanRegistry(); },
            [this] { ScanCookies(); },
        };
        for (const auto& stage : stages) {
            if (!ScanAbortFlag()) {
                stage();
            }
        }
        SetScanComplete();
    });
}

void Scanner::RunExhaustiveScan() {
    Trap(Module, "RunExhaustiveScan", [&] {
        ScanProcesses(true);
        for (const std::string& drive : modFolderPaths::GetFixedDrives()) {
            if (ScanAbortFlag()) {
                break;
            }
            ScanFolder(drive, false, false);
        }
        if (!ScanAbortFlag()) {
            ScanRegistry();
        }
        if (!ScanAbortFlag()) {
            ScanCookies();
        }
        SetScanComplete();
    });
}

}  // namespace kel
