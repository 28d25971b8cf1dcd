#include "frontend/ScanCommand.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <set>

#include "core/EngineState.h"
#include "core/Failures.h"
#include "frontend/ExitCodes.h"
#include "frontend/FindingTracker.h"
#include "frontend/Interrupt.h"
#include "frontend/JsonlSink.h"
#include "frontend/Machine.h"
#include "frontend/ProgressLine.h"
#include "frontend/Session.h"
#include "frontend/Terminal.h"
#include "frontend/TextSink.h"
#include "platform/Platform.h"
#include "system/modFolderPaths.h"

namespace kel::frontend {

namespace {

constexpr const char* DepthNames[] = {"", "shallow", "medium", "deep"};

// What is observed while the engine loads and scans, on its way to the sink.
class Observer {
public:
    Observer(Sink& sink, ProgressLine& progress) : sink_(sink), progress_(progress) {
        ObserveFailures([this](const FailureRecord& record) { OnFailure(record); });
    }
    ~Observer() { ObserveFailures({}); }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    void OnUnreadable(std::string_view path, platform::SysError error) {
        if (!unreadable_.emplace(path).second) {
            return;
        }
        progress_.Clear();
        sink_.Error(
            {"unreadable", "can't be read (error " + std::to_string(platform::Number(error)) + ")", std::string(path)});
    }

    [[nodiscard]] std::int64_t Errors() const { return errors_; }
    [[nodiscard]] std::int64_t Unreadable() const { return static_cast<std::int64_t>(unreadable_.size()); }
    /// Failures that make a table incomplete: those from the loading of the data.
    [[nodiscard]] bool TablesComplete() const { return tablesComplete_; }

private:
    void OnFailure(const FailureRecord& record) {
        const bool table = record.procedure == "InitializeScanData" || record.procedure == "InitializeThreatData";
        tablesComplete_ = tablesComplete_ && !table;
        ++errors_;
        progress_.Clear();
        sink_.Error({"engine", record.module + "." + record.procedure + ": " + record.description, {}});
    }

    Sink& sink_;
    ProgressLine& progress_;
    std::set<std::string, std::less<>> unreadable_;
    std::int64_t errors_ = 0;
    bool tablesComplete_ = true;
};

std::unique_ptr<Sink> MakeSink(const ScanOptions& options, Output& out, const Streams& streams) {
    if (options.format == OutputFormat::Jsonl) {
        return std::make_unique<JsonlSink>(out);
    }
    return std::make_unique<TextSink>(out, streams.err, MayColour(streams.out));
}

std::vector<std::string> Targets(const ScanOptions& options) {
    if (!options.paths.empty()) {
        return options.paths;
    }
    std::vector<std::string> drives;
    for (const std::string& drive : modFolderPaths::GetFixedDrives()) {
        drives.push_back(drive);
    }
    return drives;
}

// Folders that were named and are not there would be passed over without a word.
void RequireTargets(const std::vector<std::string>& targets) {
    for (const std::string& target : targets) {
        if (platform::Current().files->PathIsDirectory(target) == 0) {
            throw MachineError("no such folder on the machine: " + target);
        }
    }
}

std::vector<std::string> NotAvailable(const platform::Capabilities& can) {
    std::vector<std::string> stages;
    if (!can.processes) {
        stages.emplace_back("processes");
    }
    if (!can.registry) {
        stages.emplace_back("registry");
    }
    return stages;
}

int Work(const ScanOptions& options, Session& session, Sink& sink, ProgressLine& progress, Observer& observer) {
    const auto began = std::chrono::steady_clock::now();
    session.Load();
    Machine& machine = session.TheMachine();
    const std::shared_ptr<Scanner> scanner = session.Manager().Scanner();
    scanner->InitializeScan();
    const std::shared_ptr<Scan> scan = scanner->Scan();
    if (!scan) {
        throw MachineError("the scan could not be started");
    }

    const std::vector<std::string> targets = Targets(options);
    RequireTargets(targets);
    for (const std::string& target : targets) {
        scanner->AddScanDriveAndPath(target);
    }
    scanner->DoDriveScan = true;
    scanner->DoScanZips = options.zips;
    scanner->OptScanDepth = static_cast<enScanDepth>(options.depth);
    scanner->SetOptMaxOptionLevel(options.maxOption);

    sink.Start({scan->ScanID, machine.Name(), targets, DepthNames[options.depth], State().ThreatDataVersion,
                NotAvailable(session.View().can)});

    FindingTracker tracker([&](const FindingRecord& finding) {
        progress.Clear();
        sink.Finding(finding);
    });
    ScannerEvents events;
    events.StartingLocation = [&](std::string_view location, enScanType, std::int32_t count) {
        progress.Show("files", count, location);
    };
    events.ThreatDetected = [&](std::string_view, enScanType, std::int32_t threat, std::int32_t) {
        tracker.Update(*scan, threat);
    };
    scan->Callback->Subscribe(std::move(events));

    const Interrupt interrupt;
    bool aborting = false;
    machine.OnYield([&] {
        if (!aborting && Interrupt::Requested()) {
            aborting = true;
            scanner->AbortScan("Interrupted by the user");
        }
    });
    const bool finished = scanner->RunScanEasy();
    machine.OnYield({});
    tracker.UpdateAll(*scan);
    progress.Clear();

    SummaryRecord summary;
    summary.complete = finished && observer.TablesComplete();
    summary.abortReason = scan->AbortReason;
    summary.threats = tracker.Threats();
    summary.locations = tracker.Locations();
    summary.files = scan->ScannedFileCount;
    summary.errors = observer.Errors();
    summary.unreadable = observer.Unreadable();
    summary.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    sink.Summary(summary);
    return Verdict(summary);
}

}  // namespace

int RunScan(const ScanOptions& options, const Streams& streams) {
    return InSession(options, "scan", streams, [&](Session& session) {
        Output out(streams.out);
        const std::unique_ptr<Sink> sink = MakeSink(options, out, streams);
        ProgressLine progress(streams.err, !options.noProgress && IsTerminal(streams.err));
        Observer observer(*sink, progress);
        session.OnUnreadable(
            [&](std::string_view path, platform::SysError error) { observer.OnUnreadable(path, error); });
        const int code = Work(options, session, *sink, progress, observer);
        session.OnUnreadable({});
        if (!out.Problem().empty()) {
            std::fprintf(streams.err, "ombrelane scan: the results could not be written: %s\n", out.Problem().c_str());
            return static_cast<int>(ExitIncomplete);
        }
        return code;
    });
}

}  // namespace kel::frontend
