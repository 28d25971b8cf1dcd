// Security descriptors, which the keys of a hive share: counts of who refers to them, kept right.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "hive/CellSpace.h"

namespace kel::offline::regf {

/// Counts the keys that refer to each descriptor, instead of believing what the hive says, so that none is freed that
/// is still needed. A descriptor's stated count is set right when it changes.
class SecurityCells {
public:
    /// Walks all keys. Both outlive this object.
    SecurityCells(HiveReader& reader, CellSpace& space);

    /// A key below `parent` is made: the descriptor that it gets, the parent's, or the root's where that one is no
    /// descriptor; NoCell when there is none at all.
    [[nodiscard]] std::uint32_t Inherit(std::uint32_t parent);
    /// The key that refers to it is deleted. The last one takes the descriptor with it.
    void Release(std::uint32_t cell);

private:
    [[nodiscard]] bool IsDescriptor(std::uint32_t cell) const { return IsSecurity(reader_.Cells().Content(cell)); }
    void Unlink(std::uint32_t cell);

    HiveReader& reader_;
    CellSpace& space_;
    std::unordered_map<std::uint32_t, std::uint32_t> counts_;
};

}  // namespace kel::offline::regf
