// Text in a page.
#pragma once

#include <string>
#include <string_view>

namespace kel::frontend {

/// Text of the machine in UTF-8, in a form that a page shows as it stands, between tags and inside quoted attributes:
/// nothing in it is markup, and nothing turns the direction of what stands beside it.
[[nodiscard]] std::string Html(std::string_view text);

/// The style of the scan's page.
[[nodiscard]] std::string_view HtmlStyle();

}  // namespace kel::frontend
