#include "offline/OfflineRegistry.h"

#include <algorithm>
#include <atomic>

#include "hive/Upcase.h"
#include "offline/OfflineKey.h"
#include "offline/Wtf8.h"

namespace kel::offline {

using platform::Hive;
using platform::RegistryKey;
using platform::Result;
using platform::SysError;

namespace {

constexpr std::size_t MaximumComponent = 255;

// Appends the components of a caller's path, or tells why there can be no such key.
SysError AppendPath(KeyPath& path, std::string_view key) {
    if (key.starts_with('\\')) {
        return SysError::BadPathName;
    }
    for (std::u16string& component : SplitKeyPath(FromWtf8(key))) {
        if (component.size() > MaximumComponent) {
            return SysError::InvalidParameter;
        }
        path.push_back(std::move(component));
    }
    return path.size() > RegistryNamespace::MaximumDepth ? SysError::InvalidParameter : SysError::Success;
}

std::uint64_t NewChange() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

}  // namespace

OfflineRegistry::OfflineRegistry() = default;
OfflineRegistry::~OfflineRegistry() = default;

RegistryTree& OfflineRegistry::Add(const KeyPath& path, std::unique_ptr<RegistryTree> tree) {
    RegistryTree& added = *trees_.emplace_back(std::move(tree));
    names_.Mount(path, added);
    return added;
}

void OfflineRegistry::Mount(const KeyPath& path, RegistryTree& tree, KeyPath inside) {
    names_.Mount(path, tree, std::move(inside));
}

std::vector<KeyPath> OfflineRegistry::Layers(Hive hive) const {
    switch (hive) {
        case platform::HiveLocalMachine:
            return {{u"MACHINE"}};
        case platform::HiveUsers:
            return {{u"USER"}};
        case platform::HiveCurrentUser:
            return {{u"USER", user_}};
        case platform::HiveClassesRoot:
            return {{u"USER", user_, u"Software", u"Classes"}, {u"MACHINE", u"Software", u"Classes"}};
        default:
            return {};
    }
}

Result<std::unique_ptr<RegistryKey>> OfflineRegistry::Open(Hive hive, std::string_view key, std::uint32_t access) {
    const std::vector<KeyPath> layers = Layers(hive);
    if (layers.empty()) {
        return SysError::InvalidHandle;
    }
    SysError reason = SysError::FileNotFound;
    std::vector<RegistryNamespace::Place> places;
    for (KeyPath path : layers) {
        if (const SysError bad = AppendPath(path, key); bad != SysError::Success) {
            return bad;
        }
        Result<RegistryNamespace::Place> place = names_.Find(path);
        if (place) {
            places.push_back(std::move(*place));
        } else {
            reason = place.Error();
        }
    }
    if (places.empty()) {
        return reason;
    }
    return std::unique_ptr<RegistryKey>(std::make_unique<OfflineKey>(*this, std::move(places), access));
}

Result<std::unique_ptr<RegistryKey>> OfflineRegistry::Create(Hive hive, std::string_view key) {
    Result<std::unique_ptr<RegistryKey>> open = Open(hive, key, platform::AccessMaximumAllowed);
    if (open || open.Error() != SysError::FileNotFound) {
        return open;
    }
    if (!writable_) {
        return SysError::WriteProtect;
    }
    // In a merged view a new key is the machine's, unless its parent is the user's alone.
    std::vector<KeyPath> layers = Layers(hive);
    KeyPath path = layers.back();
    AppendPath(path, key);
    if (layers.size() > 1) {
        KeyPath userPath = layers.front();
        AppendPath(userPath, key);
        const auto hasParent = [this](KeyPath child) {
            child.pop_back();
            return names_.Find(child).Ok();
        };
        if (!hasParent(path) && hasParent(userPath)) {
            path = std::move(userPath);
        }
    }
    const Result<RegistryNamespace::Place> made = names_.Create(path);
    // A part of the way is there also after a failure.
    Changes(path);
    if (!made) {
        return made.Error();
    }
    Changes(made->path);
    return Open(hive, key, platform::AccessMaximumAllowed);
}

SysError OfflineRegistry::Remove(const std::vector<KeyPath>& layers, const KeyPath& below) {
    if (!writable_) {
        return SysError::WriteProtect;
    }
    SysError result = SysError::FileNotFound;
    for (KeyPath path : layers) {
        path.insert(path.end(), below.begin(), below.end());
        RegistryNamespace::Place removed;
        Changes(path);
        result = names_.Remove(path, removed);
        if (result == SysError::Success) {
            for (OfflineKey* key : open_) {
                key->Forget(removed.tree, removed.key);
            }
        }
        if (result != SysError::FileNotFound) {
            break;
        }
    }
    return result;
}

void OfflineRegistry::Changes(const KeyPath& path) {
    ++generation_;
    for (Watched& watched : watched_) {
        // Without a path anything may have changed.
        if (path.empty() || std::any_of(path.begin(), path.end(), [&](const std::u16string& component) {
                return SameName(component, watched.name);
            })) {
            watched.change = NewChange();
        }
    }
}

SysError OfflineRegistry::RemoveKey(Hive hive, std::string_view key) {
    const std::vector<KeyPath> layers = Layers(hive);
    if (layers.empty()) {
        return SysError::InvalidHandle;
    }
    KeyPath below;
    if (const SysError bad = AppendPath(below, key); bad != SysError::Success) {
        return bad;
    }
    return below.empty() ? SysError::AccessDenied : Remove(layers, below);
}

SysError OfflineRegistry::Commit() {
    const auto abandon = [this] {
        for (const auto& tree : trees_) {
            tree->Abandon();
        }
    };
    for (const auto& tree : trees_) {
        if (!tree->Changed()) {
            continue;
        }
        if (const SysError result = tree->Prepare(); result != SysError::Success) {
            abandon();
            return result;
        }
    }
    for (const auto& tree : trees_) {
        if (!tree->Changed()) {
            continue;
        }
        if (const SysError result = tree->Commit(); result != SysError::Success) {
            abandon();
            return result;
        }
    }
    return SysError::Success;
}

void OfflineRegistry::Discard() {
    const bool changed = std::any_of(trees_.begin(), trees_.end(), [](const auto& tree) { return tree->Changed(); });
    if (!changed) {
        return;
    }
    Changes({});
    for (OfflineKey* key : open_) {
        key->ForgetAll();
    }
    for (const auto& tree : trees_) {
        tree->Discard();
    }
}

std::optional<std::uint64_t> OfflineRegistry::ChangesBelow(std::string_view name) {
    const std::u16string wanted = FromWtf8(name);
    for (const Watched& watched : watched_) {
        if (SameName(watched.name, wanted)) {
            return watched.change;
        }
    }
    return watched_.emplace_back(Watched{wanted, NewChange()}).change;
}

}  // namespace kel::offline
