// How a finding becomes a detection.
#include <utility>

#include "catalogue/SignatureTable.h"
#include "catalogue/ThreatLite.h"
#include "catalogue/modThreats.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "results/Required.h"
#include "results/Scan.h"
#include "results/modIgnoredThreats.h"
#include "system/modFiles.h"
#include "system/modHelper.h"

namespace kel {

namespace {

constexpr const char* Module = "Scan";
constexpr const char* CustomText = "Threat detected";

std::string KeyOf(std::int32_t threatID) {
    return "ThreatID:" + Text(threatID);
}

// The tests for duplicates report nothing: what fails in them is no duplicate.
template <class Test>
bool Succeeds(Test&& test) {
    bool answer = false;
    ResumeNext([&] { answer = test(); });
    return answer;
}

bool IsCookieSignature(std::string_view cookie, std::int16_t& level) {
    const auto& table = State().CookieDataTable;
    const auto hit = table ? table->Find(cookie) : std::nullopt;
    level = hit ? hit->OptionalScan : std::int16_t{0};
    return hit.has_value();
}

}  // namespace

DetectedThreat& Scan::Detected(std::int32_t threatID) {
    return Required(DetectedThreats()->Item(KeyOf(threatID)));
}

bool Scan::DetectedThreatExists(std::int32_t threatID) {
    return Succeeds([&] { return DetectedThreats()->Contains(KeyOf(threatID)); });
}

DetectedThreat& Scan::FindOrCreate(enScanType scanType, std::int32_t threatID) {
    if (!DetectedThreatExists(threatID)) {
        const auto threat = std::make_shared<DetectedThreat>();
        threat->ThreatID = threatID;
        threat->ScanID = RequireCurrentScan()->ScanID;
        threat->ScanType = scanType;
        threat->OptionLevel = LastOptionalScan();
        threat->Threat = modThreats::GetThreatLiteByThreatID(threatID);
        DetectedThreats()->Add(threat, KeyOf(threatID));
    }
    return Detected(threatID);
}

bool Scan::DetectedFileExists(std::int32_t threatID, std::string_view filePath) {
    return Succeeds(
        [&] { return !filePath.empty() && DetectedThreatExists(threatID) && Detected(threatID).HasFile(filePath); });
}

bool Scan::DetectedFolderExists(std::int32_t threatID, std::string_view folderPath) {
    return Succeeds([&] {
        return !folderPath.empty() && DetectedThreatExists(threatID) && Detected(threatID).HasFolder(folderPath);
    });
}

bool Scan::DetectedRegKeyExists(std::int32_t threatID, platform::Hive regHive, std::string_view regKey,
                                std::string_view regValueName, std::string_view regValueData) {
    return Succeeds([&] {
        if (regKey.empty() || !DetectedThreatExists(threatID)) {
            return false;
        }
        // The stored texts are not put in lower case, so only a location stored in lower case refuses another.
        return Detected(threatID).HasRegKey(regHive, LCase(regKey), LCase(regValueName), LCase(regValueData));
    });
}

bool Scan::DetectedCustomExists(std::int32_t threatID, std::int32_t customID) {
    return Succeeds([&] {
        if (customID == 0 || !DetectedThreatExists(threatID)) {
            return false;
        }
        return Detected(threatID).HasCustom(customID);
    });
}

void Scan::AddDetectedThreatCookie(enScanType ScanType, std::int32_t ThreatID, std::string_view Cookie,
                                   std::string_view FilePath) {
    Trap(Module, "AddDetectedThreatCookie", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        DetectedThreat& threat = FindOrCreate(ScanType, ThreatID);
        const auto location = std::make_shared<ThreatLocationCookie>();
        location->Cookie = Cookie;
        location->DetectedFilePath = FilePath;
        if (!IsCookieSignature(Cookie, location->OptionLevel)) {
            Raise(State().CookieDataTable ? ErrInvalidProcedureCall : ErrObjectNotSet, Cookie);
        }
        Required(threat.ThreatLocationCookies).Add(location);
        EventThreatDetected(Cookie, ScanType, ThreatID);
    });
}

void Scan::AddDetectedThreatFile(enScanType ScanType, std::int32_t ThreatID, std::string_view MD5,
                                 std::string_view FilePath) {
    Trap(Module, "AddDetectedThreatFile", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        std::string path(FilePath);
        if (InStr(path, "~") != 0) {
            path = modFiles::LongPathFromShortPath(path);
            if (InStr(path, "?") != 0) {
                path = FilePath;
            }
        }
        if (!modFiles::FileExists(path)) {
            if (modFiles::FolderExists(path)) {
                AddDetectedThreatFolder(ScanTypeFolder, ThreatID, path);
            }
            return;
        }
        if (DetectedFileExists(ThreatID, path)) {
            return;
        }
        DetectedThreat& threat = FindOrCreate(ScanType, ThreatID);
        const auto location = std::make_shared<ThreatLocationFile>(path);
        location->MD5 = MD5;
        location->OptionLevel = GetFileOptionLevel(MD5, path);
        Required(threat.ThreatLocationFiles).Add(location);
        EventThreatDetected(path, ScanType, ThreatID);
    });
}

void Scan::AddDetectedThreatFolder(enScanType ScanType, std::int32_t ThreatID, std::string_view FolderPath) {
    Trap(Module, "AddDetectedThreatFolder", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        std::string path(FolderPath);
        if (InStr(path, "~") != 0) {
            path = modFiles::LongPathFromShortPath(path);
        }
        if (DetectedFolderExists(ThreatID, path)) {
            return;
        }
        DetectedThreat& threat = FindOrCreate(ScanType, ThreatID);
        const auto location = std::make_shared<ThreatLocationFolder>(path);
        Required(threat.ThreatLocationFolders).Add(location);
        EventThreatDetected(path, ScanType, ThreatID);
    });
}

void Scan::AddDetectedThreatRegKey(enScanType ScanType, std::int32_t ThreatID, platform::Hive RegHive,
                                   std::string_view Regkey, std::string_view RegValueName,
                                   std::string_view RegValueData, std::int16_t ScanLevel) {
    Trap(Module, "AddDetectedThreatRegKey", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID) ||
            DetectedRegKeyExists(ThreatID, RegHive, Regkey, RegValueName, RegValueData)) {
            return;
        }
        DetectedThreat& threat = FindOrCreate(ScanType, ThreatID);
        const auto location = std::make_shared<ThreatLocationRegKey>(RegHive, Regkey, RegValueName, RegValueData);
        location->OptionLevel = ScanLevel;
        Required(threat.ThreatLocationRegKeys).Add(location);
        EventThreatDetected(modHelper::GetRegistryHiveNameFromHive(RegHive) + "\\" + std::string(Regkey), ScanType,
                            ThreatID);
    });
}

void Scan::AddDetectedThreatCustom(enScanType ScanType, std::int32_t ThreatID,
                                   std::shared_ptr<ThreatLocationCustom> oThreatLocationCustom) {
    Trap(Module, "AddDetectedThreatCustom", [&] {
        if (modIgnoredThreats::IsIgnoredThreatID(ThreatID)) {
            return;
        }
        if (DetectedCustomExists(ThreatID, Required(oThreatLocationCustom).CustomID())) {
            return;
        }
        Required(FindOrCreate(ScanType, ThreatID).ThreatLocationCustoms).Add(oThreatLocationCustom);
        EventThreatDetected(CustomText, ScanType, ThreatID);
    });
}

}  // namespace kel
