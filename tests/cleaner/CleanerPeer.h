// What the cleaner's stages call, for tests of their own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cleaner/Cleaner.h"

namespace kel {

struct CleanerPeer {
    static QuarantineRecords QuarantineFile(Cleaner& cleaner, std::int32_t threat, std::string_view path,
                                            enThreatFileTypes type, std::string_view folder) {
        return cleaner.HelperQuarantineFile(threat, path, type, folder);
    }
    static QuarantineRecords QuarantineFolder(Cleaner& cleaner, std::int32_t threat, std::string_view path,
                                              std::string_view folder, bool recursing = false) {
        return cleaner.HelperQuarantineFolder(threat, path, folder, recursing);
    }
    static enCleanerErrors RemoveProvider(Cleaner& cleaner, std::string_view path) {
        return cleaner.HelperRemoveLSP(7, path);
    }
    static enCleanerErrors RemoveProvider(Cleaner& cleaner, std::string_view path, std::string_view controlSet) {
        return cleaner.HelperRemoveLSPByControlSet(7, path, controlSet);
    }
    static void LeaveToNextStart(Cleaner& cleaner, std::int32_t threat, std::string_view reason,
                                 std::string_view path) {
        cleaner.AddCleanerRequiredforThreat(threat, reason, path);
    }
    static bool IsThreatLeft(const Cleaner& cleaner, std::int32_t threat) {
        return cleaner.IsThreatCleanerRequired(threat);
    }
    static bool IsFileLeft(const Cleaner& cleaner, std::string_view path) {
        return cleaner.IsFileCleanerRequired(path);
    }
    static bool IsFolderLeft(const Cleaner& cleaner, std::string_view path) {
        return cleaner.IsFolderCleanerRequired(path);
    }
    static std::shared_ptr<DetectedThreat> Generate(Cleaner& cleaner, std::int32_t threat) {
        return cleaner.GenerateDetectedThreat(threat);
    }
    static std::string FileOf(Cleaner& cleaner, std::int32_t threat, std::string_view md5) {
        return cleaner.GetFilePathFromDetectedFile(threat, md5);
    }
    static std::string CookieOf(Cleaner& cleaner, std::int32_t threat, std::string_view cookie) {
        return cleaner.GetCookieFilePath(threat, cookie);
    }
    static void SetScanID(Cleaner& cleaner, std::string_view scanID) { cleaner.scanID_ = scanID; }
    static void SetThreatName(Cleaner& cleaner, std::string_view name) { cleaner.currentThreatName_ = name; }
};

}  // namespace kel
