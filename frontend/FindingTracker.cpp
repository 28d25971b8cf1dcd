#include "frontend/FindingTracker.h"

#include "catalogue/ThreatLite.h"
#include "core/Text.h"
#include "results/Scan.h"
#include "system/modHelper.h"

namespace kel::frontend {

namespace {

std::string RegistryLocation(const ThreatLocationRegKey& key) {
    std::string text = modHelper::GetRegistryHiveNameFromHive(key.RegHive()) + "\\" + key.Regkey();
    if (!key.RegValueName().empty()) {
        text += " [" + key.RegValueName() + "]";
    }
    return text;
}

// The records of one kind that came since `told`, which is brought up to date.
template <class Records, class Each>
void New(const Records& records, std::size_t& told, const Each& each) {
    while (told < records->Count()) {
        each(*records->Item(++told));
    }
}

}  // namespace

void FindingTracker::Update(Scan& scan, std::int32_t threat) {
    const auto* detected = scan.DetectedThreats()->Find("ThreatID:" + Text(threat));
    if (detected != nullptr) {
        TellNew(**detected);
    }
}

void FindingTracker::UpdateAll(Scan& scan) {
    for (const auto& detected : *scan.DetectedThreats()) {
        TellNew(*detected);
    }
}

void FindingTracker::TellNew(const DetectedThreat& detected) {
    FindingRecord finding;
    finding.threat = detected.ThreatID;
    if (detected.Threat) {
        finding.name = detected.Threat->ThreatName;
        finding.category = detected.Threat->Category;
        finding.level = detected.Threat->GetThreatLevel();
        finding.levelName = detected.Threat->GetThreatLevelDisplayName();
    }
    Told& told = told_[detected.ThreatID];
    if (detected.Threat && !told.texts) {
        const ThreatLite& threat = *detected.Threat;
        told.texts = std::make_shared<const ThreatTexts>(ThreatTexts{threat.GetDescriptionDisplay(),
                                                                     threat.GetThreatLevelDescription(),
                                                                     threat.GetAdviseDisplay(), threat.Author});
    }
    finding.texts = told.texts;
    New(detected.ThreatLocationFiles, told.files, [&](const ThreatLocationFile& file) {
        FindingRecord one = finding;
        one.md5 = file.MD5;
        TellOne(one, "file", file.DetectedFilePath(), file.OptionLevel);
    });
    New(detected.ThreatLocationFolders, told.folders, [&](const ThreatLocationFolder& folder) {
        TellOne(finding, "folder", folder.DetectedFolderPath(), detected.OptionLevel);
    });
    New(detected.ThreatLocationRegKeys, told.registry,
        [&](const ThreatLocationRegKey& key) { TellOne(finding, "registry", RegistryLocation(key), key.OptionLevel); });
    New(detected.ThreatLocationCookies, told.cookies, [&](const ThreatLocationCookie& cookie) {
        TellOne(finding, "cookie", cookie.DetectedFilePath, cookie.OptionLevel);
    });
    New(detected.ThreatLocationCustoms, told.customs, [&](const ThreatLocationCustom& custom) {
        TellOne(finding, "custom", custom.DisplayData, detected.OptionLevel);
    });
}

void FindingTracker::TellOne(FindingRecord finding, const char* kind, std::string location, std::int16_t optionLevel) {
    finding.kind = kind;
    finding.location = std::move(location);
    finding.optionLevel = optionLevel;
    ++locations_;
    tell_(finding);
}

}  // namespace kel::frontend
