#include "frontend/CleanTargets.h"

#include <memory>
#include <set>
#include <utility>

#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "results/DetectedThreat.h"
#include "results/ScanHistoryDetail.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::frontend {

namespace {

class Targets {
public:
    void Add(CleanTarget target) {
        if (target.location.empty() || !known_.emplace(target.kind + Lower(target.location)).second) {
            return;
        }
        target.wasThere = target.IsThere();
        list_.push_back(std::move(target));
    }
    void AddPath(const char* kind, const std::string& path) { Add({.kind = kind, .location = path, .path = path}); }
    std::vector<CleanTarget> Take() { return std::move(list_); }

private:
    static std::string Lower(const std::string& text) { return platform::Current().text->ToLower(text); }

    std::set<std::string> known_;
    std::vector<CleanTarget> list_;
};

std::string RegistryLocation(const ThreatLocationRegKey& key) {
    return modHelper::GetRegistryHiveNameFromHive(key.RegHive()) + "\\" + key.Regkey() +
           (key.RegValueName().empty() ? "" : " [" + key.RegValueName() + "]");
}

// Places of one kind in the history.
template <class Add>
void ForEachPlace(const std::shared_ptr<Recordset>& table, std::int32_t threat, const Add& add) {
    if (!table) {
        return;
    }
    for (table->SetFilter("DThreatID='" + Text(threat) + "'"); !table->Eof(); table->MoveNext()) {
        const Value place = table->Get("FoundAt");
        add(IsNull(place) ? std::string() : ToText(place));
    }
}

}  // namespace

bool CleanTarget::IsThere() const {
    if (hive == 0) {
        return !path.empty() && platform::Current().files->PathExists(path);
    }
    return value.empty() ? modRegistry::RegKeyExists(hive, key) : modRegistry::RegValueExists(hive, key, value);
}

std::vector<CleanTarget> TargetsOf(const DetectedThreat& detected) {
    Targets targets;
    for (const auto& file : *detected.ThreatLocationFiles) {
        targets.AddPath("file", file->DetectedFilePath());
    }
    for (const auto& folder : *detected.ThreatLocationFolders) {
        targets.AddPath("folder", folder->DetectedFolderPath());
    }
    for (const auto& key : *detected.ThreatLocationRegKeys) {
        if (key->RegHive() != 0 && !key->Regkey().empty()) {
            targets.Add({.kind = "registry",
                         .location = RegistryLocation(*key),
                         .hive = key->RegHive(),
                         .key = key->Regkey(),
                         .value = key->RegValueName()});
        }
    }
    for (const auto& cookie : *detected.ThreatLocationCookies) {
        targets.AddPath("cookie", cookie->DetectedFilePath);
    }
    return targets.Take();
}

std::vector<CleanTarget> TargetsOf(const ScanHistoryDetail& detail, std::int32_t threat) {
    Targets targets;
    ForEachPlace(detail.DetectedFiles, threat, [&](const std::string& place) { targets.AddPath("file", place); });
    ForEachPlace(detail.DetectedReg, threat, [&](const std::string& place) {
        targets.Add({.kind = "registry", .location = place, .removable = false});
    });
    ForEachPlace(detail.DetectedCookies, threat, [&](const std::string& place) { targets.AddPath("cookie", place); });
    return targets.Take();
}

}  // namespace kel::frontend
