// The one name space that all registry files of a machine are mounted in, as `\Registry` is on a running one.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hive/RegistryTree.h"

namespace kel::offline {

/// Names from the root down: {"MACHINE", "Software"} is what a running machine calls `\Registry\Machine\Software`.
using KeyPath = std::vector<std::u16string>;

/// Splits at backslashes; empty components are left out.
[[nodiscard]] KeyPath SplitKeyPath(std::u16string_view path);

class RegistryNamespace {
public:
    static constexpr std::size_t MaximumDepth = 512;
    static constexpr int MaximumLinks = 32;

    /// A name that registry files are mounted at or below.
    struct Point {
        std::u16string name;
        RegistryTree* tree = nullptr;
        KeyPath inside;  ///< the key of `tree` that is mounted
        std::vector<std::unique_ptr<Point>> children;
    };

    /// A key: a point, a key of a file, or both.
    struct Place {
        const Point* point = nullptr;
        RegistryTree* tree = nullptr;
        KeyId key = NoKey;
        KeyPath path;  ///< with all links resolved; only in what Find and Create give

        [[nodiscard]] bool Exists() const { return tree != nullptr || point != nullptr; }
    };

    /// Mounts a key of `tree` at `path`, in place of what the file above it has there.
    void Mount(const KeyPath& path, RegistryTree& tree, KeyPath inside = {});

    /// The key at `path`. Links on the way and at the end are followed. FileNotFound when it is not there,
    /// InvalidParameter when it lies too deep, RegistryCorrupt when links lead in a circle.
    [[nodiscard]] platform::Result<Place> Find(const KeyPath& path) const;
    /// The key at `path`, made with its parents when it is not there.
    platform::Result<Place> Create(const KeyPath& path);
    /// Deletes the key at `path`; a link there is deleted itself. AccessDenied when it has subkeys or is mounted.
    /// @param removed what was deleted, for those who hold it open
    platform::SysError Remove(const KeyPath& path, Place& removed);

    /// Names of the subkeys, in the order of names.
    [[nodiscard]] static std::vector<std::u16string> SubKeys(const Place& place);
    /// Whether a key has subkeys that are no keys of its file.
    [[nodiscard]] static bool HasPointsBelow(const Place& place);

private:
    [[nodiscard]] static Place Step(const Place& place, const std::u16string& name);
    platform::Result<Place> Walk(const KeyPath& path, bool create) const;

    Point root_;
};

}  // namespace kel::offline
