// The command line of hivemake.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace kel::hivemake {

enum ExitCode : int {
    ExitDone = 0,
    ExitUsage = 64,     ///< the command line can't be understood
    ExitBadInput = 65,  ///< a line is no key or value; which one, and why, is told, and nothing is written
    ExitNoInput = 66,   ///< the input is missing or can't be read
    ExitNoOutput = 73,  ///< the hive can't be written
};

/// Makes one hive. Never throws.
/// @param arguments without the program's name
int Run(const std::vector<std::string>& arguments, std::istream& in, std::ostream& out, std::ostream& err);

}  // namespace kel::hivemake
