// Ends a process with all that it started.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "companions/WorkLog.h"

namespace kel::companions {

/// Exit codes of the program.
enum class TreeEnd : int {
    Done = 0,              ///< the process and all its descendants are ended
    Partly = 1,            ///< one or more of them could not be ended, or opened
    NoNumber = 2,          ///< not called with one process number
    NoSuchProcess = 3,     ///< no process has the number
    Refused = 4,           ///< the system, this program, or a process that this program descends from
    NoListOfProcesses = 5  ///< the system does not list its processes
};

/// The number of a process in its decimal form: digits only, no more than 32 bits. Nothing for any other text.
[[nodiscard]] std::optional<std::uint32_t> ProcessNumber(std::string_view text);

/// Ends a process and all its descendants, children before their parents, again until none is left that was started
/// meanwhile. With all but Done and Partly, nothing is ended.
///
/// A process is a child only of one that started before it: the number of an ended parent may have gone to another
/// process since then. What lies behind a process that had ended before, or that can't be opened, is not reached.
TreeEnd EndProcessTree(std::uint32_t processId, WorkLog& log);

/// The program: ends the tree of the one process number that it is called with.
TreeEnd RunTreeProgram(const std::vector<std::string>& arguments, WorkLog& log);

}  // namespace kel::companions
