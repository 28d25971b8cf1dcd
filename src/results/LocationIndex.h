// What a list of locations holds, without a walk through the list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <utility>

#include "core/Collection.h"
#include "core/EngineState.h"

namespace kel {

/// How often something by which a location is found was changed after the location was made, in the whole process. An
/// index that was built under another number may be wrong.
struct LocationChanges {
    std::uint64_t count = 0;
};

/// The index of one list, brought up to date at each question: what was appended is added, and after any other change
/// (an entry removed, a location changed in place, another list) it is built anew. It answers as a walk from the first
/// entry on would, a walk that ends at an entry that is nothing.
/// @tparam KeyOf what a location is found by, a function of the location
template <class Location, auto KeyOf>
class LocationIndex {
public:
    using List = std::shared_ptr<Collection<std::shared_ptr<Location>>>;
    using Key = decltype(KeyOf(std::declval<const Location&>()));

    /// Whether a location of the list has this key. False for no list.
    [[nodiscard]] bool Holds(const List& list, const Key& key) {
        if (!list) {
            return false;
        }
        Update(list);
        return keys_.contains(key);
    }

private:
    void Update(const List& list) {
        const std::uint64_t changes = ModuleData<LocationChanges>().count;
        if (list_.lock() != list || removals_ != list->Removals() || changes_ != changes) {
            list_ = list;
            removals_ = list->Removals();
            changes_ = changes;
            indexed_ = 0;
            keys_.clear();
        }
        for (; indexed_ < list->Count(); ++indexed_) {
            const std::shared_ptr<Location>& location = list->Item(indexed_ + 1);
            if (!location) {
                return;
            }
            keys_.insert(KeyOf(*location));
        }
    }

    std::weak_ptr<Collection<std::shared_ptr<Location>>> list_;
    std::size_t removals_ = 0;
    std::uint64_t changes_ = 0;
    std::size_t indexed_ = 0;
    std::unordered_set<Key> keys_;
};

}  // namespace kel
