// Display texts of threats, and their compact forms. All texts are English, whatever language a client named.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "catalogue/ThreatLite.h"
#include "core/Collection.h"

namespace kel::modThreats {

/// What a threat type is, in some sentences; empty for an unknown key. Case does not count, in all keys here.
[[nodiscard]] std::string GetThreatTypeDescription(std::string_view Key);
/// The same table, asked with a category.
[[nodiscard]] std::string GetCategoryDescription(std::string_view Key);
/// Name and description of a level from 1, the worst, to 5; empty for any other.
[[nodiscard]] std::string GetThreatLevelDisplayName(std::int32_t Level);
[[nodiscard]] std::string GetThreatLevelDescription(std::int32_t Level);
/// The level of a threat whose record has none.
[[nodiscard]] std::int32_t GetThreatLevelFromCategory(std::string_view Category);
/// What to do about a threat. Some categories have a text of their own; else the advise type (0, 1 or 2) decides,
/// and within it the level. Empty for any other advise type.
[[nodiscard]] std::string GetAdviseTypeDescription(std::int32_t AdviseType, std::string_view Category,
                                                   std::int32_t ThreatLevel);

/// The catalogue's record of a threat. Never null: an unknown number gives an empty record, without the number.
[[nodiscard]] std::shared_ptr<ThreatLite> GetThreatLiteByThreatID(std::int32_t ThreatID);

/// Fields of a threat as texts.
using ThreatLiteKvo = Collection<std::string>;
/// The fields under their tags ("TN", "C", "TT", "D", "A", "AU", "TL", "AT", "AD", "CQ", "CRT", "CD"), empty texts left
/// out. Null for an unknown number.
[[nodiscard]] std::shared_ptr<ThreatLiteKvo> CreateThreatLiteKvo(std::int32_t ThreatID);

}  // namespace kel::modThreats
