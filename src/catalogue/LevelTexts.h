// Names and descriptions of the five threat levels, and the level of a category.
#pragma once

#include <cstdint>
#include <string_view>

namespace kel::texts {

struct LevelText {
    std::string_view name;
    std::string_view description;
};

/// Empty texts for any level but 1 to 5.
[[nodiscard]] LevelText OfLevel(std::int32_t level);

/// @param category in lower case
[[nodiscard]] std::int32_t LevelOfCategory(std::string_view category);

/// The categories whose threats are advised against most strongly when their record has no level of its own: remote
/// control, dialers, hijackers, key loggers.
/// @param category in lower case
[[nodiscard]] bool IsHighRiskCategory(std::string_view category);

}  // namespace kel::texts
