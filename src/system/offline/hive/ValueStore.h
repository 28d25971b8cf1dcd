// The values of a key, changed.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "hive/CellSpace.h"

namespace kel::offline::regf {

/// Writes values, their lists and their data: up to four bytes in the value's record, large ones in segments where the
/// hive's version has them. New cells are made before anything refers to them, so that a full hive changes nothing.
class ValueStore {
public:
    enum class Outcome { Done, Damaged, Full };

    /// Both outlive this object.
    ValueStore(HiveReader& reader, CellSpace& space) : reader_(reader), space_(space), cells_(reader.Cells()) {}

    /// Gives `value`, which is one of the key's or NoCell for a new one, this type and data.
    [[nodiscard]] Outcome Set(std::uint32_t key, std::uint32_t value, std::u16string_view name, std::uint32_t type,
                              std::span<const std::byte> data);
    /// Takes the value out of the key's list and frees it with its data.
    [[nodiscard]] Outcome Remove(std::uint32_t key, std::uint32_t value);
    /// Frees all values of a key that is deleted.
    void RemoveAll(std::uint32_t key);

private:
    /// What the two fields of a value's record say of its data.
    struct Stored {
        std::uint32_t size = 0;
        std::uint32_t at = 0;
    };
    [[nodiscard]] bool Store(std::span<const std::byte> data, Stored& stored);
    [[nodiscard]] bool StoreSegments(std::span<const std::byte> data, Stored& stored);
    void Free(const Stored& stored);
    [[nodiscard]] Stored DataOf(std::uint32_t value) const;
    [[nodiscard]] std::uint32_t NewValue(std::u16string_view name);
    [[nodiscard]] bool Append(std::uint32_t key, std::uint32_t value);
    void FreeValue(std::uint32_t value);
    [[nodiscard]] bool OwnList(std::uint32_t key, std::size_t room);
    [[nodiscard]] std::size_t IndexOf(std::uint32_t key, std::uint32_t value) const;

    [[nodiscard]] std::byte* Field(std::uint32_t cell, std::size_t field) const {
        return cells_.At(reader_.FieldAt(cell, field));
    }
    [[nodiscard]] std::size_t CountOf(std::uint32_t key) const { return reader_.StatedValues(key); }

    HiveReader& reader_;
    CellSpace& space_;
    CellMap& cells_;
};

}  // namespace kel::offline::regf
