// Which paths a list of locations holds, without a walk through the list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "core/Collection.h"
#include "core/EngineState.h"
#include "core/Text.h"

namespace kel {

/// How often the path of a location was changed after the location was made, in the whole process. An index that was
/// built under another number may be wrong.
struct LocationPathChanges {
    std::uint64_t count = 0;
};

/// The index of one list, brought up to date at each question: what was appended is added, and after any other change
/// (an entry removed, a path changed in place, another list) it is built anew. It answers as a walk from the first
/// entry on would, a walk that ends at an entry that is nothing.
/// @tparam PathOf the location's path
template <class Location, const std::string& (Location::*PathOf)() const>
class LocationPaths {
public:
    using List = std::shared_ptr<Collection<std::shared_ptr<Location>>>;

    /// Whether a location of the list has this path, without regard to case. False for no list.
    [[nodiscard]] bool Holds(const List& list, std::string_view path) {
        if (!list) {
            return false;
        }
        Update(list);
        return paths_.contains(LCase(path));
    }

private:
    void Update(const List& list) {
        const std::uint64_t changes = ModuleData<LocationPathChanges>().count;
        if (list_.lock() != list || removals_ != list->Removals() || changes_ != changes) {
            list_ = list;
            removals_ = list->Removals();
            changes_ = changes;
            indexed_ = 0;
            paths_.clear();
        }
        for (; indexed_ < list->Count(); ++indexed_) {
            const std::shared_ptr<Location>& location = list->Item(indexed_ + 1);
            if (!location) {
                return;
            }
            paths_.insert(LCase(((*location).*PathOf)()));
        }
    }

    std::weak_ptr<Collection<std::shared_ptr<Location>>> list_;
    std::size_t removals_ = 0;
    std::uint64_t changes_ = 0;
    std::size_t indexed_ = 0;
    std::unordered_set<std::string> paths_;
};

}  // namespace kel
