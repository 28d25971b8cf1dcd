// The results of a scan as text. Blanks, line ends, and which values are escaped are the format: front ends read it as
// it is.
#include <initializer_list>
#include <string>
#include <string_view>

#include "catalogue/ThreatLite.h"
#include "core/Failures.h"
#include "core/Text.h"
#include "results/EscapeXMLText.h"
#include "results/Required.h"
#include "results/Scan.h"
#include "system/modKvFileExplorer.h"

namespace kel {

namespace {

constexpr const char* Module = "Scan";
constexpr std::string_view LineEnd = "\r\n";

// What the attribute with the name of a threat, a file or a cookie is called. The full report has the short form.
constexpr std::string_view Name = "name";
constexpr std::string_view FullName = "nam";

void Append(std::string& report, std::initializer_list<std::string_view> parts) {
    for (const std::string_view part : parts) {
        report += part;
    }
}

void AppendFiles(std::string& report, const DetectedThreat& threat, std::string_view name) {
    Append(report, {"<Files>", LineEnd});
    for (const auto& entry : Required(threat.ThreatLocationFiles)) {
        const ThreatLocationFile& file = Required(entry);
        const std::string publisher = modKvFileExplorer::GetApplicationPublisherFromPath(file.DetectedFilePath());
        Append(report, {"<File ", name, "=\"", EscapeXMLText(file.FileName), "\" md5=\"", file.MD5, "\" pub=\"",
                        EscapeXMLText(publisher), "\"> ", EscapeXMLText(file.DetectedFilePath()), "</File>", LineEnd});
    }
    Append(report, {"</Files>", LineEnd});
}

void AppendFolders(std::string& report, const DetectedThreat& threat) {
    Append(report, {"<Folders>", LineEnd});
    for (const auto& entry : Required(threat.ThreatLocationFolders)) {
        Append(report, {"<Folder> ", Required(entry).DetectedFolderPath(), "</Folder>", LineEnd});
    }
    Append(report, {"</Folders>", LineEnd});
}

void AppendRegKeys(std::string& report, const DetectedThreat& threat) {
    Append(report, {"<RegKeys>", LineEnd});
    for (const auto& entry : Required(threat.ThreatLocationRegKeys)) {
        const ThreatLocationRegKey& key = Required(entry);
        Append(report, {"<RegKey reghive=\"", Text(key.RegHive()), "\" regkey=\"", key.Regkey(), "\" regvaluename=\"",
                        EscapeXMLText(key.RegValueName()), "\" regvaluedata=\"",
                        EscapeXMLText(Replace(key.RegValueData(), "\"", "")), "\"></RegKey>", LineEnd});
    }
    Append(report, {"</RegKeys>", LineEnd});
}

// The path is an attribute here, and what the element holds in the full report.
void AppendCookies(std::string& report, const DetectedThreat& threat) {
    Append(report, {"<Cookies>", LineEnd});
    for (const auto& entry : Required(threat.ThreatLocationCookies)) {
        const ThreatLocationCookie& cookie = Required(entry);
        Append(report, {"<Cookie name=\"", EscapeXMLText(cookie.Cookie), "\" file=\"",
                        EscapeXMLText(cookie.DetectedFilePath), "\"> </Cookie>", LineEnd});
    }
    Append(report, {"</Cookies>", LineEnd});
}

void AppendCookiesOfFullReport(std::string& report, const DetectedThreat& threat) {
    Append(report, {"<Cookies>", LineEnd});
    for (const auto& entry : Required(threat.ThreatLocationCookies)) {
        const ThreatLocationCookie& cookie = Required(entry);
        Append(report, {"<Cookie nam=\"", EscapeXMLText(cookie.Cookie), "\"> ", EscapeXMLText(cookie.DetectedFilePath),
                        "</Cookie>", LineEnd});
    }
    Append(report, {"</Cookies>", LineEnd});
}

void AppendThreatStart(std::string& report, const DetectedThreat& threat, std::string_view name) {
    const ThreatLite& record = Required(threat.Threat);
    Append(report,
           {"<Threat threatid=\"", Text(threat.ThreatID), "\" ", name, "=\"", EscapeXMLText(record.ThreatName),
            "\" category=\"", record.Category, "\" threattype=\"", record.ThreatType, "\" threatlevel=\"",
            Text(record.ThreatLevel), "\" desc=\"", EscapeXMLText(record.GetDescriptionDisplay()), "\">", LineEnd});
}

/// The frame of every report.
/// @param appendThreat appends the element of a threat, or nothing
template <class AppendThreat>
std::string Framed(Scan& scan, AppendThreat&& appendThreat) {
    std::string report;
    Append(report, {"<ScanResultsXML startdate=\"", DateText(scan.StartDate), "\" enddate=\"", DateText(scan.EndDate),
                    "\">", LineEnd, "<Threats>", LineEnd});
    for (const auto& entry : *scan.DetectedThreats()) {
        appendThreat(report, Required(entry));
    }
    Append(report, {"</Threats>", LineEnd, "</ScanResultsXML>"});
    return report;
}

bool HasName(const DetectedThreat& threat) {
    return !Required(threat.Threat).ThreatName.empty();
}

/// A report on one kind of location: of the threats that have a name and such locations.
/// @param locations the threat's locations of that kind
template <class Location, class AppendLocations>
std::string LocationReport(Scan& scan, DetectedThreat::Locations<Location> DetectedThreat::*locations,
                           AppendLocations&& appendLocations) {
    return Framed(scan, [&](std::string& report, const DetectedThreat& threat) {
        if (Required(threat.*locations).Count() == 0 || !HasName(threat)) {
            return;
        }
        AppendThreatStart(report, threat, Name);
        appendLocations(report, threat);
        Append(report, {"</Threat>", LineEnd});
    });
}

}  // namespace

std::string Scan::ScanResultsCookies() {
    std::string result;
    Trap(Module, "ScanResultsCookies", [&] {
        if (DetectedCookieCount != 0) {
            result = LocationReport(*this, &DetectedThreat::ThreatLocationCookies, AppendCookies);
        }
    });
    return result;
}

std::string Scan::ScanResultsRegistry() {
    std::string result;
    Trap(Module, "ScanResultsRegistry", [&] {
        if (DetectedRegistryCount != 0) {
            result = LocationReport(*this, &DetectedThreat::ThreatLocationRegKeys, AppendRegKeys);
        }
    });
    return result;
}

std::string Scan::ScanResultsFiles() {
    std::string result;
    Trap(Module, "ScanResultsFiles", [&] {
        result = LocationReport(
            *this, &DetectedThreat::ThreatLocationFiles,
            [](std::string& report, const DetectedThreat& threat) { AppendFiles(report, threat, Name); });
    });
    return result;
}

std::string Scan::ScanResultsFolders() {
    std::string result;
    Trap(Module, "ScanResultsFolders",
         [&] { result = LocationReport(*this, &DetectedThreat::ThreatLocationFolders, AppendFolders); });
    return result;
}

std::string Scan::ScanResultsSummary() {
    std::string result;
    Trap(Module, "ScanResultsSummary", [&] {
        result = Framed(*this, [](std::string& report, const DetectedThreat& threat) {
            if (HasName(threat)) {
                AppendThreatStart(report, threat, Name);
                // Without a line end: the next element stands on the same line.
                report += "</Threat>";
            }
        });
    });
    return result;
}

std::string Scan::ScanResultsFull() {
    std::string result;
    Trap(Module, "ScanResultsFull", [&] {
        result = Framed(*this, [](std::string& report, const DetectedThreat& threat) {
            AppendThreatStart(report, threat, FullName);
            AppendFiles(report, threat, FullName);
            AppendFolders(report, threat);
            AppendRegKeys(report, threat);
            AppendCookiesOfFullReport(report, threat);
            Append(report, {"</Threat>", LineEnd});
        });
    });
    return result;
}

}  // namespace kel
