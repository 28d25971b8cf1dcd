#include "frontend/QuarantineView.h"

#include <array>
#include <string_view>

#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "platform/Platform.h"
#include "quarantine/Quarantine.h"
#include "quarantine/QuarantineTables.h"
#include "system/modHelper.h"
#include "system/modRegistry.h"

namespace kel::frontend {

namespace {

bool IsFolder(const std::string& path) {
    return !path.empty() && platform::Current().files->PathIsDirectory(path) != 0;
}

// The last component of a path that ends in a backslash.
std::string LastFolder(const std::string& path) {
    if (path.size() < 2) {
        return {};
    }
    const std::size_t at = path.rfind('\\', path.size() - 2);
    return at == std::string::npos ? std::string() : path.substr(at + 1);
}

std::string TextOf(const Recordset& row, std::string_view column) {
    const Value value = row.Get(column);
    return IsNull(value) ? std::string() : ToText(value);
}

template <class Locations, class Add>
void ForEach(const Locations& locations, const Add& add) {
    if (locations) {
        for (const auto& location : *locations) {
            add(*location);
        }
    }
}

void AddIniLines(const std::string& id, std::vector<KeptItem>& items) {
    Trap("quarantine", "AddIniLines", [&] {
        Recordset& lines = quarantine::Opened(quarantine::Specials);
        for (lines.SetFilter(quarantine::OfThreat(id)); !lines.Eof(); lines.MoveNext()) {
            const bool win = ToLong(lines.Get("QSpecialType")) == QSpecialTypeWinIniLine;
            items.push_back({.kind = "ini",
                             .location = std::string(win ? "win.ini" : "system.ini") + ": " + TextOf(lines, "Data1")});
        }
        lines.SetFilter({});
    });
}

}  // namespace

bool KeptItem::IsThere() const {
    if (hive == 0) {
        return !path.empty() && platform::Current().files->PathExists(path);
    }
    return value.empty() ? modRegistry::RegKeyExists(hive, key) : modRegistry::RegValueExists(hive, key, value);
}

QuarantineView::QuarantineView(Session& session) : session_(session) {
    const auto cleaner = session_.OpenCleaner();
    cleaner->InitializeClean({});
    // The tables are opened first, so that without a callback it did not come that far.
    if (!cleaner->Callback) {
        throw MachineError(
            "the tables of the quarantine can't be opened; errors.log in the user data folder tells why");
    }
    FindFolders();
}

void QuarantineView::FindFolders() {
    Trap("quarantine", "FindFolders", [&] {
        Recordset& index = quarantine::Opened(quarantine::Threats);
        index.SetFilter({});
        if (index.RecordCount() == 0) {
            return;
        }
        const std::array roots{quarantine::QuarantineFolderRoot(), session_.UserData() + "Quarantine\\"};
        for (index.MoveFirst(); !index.Eof(); index.MoveNext()) {
            const std::string path = TextOf(index, "QuarantinePath");
            const std::string own = LastFolder(path);
            if (own.empty() || IsFolder(path)) {
                continue;
            }
            for (const std::string& root : roots) {
                if (IsFolder(root + own)) {
                    index.Set("QuarantinePath", root + own);
                    index.Update();
                    break;
                }
            }
        }
    });
}

std::vector<std::shared_ptr<QuarantineThreat>> QuarantineView::All() const {
    std::vector<std::shared_ptr<QuarantineThreat>> all;
    if (const auto threats = session_.Manager().Quarantine()->GetQuarantineThreats()) {
        for (const auto& threat : *threats) {
            all.push_back(threat);
        }
    }
    return all;
}

std::shared_ptr<QuarantineThreat> QuarantineView::Find(const std::string& id) const {
    // With a quote in it the identifier would be no filter.
    return id.empty() || id.find('\'') != std::string::npos ? nullptr
                                                            : session_.Manager().Quarantine()->GetQuarantineThreat(id);
}

std::vector<KeptItem> QuarantineView::Items(const QuarantineThreat& threat) const {
    std::vector<KeptItem> items;
    ForEach(threat.QThreatLocationCookies, [&](const QThreatLocationCookie& cookie) {
        items.push_back({.kind = "cookie",
                         .location = cookie.OriginalFilePath,
                         .path = cookie.OriginalFilePath,
                         .copy = threat.QuarantinePath + cookie.QuarantineFileName});
    });
    ForEach(threat.QThreatLocationRegKeys, [&](const QThreatLocationRegKey& key) {
        if (!key.Regkey.empty()) {
            items.push_back({.kind = "registry",
                             .location = modHelper::GetRegistryHiveNameFromHive(key.RegHive) + "\\" + key.Regkey +
                                         (key.RegValueName.empty() ? "" : " [" + key.RegValueName + "]"),
                             .hive = key.RegHive,
                             .key = key.Regkey,
                             .value = key.RegValueName,
                             .empty = !key.RegValueName.empty() && key.RegValueData.empty()});
        }
    });
    ForEach(threat.QThreatLocationFolders, [&](const QThreatLocationFolder& folder) {
        items.push_back({.kind = "folder", .location = folder.OriginalFolderPath, .path = folder.OriginalFolderPath});
    });
    ForEach(threat.QThreatLocationFiles, [&](const QThreatLocationFile& file) {
        items.push_back({.kind = "file",
                         .location = file.OriginalFilePath,
                         .path = file.OriginalFilePath,
                         .copy = threat.QuarantinePath + file.QuarantineFileName,
                         .registers = file.ActionRegisterFile});
    });
    AddIniLines(threat.QuarantineThreatID, items);
    return items;
}

}  // namespace kel::frontend
