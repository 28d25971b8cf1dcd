#include "automation/Classes.h"

#include <array>

#include "automation/Objects.h"
#include "catalogue/Threat.h"
#include "catalogue/ThreatLite.h"
#include "catalogue/Threats.h"
#include "cleaner/Cleaner.h"
#include "cleaner/CleanerCallback.h"
#include "engine/Info.h"
#include "engine/Manager.h"
#include "engine/Settings.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineThreat.h"
#include "results/DetectedThreat.h"
#include "results/IgnoredThreats.h"
#include "results/Scan.h"
#include "results/ScanHistory.h"
#include "results/ScanHistoryDetail.h"
#include "results/ScannerCallback.h"
#include "scanner/Scanner.h"

namespace kel::automation {

namespace {

template <class Engine>
ComPtr<IUnknown> Make() {
    return ComPtr<IUnknown>(Wrap(std::make_shared<Engine>()).Get());
}

constexpr std::array Classes{
    CreatableClass{__uuidof(::Manager), "Manager", Make<kel::Manager>},
    CreatableClass{__uuidof(::Settings), "Settings", Make<kel::Settings>},
    CreatableClass{__uuidof(::Info), "Info", Make<kel::Info>},
    CreatableClass{__uuidof(::Threats), "Threats", Make<kel::Threats>},
    CreatableClass{__uuidof(::Threat), "Threat", Make<kel::Threat>},
    CreatableClass{__uuidof(::ThreatLite), "ThreatLite", Make<kel::ThreatLite>},
    CreatableClass{__uuidof(::Scanner), "Scanner", Make<kel::Scanner>},
    CreatableClass{__uuidof(::Scan), "Scan", Make<kel::Scan>},
    CreatableClass{__uuidof(::DetectedThreat), "DetectedThreat", Make<kel::DetectedThreat>},
    CreatableClass{__uuidof(::ThreatLocationCookie), "ThreatLocationCookie", Make<kel::ThreatLocationCookie>},
    CreatableClass{__uuidof(::ThreatLocationFile), "ThreatLocationFile", Make<kel::ThreatLocationFile>},
    CreatableClass{__uuidof(::ThreatLocationFolder), "ThreatLocationFolder", Make<kel::ThreatLocationFolder>},
    CreatableClass{__uuidof(::ThreatLocationRegKey), "ThreatLocationRegKey", Make<kel::ThreatLocationRegKey>},
    CreatableClass{__uuidof(::ThreatLocationCustom), "ThreatLocationCustom", Make<kel::ThreatLocationCustom>},
    CreatableClass{__uuidof(::ScannerCallback), "ScannerCallback", Make<kel::ScannerCallback>},
    CreatableClass{__uuidof(::ScanHistory), "ScanHistory", Make<kel::ScanHistory>},
    CreatableClass{__uuidof(::ScanHistoryDetail), "ScanHistoryDetail", Make<kel::ScanHistoryDetail>},
    CreatableClass{__uuidof(::IgnoredThreats), "IgnoredThreats", Make<kel::IgnoredThreats>},
    CreatableClass{__uuidof(::Quarantine), "Quarantine", Make<kel::Quarantine>},
    CreatableClass{__uuidof(::QuarantineThreat), "QuarantineThreat", Make<kel::QuarantineThreat>},
    CreatableClass{__uuidof(::QThreatLocationFile), "QThreatLocationFile", Make<kel::QThreatLocationFile>},
    CreatableClass{__uuidof(::QThreatLocationCookie), "QThreatLocationCookie", Make<kel::QThreatLocationCookie>},
    CreatableClass{__uuidof(::QThreatLocationFolder), "QThreatLocationFolder", Make<kel::QThreatLocationFolder>},
    CreatableClass{__uuidof(::QThreatLocationRegKey), "QThreatLocationRegKey", Make<kel::QThreatLocationRegKey>},
    CreatableClass{__uuidof(::QThreatLocationSpecial), "QThreatLocationSpecial", Make<kel::QThreatLocationSpecial>},
    CreatableClass{__uuidof(::Cleaner), "Cleaner", Make<kel::Cleaner>},
    CreatableClass{__uuidof(::CleanerCallback), "CleanerCallback", Make<kel::CleanerCallback>},
};

}  // namespace

std::span<const CreatableClass> CreatableClasses() {
    return Classes;
}

}  // namespace kel::automation
