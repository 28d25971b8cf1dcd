// JSON lines that describe keys and values, put into a hive.
#pragma once

#include <istream>
#include <stdexcept>
#include <string>

#include "hive/Hive.h"

namespace kel::hivemake {

/// A line that can't be taken: its number and the reason.
class LineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The lines end because they can't be read on.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Makes what the lines say below the root of `hive`:
///     {"type":"key","path":["Software","Sample"]}
///     {"type":"value","path":["Software"],"name":"Version","valueType":1,"text":"1.0"}
/// Data are `data` (hexadecimal digits), `text` (UTF-16 with a terminator; type 1 unless said otherwise), `texts` (a
/// list of them; type 7) or `number` (32 bits; type 4). Keys are made with those above them. Times and class names are
/// not taken over; lines of other types are left out. Texts are any UTF-16, with escapes for lone surrogates.
/// Throws LineError and InputError.
void ReadLines(std::istream& in, offline::Hive& hive);

}  // namespace kel::hivemake
