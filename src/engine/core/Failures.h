// The engine's one error channel, and the handler that every procedure has.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "core/RuntimeError.h"

namespace kel {

/// Appends a line to `errors.log` below the user data folder. Never fails towards its caller. During a look ahead (see
/// Unnoticed) nothing is reported.
/// @param description text as it shall stand in the line
/// @param number error number as text; "0" after trimming means "Informational only:"
/// @param reserved not read
void ReportError(std::string_view description, std::string_view number, std::string_view module,
                 std::string_view procedure, int reserved = 0) noexcept;

/// ReportError for an error that was caught: "ln ", the line, ":" and its text.
void ReportError(const RuntimeError& error, std::string_view module, std::string_view procedure) noexcept;

/// Appends `<code>::<message>::<now>` to `Events.log` in the user data folder.
void EventLog(std::int32_t code, std::string_view message);

/// Appends one line and a line end to a file, which is made if needed. False when that failed.
bool AppendLineToFile(std::string_view line, std::string_view path);

/// The handler of a procedure: runs `body`; a failure is reported under the two names, and the procedure goes on
/// behind the call, with its result as it stands.
/// @return true when `body` ran to its end.
template <class Body>
bool Trap(std::string_view module, std::string_view procedure, Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
        return true;
    } catch (const RuntimeError& error) {
        ReportError(error, module, procedure);
    } catch (const std::exception& error) {
        ReportError(std::string("ln 0:") + error.what(), "7", module, procedure);
    }
    return false;
}

/// One statement of a resume-next section: a failure is skipped, and nothing is logged.
/// @return true when the statement ran to its end.
template <class Statement>
bool ResumeNext(Statement&& statement) noexcept {
    try {
        std::forward<Statement>(statement)();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// Counts of what went through ReportError since the engine state was made, for front ends: soft failures are shown,
/// never lost.
struct FailureCounts {
    std::int64_t errors = 0;         ///< real failures
    std::int64_t informational = 0;  ///< lines with number 0
};
[[nodiscard]] const FailureCounts& Failures();

/// One line of the error channel as it was reported.
struct FailureRecord {
    std::string description;
    std::string number;
    std::string module;
    std::string procedure;
};

/// Installs a function that sees each report when it is made (a front end's error line). Empty takes it away.
void ObserveFailures(std::function<void(const FailureRecord&)> observer);

}  // namespace kel
