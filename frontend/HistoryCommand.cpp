#include "frontend/HistoryCommand.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/modThreats.h"
#include "core/Failures.h"
#include "core/Recordset.h"
#include "frontend/DateForms.h"
#include "frontend/ExitCodes.h"
#include "frontend/ShownText.h"
#include "results/Enumerations.h"
#include "results/ScanHistory.h"

namespace kel::frontend {

namespace {

// A failing read of a table is a failure like those of the engine: reported, and the command is not complete.
constexpr const char* Module = "history";

struct Count {
    const char* name;
    std::string_view column;
    std::int32_t ScanHistoryDetail::*member;
};
constexpr std::array Counts{
    Count{"scanned_processes", "ScannedProcessCount", &ScanHistoryDetail::ScannedProcessCount},
    Count{"scanned_files", "ScannedFileCount", &ScanHistoryDetail::ScannedFileCount},
    Count{"scanned_registry", "ScannedRegistryCount", &ScanHistoryDetail::ScannedRegistryCount},
    Count{"scanned_cookies", "ScannedCookieCount", &ScanHistoryDetail::ScannedCookieCount},
    Count{"detected_processes", "DetectedProcessCount", &ScanHistoryDetail::DetectedProcessCount},
    Count{"detected_files", "DetectedFileCount", &ScanHistoryDetail::DetectedFileCount},
    Count{"detected_registry", "DetectedRegistryCount", &ScanHistoryDetail::DetectedRegistryCount},
    Count{"detected_cookies", "DetectedCookieCount", &ScanHistoryDetail::DetectedCookieCount},
};

std::string TextOf(const Recordset& row, std::string_view column) {
    const Value value = row.Get(column);
    return IsNull(value) ? std::string() : ToText(value);
}

std::int32_t NumberOf(const Recordset& row, std::string_view column) {
    const Value value = row.Get(column);
    return IsNull(value) ? 0 : ToLong(value);
}

template <class Function>
void ForEachRow(const std::shared_ptr<Recordset>& table, const Function& function) {
    Trap(Module, "ForEachRow", [&] {
        for (; table && !table->Eof(); table->MoveNext()) {
            function(*table);
        }
    });
}

// A row of the table of scans, without the details: those cost a pass over seven tables for each scan.
ScanHistoryDetail ScanOf(const Recordset& row) {
    ScanHistoryDetail scan;
    scan.ScanID = TextOf(row, "ScanID");
    scan.StartDate = ToDate(row.Get("StartDate"));
    scan.EndDate = ToDate(row.Get("EndDate"));
    scan.AbortReason = TextOf(row, "AbortReason");
    for (const Count& count : Counts) {
        scan.*count.member = NumberOf(row, count.column);
    }
    return scan;
}

// All identifiers, before anything moves the filter of the table.
std::vector<std::string> Scans(ScanHistory& history) {
    std::vector<std::string> scans;
    ForEachRow(history.GetScanHistoryDetails(), [&](const Recordset& row) { scans.push_back(TextOf(row, "ScanID")); });
    return scans;
}

void RequireScan(RecordRun& run, ScanHistory& history) {
    for (const std::string& scan : Scans(history)) {
        if (scan == run.options.scan) {
            return;
        }
    }
    throw MachineError("no scan " + run.options.scan + " in the history of " + run.options.userData);
}

Json ObjectOf(const ScanHistoryDetail& scan) {
    Json object{{"type", "scan"},
                {"scan", Utf8(scan.ScanID)},
                {"started", IsoDate(scan.StartDate)},
                {"ended", IsoDate(scan.EndDate)},
                {"abort_reason", Utf8(scan.AbortReason)}};
    for (const Count& count : Counts) {
        object[count.name] = scan.*count.member;
    }
    object["locations"] = scan.GetTotalDetectedLocationsCount();
    return object;
}

std::string Counted(std::int32_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string ListLine(const ScanHistoryDetail& scan) {
    std::string line = ShownText(scan.ScanID) + "  " + IsoDate(scan.StartDate, ' ') + "  " +
                       Counted(scan.GetTotalDetectedLocationsCount(), "location", "locations") + " detected";
    return scan.AbortReason.empty() ? line : line + ", aborted: " + ShownText(scan.AbortReason);
}

struct Detection {
    std::int32_t threat = 0;
    std::string name;
    std::string category;
    std::int32_t level = 0;
    std::int32_t action = 0;
};

struct Location {
    const char* kind;
    std::string place;
};

struct Removal {
    std::int32_t threat = 0;
    const char* action;
    Date date;
};

const char* ActionName(std::int32_t action) {
    switch (action) {
        case DetectedThreatActionQuarantined:
            return "quarantined";
        case DetectedThreatActionDeleted:
            return "deleted";
        default:
            return "none";
    }
}

// The details of a scan, apart from the engine's tables, whose filters the next question moves.
struct Details {
    std::vector<Detection> detections;
    std::map<std::int32_t, std::vector<Location>> locations;
    std::vector<Removal> removals;
};

Details DetailsOf(const ScanHistoryDetail& scan) {
    Details details;
    ForEachRow(scan.DetectedThreats, [&](const Recordset& row) {
        details.detections.push_back({NumberOf(row, "DThreatID"), TextOf(row, "Name"), TextOf(row, "Category"),
                                      NumberOf(row, "Level"), NumberOf(row, "Action")});
    });
    const auto addLocations = [&](const std::shared_ptr<Recordset>& table, const char* kind) {
        ForEachRow(table, [&](const Recordset& row) {
            details.locations[NumberOf(row, "DThreatID")].push_back({kind, TextOf(row, "FoundAt")});
        });
    };
    addLocations(scan.DetectedFiles, "file");
    addLocations(scan.DetectedReg, "registry");
    addLocations(scan.DetectedCookies, "cookie");
    const auto addRemovals = [&](const std::shared_ptr<Recordset>& table, const char* column, const char* action) {
        ForEachRow(table, [&](const Recordset& row) {
            details.removals.push_back({NumberOf(row, column), action, ToDate(row.Get("StartDate"))});
        });
    };
    addRemovals(scan.QuarantinedThreats, "QThreatID", "quarantined");
    addRemovals(scan.DeletedThreats, "DThreatID", "deleted");
    return details;
}

std::int32_t LevelOf(const Detection& detection) {
    return detection.level != 0 ? detection.level : modThreats::GetThreatLevelFromCategory(detection.category);
}

void WriteObjects(RecordReport& report, const ScanHistoryDetail& scan, const Details& details) {
    report.Object(ObjectOf(scan));
    for (const Detection& detection : details.detections) {
        report.Object({{"type", "detection"},
                       {"scan", Utf8(scan.ScanID)},
                       {"threat", detection.threat},
                       {"name", Utf8(detection.name)},
                       {"category", Utf8(detection.category)},
                       {"level", LevelOf(detection)},
                       {"action", ActionName(detection.action)}});
    }
    for (const auto& [threat, locations] : details.locations) {
        for (const Location& location : locations) {
            report.Object({{"type", "location"},
                           {"scan", Utf8(scan.ScanID)},
                           {"threat", threat},
                           {"kind", location.kind},
                           {"location", Utf8(location.place)}});
        }
    }
    for (const Removal& removal : details.removals) {
        report.Object({{"type", "removal"},
                       {"scan", Utf8(scan.ScanID)},
                       {"threat", removal.threat},
                       {"action", removal.action},
                       {"date", IsoDate(removal.date).substr(0, 10)}});
    }
}

void Print(RecordReport& report, const ScanHistoryDetail& scan, const Details& details) {
    report.Line("Scan " + ShownText(scan.ScanID));
    report.Line("  started   " + IsoDate(scan.StartDate, ' '));
    report.Line("  ended     " + IsoDate(scan.EndDate, ' '));
    if (!scan.AbortReason.empty()) {
        report.Line("  aborted   " + ShownText(scan.AbortReason));
    }
    report.Line("  scanned   " + Counted(scan.ScannedProcessCount, "process", "processes") + ", " +
                Counted(scan.ScannedFileCount, "file", "files") + ", " +
                Counted(scan.ScannedRegistryCount, "registry entry", "registry entries") + ", " +
                Counted(scan.ScannedCookieCount, "cookie", "cookies"));
    report.Line("  detected  " + Counted(static_cast<std::int32_t>(details.detections.size()), "threat", "threats") +
                " in " + Counted(scan.GetTotalDetectedLocationsCount(), "location", "locations"));
    for (const Detection& detection : details.detections) {
        report.Line("");
        report.Line(ShownText(detection.name) + "  (threat " + std::to_string(detection.threat) + ")");
        std::string line = "  " + ShownText(detection.category) + ", risk " +
                           ShownText(modThreats::GetThreatLevelDisplayName(LevelOf(detection)));
        if (detection.action != DetectedThreatActionNone) {
            line += std::string(", ") + ActionName(detection.action);
        }
        report.Line(line);
        const auto locations = details.locations.find(detection.threat);
        if (locations == details.locations.end()) {
            continue;
        }
        for (const Location& location : locations->second) {
            std::string kind = location.kind;
            kind.resize(10, ' ');
            report.Line("  " + kind + ShownText(location.place));
        }
    }
    if (!details.removals.empty()) {
        report.Line("");
    }
    for (const Removal& removal : details.removals) {
        report.Line("Threat " + std::to_string(removal.threat) + " was " + removal.action + " on " +
                    IsoDate(removal.date).substr(0, 10));
    }
}

}  // namespace

int ListHistory(RecordRun& run) {
    run.session.LoadHistory();
    const auto history = run.session.Manager().ScanHistory();
    bool any = false;
    ForEachRow(history->GetScanHistoryDetails(), [&](const Recordset& row) {
        any = true;
        const ScanHistoryDetail scan = ScanOf(row);
        if (run.report.InText()) {
            run.report.Line(ListLine(scan));
        } else {
            run.report.Object(ObjectOf(scan));
        }
    });
    if (!any && !run.report.Failed() && run.report.InText()) {
        run.report.Line("No scan is on record");
    }
    return ExitClean;
}

int ShowHistory(RecordRun& run) {
    run.session.LoadHistory();
    const auto history = run.session.Manager().ScanHistory();
    RequireScan(run, *history);
    // One that can't be read is reported there.
    if (const auto scan = history->GetScanHistoryDetail(run.options.scan)) {
        const Details details = DetailsOf(*scan);
        if (run.report.InText()) {
            Print(run.report, *scan, details);
        } else {
            WriteObjects(run.report, *scan, details);
        }
    }
    return ExitClean;
}

int DeleteHistory(RecordRun& run) {
    run.session.LoadHistory();
    const auto history = run.session.Manager().ScanHistory();
    RequireScan(run, *history);
    const auto failuresBefore = Failures().errors;
    history->Delete(run.options.scan);
    if (Failures().errors != failuresBefore) {
        return ExitIncomplete;
    }
    if (run.report.InText()) {
        run.report.Line("Scan " + ShownText(run.options.scan) + " is removed from the history");
    } else {
        run.report.Object({{"type", "deleted"}, {"scan", run.options.scan}});
    }
    return ExitClean;
}

}  // namespace kel::frontend
