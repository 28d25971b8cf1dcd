// Options of a scan, and the operations that pass on to file identification.
#include <cstddef>
#include <limits>
#include <utility>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "scanner/EngineData.h"
#include "scanner/Scanner.h"
#include "scanner/ScannerModule.h"
#include "scanner/modScannerCookies.h"
#include "scanner/modScannerFiles.h"

namespace kel {

namespace {

constexpr const char* Module = "Scanner";

}  // namespace

Scanner::Paths& Scanner::DrivesAndPaths() {
    if (!scanDriveAndPaths_) {
        scanDriveAndPaths_ = std::make_shared<Paths>();
    }
    return *scanDriveAndPaths_;
}

void Scanner::AddScanDriveAndPath(std::string_view ThisDrive) {
    Trap(Module, "AddScanDriveAndPath", [&] {
        DrivesAndPaths().Add(std::string(ThisDrive));
        scanPathsAreDefault_ = false;
    });
}

std::int16_t Scanner::ScanDriveAndPathCount() {
    std::int16_t count = 0;
    Trap(Module, "ScanDriveAndPathCount", [&] {
        const std::size_t entries = DrivesAndPaths().Count();
        if (std::cmp_greater(entries, std::numeric_limits<std::int16_t>::max())) {
            Raise(ErrOverflow);
        }
        count = static_cast<std::int16_t>(entries);
    });
    return count;
}

std::string Scanner::GetScanDriveAndPath(std::int16_t ThisIndex) {
    if (ThisIndex < 1 || std::cmp_greater(ThisIndex, DrivesAndPaths().Count())) {
        return {};
    }
    return DrivesAndPaths().Item(static_cast<std::size_t>(ThisIndex));
}

std::int32_t Scanner::OptMaxMD5Len() const {
    return kel::OptMaxMD5Len();
}

void Scanner::SetOptMaxMD5Len(std::int32_t bytes) {
    kel::OptMaxMD5Len() = bytes;
}

std::int32_t Scanner::ScannerPriority() const {
    return SharedByScanners().scannerPriority;
}

void Scanner::SetScannerPriority(std::int32_t priority) {
    // The two calls read the number differently, and neither result is looked at.
    platform::Processes& processes = *platform::Current().processes;
    processes.SetPriorityClass(static_cast<std::uint32_t>(priority));
    processes.SetThreadPriority(priority);
    SharedByScanners().scannerPriority = priority;
}

bool Scanner::SuspendActive() const {
    return SharedByScanners().suspendActive;
}

void Scanner::SetSuspendActive(bool suspend) {
    SharedByScanners().suspendActive = suspend;
}

bool Scanner::ScanAllUsers() const {
    return SharedByScanners().scanAllUsers;
}

void Scanner::SetScanAllUsers(bool all) {
    SharedByScanners().scanAllUsers = all;
}

std::int16_t Scanner::OptMaxOptionLevel() const {
    return kel::OptMaxOptionLevel();
}

void Scanner::SetOptMaxOptionLevel(std::int16_t level) {
    kel::OptMaxOptionLevel() = level;
}

bool Scanner::optWriteHistory() const {
    return SharedByScanners().writeHistory;
}

void Scanner::SetoptWriteHistory(bool write) {
    SharedByScanners().writeHistory = write;
}

std::string Scanner::UserDataRootPath() const {
    return State().UserDataRootPath;
}

void Scanner::SetUserDataRootPath(std::string_view path) {
    Trap(Module, "UserDataRootPath", [&] {
        State().UserDataRootPath = WithBackslash(path);
        State().UserDataFolderIsSet = true;
        State().UserDataFolder = State().UserDataRootPath;
        modMain::PrepareUserDataFolder();
        if (!State().DataInitialized) {
            modMain::LoadEngineData();
        }
    });
}

void Scanner::GetScannerVersion(std::int32_t /*MajorVersion*/, std::int32_t /*MinorVersion*/,
                                std::int32_t /*Revision*/) const {
}

std::int32_t Scanner::ScanDBVersion() const {
    std::int32_t version = 0;
    Trap(Module, "ScanDBVersion", [&] { version = ToLong(State().ThreatDataVersion); });
    return version;
}

std::int32_t Scanner::IsFileThreat(std::string_view FilePath, std::string_view AltPath, enScanDepth ScanDepth,
                                   std::string_view MD5) {
    return modScannerFiles::IsFileThreat(FilePath, AltPath, ScanDepth, MD5);
}

std::int32_t Scanner::FileThreatExists(std::string_view ThisFile) {
    return modScannerFiles::FileThreatExists(ThisFile);
}

std::int32_t Scanner::IsFolderThreat(std::string_view FolderPath,
                                     const std::shared_ptr<clsFolderPaths>& oclsFolderPaths) {
    return modScannerFiles::IsFolderThreat(FolderPath, oclsFolderPaths);
}

void Scanner::ScanCookies() {
    modScannerCookies::ScanCookies();
}

std::int32_t Scanner::MD5ThreatExists(std::string_view ThisMD5) {
    return modScannerFiles::MD5ThreatExists(ThisMD5);
}

std::int32_t Scanner::FilePathThreatExists(std::string_view ThisPath) {
    return modScannerFiles::FilePathThreatExists(ThisPath);
}

std::int32_t Scanner::FolderThreatExists(std::string_view ThisFolder) {
    return modScannerFiles::FolderThreatExists(ThisFolder);
}

std::int32_t Scanner::CookieThreatExists(std::string_view ThisCookie) {
    return modScannerFiles::CookieThreatExists(ThisCookie);
}

const std::shared_ptr<Scan::DetectedThreatCollection>& ThreatsToClean() {
    return SharedByScanners().threatsToClean;
}

bool ScanInProgress() {
    return SharedByScanners().scanInProgress;
}

}  // namespace kel
