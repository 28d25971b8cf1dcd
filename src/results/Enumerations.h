// Kinds of locations and of detections, as clients see them.
#pragma once

#include <cstdint>

namespace kel {

/// What a location or a detection belongs to. The scan's counters go by it.
enum enScanType : std::int32_t {
    ScanTypeProcesses = 1,
    ScanTypeFiles = 2,
    ScanTypeRegistry = 3,
    ScanTypeCookies = 4,
    ScanTypeFolder = 5,
};

/// What became of a detected threat.
enum enDetectedThreatAction : std::int32_t {
    DetectedThreatActionNone = 0,
    DetectedThreatActionQuarantined = 1,
    DetectedThreatActionDeleted = 2,
};

enum enThreatFileTypes : std::int32_t {
    ThreatFileTypeGeneral = 0,
    ThreatFileTypeExe = 1,
    ThreatFileTypeDll = 2,
    ThreatFileTypeOCX = 3,
    ThreatFileTypeSYS = 4,
    ThreatFileTypeUnknown = 10,
};

enum enThreatLocationTypes : std::int32_t {
    ThreatLocationTypeFile = 1,
    ThreatLocationTypeFolder = 2,
    ThreatLocationTypeRegistry = 3,
    ThreatLocationTypeCookie = 4,
};

/// Whether a custom location is cleaned before or after the others.
enum enCustomCleanPriority : std::int32_t { CustomCleanPriorityPre = 0, CustomCleanPriorityPost = 1 };

}  // namespace kel
