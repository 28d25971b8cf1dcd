#include "frontend/IgnoreCommand.h"

#include <cstdint>
#include <filesystem>
#include <string>

#include "catalogue/modMain.h"
#include "frontend/ExitCodes.h"
#include "frontend/IgnoreList.h"
#include "frontend/Machine.h"
#include "frontend/ShownText.h"

namespace kel::frontend {

namespace {

// The name of a threat, if the catalogue is there and has one.
std::string NameOf(RecordRun& run, std::int32_t threat) {
    return run.session.HasData() ? run.session.Manager().Threats()->GetThreatDisplayName(threat) : std::string();
}

Json ObjectOf(RecordRun& run, std::int32_t threat, bool ignored) {
    Json object{{"type", "ignore"}, {"threat", threat}, {"ignored", ignored}};
    if (const std::string name = NameOf(run, threat); !name.empty()) {
        object["name"] = Utf8(name);
    }
    return object;
}

// What became of a threat, for people and programs.
void Tell(RecordRun& run, std::int32_t threat, bool ignored, bool changed) {
    if (!run.report.InText()) {
        Json object = ObjectOf(run, threat, ignored);
        object["changed"] = changed;
        run.report.Object(object);
        return;
    }
    const std::string name = NameOf(run, threat);
    run.report.Line("Threat " + std::to_string(threat) + (name.empty() ? "" : " (" + ShownText(name) + ")") +
                    (!ignored  ? " is no longer ignored"
                     : changed ? " is ignored from now on"
                               : " is ignored already"));
}

void LoadNames(RecordRun& run) {
    if (run.session.HasData()) {
        run.session.LoadThreats();
    }
}

// Changes are told when they are on the disk, and not before.
int Save(RecordRun& run, const IgnoreList& list) {
    if (run.options.dryRun) {
        const std::string file =
            (std::filesystem::path(run.options.userData) / IgnoreList::FileName).make_preferred().string();
        run.report.Write({"file_written", file, {}, "write to file " + file});
        return ExitClean;
    }
    if (const auto problem = list.Write(run.options.userData)) {
        run.report.Message(ShownHostText(*problem));
        return ExitIncomplete;
    }
    return ExitClean;
}

}  // namespace

int ListIgnored(RecordRun& run) {
    LoadNames(run);
    const IgnoreList list = IgnoreList::Read(run.options.userData);
    for (const std::int32_t threat : list.Numbers()) {
        if (!run.report.InText()) {
            run.report.Object(ObjectOf(run, threat, true));
            continue;
        }
        const std::string name = NameOf(run, threat);
        run.report.Line(std::to_string(threat) + (name.empty() ? "" : "  " + ShownText(name)));
    }
    if (list.Numbers().empty() && run.report.InText()) {
        run.report.Line("The ignore list is empty");
    }
    return ExitClean;
}

int AddIgnored(RecordRun& run) {
    LoadNames(run);
    for (const std::int32_t threat : run.options.threats) {
        if (run.session.HasData() && !modMain::ThreatExists(threat)) {
            throw MachineError("no threat " + std::to_string(threat) + " in the data folder " + run.options.data);
        }
    }
    const IgnoreListLock lock(run.options.userData);
    IgnoreList list = IgnoreList::Read(run.options.userData);
    const IgnoreList before = list;
    for (const std::int32_t threat : run.options.threats) {
        list.Add(threat);
    }
    if (list.Numbers() != before.Numbers()) {
        if (const int code = Save(run, list); code != ExitClean) {
            return code;
        }
    }
    for (const std::int32_t threat : run.options.threats) {
        Tell(run, threat, true, !before.Contains(threat));
    }
    return ExitClean;
}

int RemoveIgnored(RecordRun& run) {
    LoadNames(run);
    const IgnoreListLock lock(run.options.userData);
    IgnoreList list = IgnoreList::Read(run.options.userData);
    for (const std::int32_t threat : run.options.threats) {
        if (!list.Contains(threat)) {
            throw MachineError("threat " + std::to_string(threat) + " is not on the ignore list");
        }
    }
    for (const std::int32_t threat : run.options.threats) {
        list.Remove(threat);
    }
    if (const int code = Save(run, list); code != ExitClean) {
        return code;
    }
    for (const std::int32_t threat : run.options.threats) {
        Tell(run, threat, false, true);
    }
    return ExitClean;
}

}  // namespace kel::frontend
