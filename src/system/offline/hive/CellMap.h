// Where the cells of a hive begin, so that nothing in the middle of one, or past the end, is ever taken for a cell.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "hive/Bits.h"
#include "hive/Bytes.h"
#include "hive/Damage.h"
#include "hive/HiveImage.h"

namespace kel::offline::regf {

/// A run of pages that is one bin, or, when sound is false, pages between bins that no bin header accounts for.
struct Bin {
    std::uint32_t begin = 0;  ///< offset from the first bin
    std::uint32_t end = 0;
    bool sound = true;
};

/// The bins of an image. Bin headers are read at once, the cells of a bin when one of them is asked for. Cells behind
/// a broken one are taken as they are referred to, as long as they do not overlap.
class CellMap {
public:
    /// `binsSize` of the image's bytes behind the base block are bins. Keeps references to both.
    void Read(HiveImage& image, std::uint32_t minor, std::size_t binsSize, DamageList& damage);

    /// Bytes before the content of a cell: 8 in NT 3.1, 4 since.
    [[nodiscard]] std::size_t HeaderSize() const noexcept { return headerSize_; }
    [[nodiscard]] std::size_t Alignment() const noexcept { return headerSize_ == 8 ? 16 : 8; }
    [[nodiscard]] std::size_t BinsSize() const noexcept { return binsSize_; }

    /// The content of an allocated cell; empty when there is no such cell.
    [[nodiscard]] std::span<const std::byte> Content(std::uint32_t cell) const noexcept {
        return IsAllocated(cell) ? std::span<const std::byte>(At(cell) + headerSize_, Size(cell) - headerSize_)
                                 : std::span<const std::byte>();
    }
    [[nodiscard]] bool IsAllocated(std::uint32_t cell) const noexcept {
        return IsCell(cell) && Load<std::int32_t>(At(cell)) < 0;
    }
    /// Size with its header, of an allocated or free cell that is one.
    [[nodiscard]] std::size_t Size(std::uint32_t cell) const noexcept {
        const auto size = Load<std::int32_t>(At(cell));
        return size < 0 ? std::size_t{0} - static_cast<std::size_t>(static_cast<std::ptrdiff_t>(size))
                        : static_cast<std::size_t>(size);
    }
    /// Whether a cell, allocated or free, begins there.
    [[nodiscard]] bool IsCell(std::uint32_t cell) const noexcept {
        if (cell % 8 != 0 || cell >= binsSize_)
            return false;
        if (starts_.Test(cell / 8))
            return true;
        return Discover(cell);
    }
    /// Whether a cell is known to begin there; asks no bin that was not read.
    [[nodiscard]] bool IsKnown(std::uint32_t cell) const noexcept { return starts_.Test(cell / 8); }
    [[nodiscard]] std::uint64_t FileOffset(std::uint32_t cell) const noexcept { return PageSize + std::uint64_t{cell}; }
    [[nodiscard]] std::byte* At(std::uint32_t offset) const noexcept { return image_->Data() + PageSize + offset; }
    [[nodiscard]] const std::vector<Bin>& Bins() const noexcept { return bins_; }
    [[nodiscard]] const Bin& BinOf(std::uint32_t offset) const noexcept { return bins_[pageBin_[offset / PageSize]]; }
    /// Reads the cells of every bin, and so finds every broken one.
    void LoadAll() const;
    /// The first offset of the bin whose cells do not hang together; its end when they do.
    [[nodiscard]] std::uint32_t SoundEnd(const Bin& bin) const;

    /// For the writer: cells that are made and merged away, and bins that are added at the end.
    void AddCell(std::uint32_t cell) { starts_.Set(cell / 8); }
    void RemoveCell(std::uint32_t cell) noexcept { starts_.Clear(cell / 8); }
    [[nodiscard]] std::uint32_t CellBefore(std::uint32_t cell, const Bin& bin) const noexcept;
    void AddBin(std::uint32_t begin, std::uint32_t end);

private:
    bool Discover(std::uint32_t cell) const noexcept;
    bool TakeLoose(std::uint32_t cell, const Bin& bin) const;
    void LoadBin(std::size_t index) const;
    void AddRun(std::uint32_t begin, std::uint32_t end, bool sound);

    HiveImage* image_ = nullptr;
    DamageList* damage_ = nullptr;
    std::size_t headerSize_ = 4;
    std::size_t binsSize_ = 0;
    std::vector<Bin> bins_;
    std::vector<std::uint32_t> pageBin_;
    mutable Bits loaded_;                          ///< bins whose cells are in starts_
    mutable Bits starts_;                          ///< offset / 8 of every known cell
    mutable std::vector<std::uint32_t> soundEnd_;  ///< of each loaded bin: where its cells stop hanging together
    mutable std::map<std::uint32_t, std::uint32_t> loose_;  ///< begin to end of what cells behind a broken one cover
};

}  // namespace kel::offline::regf
