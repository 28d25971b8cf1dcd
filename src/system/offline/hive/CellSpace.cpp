#include "hive/CellSpace.h"

#include <cstring>

namespace kel::offline::regf {
namespace {

constexpr std::size_t BinOffsetAt = 4;
constexpr std::size_t BinSizeAt = 8;
constexpr std::size_t PreviousAt = 4;  // in the cells of NT 3.1

}  // namespace

CellSpace::CellSpace(HiveReader& reader) : reader_(reader), cells_(reader.Cells()) {
    cells_.LoadAll();
    for (const Bin& bin : cells_.Bins()) {
        if (!bin.sound)
            continue;
        const std::uint32_t end = cells_.SoundEnd(bin);
        for (auto cell = static_cast<std::uint32_t>(bin.begin + BinHeaderSize); cell < end;) {
            const std::size_t size = cells_.Size(cell);
            if (!cells_.IsAllocated(cell))
                Remember(cell, size);
            cell += static_cast<std::uint32_t>(size);
        }
    }
}

void CellSpace::SetCell(std::uint32_t cell, std::size_t size, bool allocated) {
    const auto number = static_cast<std::int32_t>(size);
    Store(cells_.At(cell), allocated ? -number : number);
    cells_.AddCell(cell);
}

/// NT 3.1 keeps in each cell where, in its bin, the one before it begins.
void CellSpace::TellNext(std::uint32_t cell, std::uint32_t next, std::uint32_t end) {
    if (cells_.HeaderSize() == 8 && next < end)
        Store32(cells_.At(next) + PreviousAt, cell - cells_.BinOf(cell).begin);
}

std::uint32_t CellSpace::AddBin(std::size_t size) {
    const std::size_t begin = RoundUp(cells_.BinsSize(), PageSize);
    const std::size_t binSize = RoundUp(size + BinHeaderSize, PageSize);
    if (begin != cells_.BinsSize() || binSize > MaxBins - begin || !reader_.Image().Resize(PageSize + begin + binSize))
        return NoCell;
    const auto at = static_cast<std::uint32_t>(begin);
    std::memset(cells_.At(at), 0, binSize);
    std::memcpy(cells_.At(at), "hbin", 4);
    Store32(cells_.At(at) + BinOffsetAt, begin);
    Store32(cells_.At(at) + BinSizeAt, binSize);
    cells_.AddBin(at, static_cast<std::uint32_t>(begin + binSize));
    const auto cell = static_cast<std::uint32_t>(begin + BinHeaderSize);
    SetCell(cell, binSize - BinHeaderSize, false);
    if (cells_.HeaderSize() == 8)
        Store32(cells_.At(cell) + PreviousAt, NoCell);
    Remember(cell, binSize - BinHeaderSize);
    return cell;
}

std::uint32_t CellSpace::Allocate(std::size_t size) {
    if (size > MaxBins / 2)
        return NoCell;
    const std::size_t wanted = RoundUp(size + cells_.HeaderSize(), cells_.Alignment());
    auto fitting = free_.lower_bound({static_cast<std::uint32_t>(wanted), 0});
    if (fitting == free_.end()) {
        if (AddBin(wanted) == NoCell)
            return NoCell;
        fitting = free_.lower_bound({static_cast<std::uint32_t>(wanted), 0});
    }
    const auto [available, cell] = *fitting;
    free_.erase(fitting);
    const std::size_t rest = available - wanted;
    const std::size_t taken = rest >= cells_.Alignment() ? wanted : available;
    const std::uint32_t end = cells_.SoundEnd(cells_.BinOf(cell));
    if (taken != available) {
        const auto left = static_cast<std::uint32_t>(cell + taken);
        SetCell(left, rest, false);
        Remember(left, rest);
        TellNext(cell, left, end);
        TellNext(left, cell + available, end);
    }
    SetCell(cell, taken, true);
    std::memset(cells_.At(cell) + cells_.HeaderSize(), 0, taken - cells_.HeaderSize());
    reader_.References().Renew(cell, static_cast<std::uint32_t>(cell + taken));
    return cell;
}

void CellSpace::Free(std::uint32_t cell) {
    if (!cells_.IsAllocated(cell) || reader_.References().Shared(cell))
        return;
    const Bin& bin = cells_.BinOf(cell);
    const std::uint32_t end = cells_.SoundEnd(bin);
    if (!bin.sound || cell >= end)
        return;
    std::size_t size = cells_.Size(cell);
    const auto next = static_cast<std::uint32_t>(cell + size);
    if (next < end && !cells_.IsAllocated(next)) {
        Forget(next, cells_.Size(next));
        size += cells_.Size(next);
        cells_.RemoveCell(next);
    }
    const std::uint32_t before = cells_.CellBefore(cell, bin);
    if (before != cell && !cells_.IsAllocated(before)) {
        Forget(before, cells_.Size(before));
        size += cells_.Size(before);
        cells_.RemoveCell(cell);
        cell = before;
    }
    SetCell(cell, size, false);
    Remember(cell, size);
    TellNext(cell, static_cast<std::uint32_t>(cell + size), end);
}

}  // namespace kel::offline::regf
