#include "offline/RegistryNamespace.h"

#include <algorithm>

#include "hive/Upcase.h"
#include "offline/Wtf8.h"

namespace kel::offline {

using platform::Result;
using platform::SysError;

namespace {

// ERROR_CHILD_MUST_BE_VOLATILE: what a running machine says of a key beside the mounted files.
constexpr auto ChildMustBeVolatile = static_cast<SysError>(1021);

RegistryNamespace::Point* Child(const RegistryNamespace::Point& point, std::u16string_view name) {
    const auto found = std::find_if(point.children.begin(), point.children.end(),
                                    [name](const auto& child) { return SameName(child->name, name); });
    return found == point.children.end() ? nullptr : found->get();
}

bool LeadsToMount(const RegistryNamespace::Point& point) {
    return point.tree != nullptr || std::any_of(point.children.begin(), point.children.end(),
                                                [](const auto& child) { return LeadsToMount(*child); });
}

KeyId KeyInside(const RegistryTree& tree, const KeyPath& path) {
    KeyId key = tree.Root();
    for (const std::u16string& name : path) {
        key = key == NoKey ? NoKey : tree.FindKey(key, name);
    }
    return key;
}

// The components that a link names, or none when it names nothing below `\Registry`.
KeyPath LinkTarget(const RegistryTree& tree, KeyId key) {
    const auto value = tree.FindValue(key, u"SymbolicLinkValue");
    if (!value) {
        return {};
    }
    std::u16string target = UnitsFromBytes(value->data);
    target.resize(std::min(target.find(u'\0'), target.size()));
    KeyPath path = SplitKeyPath(target);
    if (path.empty() || !SameName(path.front(), u"REGISTRY")) {
        return {};
    }
    path.erase(path.begin());
    return path;
}

}  // namespace

KeyPath SplitKeyPath(std::u16string_view path) {
    KeyPath components;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(u'\\'), path.size());
        if (end > 0) {
            components.emplace_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return components;
}

void RegistryNamespace::Mount(const KeyPath& path, RegistryTree& tree, KeyPath inside) {
    Point* point = &root_;
    for (const std::u16string& name : path) {
        Point* child = Child(*point, name);
        if (child == nullptr) {
            child = point->children.emplace_back(std::make_unique<Point>()).get();
            child->name = name;
        }
        point = child;
    }
    point->tree = &tree;
    point->inside = std::move(inside);
}

RegistryNamespace::Place RegistryNamespace::Step(const Place& place, const std::u16string& name) {
    Place next;
    if (place.point != nullptr) {
        next.point = Child(*place.point, name);
    }
    if (next.point != nullptr && next.point->tree != nullptr) {
        const KeyId key = KeyInside(*next.point->tree, next.point->inside);
        if (key != NoKey) {
            next.tree = next.point->tree;
            next.key = key;
        }
    } else if (place.tree != nullptr) {
        const KeyId key = place.tree->FindKey(place.key, name);
        if (key != NoKey) {
            next.tree = place.tree;
            next.key = key;
        }
    }
    return next;
}

Result<RegistryNamespace::Place> RegistryNamespace::Walk(const KeyPath& wanted, bool create) const {
    KeyPath path = wanted;
    Place place;
    place.point = &root_;
    int links = 0;
    for (std::size_t index = 0; index < path.size(); ++index) {
        if (path.size() > MaximumDepth) {
            return SysError::InvalidParameter;
        }
        Place next = Step(place, path[index]);
        if (!next.Exists()) {
            if (!create) {
                return SysError::FileNotFound;
            }
            if (place.tree == nullptr) {
                return ChildMustBeVolatile;
            }
            const Result<KeyId> made = place.tree->CreateKey(place.key, path[index]);
            if (!made) {
                return made.Error();
            }
            next.tree = place.tree;
            next.key = *made;
        }
        if (next.tree != nullptr && next.tree->IsLink(next.key)) {
            if (++links > MaximumLinks) {
                return SysError::RegistryCorrupt;
            }
            KeyPath target = LinkTarget(*next.tree, next.key);
            if (target.empty()) {
                return SysError::FileNotFound;
            }
            target.insert(target.end(), path.begin() + static_cast<std::ptrdiff_t>(index) + 1, path.end());
            path = std::move(target);
            place = Place{};
            place.point = &root_;
            index = static_cast<std::size_t>(-1);
            continue;
        }
        place = next;
    }
    place.path = std::move(path);
    return place;
}

Result<RegistryNamespace::Place> RegistryNamespace::Find(const KeyPath& path) const {
    return Walk(path, false);
}

Result<RegistryNamespace::Place> RegistryNamespace::Create(const KeyPath& path) {
    return Walk(path, true);
}

SysError RegistryNamespace::Remove(const KeyPath& path, Place& removed) {
    if (path.empty()) {
        return SysError::AccessDenied;
    }
    const Result<Place> parent = Find(KeyPath(path.begin(), path.end() - 1));
    if (!parent) {
        return parent.Error();
    }
    removed = Step(*parent, path.back());
    if (!removed.Exists()) {
        return SysError::FileNotFound;
    }
    if (removed.point != nullptr || parent->tree == nullptr) {
        return SysError::AccessDenied;
    }
    return parent->tree->DeleteKey(parent->key, path.back());
}

bool RegistryNamespace::HasPointsBelow(const Place& place) {
    return place.point != nullptr && std::any_of(place.point->children.begin(), place.point->children.end(),
                                                 [](const auto& child) { return LeadsToMount(*child); });
}

std::vector<std::u16string> RegistryNamespace::SubKeys(const Place& place) {
    std::vector<std::u16string> names;
    if (place.tree != nullptr) {
        const std::uint32_t count = place.tree->KeyCount(place.key);
        names.reserve(count);
        for (std::uint32_t index = 0; index < count; ++index) {
            const KeyId key = place.tree->KeyAt(place.key, index);
            if (key != NoKey) {
                names.push_back(place.tree->KeyName(key));
            }
        }
    }
    if (place.point != nullptr) {
        for (const auto& child : place.point->children) {
            const bool there = std::any_of(names.begin(), names.end(),
                                           [&](const std::u16string& name) { return SameName(name, child->name); });
            if (!there && LeadsToMount(*child)) {
                names.push_back(child->name);
            }
        }
        std::stable_sort(names.begin(), names.end(), [](const std::u16string& left, const std::u16string& right) {
            return CompareNames(left, right) < 0;
        });
    }
    return names;
}

}  // namespace kel::offline
