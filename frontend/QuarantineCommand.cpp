#include "frontend/QuarantineCommand.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/Failures.h"
#include "core/Value.h"
#include "frontend/DateForms.h"
#include "frontend/ExitCodes.h"
#include "frontend/QuarantineView.h"
#include "frontend/RecordReport.h"
#include "frontend/Session.h"
#include "frontend/ShownText.h"
#include "platform/Platform.h"
#include "quarantine/Quarantine.h"

namespace kel::frontend {

namespace {

using Threat = std::shared_ptr<QuarantineThreat>;

// What a command works with.
struct Run {
    const QuarantineOptions& options;
    Session& session;
    QuarantineView& view;
    RecordReport& report;
};

int InQuarantine(const QuarantineOptions& options, const char* name, const Streams& streams, int (*work)(Run& run)) {
    const std::string command = std::string("quarantine ") + name;
    return InSession(options, command.c_str(), streams, [&](Session& session) {
        RecordReport report("ombrelane " + command, options.format, streams);
        QuarantineView view(session);
        Run run{options, session, view, report};
        const int code = work(run);
        for (const WriteRecord& write : session.TakeWrites()) {
            report.Write(write);
        }
        // What came back is looked at piece by piece, where something should.
        return options.swallowsWrites ? report.Finish(code) : report.FinishJudged(code);
    });
}

// The date in the form of the other commands, or as it is on record.
std::string DateOf(const QuarantineThreat& threat, char between) {
    const auto date = platform::Current().clock->ParseDate(threat.QuarantineDate);
    return date ? IsoDate(*date, between) : threat.QuarantineDate;
}

Json ObjectOf(Run& run, const QuarantineThreat& threat, const char* type) {
    return {{"type", type},
            {"quarantine", Utf8(threat.QuarantineThreatID)},
            {"threat", threat.ThreatID},
            {"name", Utf8(threat.ThreatName)},
            {"category", Utf8(threat.Category)},
            {"scan", Utf8(threat.ScanID)},
            {"date", Utf8(DateOf(threat, 'T'))},
            {"folder", run.session.TheMachine().HostPath(threat.QuarantinePath)}};
}

Json ObjectOf(const QuarantineThreat& threat, const KeptItem& item, const char* type) {
    return {{"type", type},
            {"quarantine", Utf8(threat.QuarantineThreatID)},
            {"threat", threat.ThreatID},
            {"kind", item.kind},
            {"location", Utf8(item.location)}};
}

std::string Named(const QuarantineThreat& threat) {
    return ShownText(threat.QuarantineThreatID) + "  " + ShownText(threat.ThreatName) + "  (threat " +
           std::to_string(threat.ThreatID) + ")";
}

std::string ItemLine(const KeptItem& item) {
    std::string line = std::string("  ") + item.kind;
    line.resize(12, ' ');
    return line + ShownText(item.location);
}

// All that were named, each once, before anything is touched.
std::vector<Threat> Asked(Run& run) {
    std::vector<Threat> threats;
    for (const std::string& id : run.options.ids) {
        const Threat threat = run.view.Find(id);
        if (!threat) {
            throw MachineError("no record " + id + " in the quarantine of " + run.options.userData);
        }
        const bool known = std::any_of(threats.begin(), threats.end(), [&](const Threat& other) {
            return other->QuarantineThreatID == threat->QuarantineThreatID;
        });
        if (!known) {
            threats.push_back(threat);
        }
    }
    return threats;
}

int List(Run& run) {
    const auto threats = run.view.All();
    for (const Threat& threat : threats) {
        if (run.report.InText()) {
            run.report.Line(Named(*threat) + "  " + ShownText(DateOf(*threat, ' ')));
        } else {
            run.report.Object(ObjectOf(run, *threat, "quarantined"));
        }
    }
    if (threats.empty() && run.report.InText()) {
        run.report.Line("The quarantine is empty");
    }
    return ExitClean;
}

void ShowOne(Run& run, const QuarantineThreat& threat) {
    const auto items = run.view.Items(threat);
    if (!run.report.InText()) {
        run.report.Object(ObjectOf(run, threat, "quarantined"));
        for (const KeptItem& item : items) {
            run.report.Object(ObjectOf(threat, item, "quarantined_item"));
        }
        return;
    }
    run.report.Line(Named(threat));
    run.report.Line("  category  " + ShownText(threat.Category));
    run.report.Line("  removed   " + ShownText(DateOf(threat, ' ')));
    if (!threat.ScanID.empty()) {
        run.report.Line("  scan      " + ShownText(threat.ScanID));
    }
    const std::string folder = run.session.TheMachine().HostPath(threat.QuarantinePath);
    run.report.Line("  kept in   " +
                    (folder.empty() ? ShownText(threat.QuarantinePath) + " (it is not there)" : ShownHostText(folder)));
    for (const KeptItem& item : items) {
        run.report.Line(ItemLine(item));
    }
}

int Show(Run& run) {
    std::vector<Threat> threats = Asked(run);
    if (run.options.ids.empty()) {
        for (const Threat& threat : run.view.All()) {
            if (const Threat whole = run.view.Find(threat->QuarantineThreatID)) {
                threats.push_back(whole);
            }
        }
    }
    for (const Threat& threat : threats) {
        ShowOne(run, *threat);
    }
    if (threats.empty() && run.report.InText()) {
        run.report.Line("The quarantine is empty");
    }
    return ExitClean;
}

// An item before the restoring, as far as that decides what becomes of it.
struct Before {
    KeptItem item;
    bool wasThere = false;
    bool hadCopy = false;

    explicit Before(KeptItem kept) : item(std::move(kept)) {
        wasThere = item.IsThere();
        hadCopy = !item.copy.empty() && platform::Current().files->PathExists(item.copy);
    }
    /// Why it did not come back; empty when it did.
    [[nodiscard]] std::string Problem() const {
        if (std::string(item.kind) == "ini") {
            return "lines of ini files are not put back";
        }
        if (item.copy.empty()) {
            return item.IsThere() ? "" : item.hive == 0 ? "it can't be made" : "its type can't be written back";
        }
        std::string problem;
        if (!hadCopy) {
            return "its copy is not in the quarantine";
        }
        if (wasThere) {
            problem = "something of that name is there already";
        } else if (!item.IsThere()) {
            problem = "it can't be moved back";
        } else {
            return {};
        }
        return problem + (platform::Current().files->PathExists(item.copy) ? "; its copy is kept"
                                                                           : "; its copy went with the folder");
    }
};

// How it differs from what was removed, by the rules of the restoring.
std::string NoteOf(const KeptItem& item, bool canRegister) {
    if (item.registers && !canRegister) {
        return "its registration needs a running machine: not available";
    }
    if (item.empty) {
        return "its data are not on record: it came back empty";
    }
    return std::string(item.kind) == "cookie" ? "with the mark of the quarantine at its end" : "";
}

// Tells what became of an item. True when it came back.
bool TellItem(Run& run, const QuarantineThreat& threat, const Before& before) {
    const std::string problem = before.Problem();
    const std::string note = problem.empty() ? NoteOf(before.item, run.session.View().can.components) : std::string();
    if (!run.report.InText()) {
        Json object = ObjectOf(threat, before.item, "restored_item");
        object["restored"] = problem.empty();
        object["reason"] = problem;
        object["note"] = note;
        run.report.Object(object);
    } else {
        run.report.Line(ItemLine(before.item) + (problem.empty() ? "" : ": NOT restored: " + problem) +
                        (note.empty() ? "" : " (" + note + ")"));
    }
    return problem.empty();
}

// True when all of it came back.
bool RestoreOne(Run& run, const QuarantineThreat& threat) {
    using enum enQuarantineErrors;
    std::vector<Before> items;
    for (KeptItem& item : run.view.Items(threat)) {
        items.emplace_back(std::move(item));
    }
    const auto quarantine = run.session.Manager().Quarantine();
    const auto result = quarantine->RestoreThreat(threat.QuarantineThreatID);
    const bool kept = quarantine->QuarantineThreatIDExists(threat.QuarantineThreatID);
    if (run.report.InText()) {
        run.report.Line(Named(threat));
    }
    bool all = !kept && (result == errNone || result == errRestoreRebootRequired);
    for (const Before& before : items) {
        all = TellItem(run, threat, before) && all;
    }
    const char* reason = kept  ? "broken off by a failure: its record is kept, and the registry was not written"
                         : all ? ""
                         : result == errNone
                             ? "not all of it came back"
                             : "not all of it came back, or its folder in the quarantine could not be removed";
    if (!run.report.InText()) {
        Json object = ObjectOf(run, threat, "restored");
        object["complete"] = all;
        object["record_kept"] = kept;
        object["next_start"] = result == errRestoreRebootRequired;
        object["reason"] = reason;
        run.report.Object(object);
    } else {
        run.report.Line(all ? "  restored" : std::string("  NOT restored in full: ") + reason);
        if (result == errRestoreRebootRequired) {
            run.report.Line("  the rest comes back at the next start of the machine");
        }
    }
    return all;
}

// A restoring forgets what it can't bring back, so a folder that can't be found must not begin one.
void RequireFolders(const std::vector<Threat>& threats) {
    for (const Threat& threat : threats) {
        if (platform::Current().files->PathIsDirectory(threat->QuarantinePath) == 0) {
            throw MachineError("the folder of " + threat->QuarantineThreatID +
                               " in the quarantine is not there: " + threat->QuarantinePath +
                               "; name the root that it was removed into with " + "--quarantine-root");
        }
    }
}

int Restore(Run& run) {
    const std::vector<Threat> threats = Asked(run);
    RequireFolders(threats);
    bool all = true;
    for (const Threat& threat : threats) {
        all = RestoreOne(run, *threat) && all;
        run.report.HandOut();
    }
    return all ? ExitClean : ExitIncomplete;
}

int Destroy(Run& run) {
    const std::vector<Threat> threats = Asked(run);
    bool all = true;
    for (const Threat& threat : threats) {
        const Json before = ObjectOf(run, *threat, "destroyed");
        const bool done = run.session.Manager().Quarantine()->DestroyThreat(threat->QuarantineThreatID);
        all = done && all;
        if (!run.report.InText()) {
            Json object = before;
            object["complete"] = done;
            run.report.Object(object);
        } else {
            run.report.Line(Named(*threat) + (done ? " is destroyed"
                                                   : " is NOT destroyed in full: its folder could not be removed, "
                                                     "or the records could not be written"));
        }
        run.report.HandOut();
    }
    return all ? ExitClean : ExitIncomplete;
}

// Only what the tables say is wanted: no machine is opened, and what the opening of the tables would change is not.
QuarantineOptions LookingOnly(const QuarantineOptions& options) {
    QuarantineOptions looking;
    looking.data = options.data;
    looking.userData = options.userData;
    looking.quarantineRoot = options.quarantineRoot;
    looking.format = options.format;
    looking.ids = options.ids;
    looking.makesFolders = false;
    looking.swallowsWrites = true;
    return looking;
}

QuarantineOptions Changing(const QuarantineOptions& options) {
    QuarantineOptions changing = options;
    changing.makesFolders = false;
    changing.writable = !options.dryRun;
    return changing;
}

}  // namespace

int ListQuarantine(const QuarantineOptions& options, const Streams& streams) {
    return InQuarantine(LookingOnly(options), "list", streams, List);
}

int ShowQuarantine(const QuarantineOptions& options, const Streams& streams) {
    return InQuarantine(LookingOnly(options), "show", streams, Show);
}

int RestoreQuarantined(const QuarantineOptions& options, const Streams& streams) {
    return InQuarantine(Changing(options), "restore", streams, Restore);
}

int DestroyQuarantined(const QuarantineOptions& options, const Streams& streams) {
    return InQuarantine(Changing(options), "destroy", streams, Destroy);
}

}  // namespace kel::frontend
