// A column of a table as loaders read it: without the rows that are deleted.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/RecordColumn.h"
#include "core/Recordset.h"
#include "platform/Files.h"

namespace kel {

/// @param column must outlive the result
/// @param rows the rows that are not deleted, in ascending order; empty when none is deleted
/// @param image what the column reads from; null when it owns its rows
/// @param order of the table's digests; null when it has none
[[nodiscard]] std::unique_ptr<Recordset::Column> MakeLiveColumn(const RecordColumn& column,
                                                                std::vector<std::uint32_t> rows,
                                                                std::shared_ptr<platform::FileView> image,
                                                                std::shared_ptr<const DigestOrder> order);

}  // namespace kel
