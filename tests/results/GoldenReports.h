#pragma once

#include <string_view>

namespace kel::test {

/// The bytes of `golden/<name>.xml`; empty when there is none.
[[nodiscard]] std::string_view GoldenReport(std::string_view name);

}  // namespace kel::test
