// Table files: the form that docs/sdb-format.md describes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/DigestOrder.h"
#include "core/RecordColumn.h"
#include "platform/Files.h"

namespace kel {

/// A table as it was read. The columns may look into `image`, which must live as long as they do unless each of them
/// was told to own its rows.
struct SdbTable {
    std::vector<std::unique_ptr<RecordColumn>> columns;
    std::size_t rows = 0;
    std::shared_ptr<platform::FileView> image;
    std::shared_ptr<const DigestOrder> order;  ///< of a column of digests that ascend; keeps `image`
};

/// Bytes from which on a table of digests is read where it lies, and not copied.
inline constexpr std::size_t LargeTable = std::size_t{1024} * 1024;

/// Reads a table file whole. 3709 with the path for a file that is not one or is damaged in any way, 53 and its kin
/// when it can't be read. A large table of digests stays mapped where that does not keep its file from being deleted
/// and written anew; any other one is copied.
/// @param largeFrom bytes from which on a table is large
SdbTable ReadSdb(std::string_view path, std::size_t largeFrom = LargeTable);

/// Writes these rows, in this order, as a new file. 58 when there is one of that name. After any failure nothing of
/// the file is left. The same values give the same bytes.
void WriteSdb(std::string_view path, const std::vector<std::unique_ptr<RecordColumn>>& columns,
              const std::vector<std::uint32_t>& rows);

/// Columns that a table can have.
inline constexpr std::size_t MaxColumns = 64;

}  // namespace kel
