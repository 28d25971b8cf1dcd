// What a scan has to say, apart from how it is shown.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frontend/CleanRecords.h"

namespace kel::frontend {

struct StartRecord {
    std::string scanId;
    std::string machine;               ///< as it was named, "live" for the running machine
    std::vector<std::string> targets;  ///< drives or folders that are walked
    std::string depth;
    std::string dataVersion;
    std::vector<std::string> notAvailable;  ///< what was asked for and this machine can't have
    std::vector<std::string> stages{};
    std::int32_t threat = 0;  ///< the only one that is looked for; 0: all
    std::string date{};       ///< when it began, in the machine's time
    bool cleans = false;      ///< a clean follows the summary
};

/// The catalogue's texts about a threat.
struct ThreatTexts {
    std::string description;       ///< what it is
    std::string levelDescription;  ///< how bad it is
    std::string advice;            ///< what to do
    std::string author;
};

struct FindingRecord {
    std::int32_t threat = 0;
    std::string name;
    std::string category;
    std::int32_t level = 0;
    std::string levelName;
    std::string kind;  ///< file, folder, registry, cookie or custom
    std::string location;
    std::string md5;  ///< files only
    std::int16_t optionLevel = 0;
    std::shared_ptr<const ThreatTexts> texts;  ///< the same object for each finding of a threat; or null
};

struct ErrorRecord {
    std::string kind;  ///< "engine": a line of errors.log; "unreadable": something that could not be looked at
    std::string message;
    std::string location;  ///< unreadable only
};

struct SummaryRecord {
    bool complete = false;    ///< the scan ran to its end with all its tables
    std::string abortReason;  ///< empty when it was not aborted
    std::int64_t threats = 0;
    std::int64_t locations = 0;
    std::int64_t files = 0;       ///< locations that the scan named, by their kinds
    std::int64_t errors = 0;      ///< failures of the engine
    std::int64_t unreadable = 0;  ///< files and folders that could not be read
    double seconds = 0;
    std::int64_t processes = 0;
    std::int64_t registry = 0;
    std::int64_t cookies = 0;

    [[nodiscard]] std::int64_t Scanned() const { return files + processes + registry + cookies; }
};

/// One way of showing. Records come in the order start, findings and errors, summary; then, if there is a clean, its
/// start, what became of each threat, and its summary. Errors may come at any time, and so may writes of a dry run. A
/// clean of what the history has comes without the first three.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void Start(const StartRecord& record) = 0;
    virtual void Finding(const FindingRecord& record) = 0;
    virtual void Error(const ErrorRecord& record) = 0;
    virtual void Summary(const SummaryRecord& record) = 0;
    virtual void CleanStart(const CleanStartRecord& /*record*/) {}
    virtual void Cleaned(const CleanRecord& /*record*/) {}
    virtual void CleanSummary(const CleanSummaryRecord& /*record*/) {}
    virtual void Write(const WriteRecord& /*record*/) {}
};

}  // namespace kel::frontend
