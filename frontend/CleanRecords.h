// What a clean has to say, apart from how it is shown.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kel::frontend {

struct CleanStartRecord {
    std::string scanId;
    bool destroys = false;  ///< what is removed is not kept in the quarantine
    bool dryRun = false;
    bool fromHistory = false;  ///< the rules then remove files and cookies alone
    std::vector<std::int32_t> threats;
    std::vector<std::string> notAvailable;  ///< work that this machine can't have done
};

/// What became of a location that was detected.
struct CleanItem {
    enum class Result {
        Removed,
        Left,       ///< it is there as before
        Absent,     ///< it was gone already when the clean began
        Untouched,  ///< the rules do not remove it
        Deleted,    ///< it is gone, and the quarantine that should keep it could not take it
    };

    std::string kind;  ///< file, folder, registry or cookie
    std::string location;
    Result result = Result::Left;
};

/// What became of a threat.
struct CleanRecord {
    enum class Result {
        Cleaned,      ///< everything that was to go is gone
        Partial,      ///< something is left
        Failed,       ///< the work broke off, or could not begin
        NotDetected,  ///< it was named and the scan did not find it
        Skipped,      ///< the user stopped before it, or did not want it
    };

    std::int32_t threat = 0;
    std::string name;
    Result result = Result::Cleaned;
    std::string reason;      ///< for people; empty when everything went well
    std::string quarantine;  ///< identifier of the record in the quarantine; empty without one
    std::vector<CleanItem> items;
};

struct CleanSummaryRecord {
    bool destroys = false;
    bool dryRun = false;
    bool interrupted = false;
    bool nextStart = false;  ///< the next start of the machine does what is left
    std::int64_t cleaned = 0;
    std::int64_t partial = 0;
    std::int64_t failed = 0;
    std::int64_t notDetected = 0;
    std::int64_t skipped = 0;
    std::int64_t removed = 0;  ///< locations
    std::int64_t left = 0;     ///< locations
    std::int64_t errors = 0;   ///< failures of the engine meanwhile
};

/// A change that a dry run did not make.
struct WriteRecord {
    std::string kind;
    std::string target;
    std::string other;
    std::string text;
};

/// Words for both kinds of results, as programs read them.
[[nodiscard]] const char* NameOf(CleanItem::Result result);
[[nodiscard]] const char* NameOf(CleanRecord::Result result);

}  // namespace kel::frontend
