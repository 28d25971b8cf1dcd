#include "frontend/CleanCommand.h"

#include <cstdio>
#include <memory>
#include <set>
#include <vector>

#include "core/Recordset.h"
#include "core/Value.h"
#include "frontend/CleanTargets.h"
#include "frontend/Cleaning.h"
#include "frontend/ExitCodes.h"
#include "frontend/Interrupt.h"
#include "frontend/JsonlSink.h"
#include "frontend/ProgressLine.h"
#include "frontend/ScanObserver.h"
#include "frontend/Session.h"
#include "frontend/Terminal.h"
#include "frontend/TextSink.h"
#include "results/ScanHistory.h"

namespace kel::frontend {

namespace {

std::set<std::int32_t> ThreatsOf(const ScanHistoryDetail& scan) {
    std::set<std::int32_t> threats;
    Trap("clean", "ThreatsOf", [&] {
        for (const auto& rows = scan.DetectedThreats; rows && !rows->Eof(); rows->MoveNext()) {
            threats.insert(ToLong(rows->Get("DThreatID")));
        }
    });
    return threats;
}

std::vector<CleanOrder> Orders(Session& session, const CleanOptions& options) {
    const auto history = session.Manager().ScanHistory();
    // With a quote in it the identifier would be no filter.
    const bool fit = options.scan.find('\'') == std::string::npos;
    const auto scan = fit ? history->GetScanHistoryDetail(options.scan) : nullptr;
    if (!scan) {
        throw MachineError("no scan " + options.scan + " in the history of " + options.userData);
    }
    const std::set<std::int32_t> found = ThreatsOf(*scan);
    std::vector<CleanOrder> orders;
    std::set<std::int32_t> once;
    for (const std::int32_t threat : options.threats) {
        if (found.count(threat) == 0) {
            throw MachineError("the scan " + options.scan + " did not find threat " + std::to_string(threat));
        }
        if (once.insert(threat).second) {
            orders.push_back({threat, TargetsOf(*scan, threat)});
        }
    }
    return orders;
}

int Work(const CleanOptions& options, Session& session, const Streams& streams) {
    Output out(streams.out);
    std::unique_ptr<Sink> sink;
    if (options.format == OutputFormat::Jsonl) {
        sink = std::make_unique<JsonlSink>(out);
    } else {
        sink = std::make_unique<TextSink>(out, streams.err, MayColour(streams.out));
    }
    ProgressLine progress(streams.err, !options.noProgress && IsTerminal(streams.err));
    ScanObserver observer(*sink, progress);
    session.Load();
    const std::vector<CleanOrder> orders = Orders(session, options);

    CleanStartRecord start;
    start.scanId = options.scan;
    start.dryRun = options.dryRun;
    start.fromHistory = true;
    for (const CleanOrder& order : orders) {
        start.threats.push_back(order.threat);
    }
    start.notAvailable = CleanWorkNotAvailable(session.View().can);
    sink->CleanStart(start);

    const Interrupt interrupt;
    Cleaning cleaning(session, *sink, progress, observer);
    const CleanSummaryRecord summary = cleaning.Clean(options.scan, nullptr, orders, false);
    sink->CleanSummary(summary);
    if (!out.Problem().empty()) {
        std::fprintf(streams.err, "ombrelane clean: the results could not be written: %s\n", out.Problem().c_str());
        return ExitIncomplete;
    }
    return Verdict(summary);
}

}  // namespace

int RunClean(const CleanOptions& options, const Streams& streams) {
    CleanOptions cleaning = options;
    cleaning.writable = !options.dryRun;
    cleaning.makesFolders = false;
    return InSession(cleaning, "clean", streams, [&](Session& session) { return Work(cleaning, session, streams); });
}

}  // namespace kel::frontend
