// What the program knows about its terminal.
#pragma once

#include <cstdio>

namespace kel::frontend {

/// Whether the stream is a terminal.
bool IsTerminal(std::FILE* stream);

/// Whether text on the stream may be coloured: a terminal, and NO_COLOR not set.
bool MayColour(std::FILE* stream);

/// Columns of the terminal behind the stream, 80 when it can't be told.
int Columns(std::FILE* stream);

}  // namespace kel::frontend
