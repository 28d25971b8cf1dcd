// Every exit code of the program, in one place. They are an interface: see docs/ombrelane.md.
#pragma once

namespace kel::frontend {

struct SummaryRecord;

enum ExitCode : int {
    ExitClean = 0,       ///< the scan ran to its end and found nothing
    ExitThreats = 1,     ///< threats were found
    ExitIncomplete = 2,  ///< the scan could not be completed: aborted, tables not loaded, or parts that can't be read
    ExitUsage = 64,      ///< the command line can't be understood
    ExitNoInput = 66,    ///< no such machine, data folder or user data folder
};

/// What a scan that ran ends the program with. Nothing found is only clean when everything could be looked at.
[[nodiscard]] ExitCode Verdict(const SummaryRecord& summary);

}  // namespace kel::frontend
