#include "hive/RegistryTree.h"

#include <utility>

namespace kel::offline {

using platform::SysError;

namespace {

/// A key that is to be deleted, and the names of the subkeys that go before it, the last one first.
struct Doomed {
    KeyId parent = NoKey;
    std::u16string name;
    KeyId key = NoKey;
    std::vector<std::u16string> below;
};

Doomed Look(const RegistryTree& tree, KeyId parent, std::u16string name) {
    Doomed doomed{parent, std::move(name), NoKey, {}};
    doomed.key = tree.FindKey(parent, doomed.name);
    const std::uint32_t count = doomed.key == NoKey ? 0 : tree.KeyCount(doomed.key);
    doomed.below.reserve(count);
    for (std::uint32_t index = 0; index < count; ++index)
        doomed.below.push_back(tree.KeyName(tree.KeyAt(doomed.key, index)));
    return doomed;
}

}  // namespace

SysError DeleteTree(RegistryTree& tree, KeyId parent, std::u16string_view name) {
    std::vector<Doomed> path{Look(tree, parent, std::u16string(name))};
    while (!path.empty()) {
        Doomed& last = path.back();
        if (last.key == NoKey)
            return SysError::FileNotFound;
        if (!last.below.empty()) {
            std::u16string next = std::move(last.below.back());
            last.below.pop_back();
            const KeyId key = last.key;
            path.push_back(Look(tree, key, std::move(next)));
            continue;
        }
        const SysError error = tree.DeleteKey(last.parent, last.name);
        if (error != SysError::Success)
            return error;
        path.pop_back();
    }
    return SysError::Success;
}

}  // namespace kel::offline
