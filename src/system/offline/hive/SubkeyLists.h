// The lists of subkeys, changed: sorted leaves (`li`, `lf`, `lh`), and lists of leaves (`ri`) where there are many.
#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "hive/CellSpace.h"

namespace kel::offline::regf {

/// Keeps each list in the form in which it was found; new lists get the form of the hive's version. A list that is
/// readable but not in order is written anew first. Either a change is made whole or nothing changed.
class SubkeyLists {
public:
    /// Both outlive this object.
    SubkeyLists(HiveReader& reader, CellSpace& space) : reader_(reader), space_(space), cells_(reader.Cells()) {}

    /// Why a change was refused.
    enum class Outcome { Done, Damaged, Full };

    /// Puts a key into the list of its parent, which has none of that name, and counts it there.
    [[nodiscard]] Outcome Insert(std::uint32_t parent, std::uint32_t child);
    /// Takes a key out of the list of its parent, and out of its count.
    [[nodiscard]] Outcome Remove(std::uint32_t parent, std::uint32_t child);

private:
    /// A place in the lists of a key.
    struct Place {
        std::size_t leafIndex = 0;  ///< in the list of leaves
        std::uint32_t leaf = NoCell;
        std::size_t entry = 0;
        bool found = false;  ///< the key itself stands there
    };

    [[nodiscard]] Outcome MakeOrderly(std::uint32_t parent);
    [[nodiscard]] bool IsOrderly(std::uint32_t parent) const;
    [[nodiscard]] Outcome WriteAnew(std::uint32_t parent, std::vector<std::uint32_t> keys);
    [[nodiscard]] Place PlaceOf(std::uint32_t parent, const NameView& name) const;
    [[nodiscard]] Place PlaceOfKey(std::uint32_t parent, std::uint32_t child) const;
    [[nodiscard]] std::vector<std::uint32_t> LeavesOf(std::uint32_t list) const;

    [[nodiscard]] bool InsertEntry(std::uint32_t parent, const Place& place, std::uint32_t child);
    [[nodiscard]] bool Split(std::uint32_t parent, const Place& place, std::uint32_t child);
    void ReplaceLeaf(std::uint32_t parent, std::size_t index, std::uint32_t leaf);
    void RemoveLeaf(std::uint32_t parent, std::size_t index);

    [[nodiscard]] std::uint32_t NewLeaf(std::uint16_t tag, const std::vector<std::uint32_t>& keys, std::size_t room);
    [[nodiscard]] std::uint32_t NewListOfLeaves(const std::vector<std::uint32_t>& leaves);
    void StoreEntry(std::uint32_t leaf, std::size_t index, std::uint32_t child);

    [[nodiscard]] std::uint32_t ListOf(std::uint32_t parent) const {
        return Load32(reader_.Record(parent) + nk::SubkeyListAt);
    }
    void SetList(std::uint32_t parent, std::uint32_t list);
    void SetCount(std::uint32_t parent, std::uint32_t count);
    [[nodiscard]] bool IsListOfLeaves(std::uint32_t list) const { return HasTag(cells_.Content(list), "ri"); }
    [[nodiscard]] std::size_t CountOf(std::uint32_t list) const { return Load16(reader_.Record(list) + list::CountAt); }
    [[nodiscard]] std::uint32_t EntryOf(std::uint32_t list, std::size_t index) const;
    [[nodiscard]] std::uint16_t NewLeafTag() const;

    HiveReader& reader_;
    CellSpace& space_;
    CellMap& cells_;
    std::unordered_set<std::uint32_t> orderly_;  // keys whose lists are known to be sound and sorted
};

}  // namespace kel::offline::regf
