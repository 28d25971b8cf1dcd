// What each threat type is.
#pragma once

#include <string_view>

namespace kel::texts {

/// The description of a threat type or category; empty for an unknown one.
/// @param key in lower case
[[nodiscard]] std::string_view TypeText(std::string_view key);

}  // namespace kel::texts
