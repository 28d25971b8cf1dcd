// The run time's collection: ordered, one-based, optionally keyed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/RuntimeError.h"
#include "core/Text.h"

namespace kel {

/// Items in the order in which they were added, counted from 1. Keys compare without regard to case.
/// Failures are RuntimeErrors with the caller's line: 9 for a bad index, 5 for an absent key, 457 for a key that is
/// already there.
template <class T>
class Collection {
public:
    void Add(T item) { entries_.push_back({std::move(item), std::nullopt}); }

    void Add(T item, std::string_view key, SourceLocation where = SourceLocation::current()) {
        std::string folded = LCase(key);
        if (!places_.try_emplace(folded, entries_.size()).second) {
            Raise(ErrDuplicateKey, {}, where);
        }
        entries_.push_back({std::move(item), std::move(folded)});
    }

    [[nodiscard]] std::size_t Count() const noexcept { return entries_.size(); }

    [[nodiscard]] T& Item(std::size_t index, SourceLocation where = SourceLocation::current()) {
        return entries_[Place(index, where)].item;
    }
    [[nodiscard]] const T& Item(std::size_t index, SourceLocation where = SourceLocation::current()) const {
        return entries_[Place(index, where)].item;
    }

    [[nodiscard]] T& Item(std::string_view key, SourceLocation where = SourceLocation::current()) {
        return entries_[Place(key, where)].item;
    }
    [[nodiscard]] const T& Item(std::string_view key, SourceLocation where = SourceLocation::current()) const {
        return entries_[Place(key, where)].item;
    }

    /// The item under a key, or null: the lookup for callers to whom a miss is no failure.
    [[nodiscard]] const T* Find(std::string_view key) const {
        const auto found = places_.find(LCase(key));
        return found == places_.end() ? nullptr : &entries_[found->second].item;
    }
    [[nodiscard]] bool Contains(std::string_view key) const { return Find(key) != nullptr; }

    /// Items removed since the collection was made. Items are only ever added at the end, so while this number stays
    /// the items that were there are where they were.
    [[nodiscard]] std::size_t Removals() const noexcept { return removals_; }

    void Remove(std::size_t index, SourceLocation where = SourceLocation::current()) { Erase(Place(index, where)); }
    void Remove(std::string_view key, SourceLocation where = SourceLocation::current()) { Erase(Place(key, where)); }

    // Iteration in order, over the items.
    class Iterator {
    public:
        explicit Iterator(const Collection* owner, std::size_t place) : owner_(owner), place_(place) {}
        const T& operator*() const { return owner_->entries_[place_].item; }
        const T* operator->() const { return &owner_->entries_[place_].item; }
        Iterator& operator++() {
            ++place_;
            return *this;
        }
        bool operator==(const Iterator& other) const { return place_ == other.place_; }

    private:
        const Collection* owner_;
        std::size_t place_;
    };
    [[nodiscard]] Iterator begin() const { return Iterator(this, 0); }
    [[nodiscard]] Iterator end() const { return Iterator(this, entries_.size()); }

private:
    struct Entry {
        T item;
        std::optional<std::string> key;
    };

    [[nodiscard]] std::size_t Place(std::size_t index, const SourceLocation& where) const {
        if (index < 1 || index > entries_.size()) {
            Raise(ErrSubscriptOutOfRange, {}, where);
        }
        return index - 1;
    }
    [[nodiscard]] std::size_t Place(std::string_view key, const SourceLocation& where) const {
        const auto found = places_.find(LCase(key));
        if (found == places_.end()) {
            Raise(ErrInvalidProcedureCall, {}, where);
        }
        return found->second;
    }
    void Erase(std::size_t place) {
        ++removals_;
        if (entries_[place].key) {
            places_.erase(*entries_[place].key);
        }
        entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(place));
        for (auto& [key, where] : places_) {
            if (where > place) {
                --where;
            }
        }
    }

    std::vector<Entry> entries_;
    std::unordered_map<std::string, std::size_t> places_;
    std::size_t removals_ = 0;
};

}  // namespace kel
