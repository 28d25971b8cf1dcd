// A hive as it lies in memory, read: keys, lists and values by the cells that hold them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "hive/BaseBlock.h"
#include "hive/Bits.h"
#include "hive/CellMap.h"
#include "hive/Claims.h"
#include "hive/Damage.h"
#include "hive/HiveImage.h"
#include "hive/Names.h"
#include "hive/Records.h"

namespace kel::offline::regf {

/// Why bytes cannot be read as a hive at all. The text begins with a verb, for the file's name before it.
class HiveError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads what is readable of any hive. What is not goes to Damage(), once, and is left out of every answer. A hive in
/// which references form rings or meet is read without end or excess: a list or key is given to whoever asks first.
/// Cells are named by their offset from the first bin. One thread.
class HiveReader {
public:
    /// Takes over an image whose logs were replayed. Throws HiveError when it is no hive or has no root key.
    explicit HiveReader(HiveImage image);
    HiveReader(const HiveReader&) = delete;
    HiveReader& operator=(const HiveReader&) = delete;

    [[nodiscard]] std::uint32_t Minor() const noexcept { return base_.minor; }
    [[nodiscard]] std::uint32_t Root() const noexcept { return root_; }
    [[nodiscard]] const BaseBlock& Base() const noexcept { return base_; }

    /// Whether an allocated cell with a key begins there.
    [[nodiscard]] bool IsKeyCell(std::uint32_t cell) const { return IsKey(cells_.Content(cell)); }
    /// The content of a cell that is known to hold a key or value.
    [[nodiscard]] const std::byte* Record(std::uint32_t cell) const noexcept {
        return cells_.At(cell) + cells_.HeaderSize();
    }
    [[nodiscard]] NameView KeyName(std::uint32_t key) const noexcept { return KeyNameOf(Record(key)); }
    [[nodiscard]] std::u16string ClassName(std::uint32_t key) const;
    [[nodiscard]] std::uint64_t LastWritten(std::uint32_t key) const noexcept {
        return Load64(Record(key) + nk::WrittenAt);
    }
    /// What the key itself says; Subkeys may find fewer.
    [[nodiscard]] std::uint32_t StatedSubkeys(std::uint32_t key) const noexcept {
        return Load32(Record(key) + nk::SubkeyCountAt);
    }
    /// Whether the key stands for one of another name (an old way to do so): what would be its count of values is a
    /// handle, and it has none.
    [[nodiscard]] bool IsPredefined(std::uint32_t key) const noexcept {
        return (Load16(Record(key) + nk::FlagsAt) & nk::PredefinedHandle) != 0;
    }
    /// What the key itself says; Values may find fewer.
    [[nodiscard]] std::uint32_t StatedValues(std::uint32_t key) const noexcept {
        return IsPredefined(key) ? 0 : Load32(Record(key) + nk::ValueCountAt);
    }

    /// Puts the key's subkeys into `keys`, in the order of its list. False when some could not be read.
    bool Subkeys(std::uint32_t key, std::vector<std::uint32_t>& keys) const;
    /// Puts the key's values into `values`, in the order of its list. False when some could not be read.
    bool Values(std::uint32_t key, std::vector<std::uint32_t>& values) const;

    [[nodiscard]] NameView ValueName(std::uint32_t value) const noexcept {
        return ValueNameOf(Record(value), base_.minor);
    }
    [[nodiscard]] std::uint32_t ValueType(std::uint32_t value) const noexcept {
        return Load32(Record(value) + vk::TypeAt);
    }
    /// Puts the value's data into `data`: all of them, or what is readable from their beginning, then false.
    bool Data(std::uint32_t value, std::vector<std::byte>& data) const;

    /// Calls `visit(key, depth)` for every key, each before those below it, which come in the order of its list.
    template <class Visit>
    void ForEachKey(const Visit& visit) const;
    /// Reads every key, value and data of the hive, so that Damage() is whole.
    void ReadAll() const;
    [[nodiscard]] const DamageList& Damage() const noexcept { return damage_; }

    /// For the writer.
    [[nodiscard]] HiveImage& Image() noexcept { return image_; }
    [[nodiscard]] CellMap& Cells() noexcept { return cells_; }
    [[nodiscard]] const CellMap& Cells() const noexcept { return cells_; }
    [[nodiscard]] Claims& References() const noexcept { return claims_; }
    /// The position, as a reference, of a field of the record in a cell.
    [[nodiscard]] std::uint32_t FieldAt(std::uint32_t cell, std::size_t field) const noexcept {
        return static_cast<std::uint32_t>(cell + cells_.HeaderSize() + field);
    }

private:
    [[nodiscard]] bool FindRoot();
    /// Asks for the beginning of a cell, where it is one, before it is needed: most of the time of reading a large
    /// hive is waiting for memory.
    void Prefetch(std::uint32_t cell) const noexcept {
        if (cell < cells_.BinsSize())
            __builtin_prefetch(cells_.At(cell));
    }
    /// The same for the records of a key, which tend to lie behind it.
    void PrefetchKey(std::uint32_t key) const noexcept {
        constexpr std::size_t LineSize = 64;
        constexpr std::size_t Lines = 16;
        if (key < cells_.BinsSize())
            for (std::size_t line = 0; line < Lines; ++line)
                __builtin_prefetch(cells_.At(key) + line * LineSize);
    }
    void PrefetchLists(std::uint32_t key) const noexcept;
    bool Follow(std::uint32_t at, std::uint32_t cell, std::uint64_t cost, const char* what) const;
    void Report(std::uint32_t at, std::string reason) const;
    bool ReadList(std::uint32_t list, int depth, std::vector<std::uint32_t>& keys) const;
    bool Segments(std::uint32_t record, std::size_t size, std::vector<std::byte>& data) const;

    HiveImage image_;
    BaseBlock base_;
    CellMap cells_;
    std::uint32_t root_ = NoCell;
    mutable DamageList damage_;
    mutable Claims claims_;
    mutable Bits reported_;  // places of references whose damage is told
};

inline void HiveReader::PrefetchLists(std::uint32_t key) const noexcept {
    Prefetch(Load32(Record(key) + nk::ValueListAt));
    Prefetch(Load32(Record(key) + nk::SubkeyListAt));
}

template <class Visit>
void HiveReader::ForEachKey(const Visit& visit) const {
    struct Step {
        std::uint32_t key;
        std::uint32_t depth;
    };
    constexpr std::size_t Ahead = 4;
    std::vector<Step> pending{{root_, 0}};
    std::vector<std::uint32_t> below;
    while (!pending.empty()) {
        const Step step = pending.back();
        pending.pop_back();
        if (pending.size() >= Ahead) {
            PrefetchKey(pending[pending.size() - Ahead].key);
            PrefetchLists(pending.back().key);
        }
        visit(step.key, step.depth);
        Subkeys(step.key, below);
        for (std::size_t i = below.size(); i-- > 0;)
            pending.push_back({below[i], step.depth + 1});
    }
}

}  // namespace kel::offline::regf
