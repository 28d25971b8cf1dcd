#include "catalogue/KeyIndex.h"

#include <xxhash.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "core/RuntimeError.h"
#include "core/Text.h"

namespace kel {

namespace {

constexpr std::size_t FewestSlots = 16;

std::uint32_t Hash(std::string_view key) noexcept {
    return static_cast<std::uint32_t>(XXH3_64bits(key.data(), key.size()));
}

// Text that folding surely leaves as it is.
bool IsFolded(std::string_view text) noexcept {
    return std::none_of(text.begin(), text.end(),
                        [](char c) { return (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80; });
}

}  // namespace

KeyIndex::Entry KeyIndex::At(std::size_t row) const noexcept {
    const Row& found = rows_[row];
    return {std::string_view(pool_).substr(found.text, found.textLength), found.signature};
}

std::size_t KeyIndex::Find(std::string_view key) const {
    if (rows_.empty()) {
        return None;
    }
    if (IsFolded(key)) {
        return FindFolded(key, Hash(key));
    }
    const std::string folded = LCase(key);
    return FindFolded(folded, Hash(folded));
}

bool KeyIndex::Add(std::string_view text, Signature signature) {
    const std::string folded = IsFolded(text) ? std::string() : LCase(text);
    const std::string_view key = folded.empty() ? text : folded;
    const std::uint32_t hash = Hash(key);
    if (FindFolded(key, hash) != None) {
        return false;
    }
    if ((rows_.size() + 1) * 4 > slots_.size() * 3) {
        Grow(std::max(FewestSlots, slots_.size() * 2));
    }
    Row row;
    row.key = Put(key);
    row.keyLength = static_cast<std::uint32_t>(key.size());
    row.text = key == text ? row.key : Put(text);
    row.textLength = static_cast<std::uint32_t>(text.size());
    row.signature = signature;
    rows_.push_back(row);
    Occupy({hash, static_cast<std::uint32_t>(rows_.size())});
    return true;
}

void KeyIndex::Reserve(std::size_t count) {
    rows_.reserve(count);
    const std::size_t slots = std::bit_ceil(count + count / 3 + 1);
    if (slots > slots_.size()) {
        Grow(std::max(FewestSlots, slots));
    }
}

std::size_t KeyIndex::FindFolded(std::string_view key, std::uint32_t hash) const noexcept {
    if (slots_.empty()) {
        return None;
    }
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = hash & mask; slots_[at].row != 0; at = (at + 1) & mask) {
        if (slots_[at].hash == hash && Key(rows_[slots_[at].row - 1]) == key) {
            return slots_[at].row - 1;
        }
    }
    return None;
}

std::string_view KeyIndex::Key(const Row& row) const noexcept {
    return std::string_view(pool_).substr(row.key, row.keyLength);
}

std::uint32_t KeyIndex::Put(std::string_view text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max() - pool_.size()) {
        Raise(ErrOverflow);
    }
    const auto place = static_cast<std::uint32_t>(pool_.size());
    pool_.append(text);
    return place;
}

void KeyIndex::Grow(std::size_t slots) {
    const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(slots));
    for (const Slot& slot : old) {
        if (slot.row != 0) {
            Occupy(slot);
        }
    }
}

void KeyIndex::Occupy(Slot slot) noexcept {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = slot.hash & mask;
    while (slots_[at].row != 0) {
        at = (at + 1) & mask;
    }
    slots_[at] = slot;
}

}  // namespace kel
