// What to do about a threat.
#pragma once

#include <cstdint>
#include <string_view>

namespace kel::texts {

/// @param category in lower case
/// @param level of the record itself, 0 where it has none
[[nodiscard]] std::string_view AdviseText(std::int32_t adviseType, std::string_view category, std::int32_t level);

}  // namespace kel::texts
