// Signatures by text, in order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/Signature.h"

namespace kel {

/// A keyed table of texts without regard to case: entries in the order in which they were added, all texts in one
/// pool, and an open hash table over them.
class KeyIndex {
public:
    struct Entry {
        std::string_view text;  ///< as it was added; valid until the next Add
        Signature signature;
    };

    [[nodiscard]] std::size_t Count() const noexcept { return rows_.size(); }
    /// By number from 0, which must be less than Count().
    [[nodiscard]] Entry At(std::size_t row) const noexcept;

    static constexpr std::size_t None = static_cast<std::size_t>(-1);
    /// Number of the entry under a key, or None.
    [[nodiscard]] std::size_t Find(std::string_view key) const;

    /// False, and nothing is added, when the key is there already. Error 6 when the texts exceed 4 GiB.
    [[nodiscard]] bool Add(std::string_view text, Signature signature);
    /// Makes room for that many entries in all.
    void Reserve(std::size_t count);

private:
    struct Row {
        std::uint32_t key = 0;  ///< place of the folded text in the pool
        std::uint32_t keyLength = 0;
        std::uint32_t text = 0;  ///< place of the original; the same when folding changes nothing
        std::uint32_t textLength = 0;
        Signature signature;
    };
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t row = 0;  ///< counted from 1; 0 is a free slot
    };

    [[nodiscard]] std::size_t FindFolded(std::string_view key, std::uint32_t hash) const noexcept;
    [[nodiscard]] std::string_view Key(const Row& row) const noexcept;
    [[nodiscard]] std::uint32_t Put(std::string_view text);
    void Grow(std::size_t slots);
    void Occupy(Slot slot) noexcept;

    std::vector<Row> rows_;
    std::vector<Slot> slots_;  ///< a power of two, at most three quarters in use
    std::string pool_;
};

}  // namespace kel
