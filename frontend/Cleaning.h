// Threats removed one after the other, as a client of the engine's cleaner does it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cleaner/Cleaner.h"
#include "core/Failures.h"
#include "frontend/CleanRecords.h"
#include "frontend/CleanTargets.h"
#include "frontend/ProgressLine.h"
#include "frontend/ScanObserver.h"
#include "frontend/Session.h"
#include "frontend/Sink.h"

namespace kel::frontend {

/// One threat that is to go.
struct CleanOrder {
    std::int32_t threat = 0;
    std::vector<CleanTarget> targets;
};

class Cleaning {
public:
    /// All outlive the object.
    Cleaning(Session& session, Sink& sink, ProgressLine& progress, ScanObserver& observer);
    ~Cleaning();
    Cleaning(const Cleaning&) = delete;
    Cleaning& operator=(const Cleaning&) = delete;

    /// Removes the threats of a scan. Between two of them an interruption by the user is obeyed. Tells the sink all but
    /// the summary, and keeps the history.
    /// @param scanId the scan that found them
    /// @param detected what it found; null: the history tells
    /// @param destroys nothing is kept
    CleanSummaryRecord Clean(const std::string& scanId,
                             const std::shared_ptr<Cleaner::DetectedThreatCollection>& detected,
                             const std::vector<CleanOrder>& orders, bool destroys);

    /// Tells the sink that none of them was touched, and why.
    CleanSummaryRecord Skip(const std::vector<CleanOrder>& orders, bool destroys, const std::string& reason);

private:
    [[nodiscard]] bool Begin(const std::string& scanId,
                             const std::shared_ptr<Cleaner::DetectedThreatCollection>& detected);
    [[nodiscard]] CleanRecord NotDone(const CleanOrder& order, CleanRecord::Result result, const std::string& reason);
    [[nodiscard]] CleanRecord CleanOne(const CleanOrder& order, bool destroys);
    void Judge(CleanRecord& record, enCleanerErrors error, bool destroys, bool copyLeft);
    void Tell(CleanSummaryRecord& summary, const CleanRecord& record);
    [[nodiscard]] std::string NameOfThreat(std::int32_t threat);

    Session& session_;
    Sink& sink_;
    ProgressLine& progress_;
    ScanObserver& observer_;
    std::shared_ptr<Cleaner> cleaner_;
    bool finished_ = false;  // the cleaner said so of the threat at hand
    std::string trapped_;    // the failure that ended the operation at hand; empty: none did
};

/// Work that a clean would have done and this machine can't, in words for people and programs.
[[nodiscard]] std::vector<std::string> CleanWorkNotAvailable(const platform::Capabilities& can);

}  // namespace kel::frontend
