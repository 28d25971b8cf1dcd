// Text values of a registry, read for what the machine view answers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Registry.h"

namespace kel::offline {

/// The text value without its terminators; nothing when there is none, or it is no text.
[[nodiscard]] std::optional<std::string> ReadText(platform::Registry& registry, platform::Hive hive,
                                                  std::string_view key, std::string_view name);
/// The 32-bit number; nothing when there is none, or it is no number.
[[nodiscard]] std::optional<std::uint32_t> ReadNumber(platform::Registry& registry, platform::Hive hive,
                                                      std::string_view key, std::string_view name);

/// ASCII letters in lower case: names of variables and of versions have no others.
[[nodiscard]] std::string LowerAscii(std::string_view text);

}  // namespace kel::offline
