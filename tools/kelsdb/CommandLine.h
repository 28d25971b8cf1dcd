// The commands of kelsdb.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace kel::kelsdb {

/// Where a run reads and writes what is not in files.
struct Streams {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
};

enum ExitCode : int {
    ExitDone = 0,
    ExitRejected = 1,   ///< input lines were rejected, or a check found something wrong
    ExitUsage = 64,     ///< the command line can't be understood
    ExitNoInput = 66,   ///< an input is missing, can't be read or is no table file
    ExitNoOutput = 73,  ///< the output can't be written
};

/// Runs one command. Never throws.
/// @param arguments without the program's name
int Run(const std::vector<std::string>& arguments, const Streams& streams);

}  // namespace kel::kelsdb
