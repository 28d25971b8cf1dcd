// What a command has to say: its results as text or JSON lines, and what went wrong.
#pragma once

#include <cstdint>
#include <string>

#include "frontend/CleanRecords.h"
#include "frontend/JsonLine.h"
#include "frontend/Output.h"
#include "frontend/ScanOptions.h"

namespace kel::frontend {

/// Results go to standard output in large pieces of whole lines. Failures of the engine are told too, from the
/// construction on, and are remembered.
class RecordReport {
public:
    /// Needs the engine, and observes it until its end. `command` is how messages begin: "ombrelane ignore add".
    RecordReport(std::string command, OutputFormat format, const Streams& streams);
    ~RecordReport();
    RecordReport(const RecordReport&) = delete;
    RecordReport& operator=(const RecordReport&) = delete;

    [[nodiscard]] bool InText() const { return format_ == OutputFormat::Text; }
    /// Whether the engine reported a failure so far: what was not found may be there all the same.
    [[nodiscard]] bool Failed() const { return failures_ > 0; }
    /// A line of text, without its end. Not to be used with JSON lines.
    void Line(const std::string& text);
    /// An object, as a line of its own. Not to be used with text.
    void Object(const Json& object);
    /// A change that a dry run did not make, in either form.
    void Write(const WriteRecord& write);
    /// A message for people on standard error, in any format.
    void Message(const std::string& text);

    /// Hands out what was told so far: behind each part of a work that takes a while.
    void HandOut();
    /// Hands out what is still held back.
    /// @param code what the command ends with if all went well
    /// @return this code, or the one for incomplete work after a failure of the engine or of the output
    [[nodiscard]] int Finish(int code);
    /// The same for a command that judged itself what the failures of the engine led to.
    [[nodiscard]] int FinishJudged(int code);

private:
    void Add(const std::string& line);

    std::string command_;
    OutputFormat format_;
    Output out_;
    std::FILE* err_;
    std::string held_;
    std::int64_t failures_ = 0;
};

}  // namespace kel::frontend
