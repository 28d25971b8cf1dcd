#include "engine/Info.h"

#include <cstdint>
#include <memory>

#include "catalogue/SignatureTable.h"
#include "catalogue/modDataManager.h"
#include "core/EngineState.h"
#include "core/Failures.h"
#include "core/Recordset.h"
#include "core/Text.h"
#include "core/Value.h"
#include "results/Required.h"
#include "results/modDataManager.h"

namespace kel {

namespace {

bool Always() {
    return true;
}

std::string Number(std::size_t count) {
    return Text(static_cast<std::int64_t>(count));
}

template <bool (*Flag)()>
std::string FlagText() {
    return ToText(Flag());
}

template <auto Table>
std::string CountText() {
    return Number(Required(State().*Table).Count());
}

template <auto Table>
std::string RecordCountText() {
    return Text(Required(State().*Table).RecordCount());
}

std::string EngineVersion() {
    const AppInfo& app = State().App;
    return Text(app.Major) + "." + Text(app.Minor) + "." + Text(app.Revision);
}

std::string DataVersion() {
    return State().ThreatDataVersion;
}

// The table of file names is gone; its line is not.
std::string NoTable() {
    Raise(ErrObjectNotSet);
}

struct Line {
    std::string_view label;
    std::string (*value)();
    bool (*condition)();
};

constexpr Line Lines[] = {
    {"EngineVersion: ", EngineVersion, Always},
    {"DBVersionThreatData: ", DataVersion, Always},
    {"DBVersionScanData: ", DataVersion, Always},
    {"IsInitializedScanData: ", FlagText<modDataManager::IsInitializedScanData>, Always},
    // Without the "Is" of its neighbours.
    {"InitializeThreatData: ", FlagText<modDataManager::IsInitializedThreatData>, Always},
    {"IsInitializedScanHistoryData: ", FlagText<modDataManager::IsInitializedScanHistoryData>, Always},
    {"IsInitializedIgnoredThreatsData: ", FlagText<modDataManager::IsInitializedIgnoredThreatsData>, Always},
    {"IgnoredThreats Count: ", CountText<&EngineState::IgnoredThreatIDs>,
     modDataManager::IsInitializedIgnoredThreatsData},
    {"Quarantine Count: ", RecordCountText<&EngineState::RsQuarantined>, modDataManager::IsInitializedQuarantineData},
    {"ScanHistory Count: ", RecordCountText<&EngineState::RsScanHistory>, modDataManager::IsInitializedScanHistoryData},
    {"Threats Count: ", CountText<&EngineState::ThreatCatalog>, modDataManager::IsInitializedThreatData},
    {"ScanLocations FilesMD5 Count: ", CountText<&EngineState::MD5DataTable>, modDataManager::IsInitializedScanData},
    {"ScanLocations FilesPath Count: ", CountText<&EngineState::FilePathDataTable>,
     modDataManager::IsInitializedScanData},
    {"ScanLocations FilesName Count: ", NoTable, modDataManager::IsInitializedScanData},
    {"ScanLocations Folders Count: ", CountText<&EngineState::FolderDataTable>, modDataManager::IsInitializedScanData},
    {"ScanLocations Registry Count: ", RecordCountText<&EngineState::RegKeyRecordset>,
     modDataManager::IsInitializedScanData},
    {"ScanLocations Cookies Count: ", CountText<&EngineState::CookieDataTable>, modDataManager::IsInitializedScanData},
};

}  // namespace

std::string Info::DBVersionThreatData() const {
    return DataVersion();
}

std::string Info::DBVersionScanData() const {
    return DataVersion();
}

std::string Info::Diagnostics(bool /*reserved*/) const {
    std::string result;
    Trap("Info", "Diagnostics", [&] {
        std::string text;
        for (const Line& line : Lines) {
            if (line.condition()) {
                text.append(line.label).append(line.value()).append("\r\n");
            }
        }
        result = text;
    });
    return result;
}

}  // namespace kel
