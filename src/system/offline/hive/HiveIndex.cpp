#include "hive/HiveIndex.h"

#include <bit>

namespace kel::offline::regf {
namespace {

// Below, comparing names is as fast as a table and takes no memory.
constexpr std::uint32_t WorthATable = 16;
constexpr std::size_t SmallestTable = 32;

std::size_t SlotOf(std::uint32_t hash, std::size_t slots) {
    // The hash's low bits are weak: take the high ones of a product.
    return static_cast<std::size_t>((hash * std::uint64_t{0x9E3779B97F4A7C15}) >> 32) & (slots - 1);
}

std::uint32_t HashOf(const NameView& name) {
    return HashUnits(name, name.Length());
}

}  // namespace

void HiveIndex::Put(Table& table, Slot slot) {
    std::size_t at = SlotOf(slot.hash, table.slots.size());
    while (table.slots[at].cell != NoCell)
        at = (at + 1) & (table.slots.size() - 1);
    table.slots[at] = slot;
    ++table.used;
}

void HiveIndex::Grow(Table& table) {
    std::vector<Slot> old(table.slots.size() * 2);
    old.swap(table.slots);
    table.used = 0;
    for (const Slot& slot : old)
        if (slot.cell != NoCell)
            Put(table, slot);
}

HiveIndex::Table& HiveIndex::Build(std::uint32_t key, const std::vector<std::uint32_t>& children) {
    Table& table = tables_[key];
    table.slots.assign(std::bit_ceil(std::max(SmallestTable, children.size() + children.size() / 3)), Slot{});
    for (const std::uint32_t child : children)
        Put(table, {HashOf(reader_.KeyName(child)), child});
    return table;
}

std::uint32_t HiveIndex::Find(std::uint32_t key, std::u16string_view name) {
    const auto known = tables_.find(key);
    if (known == tables_.end()) {
        reader_.Subkeys(key, found_);
        if (found_.size() < WorthATable) {
            for (const std::uint32_t child : found_)
                if (Same(name, reader_.KeyName(child)))
                    return child;
            return NoCell;
        }
    }
    const Table& table = known == tables_.end() ? Build(key, found_) : known->second;
    const std::uint32_t hash = HashUnits(name, name.size());
    for (std::size_t at = SlotOf(hash, table.slots.size());; at = (at + 1) & (table.slots.size() - 1)) {
        const Slot& slot = table.slots[at];
        if (slot.cell == NoCell)
            return NoCell;
        if (slot.hash == hash && Same(name, reader_.KeyName(slot.cell)))
            return slot.cell;
    }
}

void HiveIndex::Added(std::uint32_t key, std::uint32_t child) {
    const auto known = tables_.find(key);
    if (known == tables_.end())
        return;
    Table& table = known->second;
    if ((table.used + 1) * 4 > table.slots.size() * 3)
        Grow(table);
    Put(table, {HashOf(reader_.KeyName(child)), child});
}

void HiveIndex::Removed(std::uint32_t key, std::uint32_t child) {
    tables_.erase(child);
    const auto known = tables_.find(key);
    if (known == tables_.end())
        return;
    std::vector<Slot>& slots = known->second.slots;
    const std::size_t mask = slots.size() - 1;
    std::size_t hole = SlotOf(HashOf(reader_.KeyName(child)), slots.size());
    while (slots[hole].cell != child) {
        if (slots[hole].cell == NoCell)
            return;
        hole = (hole + 1) & mask;
    }
    // What follows moves up where the hole lies between its own place and where it stands.
    for (std::size_t at = (hole + 1) & mask; slots[at].cell != NoCell; at = (at + 1) & mask) {
        const std::size_t home = SlotOf(slots[at].hash, slots.size());
        if (((at - home) & mask) >= ((at - hole) & mask)) {
            slots[hole] = slots[at];
            hole = at;
        }
    }
    slots[hole] = {};
    --known->second.used;
}

}  // namespace kel::offline::regf
