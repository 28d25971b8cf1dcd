#include "results/Scan.h"

#include "catalogue/SignatureTable.h"
#include "catalogue/ThreatLite.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Guid.h"
#include "core/Text.h"
#include "results/Required.h"
#include "system/clsFolderPaths.h"
#include "system/modHelper.h"

namespace kel {

namespace {

constexpr const char* Module = "Scan";
constexpr const char* DefaultAbortReason = "User aborted spyware scan";

// The counter of a scan type, or null for one that does not count.
std::int32_t* ScannedCounter(Scan& scan, enScanType scanType) {
    switch (scanType) {
        case ScanTypeProcesses:
            return &scan.ScannedProcessCount;
        case ScanTypeFiles:
            return &scan.ScannedFileCount;
        case ScanTypeRegistry:
            return &scan.ScannedRegistryCount;
        case ScanTypeCookies:
            return &scan.ScannedCookieCount;
        default:
            return nullptr;
    }
}

std::int32_t* DetectedCounter(Scan& scan, enScanType scanType) {
    switch (scanType) {
        case ScanTypeProcesses:
            return &scan.DetectedProcessCount;
        case ScanTypeFiles:
        case ScanTypeFolder:
            return &scan.DetectedFileCount;
        case ScanTypeRegistry:
            return &scan.DetectedRegistryCount;
        case ScanTypeCookies:
            return &scan.DetectedCookieCount;
        default:
            return nullptr;
    }
}

}  // namespace

Scan::Scan() : ScanID(NewGuidString()) {
}

Scan::~Scan() = default;

std::shared_ptr<Scan::DetectedThreatCollection>& Scan::DetectedThreats() {
    if (!detectedThreats_) {
        detectedThreats_ = std::make_shared<DetectedThreatCollection>();
    }
    return detectedThreats_;
}

std::string Scan::TotalScanTime() {
    std::string time;
    Trap(Module, "TotalScanTime", [&] { time = modHelper::GetTotalTimeDispaly(StartDate, EndDate); });
    return time;
}

void Scan::EventStartingLocation(std::string_view szLocation, enScanType ScanType) {
    Trap(Module, "EventStartingLocation", [&] {
        // A subscriber may put another callback in its place; this event belongs to the one that began it.
        const std::shared_ptr<ScannerCallback> callback = Callback;
        std::int32_t* const counter = ScannedCounter(*this, ScanType);
        const std::int32_t count = counter != nullptr ? ++*counter : 0;
        if (!callback) {
            Raise(ErrObjectNotSet);
        }
        if (counter != nullptr) {
            callback->EventStartingLocation(szLocation, ScanType, count);
        }
        bool abort = false;
        callback->EventRequestScanAbort(abort);
        if (abort) {
            ScanAbortFlag() = true;
        }
    });
}

void Scan::EventThreatDetected(std::string_view szLocation, enScanType ScanType, std::int32_t ThreatID) {
    Trap(Module, "EventThreatDetected", [&] {
        std::int32_t* const counter = DetectedCounter(*this, ScanType);
        if (counter == nullptr) {
            return;
        }
        const std::int32_t count = ++*counter;
        if (const std::shared_ptr<ScannerCallback> callback = Callback) {
            callback->EventThreatDetected(szLocation, ScanType, ThreatID, count);
        }
    });
}

void Scan::EventScanAborted(std::string_view szReason) {
    Trap(Module, "EventScanAborted", [&] {
        ScanAbortFlag() = true;
        if (const std::shared_ptr<ScannerCallback> callback = Callback) {
            callback->EventScanAborted(szReason);
        }
        AbortReason = szReason.empty() ? DefaultAbortReason : szReason;
    });
}

std::string Scan::GetFilePathFromDetectedCookie(std::int32_t ThreatID, std::string_view Cookie) {
    std::string path;
    Trap(Module, "GetFilePathFromDetectedCookie", [&] {
        if (!DetectedThreatExists(ThreatID)) {
            return;
        }
        for (const auto& location : Required(Detected(ThreatID).ThreatLocationCookies)) {
            if (EqualText(Required(location).Cookie, Cookie)) {
                path = location->DetectedFilePath;
            }
        }
    });
    return path;
}

std::string Scan::GetFilePathFromDetectedFile(std::int32_t ThreatID, std::string_view MD5) {
    std::string path;
    Trap(Module, "GetFilePathFromDetectedFile", [&] {
        if (!DetectedThreatExists(ThreatID)) {
            return;
        }
        for (const auto& location : Required(Detected(ThreatID).ThreatLocationFiles)) {
            if (EqualText(Required(location).MD5, MD5)) {
                path = location->DetectedFilePath();
            }
        }
    });
    return path;
}

std::int32_t Scan::DetectedThreatCount() {
    return static_cast<std::int32_t>(DetectedThreats()->Count());
}

std::string Scan::GetDetectedThreat(std::int32_t ThreatIndex) {
    if (ThreatIndex < 1) {
        Raise(ErrSubscriptOutOfRange);
    }
    const DetectedThreat& threat = Required(DetectedThreats()->Item(static_cast<std::size_t>(ThreatIndex)));
    return Text(threat.ScanType) + "|" + Required(threat.Threat).ThreatName;
}

std::int16_t Scan::GetFileOptionLevel(std::string_view MD5, std::string_view /*FilePath*/) {
    std::int16_t level = 0;
    ResumeNext([&] {
        if (const auto& table = State().MD5DataTable) {
            if (const auto hit = table->Find(MD5)) {
                level = hit->OptionalScan;
            }
        }
    });
    return level;
}

}  // namespace kel
