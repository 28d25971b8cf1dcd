// Names of hives need not be valid UTF-16; JSON has escapes for their lone surrogates, which parsers refuse.
#pragma once

#include <string>
#include <string_view>

namespace kel::hivemake {

/// A JSON text in which each escape of a lone surrogate is replaced by valid characters that stand for it, so that it
/// can be parsed. UnitsOf takes that back.
[[nodiscard]] std::string MarkLoneSurrogates(std::string_view json);

/// The UTF-16 of a string of a JSON text that was marked.
[[nodiscard]] std::u16string UnitsOf(std::string_view marked);

}  // namespace kel::hivemake
