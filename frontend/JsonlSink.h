// One JSON object a line in plain ASCII, each written with one write.
#pragma once

#include "frontend/Output.h"
#include "frontend/Sink.h"

namespace kel::frontend {

class JsonlSink : public Sink {
public:
    /// `out` outlives the object.
    explicit JsonlSink(Output& out) : out_(out) { out_.KeepLineEnds(); }
    void Start(const StartRecord& record) override;
    void Finding(const FindingRecord& record) override;
    void Error(const ErrorRecord& record) override;
    void Summary(const SummaryRecord& record) override;
    void CleanStart(const CleanStartRecord& record) override;
    void Cleaned(const CleanRecord& record) override;
    void CleanSummary(const CleanSummaryRecord& record) override;
    void Write(const WriteRecord& record) override;

private:
    Output& out_;
};

}  // namespace kel::frontend
