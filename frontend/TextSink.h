// A scan for people: what could not be done at once, the findings by threat at the end.
#pragma once

#include <cstdio>
#include <map>
#include <vector>

#include "frontend/Output.h"
#include "frontend/Sink.h"

namespace kel::frontend {

class TextSink : public Sink {
public:
    /// Findings and summary go to `out`, diagnostics to `err`; both outlive the object.
    TextSink(Output& out, std::FILE* err, bool colour) : out_(out), err_(err), colour_(colour) {}
    void Start(const StartRecord& record) override;
    void Finding(const FindingRecord& record) override;
    void Error(const ErrorRecord& record) override;
    void Summary(const SummaryRecord& record) override;
    void CleanStart(const CleanStartRecord& record) override;
    void Cleaned(const CleanRecord& record) override;
    void CleanSummary(const CleanSummaryRecord& record) override;
    void Write(const WriteRecord& record) override;

private:
    void Print(const char* code, const std::string& text);

    Output& out_;
    std::FILE* err_;
    bool colour_;
    bool destroys_ = false;
    std::vector<std::int32_t> order_;
    std::map<std::int32_t, std::vector<FindingRecord>> findings_;
};

}  // namespace kel::frontend
