#include "frontend/ScanCommand.h"

#include <chrono>
#include <cstdio>
#include <memory>

#include "core/EngineState.h"
#include "core/Value.h"
#include "engine/Manager.h"
#include "frontend/ExitCodes.h"
#include "frontend/FindingTracker.h"
#include "frontend/HtmlSink.h"
#include "frontend/Interrupt.h"
#include "frontend/JsonlSink.h"
#include "frontend/ProgressLine.h"
#include "frontend/QuietSink.h"
#include "frontend/ResultFile.h"
#include "frontend/ScanObserver.h"
#include "frontend/ScanReports.h"
#include "frontend/ScanStages.h"
#include "frontend/Session.h"
#include "frontend/ShownText.h"
#include "frontend/Terminal.h"
#include "frontend/TextSink.h"
#include "platform/Platform.h"
#include "system/modFolderPaths.h"

namespace kel::frontend {

namespace {

constexpr const char* DepthNames[] = {"", "shallow", "medium", "deep"};

const char* NameOf(enScanType type) {
    switch (type) {
        case ScanTypeProcesses:
            return "processes";
        case ScanTypeRegistry:
            return "registry";
        case ScanTypeCookies:
            return "cookies";
        default:
            return "files";
    }
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

// A report, and where it goes.
struct WantedReport {
    ScanReport kind;
    Output* out;
    std::string text;
};

// One run of the command, from the loading of the data to the summary.
class Run {
public:
    Run(const ScanOptions& options, Session& session, Sink& sink, ProgressLine& progress)
        : options_(options),
          session_(session),
          sink_(sink),
          progress_(progress),
          observer_(sink, progress),
          tracker_([this](const FindingRecord& finding) {
              progress_.Clear();
              sink_.Finding(finding);
          }),
          scanner_(session.Manager().Scanner()) {
        session_.OnUnreadable(
            [this](std::string_view path, platform::SysError error) { observer_.OnUnreadable(path, error); });
    }
    ~Run() {
        session_.OnUnreadable({});
        session_.TheMachine().OnYield({});
        ObserveScans({});
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// Gives the exit code.
    /// @param reports made once the scan has ended
    int Scan(std::vector<WantedReport>& reports);

private:
    void Start(const ScanStages& stages, const std::vector<std::string>& targets);
    void Listen();
    void StopIfAsked();
    bool ScanAll();
    bool ScanOne();

    const ScanOptions& options_;
    Session& session_;
    Sink& sink_;
    ProgressLine& progress_;
    ScanObserver observer_;
    FindingTracker tracker_;
    std::shared_ptr<Scanner> scanner_;
    std::shared_ptr<kel::Scan> scan_;
    bool aborting_ = false;
};

void Run::Start(const ScanStages& stages, const std::vector<std::string>& targets) {
    sink_.Start({scan_->ScanID, session_.TheMachine().Name(), targets, DepthNames[options_.depth],
                 State().ThreatDataVersion, stages.notAvailable, stages.Names(), options_.threat,
                 DateText(scan_->StartDate)});
}

void Run::Listen() {
    ScannerEvents events;
    events.StartingLocation = [this](std::string_view location, enScanType type, std::int32_t count) {
        progress_.Show(NameOf(type), count, location);
    };
    events.ThreatDetected = [this](std::string_view, enScanType, std::int32_t threat, std::int32_t) {
        tracker_.Update(*scan_, threat);
    };
    events.RequestScanAbort = [this](bool&) { StopIfAsked(); };
    scan_->Callback->Subscribe(std::move(events));
    session_.TheMachine().OnYield([this] { StopIfAsked(); });
}

void Run::StopIfAsked() {
    if (!aborting_ && Interrupt::Requested()) {
        aborting_ = true;
        scanner_->AbortScan("Interrupted by the user");
    }
}

bool Run::ScanAll() {
    const ScanStages stages = StagesOf(options_, session_.View().can);
    if (stages.Names().empty()) {
        throw MachineError("nothing of what was asked for is available on this machine: " + stages.notAvailable[0]);
    }
    // Loads the data anew if they have changed since.
    scanner_->InitializeScan();
    session_.GiveIgnoreList();
    scan_ = scanner_->Scan();
    if (!scan_) {
        throw MachineError("the scan could not be started");
    }
    const std::vector<std::string> targets = stages.drives ? Targets(options_) : std::vector<std::string>();
    RequireTargets(targets);
    for (const std::string& target : targets) {
        scanner_->AddScanDriveAndPath(target);
    }
    Apply(options_, stages, *scanner_);
    if (options_.priority != 0 && session_.View().can.live) {
        scanner_->SetScannerPriority(options_.priority);
    }
    Start(stages, targets);
    Listen();
    const bool finished = scanner_->RunScanEasy();
    if (observer_.HistoryWaits()) {
        session_.Manager().ScanHistory()->Persist();
    }
    return finished;
}

bool Run::ScanOne() {
    if (session_.Manager().Threats()->GetThreatByThreatID(options_.threat) == nullptr) {
        throw MachineError("no threat " + std::to_string(options_.threat) + " in the catalogue");
    }
    // The second scan that begins in there is the one: without a voice, and let go of before the call returns.
    int begun = 0;
    ObserveScans([&](const std::shared_ptr<kel::Scan>& scan) {
        if (++begun != 2) {
            return;
        }
        scan_ = scan;
        scan_->Callback = std::make_shared<ScannerCallback>();
        ScanStages none;
        if (!session_.View().can.registry) {
            none.notAvailable.emplace_back("registry");
        }
        Start(none, {});
        Listen();
    });
    const bool scanned = scanner_->ScanThreat(options_.threat, false);
    ObserveScans({});
    if (!scan_) {
        throw MachineError("the scan could not be started");
    }
    scan_->EndDate = platform::Current().clock->Now();
    return scanned && !aborting_;
}

int Run::Scan(std::vector<WantedReport>& reports) {
    const auto began = std::chrono::steady_clock::now();
    session_.Load();
    const Interrupt interrupt;
    const bool finished = options_.threat != 0 ? ScanOne() : ScanAll();
    session_.TheMachine().OnYield({});
    tracker_.UpdateAll(*scan_);
    for (WantedReport& report : reports) {
        report.text = ReportText(*scan_, report.kind);
    }
    progress_.Clear();

    SummaryRecord summary;
    summary.complete = finished && observer_.TablesComplete();
    summary.abortReason = scan_->AbortReason;
    summary.threats = tracker_.Threats();
    summary.locations = tracker_.Locations();
    summary.files = scan_->ScannedFileCount;
    summary.processes = scan_->ScannedProcessCount;
    summary.registry = scan_->ScannedRegistryCount;
    summary.cookies = scan_->ScannedCookieCount;
    summary.errors = observer_.Errors();
    summary.unreadable = observer_.Unreadable();
    summary.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    sink_.Summary(summary);
    return Verdict(summary);
}

std::unique_ptr<Sink> MakeSink(OutputFormat format, Output& out, std::FILE* stream, std::FILE* err) {
    switch (format) {
        case OutputFormat::Jsonl:
            return std::make_unique<JsonlSink>(out);
        case OutputFormat::Html:
            return std::make_unique<HtmlSink>(out);
        case OutputFormat::Xml:
            return std::make_unique<QuietSink>(err);
        default:
            return std::make_unique<TextSink>(out, err, MayColour(stream));
    }
}

int NotWritten(const Streams& streams, const std::string& problem) {
    std::fprintf(streams.err, "ombrelane scan: the results could not be written: %s\n", ShownHostText(problem).c_str());
    return ExitIncomplete;
}

int Work(const ScanOptions& options, Session& session, const Streams& streams) {
    const ResultFile file(options.output, streams.out);
    if (file.Stream() == nullptr) {
        return NotWritten(streams, file.Problem());
    }
    Output named(file.Stream());
    Output standard(streams.out);
    // A report takes the named file, or else the place of the results.
    const bool both = options.report && !options.output.empty();
    Output& results = both ? standard : named;
    const OutputFormat format = options.report && !both ? OutputFormat::Xml : options.format;
    std::vector<WantedReport> reports;
    if (options.report) {
        reports.push_back({*options.report, &named, {}});
    } else if (format == OutputFormat::Xml) {
        reports.push_back({ScanReport::Full, &named, {}});
    }
    if (both && format == OutputFormat::Xml) {
        reports.push_back({ScanReport::Full, &standard, {}});
    }
    const auto sink = MakeSink(format, results, both ? streams.out : file.Stream(), streams.err);
    ProgressLine progress(streams.err, !options.noProgress && IsTerminal(streams.err));
    const int code = Run(options, session, *sink, progress).Scan(reports);
    for (const WantedReport& report : reports) {
        report.out->KeepLineEnds();
        report.out->Write(report.text);
    }
    for (const Output* out : {&results, &named}) {
        if (!out->Problem().empty()) {
            return NotWritten(streams, out->Problem());
        }
    }
    return code;
}

}  // namespace

int RunScan(const ScanOptions& options, const Streams& streams) {
    return InSession(options, "scan", streams, [&](Session& session) { return Work(options, session, streams); });
}

}  // namespace kel::frontend
