#include "frontend/RecordReport.h"

#include <cstdio>
#include <utility>

#include "core/Failures.h"
#include "frontend/ExitCodes.h"
#include "frontend/ShownText.h"
#include "frontend/SwallowedWrites.h"

namespace kel::frontend {

namespace {

constexpr std::size_t PieceBytes = 65536;

}  // namespace

RecordReport::RecordReport(std::string command, OutputFormat format, const Streams& streams)
    : command_(std::move(command)), format_(format), out_(streams.out), err_(streams.err) {
    if (!InText()) {
        out_.KeepLineEnds();
    }
    ObserveFailures([this](const FailureRecord& record) {
        ++failures_;
        const std::string message = record.module + "." + record.procedure + ": " + record.description;
        if (InText()) {
            Message(ShownText(message));
        } else {
            Object({{"type", "error"}, {"kind", "engine"}, {"message", Utf8(message)}});
        }
    });
}

RecordReport::~RecordReport() {
    ObserveFailures({});
    HandOut();
}

void RecordReport::Line(const std::string& text) {
    Add(text + "\n");
}

void RecordReport::Object(const Json& object) {
    Add(JsonLine(object));
}

void RecordReport::Write(const WriteRecord& write) {
    if (InText()) {
        Line("would " + ShownText(write.text));
    } else {
        Object(ObjectOf(write));
    }
}

void RecordReport::Message(const std::string& text) {
    std::fprintf(err_, "%s: %s\n", command_.c_str(), text.c_str());
}

void RecordReport::Add(const std::string& line) {
    held_ += line;
    if (held_.size() >= PieceBytes) {
        HandOut();
    }
}

void RecordReport::HandOut() {
    out_.Write(held_);
    held_.clear();
}

int RecordReport::Finish(int code) {
    return FinishJudged(Failed() && code == ExitClean ? ExitIncomplete : code);
}

int RecordReport::FinishJudged(int code) {
    HandOut();
    if (!out_.Problem().empty()) {
        Message("the results could not be written: " + out_.Problem());
        return ExitIncomplete;
    }
    return code;
}

}  // namespace kel::frontend
