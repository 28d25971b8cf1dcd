// From the command line to a command.
#pragma once

namespace kel::frontend {

/// Runs the program. Gives its exit code (ExitCodes.h).
int Run(int argc, char** argv);

}  // namespace kel::frontend
