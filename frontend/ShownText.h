// Text of the machine as people may see it.
#pragma once

#include <string>
#include <string_view>

namespace kel::frontend {

/// The text in UTF-8 with nothing in it that steers a terminal or makes a name look like another one: control
/// characters, marks that turn the direction of writing, line separators and bytes that are no text become `?`.
/// @param text in the code page of the machine that is installed
[[nodiscard]] std::string ShownText(std::string_view text);

}  // namespace kel::frontend
