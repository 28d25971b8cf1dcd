// Rows of the quarantine's stores for the threat in hand.
#pragma once

#include <string>
#include <string_view>

#include "quarantine/QThreatLocationFile.h"
#include "quarantine/QThreatLocationRegKey.h"

/// Each adds one row and commits it. Texts are cut to what their column holds. A failure is raised.
namespace kel::recorded {

/// Identifier of the threat in hand: that of the index's current row.
[[nodiscard]] std::string ThreatInHand();

/// The row is the store's current one afterwards.
void Add(const QThreatLocationFile& file);
void Add(const QThreatLocationRegKey& location);
/// Folders are kept without the threat that they belong to.
void AddFolder(std::string_view path);

}  // namespace kel::recorded
