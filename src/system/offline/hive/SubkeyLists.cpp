#include "hive/SubkeyLists.h"

#include <algorithm>
#include <cstring>

namespace kel::offline::regf {
namespace {

// Entries of a leaf that fit a page with its headers, which is where Windows begins another one.
constexpr std::size_t LargestLeaf4 = 1012;
constexpr std::size_t LargestLeaf8 = 507;
constexpr std::size_t LargestCount = 0xFFFF;
// A list that grows gets room for some more, so that it does not move each time.
constexpr std::size_t GrowthDivisor = 8;

std::size_t EntrySizeOf(std::uint16_t tag) {
    return tag == Tag("lf") || tag == Tag("lh") ? 8 : 4;
}

std::size_t LargestLeaf(std::uint16_t tag) {
    return EntrySizeOf(tag) == 8 ? LargestLeaf8 : LargestLeaf4;
}

std::size_t ListSize(std::uint16_t tag, std::size_t count) {
    return list::EntriesAt + count * EntrySizeOf(tag);
}

}  // namespace

std::uint16_t SubkeyLists::NewLeafTag() const {
    if (reader_.Minor() >= 5)
        return Tag("lh");
    return reader_.Minor() >= 3 ? Tag("lf") : Tag("li");
}

std::uint32_t SubkeyLists::EntryOf(std::uint32_t list, std::size_t index) const {
    const std::byte* record = reader_.Record(list);
    return Load32(record + ListSize(Load16(record), index));
}

void SubkeyLists::SetList(std::uint32_t parent, std::uint32_t list) {
    Store32(cells_.At(reader_.FieldAt(parent, nk::SubkeyListAt)), list);
}

void SubkeyLists::SetCount(std::uint32_t parent, std::uint32_t count) {
    Store32(cells_.At(reader_.FieldAt(parent, nk::SubkeyCountAt)), count);
}

void SubkeyLists::StoreEntry(std::uint32_t leaf, std::size_t index, std::uint32_t child) {
    std::byte* record = cells_.At(reader_.FieldAt(leaf, 0));
    const std::uint16_t tag = Load16(record);
    std::byte* entry = record + ListSize(tag, index);
    const NameView name = reader_.KeyName(child);
    Store32(entry, child);
    if (tag == Tag("lh"))
        Store32(entry + 4, HashUnits(name, name.Length()));
    else if (tag == Tag("lf"))
        Store32(entry + 4, Hint(name.Text()));
}

std::uint32_t SubkeyLists::NewLeaf(std::uint16_t tag, const std::vector<std::uint32_t>& keys, std::size_t room) {
    const std::uint32_t leaf = space_.Allocate(ListSize(tag, std::max(room, keys.size())));
    if (leaf == NoCell)
        return NoCell;
    Store16(cells_.At(reader_.FieldAt(leaf, 0)), tag);
    Store16(cells_.At(reader_.FieldAt(leaf, list::CountAt)), keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i)
        StoreEntry(leaf, i, keys[i]);
    return leaf;
}

std::uint32_t SubkeyLists::NewListOfLeaves(const std::vector<std::uint32_t>& leaves) {
    if (leaves.size() > LargestCount)
        return NoCell;
    const std::uint32_t list = space_.Allocate(ListSize(Tag("ri"), leaves.size() + leaves.size() / GrowthDivisor));
    if (list == NoCell)
        return NoCell;
    std::byte* record = cells_.At(reader_.FieldAt(list, 0));
    Store16(record, Tag("ri"));
    Store16(record + list::CountAt, leaves.size());
    for (std::size_t i = 0; i < leaves.size(); ++i)
        Store32(record + ListSize(Tag("ri"), i), leaves[i]);
    return list;
}

/// The leaves of a list, which may be one itself.
std::vector<std::uint32_t> SubkeyLists::LeavesOf(std::uint32_t list) const {
    std::vector<std::uint32_t> leaves;
    if (!IsListOfLeaves(list))
        return {list};
    for (std::size_t i = 0; i < CountOf(list); ++i)
        leaves.push_back(EntryOf(list, i));
    return leaves;
}

/// Whether the lists are sound: one level of leaves at most, none empty or shared, all names in ascending order.
bool SubkeyLists::IsOrderly(std::uint32_t parent) const {
    const Claims& references = reader_.References();
    const std::uint32_t list = ListOf(parent);
    if (references.Shared(list))
        return false;
    const std::vector<std::uint32_t> leaves = LeavesOf(list);
    std::uint32_t before = NoCell;
    std::uint32_t total = 0;
    for (const std::uint32_t leaf : leaves) {
        if (references.Shared(leaf) || LeafEntrySize(cells_.Content(leaf)) == 0 || CountOf(leaf) == 0)
            return false;
        for (std::size_t i = 0; i < CountOf(leaf); ++i, ++total) {
            const std::uint32_t key = EntryOf(leaf, i);
            if (before != NoCell && Compare(reader_.KeyName(before), reader_.KeyName(key)) >= 0)
                return false;
            before = key;
        }
    }
    return total == reader_.StatedSubkeys(parent);
}

SubkeyLists::Outcome SubkeyLists::MakeOrderly(std::uint32_t parent) {
    if (orderly_.contains(parent))
        return Outcome::Done;
    std::vector<std::uint32_t> keys;
    if (!reader_.Subkeys(parent, keys))
        return Outcome::Damaged;
    if (keys.empty()) {
        SetCount(parent, 0);
        SetList(parent, NoCell);
    } else if (!IsOrderly(parent)) {
        std::stable_sort(keys.begin(), keys.end(), [this](std::uint32_t left, std::uint32_t right) {
            return Compare(reader_.KeyName(left), reader_.KeyName(right)) < 0;
        });
        const Outcome outcome = WriteAnew(parent, std::move(keys));
        if (outcome != Outcome::Done)
            return outcome;
    }
    orderly_.insert(parent);
    return Outcome::Done;
}

/// The old lists are left where they are: who else refers to them is not certain.
SubkeyLists::Outcome SubkeyLists::WriteAnew(std::uint32_t parent, std::vector<std::uint32_t> keys) {
    const std::uint16_t tag = NewLeafTag();
    std::vector<std::uint32_t> leaves;
    std::uint32_t list = NoCell;
    bool full = false;
    for (std::size_t at = 0; at < keys.size() && !full; at += LargestLeaf(tag)) {
        const std::size_t end = std::min(keys.size(), at + LargestLeaf(tag));
        leaves.push_back(NewLeaf(
            tag, {keys.begin() + static_cast<std::ptrdiff_t>(at), keys.begin() + static_cast<std::ptrdiff_t>(end)}, 0));
        full = leaves.back() == NoCell;
    }
    if (!full) {
        list = leaves.size() == 1 ? leaves.front() : NewListOfLeaves(leaves);
        full = list == NoCell;
    }
    if (full) {
        for (const std::uint32_t leaf : leaves)
            space_.Free(leaf);
        return Outcome::Full;
    }
    SetList(parent, list);
    SetCount(parent, static_cast<std::uint32_t>(keys.size()));
    return Outcome::Done;
}

SubkeyLists::Place SubkeyLists::PlaceOf(std::uint32_t parent, const NameView& name) const {
    const std::uint32_t list = ListOf(parent);
    Place place;
    place.leaf = list;
    if (IsListOfLeaves(list)) {
        // The last leaf that does not begin behind the name.
        std::size_t low = 0;
        std::size_t high = CountOf(list);
        while (high - low > 1) {
            const std::size_t middle = (low + high) / 2;
            const std::uint32_t first = EntryOf(EntryOf(list, middle), 0);
            (Compare(reader_.KeyName(first), name) <= 0 ? low : high) = middle;
        }
        place.leafIndex = low;
        place.leaf = EntryOf(list, low);
    }
    std::size_t low = 0;
    std::size_t high = CountOf(place.leaf);
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        const auto order = Compare(reader_.KeyName(EntryOf(place.leaf, middle)), name);
        if (order == 0) {
            place.entry = middle;
            place.found = true;
            return place;
        }
        if (order < 0)
            low = middle + 1;
        else
            high = middle;
    }
    place.entry = low;
    return place;
}

/// Where the key itself stands: in a hive that has a name twice that is not always where its name is found.
SubkeyLists::Place SubkeyLists::PlaceOfKey(std::uint32_t parent, std::uint32_t child) const {
    Place place;
    if (reader_.StatedSubkeys(parent) == 0)
        return place;
    place = PlaceOf(parent, reader_.KeyName(child));
    if (place.found && EntryOf(place.leaf, place.entry) == child)
        return place;
    const std::vector<std::uint32_t> leaves = LeavesOf(ListOf(parent));
    for (std::size_t leaf = 0; leaf < leaves.size(); ++leaf)
        for (std::size_t entry = 0; entry < CountOf(leaves[leaf]); ++entry)
            if (EntryOf(leaves[leaf], entry) == child)
                return {leaf, leaves[leaf], entry, true};
    return {};
}

SubkeyLists::Outcome SubkeyLists::Insert(std::uint32_t parent, std::uint32_t child) {
    const Outcome orderly = MakeOrderly(parent);
    if (orderly != Outcome::Done)
        return orderly;
    const std::uint32_t count = reader_.StatedSubkeys(parent);
    if (count == 0) {
        const std::uint32_t leaf = NewLeaf(NewLeafTag(), {child}, 0);
        if (leaf == NoCell)
            return Outcome::Full;
        SetList(parent, leaf);
    } else {
        const Place place = PlaceOf(parent, reader_.KeyName(child));
        if (!InsertEntry(parent, place, child))
            return Outcome::Full;
    }
    SetCount(parent, count + 1);
    return Outcome::Done;
}

bool SubkeyLists::InsertEntry(std::uint32_t parent, const Place& place, std::uint32_t child) {
    std::uint32_t leaf = place.leaf;
    const std::uint16_t tag = Load16(reader_.Record(leaf));
    const std::size_t count = CountOf(leaf);
    if (count >= LargestLeaf(tag))
        return Split(parent, place, child);
    if (cells_.Content(leaf).size() < ListSize(tag, count + 1)) {
        const std::size_t room = std::min(LargestLeaf(tag), count + 1 + count / GrowthDivisor);
        const std::uint32_t larger = space_.Allocate(ListSize(tag, room));
        if (larger == NoCell)
            return false;
        std::memcpy(cells_.At(reader_.FieldAt(larger, 0)), reader_.Record(leaf), ListSize(tag, count));
        ReplaceLeaf(parent, place.leafIndex, larger);
        space_.Free(leaf);
        leaf = larger;
    }
    std::byte* record = cells_.At(reader_.FieldAt(leaf, 0));
    std::byte* at = record + ListSize(tag, place.entry);
    std::memmove(at + EntrySizeOf(tag), at, (count - place.entry) * EntrySizeOf(tag));
    Store16(record + list::CountAt, count + 1);
    StoreEntry(leaf, place.entry, child);
    return true;
}

/// Makes two leaves of one that is full. What is added at the very end begins a leaf of its own, so that lists made in
/// order come out full.
bool SubkeyLists::Split(std::uint32_t parent, const Place& place, std::uint32_t child) {
    const std::uint32_t list = ListOf(parent);
    const std::uint16_t tag = Load16(reader_.Record(place.leaf));
    std::vector<std::uint32_t> leaves = LeavesOf(list);
    std::vector<std::uint32_t> keys;
    for (std::size_t i = 0; i < CountOf(place.leaf); ++i)
        keys.push_back(EntryOf(place.leaf, i));
    const bool atEnd = place.entry == keys.size() && place.leafIndex + 1 == leaves.size();
    keys.insert(keys.begin() + static_cast<std::ptrdiff_t>(place.entry), child);
    const auto middle = keys.begin() + static_cast<std::ptrdiff_t>(atEnd ? keys.size() - 1 : keys.size() / 2);

    const std::uint32_t left = NewLeaf(tag, {keys.begin(), middle}, 0);
    const std::uint32_t right = NewLeaf(tag, {middle, keys.end()}, LargestLeaf(tag));
    const auto index = static_cast<std::ptrdiff_t>(place.leafIndex);
    leaves[place.leafIndex] = left;
    leaves.insert(leaves.begin() + index + 1, right);
    const std::uint32_t whole = left == NoCell || right == NoCell ? NoCell : NewListOfLeaves(leaves);
    if (whole == NoCell) {
        space_.Free(left);
        space_.Free(right);
        return false;
    }
    SetList(parent, whole);
    space_.Free(place.leaf);
    if (list != place.leaf)
        space_.Free(list);
    return true;
}

void SubkeyLists::ReplaceLeaf(std::uint32_t parent, std::size_t index, std::uint32_t leaf) {
    const std::uint32_t list = ListOf(parent);
    if (IsListOfLeaves(list))
        Store32(cells_.At(reader_.FieldAt(list, ListSize(Tag("ri"), index))), leaf);
    else
        SetList(parent, leaf);
}

void SubkeyLists::RemoveLeaf(std::uint32_t parent, std::size_t index) {
    const std::uint32_t list = ListOf(parent);
    std::byte* record = cells_.At(reader_.FieldAt(list, 0));
    const std::size_t count = CountOf(list);
    std::byte* at = record + ListSize(Tag("ri"), index);
    std::memmove(at, at + 4, (count - index - 1) * 4);
    Store16(record + list::CountAt, count - 1);
    if (count == 1) {
        SetList(parent, NoCell);
        space_.Free(list);
    }
}

SubkeyLists::Outcome SubkeyLists::Remove(std::uint32_t parent, std::uint32_t child) {
    const Outcome orderly = MakeOrderly(parent);
    if (orderly != Outcome::Done)
        return orderly;
    const Place place = PlaceOfKey(parent, child);
    if (!place.found)
        return Outcome::Damaged;
    std::byte* record = cells_.At(reader_.FieldAt(place.leaf, 0));
    const std::size_t entrySize = EntrySizeOf(Load16(record));
    const std::size_t count = CountOf(place.leaf);
    std::byte* at = record + list::EntriesAt + place.entry * entrySize;
    std::memmove(at, at + entrySize, (count - place.entry - 1) * entrySize);
    Store16(record + list::CountAt, count - 1);
    SetCount(parent, reader_.StatedSubkeys(parent) - 1);
    if (count == 1) {
        if (IsListOfLeaves(ListOf(parent)))
            RemoveLeaf(parent, place.leafIndex);
        else
            SetList(parent, NoCell);
        space_.Free(place.leaf);
    }
    orderly_.erase(child);
    return Outcome::Done;
}

}  // namespace kel::offline::regf
