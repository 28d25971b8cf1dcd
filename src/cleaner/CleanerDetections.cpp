// What is known of a detection: from the scan, or from the history when there was none.
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "catalogue/ThreatLite.h"
#include "cleaner/Cleaner.h"
#include "core/Failures.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "results/Required.h"
#include "results/ScanHistory.h"
#include "system/clsFolderPaths.h"
#include "system/modKvFileExplorer.h"

namespace kel {

namespace {

constexpr const char* Module = "Cleaner";

std::string KeyOf(std::int32_t threatID) {
    return "ThreatID:" + Text(threatID);
}

std::string TextOf(const Recordset& row, std::string_view column) {
    const Value value = row.Get(column);
    return IsNull(value) ? std::string() : ToText(value);
}

// Calls `add` with the place of each location of a threat. The filter takes the place of that on the scan, so the
// locations of all scans count.
template <class Add>
void ForEachPlace(const std::shared_ptr<Recordset>& places, std::int32_t threatID, Add&& add) {
    Recordset& table = Required(places);
    for (table.SetFilter("DThreatID='" + Text(threatID) + "'"); !table.Eof(); table.MoveNext()) {
        add(TextOf(table, "FoundAt"));
    }
}

std::shared_ptr<DetectedThreat> FromRow(const Recordset& row, std::int32_t threatID) {
    auto detected = std::make_shared<DetectedThreat>();
    detected->ThreatID = threatID;
    detected->ScanID = TextOf(row, "ScanID");
    detected->Threat = std::make_shared<ThreatLite>();
    detected->Threat->ThreatName = TextOf(row, "Name");
    detected->Threat->ThreatLevel = ToLong(row.Get("Level"));
    detected->Threat->Category = TextOf(row, "Category");
    detected->Threat->DescriptionShort = TextOf(row, "Desc");
    return detected;
}

void AddPlaces(DetectedThreat& detected, const ScanHistoryDetail& detail) {
    ForEachPlace(detail.DetectedFiles, detected.ThreatID, [&](const std::string& place) {
        detected.ThreatLocationFiles->Add(std::make_shared<ThreatLocationFile>(place));
    });
    ForEachPlace(detail.DetectedReg, detected.ThreatID, [&](const std::string& place) {
        auto location = std::make_shared<ThreatLocationRegKey>(platform::Hive{}, place);
        detected.ThreatLocationRegKeys->Add(std::move(location));
    });
    ForEachPlace(detail.DetectedCookies, detected.ThreatID, [&](const std::string& place) {
        auto location = std::make_shared<ThreatLocationCookie>();
        location->DetectedFilePath = place;
        detected.ThreatLocationCookies->Add(std::move(location));
    });
}

// The site that a cookie file's name stands for; nothing when it names none.
std::optional<std::string_view> SiteOf(std::string_view fileName) {
    const std::size_t at = fileName.find('@');
    const std::size_t bracket = at == std::string_view::npos ? at : fileName.find('[', at);
    if (bracket == std::string_view::npos) {
        return std::nullopt;
    }
    return fileName.substr(at + 1, bracket - at - 1);
}

}  // namespace

bool Cleaner::IsThreatInDetectedThreats(std::int32_t threatID) {
    bool found = false;
    Trap(Module, "IsThreatInDetectedThreats", [&] { found = DetectedThreats()->Contains(KeyOf(threatID)); });
    return found;
}

std::shared_ptr<DetectedThreat> Cleaner::GetDetectedThreatByID(std::int32_t threatID) {
    std::shared_ptr<DetectedThreat> detected;
    Trap(Module, "GetDetectedThreatByID", [&] { detected = DetectedThreats()->Item(KeyOf(threatID)); });
    return detected;
}

std::shared_ptr<DetectedThreat> Cleaner::GenerateDetectedThreat(std::int32_t threatID) {
    std::shared_ptr<DetectedThreat> detected;
    Trap(Module, "GenerateDetectedThreat", [&] {
        if (scanID_.empty()) {
            return;
        }
        const std::shared_ptr<ScanHistoryDetail> detail = ScanHistory().GetScanHistoryDetail(scanID_);
        if (!detail || !detail->DetectedThreats) {
            return;
        }
        for (Recordset& rows = *detail->DetectedThreats; !rows.Eof(); rows.MoveNext()) {
            if (ToLong(rows.Get("DThreatID")) == threatID) {
                detected = FromRow(rows, threatID);
                AddPlaces(*detected, *detail);
            }
        }
    });
    return detected;
}

std::string Cleaner::GetFilePathFromDetectedFile(std::int32_t threatID, std::string_view md5) {
    std::string path;
    Trap(Module, "GetFilePathFromDetectedFile", [&] {
        if (md5.empty() || !IsThreatInDetectedThreats(threatID)) {
            return;
        }
        for (const auto& location : Required(Required(GetDetectedThreatByID(threatID)).ThreatLocationFiles)) {
            if (EqualText(Required(location).MD5, md5)) {
                path = location->DetectedFilePath();
            }
        }
    });
    return path;
}

std::string Cleaner::GetFilePathFromDetectedCookie(std::int32_t threatID, std::string_view cookie) {
    std::string path;
    Trap(Module, "GetFilePathFromDetectedCookie", [&] {
        if (cookie.empty() || !IsThreatInDetectedThreats(threatID)) {
            return;
        }
        for (const auto& location : Required(Required(GetDetectedThreatByID(threatID)).ThreatLocationCookies)) {
            if (EqualText(Required(location).Cookie, cookie)) {
                path = location->DetectedFilePath;
            }
        }
    });
    return path;
}

std::string Cleaner::GetCookieFilePath(std::int32_t threatID, std::string_view cookie) {
    std::string path;
    Trap(Module, "GetCookieFilePath", [&] {
        path = GetFilePathFromDetectedCookie(threatID, cookie);
        const std::string folder = path.empty() ? Required(FolderPaths).PathCookies : std::string();
        if (folder.empty()) {
            return;
        }
        for (const std::string& name : modKvFileExplorer::FilesListShallow(folder, "*.*")) {
            const std::optional<std::string_view> site = SiteOf(name);
            if (site && EqualText(*site, cookie)) {
                path = folder + name;
                return;
            }
        }
    });
    return path;
}

}  // namespace kel
