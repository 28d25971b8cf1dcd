// One JSON object a line, each written with one write.
#pragma once

#include <cstdio>

#include "frontend/Sink.h"

namespace kel::frontend {

class JsonlSink : public Sink {
public:
    /// `out` stays the caller's.
    explicit JsonlSink(std::FILE* out) : out_(out) {}
    void Start(const StartRecord& record) override;
    void Finding(const FindingRecord& record) override;
    void Error(const ErrorRecord& record) override;
    void Summary(const SummaryRecord& record) override;

private:
    std::FILE* out_;
};

}  // namespace kel::frontend
