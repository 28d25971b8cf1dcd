// The free cells of a hive: where new records go, and what becomes of old ones.
#pragma once

#include <cstdint>
#include <set>
#include <utility>

#include "hive/HiveReader.h"

namespace kel::offline::regf {

/// Gives out and takes back cells. Free neighbours are merged, the best fitting cell is taken, and the hive grows by a
/// bin at its end when none fits. Only what hangs together is used: what lies behind a broken cell stays untouched.
class CellSpace {
public:
    /// Reads all cells. `reader` outlives this object, and its references are frozen.
    explicit CellSpace(HiveReader& reader);

    /// A cell with room for `size` bytes of content, all zero; NoCell when the hive or the memory is full. Pointers
    /// into the hive are void then.
    [[nodiscard]] std::uint32_t Allocate(std::size_t size);
    /// Makes the cell free, unless several records refer to it. NoCell and what is no cell are left alone.
    void Free(std::uint32_t cell);

private:
    [[nodiscard]] std::uint32_t AddBin(std::size_t size);
    void SetCell(std::uint32_t cell, std::size_t size, bool allocated);
    void TellNext(std::uint32_t cell, std::uint32_t next, std::uint32_t end);
    void Remember(std::uint32_t cell, std::size_t size) { free_.emplace(static_cast<std::uint32_t>(size), cell); }
    void Forget(std::uint32_t cell, std::size_t size) { free_.erase({static_cast<std::uint32_t>(size), cell}); }

    HiveReader& reader_;
    CellMap& cells_;
    std::set<std::pair<std::uint32_t, std::uint32_t>> free_;  // size and cell
};

}  // namespace kel::offline::regf
