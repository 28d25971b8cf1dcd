// Where the scanner calls what is not part of the engine yet. Each procedure is the one place of its call; the stage
// that brings the thing itself replaces the call and takes the procedure away. docs/roadmap.md says which stage that
// is.
#pragma once

#include <cstdint>
#include <string_view>

namespace kel {
class Scan;
}

namespace kel::later {

// Stages of a scan. They look at nothing, so they count and report nothing.
inline void ScanProcesses(bool /*blnScanProcessModules*/) {
}
inline void ScanCommonTactics() {
}
inline void ScanKnownFolders() {
}
inline void ScanKnownLocations() {
}
inline void ScanRegistry() {
}
inline void ScanCookies() {
}

// Nothing is related to a detection yet: it stands for itself.
inline void AddDetectedThreatFileRelations(std::int32_t /*ThreatID*/, std::string_view /*path*/) {
}
inline void AddDetectedThreatFolderContents(std::int32_t /*ThreatID*/, std::string_view /*folder*/, bool /*flag*/) {
}

// Processes are left running: there is nothing yet that lists or stops them.
inline void PrepareProcessLists() {
}
inline void SuspendActiveThreats() {
}

// The history tables exist, and nothing writes scans to them yet.
inline void AddToScanHistory(Scan& /*scan*/) {
}

}  // namespace kel::later
