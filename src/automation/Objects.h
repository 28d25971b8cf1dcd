// What of the engine is handed out to clients, and by which interface.
#pragma once

#include <kelThreatEngine.h>

#include "automation/Identity.h"

namespace kel {
class Cleaner;
class CleanerCallback;
class clsFolderPaths;
class DetectedThreat;
class IgnoredThreats;
class Info;
class Manager;
class QThreatLocationCookie;
class QThreatLocationFile;
class QThreatLocationFolder;
class QThreatLocationRegKey;
class QThreatLocationSpecial;
class Quarantine;
class QuarantineThreat;
class Recordset;
class Scan;
class ScanHistory;
class ScanHistoryDetail;
class Scanner;
class ScannerCallback;
class Settings;
class Threat;
class ThreatLite;
class ThreatLocationCookie;
class ThreatLocationCustom;
class ThreatLocationFile;
class ThreatLocationFolder;
class ThreatLocationRegKey;
class Threats;
}  // namespace kel

namespace kel::automation {

KEL_WRAPPED(kel::Cleaner, _Cleaner);
KEL_WRAPPED(kel::CleanerCallback, _CleanerCallback);
KEL_WRAPPED(kel::clsFolderPaths, _clsFolderPaths);
KEL_WRAPPED(kel::DetectedThreat, _DetectedThreat);
KEL_WRAPPED(kel::IgnoredThreats, _IgnoredThreats);
KEL_WRAPPED(kel::Info, _Info);
KEL_WRAPPED(kel::Manager, _Manager);
KEL_WRAPPED(kel::QThreatLocationCookie, _QThreatLocationCookie);
KEL_WRAPPED(kel::QThreatLocationFile, _QThreatLocationFile);
KEL_WRAPPED(kel::QThreatLocationFolder, _QThreatLocationFolder);
KEL_WRAPPED(kel::QThreatLocationRegKey, _QThreatLocationRegKey);
KEL_WRAPPED(kel::QThreatLocationSpecial, _QThreatLocationSpecial);
KEL_WRAPPED(kel::Quarantine, _Quarantine);
KEL_WRAPPED(kel::QuarantineThreat, _QuarantineThreat);
KEL_WRAPPED(kel::Recordset, _Recordset);
KEL_WRAPPED(kel::Scan, _Scan);
KEL_WRAPPED(kel::ScanHistory, _ScanHistory);
KEL_WRAPPED(kel::ScanHistoryDetail, _ScanHistoryDetail);
KEL_WRAPPED(kel::Scanner, _Scanner);
KEL_WRAPPED(kel::ScannerCallback, _ScannerCallback);
KEL_WRAPPED(kel::Settings, _Settings);
KEL_WRAPPED(kel::Threat, _Threat);
KEL_WRAPPED(kel::ThreatLite, _ThreatLite);
KEL_WRAPPED(kel::ThreatLocationCookie, _ThreatLocationCookie);
KEL_WRAPPED(kel::ThreatLocationCustom, _ThreatLocationCustom);
KEL_WRAPPED(kel::ThreatLocationFile, _ThreatLocationFile);
KEL_WRAPPED(kel::ThreatLocationFolder, _ThreatLocationFolder);
KEL_WRAPPED(kel::ThreatLocationRegKey, _ThreatLocationRegKey);
KEL_WRAPPED(kel::Threats, _Threats);

}  // namespace kel::automation
