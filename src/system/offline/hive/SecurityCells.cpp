#include "hive/SecurityCells.h"

namespace kel::offline::regf {
namespace {

std::uint32_t SecurityOf(const HiveReader& reader, std::uint32_t key) {
    return Load32(reader.Record(key) + nk::SecurityAt);
}

}  // namespace

SecurityCells::SecurityCells(HiveReader& reader, CellSpace& space) : reader_(reader), space_(space) {
    reader.ForEachKey([&](std::uint32_t key, std::uint32_t) { ++counts_[SecurityOf(reader, key)]; });
}

std::uint32_t SecurityCells::Inherit(std::uint32_t parent) {
    for (const std::uint32_t key : {parent, reader_.Root()}) {
        const std::uint32_t cell = SecurityOf(reader_, key);
        if (!IsDescriptor(cell))
            continue;
        Store32(reader_.Cells().At(reader_.FieldAt(cell, sk::ReferencesAt)), ++counts_[cell]);
        return cell;
    }
    return NoCell;
}

void SecurityCells::Release(std::uint32_t cell) {
    const auto known = counts_.find(cell);
    if (known == counts_.end() || known->second == 0 || !IsDescriptor(cell))
        return;
    Store32(reader_.Cells().At(reader_.FieldAt(cell, sk::ReferencesAt)), --known->second);
    if (known->second == 0)
        Unlink(cell);
}

/// Takes the descriptor out of the ring of all; where the ring is broken it stays, with a count of zero.
void SecurityCells::Unlink(std::uint32_t cell) {
    const std::uint32_t next = Load32(reader_.Record(cell) + sk::NextAt);
    const std::uint32_t previous = Load32(reader_.Record(cell) + sk::PreviousAt);
    if (next == cell || !IsDescriptor(next) || !IsDescriptor(previous))
        return;
    std::byte* nextRecord = reader_.Cells().At(reader_.FieldAt(next, 0));
    std::byte* previousRecord = reader_.Cells().At(reader_.FieldAt(previous, 0));
    if (Load32(nextRecord + sk::PreviousAt) != cell || Load32(previousRecord + sk::NextAt) != cell)
        return;
    Store32(nextRecord + sk::PreviousAt, previous);
    Store32(previousRecord + sk::NextAt, next);
    counts_.erase(cell);
    space_.Free(cell);
}

}  // namespace kel::offline::regf
