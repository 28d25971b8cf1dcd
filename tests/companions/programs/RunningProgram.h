// Runs a program to its end.
#pragma once

#include <string>

namespace kel::test {

struct ProgramEnd {
    unsigned long code = 0;
    std::string said;  ///< on its error stream
};

/// Fails the running test when it does not end within a minute.
/// @param arguments as they stand in the command line behind the program
ProgramEnd RunProgram(const std::string& program, const std::string& arguments);

}  // namespace kel::test
