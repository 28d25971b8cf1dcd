// What ends a command early.
#pragma once

#include <stdexcept>
#include <string>

#include "kelsdb/CommandLine.h"

namespace kel::kelsdb {

/// A failure for people, with the exit code that it means.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& text) : std::runtime_error(text), code(exitCode) {}

    const ExitCode code;
};

}  // namespace kel::kelsdb
