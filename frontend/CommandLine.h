// From the command line to a command.
#pragma once

#include <string>
#include <vector>

#include "frontend/Output.h"

namespace kel::frontend {

/// Runs the program. Gives its exit code (ExitCodes.h).
/// @param arguments those behind the program's name
int Run(std::vector<std::string> arguments, const Streams& streams);

}  // namespace kel::frontend
