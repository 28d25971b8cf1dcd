// A scan whose results go elsewhere: what could not be done is still told.
#pragma once

#include <cstdio>

#include "frontend/Sink.h"

namespace kel::frontend {

class QuietSink : public Sink {
public:
    /// Diagnostics go to `err`, which outlives the object.
    explicit QuietSink(std::FILE* err) : err_(err) {}
    void Start(const StartRecord& record) override;
    void Finding(const FindingRecord& /*record*/) override {}
    void Error(const ErrorRecord& record) override;
    void Summary(const SummaryRecord& record) override;
    void CleanStart(const CleanStartRecord& record) override;
    void Cleaned(const CleanRecord& record) override;
    void CleanSummary(const CleanSummaryRecord& record) override;
    void Write(const WriteRecord& record) override;

private:
    std::FILE* err_;
    bool destroys_ = false;
};

}  // namespace kel::frontend
