#include "frontend/ScanCommand.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <set>

#include "catalogue/Threats.h"
#include "core/EngineState.h"
#include "core/Text.h"
#include "core/Value.h"
#include "engine/Manager.h"
#include "frontend/CleanTargets.h"
#include "frontend/Cleaning.h"
#include "frontend/ExitCodes.h"
#include "frontend/FindingTracker.h"
#include "frontend/HtmlSink.h"
#include "frontend/Interrupt.h"
#include "frontend/JsonlSink.h"
#include "frontend/ProgressLine.h"
#include "frontend/Question.h"
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

// Shows what would go, and asks.
bool MayRemove(const std::vector<CleanOrder>& orders, const ScanOptions& options, const Streams& streams) {
    std::string question = options.destroy ? "These threats will be removed from the machine for good:\n"
                                           : "These threats will be removed from the machine into the quarantine:\n";
    for (const CleanOrder& order : orders) {
        question += "  " + ShownText(Threats().GetThreatDisplayName(order.threat)) + "  (threat " +
                    std::to_string(order.threat) + ")\n";
        for (const CleanTarget& target : order.targets) {
            question += "    " + std::string(target.kind) + "  " + ShownText(target.location) + "\n";
        }
    }
    return Ask(streams, question + "Go on? [y/N] ");
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
    Run(const ScanOptions& options, Session& session, Sink& sink, ProgressLine& progress, const Streams& streams)
        : options_(options),
          session_(session),
          streams_(streams),
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
    void RequireThreats();
    [[nodiscard]] std::vector<CleanOrder> Orders(std::vector<CleanRecord>& notDetected);
    [[nodiscard]] CleanSummaryRecord Clean(bool complete);

    const ScanOptions& options_;
    Session& session_;
    const Streams& streams_;
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
                 DateText(scan_->StartDate), options_.Cleans()});
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

void Run::RequireThreats() {
    for (const std::int32_t threat : options_.threats) {
        if (session_.Manager().Threats()->GetThreatByThreatID(threat) == nullptr) {
            throw MachineError("no threat " + std::to_string(threat) + " in the catalogue");
        }
    }
}

std::vector<CleanOrder> Run::Orders(std::vector<CleanRecord>& notDetected) {
    std::vector<CleanOrder> orders;
    const auto& detected = *scan_->DetectedThreats();
    if (options_.threats.empty()) {
        for (const auto& threat : detected) {
            orders.push_back({threat->ThreatID, TargetsOf(*threat)});
        }
        return orders;
    }
    std::set<std::int32_t> once;
    for (const std::int32_t number : options_.threats) {
        if (!once.insert(number).second) {
            continue;
        }
        if (const auto* threat = detected.Find("ThreatID:" + Text(number))) {
            orders.push_back({number, TargetsOf(**threat)});
            continue;
        }
        CleanRecord record;
        record.threat = number;
        record.name = session_.Manager().Threats()->GetThreatDisplayName(number);
        record.result = CleanRecord::Result::NotDetected;
        notDetected.push_back(record);
    }
    return orders;
}

CleanSummaryRecord Run::Clean(bool complete) {
    std::vector<CleanRecord> notDetected;
    const std::vector<CleanOrder> orders = Orders(notDetected);
    CleanStartRecord start;
    start.scanId = scan_->ScanID;
    start.destroys = options_.destroy;
    start.dryRun = options_.dryRun;
    for (const CleanOrder& order : orders) {
        start.threats.push_back(order.threat);
    }
    if (!orders.empty()) {
        start.notAvailable = CleanWorkNotAvailable(session_.View().can);
    }
    sink_.CleanStart(start);

    Cleaning cleaning(session_, sink_, progress_, observer_);
    CleanSummaryRecord summary;
    if (!complete && Interrupt::Requested()) {
        summary = cleaning.Skip(orders, options_.destroy, "the scan was interrupted by the user");
        summary.interrupted = true;
    } else if (!orders.empty() && !options_.yes && !options_.dryRun && !MayRemove(orders, options_, streams_)) {
        const bool interrupted = Interrupt::Requested();
        summary =
            cleaning.Skip(orders, options_.destroy, interrupted ? "interrupted by the user" : "not wanted by the user");
        summary.interrupted = interrupted;
    } else {
        summary = cleaning.Clean(scan_->ScanID, scan_->DetectedThreats(), orders, options_.destroy);
    }
    for (const CleanRecord& record : notDetected) {
        sink_.Cleaned(record);
        ++summary.notDetected;
    }
    sink_.CleanSummary(summary);
    return summary;
}

int Run::Scan(std::vector<WantedReport>& reports) {
    const auto began = std::chrono::steady_clock::now();
    session_.Load();
    const Interrupt interrupt;
    if (options_.Cleans()) {
        RequireThreats();
    }
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
    session_.TellWrites(sink_);
    sink_.Summary(summary);
    const int verdict = Verdict(summary);
    if (!options_.Cleans()) {
        return verdict;
    }
    const int cleaned = Verdict(Clean(finished));
    return cleaned != ExitClean ? cleaned : verdict;
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
    const int code = Run(options, session, *sink, progress, streams).Scan(reports);
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
    if (!options.Cleans()) {
        return InSession(options, "scan", streams, [&](Session& session) { return Work(options, session, streams); });
    }
    if (!options.yes && !options.dryRun && !CanAsk(streams)) {
        std::fprintf(streams.err,
                     "ombrelane scan: --%s removes threats from the machine, and there is no terminal to ask on; say "
                     "--yes, or --dry-run to see what would be done\nRun with --help for more information.\n",
                     options.destroy ? "destroy" : "quarantine");
        return ExitUsage;
    }
    ScanOptions cleaning = options;
    cleaning.threat = 0;
    cleaning.writable = !options.dryRun;
    return InSession(cleaning, "scan", streams, [&](Session& session) { return Work(cleaning, session, streams); });
}

}  // namespace kel::frontend
