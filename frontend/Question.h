// Questions to the user.
#pragma once

#include <string>

#include "frontend/Output.h"

namespace kel::frontend {

/// Whether somebody can read a question and answer it: both ends are terminals.
[[nodiscard]] bool CanAsk(const Streams& streams);

/// Writes the question on the stream for errors and reads a line. True for "y" and "yes" in any case, false for
/// anything else and for the end of the input. The text is fit to be shown.
[[nodiscard]] bool Ask(const Streams& streams, const std::string& question);

}  // namespace kel::frontend
