// The command line of hivedump.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace kel::hivedump {

enum ExitCode : int {
    ExitDone = 0,
    ExitDamaged = 2,    ///< something of the hive could not be read; what, is told
    ExitUsage = 64,     ///< the command line can't be understood
    ExitNoInput = 66,   ///< a file is missing, can't be read or is no hive
    ExitNoOutput = 74,  ///< the output can't be written
};

/// Shows one hive. Never throws.
/// @param arguments without the program's name
int Run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace kel::hivedump
