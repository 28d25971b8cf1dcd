// Finds one of many subkeys by its name at once.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "hive/HiveReader.h"

namespace kel::offline::regf {

/// One hash table for each key that was asked about and has many subkeys, kept up to date by the writer. Of two
/// subkeys of one name the first in the list is found. Takes at most 22 bytes for each subkey of such a key.
class HiveIndex {
public:
    explicit HiveIndex(const HiveReader& reader) : reader_(reader) {}

    /// The subkey of that name, or NoCell.
    [[nodiscard]] std::uint32_t Find(std::uint32_t key, std::u16string_view name);
    /// A subkey was put into the key's list.
    void Added(std::uint32_t key, std::uint32_t child);
    /// A subkey is about to leave the key's list, and the hive.
    void Removed(std::uint32_t key, std::uint32_t child);

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t cell = NoCell;
    };
    /// Open addressing with linear probing; a size that is a power of two.
    struct Table {
        std::vector<Slot> slots;
        std::size_t used = 0;
    };
    static void Put(Table& table, Slot slot);
    static void Grow(Table& table);
    Table& Build(std::uint32_t key, const std::vector<std::uint32_t>& children);

    const HiveReader& reader_;
    std::unordered_map<std::uint32_t, Table> tables_;
    std::vector<std::uint32_t> found_;
};

}  // namespace kel::offline::regf
