// Text of the machine as people may see it.
#pragma once

#include <string>
#include <string_view>

namespace kel::frontend {

/// The text in UTF-8 with nothing in it that steers a terminal or makes a name look like another one: control
/// characters, marks that turn the direction of writing, line separators and bytes that are no text become `?`.
/// @param text in the code page of the machine that is installed
[[nodiscard]] std::string ShownText(std::string_view text);

/// The same for text that is in UTF-8 already, as paths of the host are. Needs no machine.
[[nodiscard]] std::string ShownUtf8(std::string_view utf8);

/// The same for text of the host, as command lines and messages of its file system have it: UTF-8, but on Windows the
/// system's code page, of which only control characters become `?`. Needs no machine.
[[nodiscard]] std::string ShownHostText(std::string_view text);

}  // namespace kel::frontend
