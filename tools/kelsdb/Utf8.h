// UTF-8 as it comes from outside.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace kel::kelsdb {

/// Number of characters; nothing for a text that is no UTF-8 (overlong forms, surrogates and what is behind U+10FFFF
/// are none).
[[nodiscard]] std::optional<std::size_t> CountCharacters(std::string_view text);

}  // namespace kel::kelsdb
