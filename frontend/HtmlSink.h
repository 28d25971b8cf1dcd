// A scan as one page to read: what was found, how bad it is, where it lies and what to do.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "frontend/Output.h"
#include "frontend/Sink.h"

namespace kel::frontend {

/// The page needs nothing beside it, runs no script and asks no network. It is written when the summary comes, or that
/// of the clean when there is one.
class HtmlSink : public Sink {
public:
    /// `out` outlives the object.
    explicit HtmlSink(Output& out) : out_(out) { out_.KeepLineEnds(); }
    void Start(const StartRecord& record) override { start_ = record; }
    void Finding(const FindingRecord& record) override { findings_[record.threat].push_back(record); }
    void Error(const ErrorRecord& record) override { errors_.push_back(record); }
    void Summary(const SummaryRecord& record) override;
    void Cleaned(const CleanRecord& record) override { cleaned_.push_back(record); }
    void CleanSummary(const CleanSummaryRecord& record) override;
    void Write(const WriteRecord& record) override { writes_.push_back(record); }

private:
    using Findings = std::vector<FindingRecord>;

    /// The worst first.
    [[nodiscard]] std::vector<const Findings*> ByLevel() const;
    /// @param clean null without one
    void WritePage(const CleanSummaryRecord* clean);

    Output& out_;
    StartRecord start_;
    std::map<std::int32_t, Findings> findings_;
    std::vector<ErrorRecord> errors_;
    SummaryRecord summary_;
    std::vector<CleanRecord> cleaned_;
    std::vector<WriteRecord> writes_;
};

}  // namespace kel::frontend
