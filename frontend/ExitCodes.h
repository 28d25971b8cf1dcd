// Every exit code of the program, in one place. They are an interface: see docs/ombrelane.md.
#pragma once

namespace kel::frontend {

struct SummaryRecord;
struct CleanSummaryRecord;

enum ExitCode : int {
    ExitClean = 0,    ///< the scan ran to its end and found nothing; another command did its work
    ExitThreats = 1,  ///< threats were found
    /// The scan could not be completed: aborted, tables not loaded, or parts that can't be read. Another command met a
    /// failure of the engine, or could not write.
    ExitIncomplete = 2,
    ExitUsage = 64,    ///< the command line can't be understood
    ExitNoInput = 66,  ///< no such machine, folder, scan or threat, or an ignore list that can't be read
};

/// What a scan that ran ends the program with. Nothing found is only clean when everything could be looked at.
[[nodiscard]] ExitCode Verdict(const SummaryRecord& summary);

/// What a clean ends the program with: done, or incomplete when something of what was asked for is left or was broken
/// off. What the user did not want, and what was not there, counts as done.
[[nodiscard]] ExitCode Verdict(const CleanSummaryRecord& summary);

}  // namespace kel::frontend
