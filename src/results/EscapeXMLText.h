#pragma once

#include <string>
#include <string_view>

namespace kel {

/// The text with `&`, `"`, `'`, `<` and `>` as the named entities of XML, and without NUL characters.
[[nodiscard]] std::string EscapeXMLText(std::string_view text);

}  // namespace kel
