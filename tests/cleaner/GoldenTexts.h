#pragma once

#include <string_view>

namespace kel::test {

/// The text of `golden/<name>.txt` with single line feeds; empty when there is none.
[[nodiscard]] std::string_view GoldenText(std::string_view name);

}  // namespace kel::test
