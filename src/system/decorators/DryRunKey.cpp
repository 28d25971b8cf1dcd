#include "decorators/DryRunKey.h"

#include <algorithm>
#include <set>
#include <utility>

namespace kel::decorators {

using platform::NamedRegistryValue;
using platform::RegistryValue;
using platform::Result;
using platform::SysError;
using platform::ValueType;

namespace {

constexpr std::uint32_t RightQuery = 1;
constexpr std::uint32_t RightSet = 2;
constexpr std::uint32_t RightEnumerate = 8;
constexpr std::uint32_t GenericRights = 0xF0000000U;

bool IsText(ValueType type) {
    return type == ValueType::Sz || type == ValueType::ExpandSz || type == ValueType::MultiSz;
}

// As it is read: a missing terminator is added.
RegistryValue Shown(RegistryValue value) {
    if (IsText(value.type) && !value.data.empty() && value.data.back() != '\0') {
        value.data += '\0';
    }
    return value;
}

// Text counts by characters, as it does in a code page of single bytes.
bool FitsInto(platform::Text& text, std::string_view data, std::size_t capacity, bool isText) {
    return data.size() <= capacity || (isText && text.Prefix(data, capacity) == data.size());
}

}  // namespace

DryRunKey::DryRunKey(DryRunRegistry& registry, std::vector<KeyPlace> places,
                     std::unique_ptr<platform::RegistryKey> whole, std::uint32_t access, std::string shown)
    : registry_(registry),
      whole_(std::move(whole)),
      access_(access),
      shown_(std::move(shown)),
      epoch_(registry.overlay_.Epoch()) {
    for (KeyPlace& place : places) {
        Layer layer;
        const auto state = registry_.overlay_.Look(place);
        layer.removals = state.removals;
        // Of a single place it is known: the key could be opened.
        layer.there = !state.missing && (places.size() == 1 || registry_.overlay_.Exists(place));
        layer.place = std::move(place);
        layers_.push_back(std::move(layer));
    }
}

bool DryRunKey::Through() {
    const std::uint64_t generation = registry_.overlay_.Generation();
    if (generation == 0) {
        return true;
    }
    if (checked_ != generation) {
        checked_ = generation;
        through_ = whole_ != nullptr && epoch_ == registry_.overlay_.Epoch() &&
                   std::all_of(layers_.begin(), layers_.end(), [this](const Layer& layer) {
                       const auto state = registry_.overlay_.Look(layer.place);
                       return state.node == nullptr && !state.missing;
                   });
    }
    return through_;
}

bool DryRunKey::Alive(const Layer& layer) const {
    const auto state = registry_.overlay_.Look(layer.place);
    return layer.there && !state.missing && state.removals == layer.removals;
}

// A key of two places is open as long as one is there; one that is made meanwhile does not count.
SysError DryRunKey::Allowed(std::uint32_t right) {
    if (epoch_ != registry_.overlay_.Epoch() ||
        std::none_of(layers_.begin(), layers_.end(), [this](const Layer& layer) { return Alive(layer); })) {
        return SysError::KeyDeleted;
    }
    const bool all = !registry_.rights_ || (access_ & (platform::AccessMaximumAllowed | GenericRights)) != 0;
    return all || (access_ & right) != 0 ? SysError::Success : SysError::AccessDenied;
}

platform::RegistryKey* DryRunKey::Machine(Layer& layer) {
    if (registry_.overlay_.Look(layer.place).hidden) {
        return nullptr;
    }
    if (layers_.size() == 1) {
        return whole_.get();
    }
    if (!std::exchange(layer.asked, true)) {
        auto open = registry_.inner_.registry->Open(layer.place.hive, layer.place.Text(), access_);
        if (open) {
            layer.machine = *std::move(open);
        }
    }
    return layer.machine.get();
}

Result<RegistryValue> DryRunKey::QueryLayer(Layer& layer, std::string_view name) {
    const auto state = registry_.overlay_.Look(layer.place);
    if (state.node != nullptr) {
        if (const ChangedValue* changed = registry_.overlay_.FindValue(*state.node, name)) {
            return changed->data ? Result<RegistryValue>(Shown(*changed->data)) : SysError::FileNotFound;
        }
    }
    platform::RegistryKey* machine = Machine(layer);
    return machine == nullptr ? SysError::FileNotFound : machine->Query(name);
}

Result<RegistryValue> DryRunKey::Query(std::string_view name, std::size_t capacity) {
    if (Through()) {
        return whole_->Query(name, capacity);
    }
    if (const SysError allowed = Allowed(RightQuery); allowed != SysError::Success) {
        return allowed;
    }
    SysError reason = SysError::FileNotFound;
    for (Layer& layer : layers_) {
        if (!Alive(layer)) {
            continue;
        }
        auto value = QueryLayer(layer, name);
        if (value) {
            const bool fits = FitsInto(*registry_.inner_.text, value->data, capacity, IsText(value->type));
            return fits ? std::move(value) : SysError::MoreData;
        }
        reason = value.Error();
    }
    return reason;
}

SysError DryRunKey::Set(std::string_view name, ValueType type, std::string_view data) {
    if (const SysError allowed = Allowed(RightSet); allowed != SysError::Success) {
        return allowed;
    }
    for (const Layer& layer : layers_) {
        if (!Alive(layer)) {
            continue;
        }
        if (!registry_.overlay_.Look(layer.place).hidden && registry_.Refuses(layer.place, RightSet)) {
            return SysError::AccessDenied;
        }
        registry_.overlay_.Set(layer.place, name, {type, std::string(data)});
        registry_.journal_.Add(WriteKind::ValueSet, shown_, name);
        return SysError::Success;
    }
    return SysError::KeyDeleted;
}

SysError DryRunKey::RemoveValue(std::string_view name) {
    if (const SysError allowed = Allowed(RightSet); allowed != SysError::Success) {
        return allowed;
    }
    for (Layer& layer : layers_) {
        if (!Alive(layer) || !QueryLayer(layer, name)) {
            continue;
        }
        if (!registry_.overlay_.Look(layer.place).hidden && registry_.Refuses(layer.place, RightSet)) {
            return SysError::AccessDenied;
        }
        registry_.overlay_.RemoveValue(layer.place, name);
        registry_.journal_.Add(WriteKind::ValueRemoved, shown_, name);
        return SysError::Success;
    }
    return SysError::FileNotFound;
}

SysError DryRunKey::RemoveKey(std::string_view subKey) {
    if (Allowed(0) == SysError::KeyDeleted) {
        return SysError::KeyDeleted;
    }
    std::vector<KeyPlace> places;
    for (const Layer& layer : layers_) {
        places.push_back(layer.place.Child(subKey));
    }
    std::string shown = shown_;
    if (!subKey.empty()) {
        shown += '\\';
        shown += subKey;
    }
    return registry_.Remove(places, shown);
}

// Two keys of the same name are one, and of two values of the same name the first layer's counts.
void DryRunKey::List() {
    if (listed_ == registry_.overlay_.Generation()) {
        return;
    }
    const RegistryOverlay& overlay = registry_.overlay_;
    std::map<std::string, std::string> names;
    std::set<std::string> valueNames;
    values_.clear();
    for (Layer& layer : layers_) {
        if (!Alive(layer)) {
            continue;
        }
        const KeyNode* node = overlay.Look(layer.place).node;
        platform::RegistryKey* machine = Machine(layer);
        for (std::uint32_t index = 0; machine != nullptr; ++index) {
            const auto name = machine->EnumKey(index);
            if (!name) {
                break;
            }
            const std::string folded = overlay.Fold(*name);
            if (node == nullptr || !node->children.contains(folded) || !node->children.at(folded).gone) {
                names.emplace(folded, *name);
            }
        }
        for (std::uint32_t index = 0; machine != nullptr; ++index) {
            auto value = machine->EnumValue(index);
            if (!value) {
                break;
            }
            const ChangedValue* changed = node == nullptr ? nullptr : overlay.FindValue(*node, value->name);
            if (changed != nullptr && !changed->data) {
                continue;
            }
            if (valueNames.insert(overlay.Fold(value->name)).second) {
                if (changed != nullptr) {
                    value->value = Shown(*changed->data);
                }
                values_.push_back(*std::move(value));
            }
        }
        if (node == nullptr) {
            continue;
        }
        for (const auto& [folded, child] : node->children) {
            if (!child.gone && child.fresh) {
                names.emplace(folded, child.name);
            }
        }
        for (const ChangedValue& changed : node->values) {
            if (changed.data && valueNames.insert(overlay.Fold(changed.name)).second) {
                values_.push_back({changed.name, Shown(*changed.data)});
            }
        }
    }
    subKeys_.clear();
    for (auto& [folded, name] : names) {
        subKeys_.push_back(std::move(name));
    }
    listed_ = overlay.Generation();
}

Result<std::string> DryRunKey::EnumKey(std::uint32_t index, std::size_t capacity) {
    if (Through()) {
        return whole_->EnumKey(index, capacity);
    }
    if (const SysError allowed = Allowed(RightEnumerate); allowed != SysError::Success) {
        return allowed;
    }
    List();
    if (index >= subKeys_.size()) {
        return SysError::NoMoreItems;
    }
    const std::string& name = subKeys_[index];
    return capacity == 0 || !FitsInto(*registry_.inner_.text, name, capacity - 1, true)
               ? Result<std::string>(SysError::MoreData)
               : name;
}

Result<NamedRegistryValue> DryRunKey::EnumValue(std::uint32_t index, std::size_t nameCapacity,
                                                std::size_t dataCapacity) {
    if (Through()) {
        return whole_->EnumValue(index, nameCapacity, dataCapacity);
    }
    if (const SysError allowed = Allowed(RightQuery); allowed != SysError::Success) {
        return allowed;
    }
    List();
    if (index >= values_.size()) {
        return SysError::NoMoreItems;
    }
    const NamedRegistryValue& named = values_[index];
    platform::Text& text = *registry_.inner_.text;
    const bool fits = nameCapacity != 0 && FitsInto(text, named.name, nameCapacity - 1, true) &&
                      FitsInto(text, named.value.data, dataCapacity, IsText(named.value.type));
    return fits ? Result<NamedRegistryValue>(named) : SysError::MoreData;
}

}  // namespace kel::decorators
