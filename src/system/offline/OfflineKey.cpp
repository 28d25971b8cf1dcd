#include "offline/OfflineKey.h"

#include <algorithm>
#include <set>

#include "hive/Upcase.h"
#include "offline/RegistryData.h"
#include "offline/Wtf8.h"

namespace kel::offline {

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

// Whether a caller's buffer takes a value. Text counts by characters, as it does in a code page of single bytes: what
// its UTF-8 form takes more must not hide it.
bool FitsInto(std::size_t capacity, const TreeValue& stored, const RegistryValue& value) {
    if (value.data.size() <= capacity) {
        return true;
    }
    if (!IsTextType(value.type)) {
        return false;
    }
    const std::u16string units = UnitsFromBytes(stored.data);
    const bool terminated = units.empty() || units.back() == u'\0';
    return units.size() + (terminated ? 0 : 1) <= capacity;
}

struct LessName {
    bool operator()(const std::u16string& left, const std::u16string& right) const {
        return CompareNames(left, right) < 0;
    }
};

}  // namespace

OfflineKey::OfflineKey(OfflineRegistry& registry, std::vector<RegistryNamespace::Place> layers, std::uint32_t access)
    : registry_(registry), layers_(std::move(layers)), access_(access) {
    registry_.open_.insert(this);
}

OfflineKey::~OfflineKey() {
    registry_.open_.erase(this);
}

void OfflineKey::Forget(const RegistryTree* tree, KeyId key) {
    std::erase_if(layers_, [&](const auto& place) { return place.tree == tree && place.key == key; });
    listed_ = static_cast<std::uint64_t>(-1);
}

SysError OfflineKey::Allowed(std::uint32_t right) const {
    if (layers_.empty()) {
        return SysError::KeyDeleted;
    }
    const bool all = (access_ & (platform::AccessMaximumAllowed | GenericRights)) != 0;
    return all || (access_ & right) != 0 ? SysError::Success : SysError::AccessDenied;
}

SysError OfflineKey::Writable(std::uint32_t right) const {
    const SysError allowed = Allowed(right);
    return allowed != SysError::Success || registry_.writable_ ? allowed : SysError::WriteProtect;
}

bool OfflineKey::IsMerged() const {
    return layers_.size() > 1 || RegistryNamespace::HasPointsBelow(layers_.front());
}

Result<RegistryValue> OfflineKey::Query(std::string_view name, std::size_t capacity) {
    if (const SysError allowed = Allowed(RightQuery); allowed != SysError::Success) {
        return allowed;
    }
    const std::u16string wanted = FromWtf8(name);
    SysError reason = SysError::FileNotFound;
    for (const auto& place : layers_) {
        if (place.tree == nullptr) {
            continue;
        }
        const Result<TreeValue> stored = place.tree->FindValue(place.key, wanted);
        if (!stored) {
            reason = stored.Error();
            continue;
        }
        RegistryValue value = ToAnsi(*stored);
        if (!FitsInto(capacity, *stored, value)) {
            return SysError::MoreData;
        }
        return value;
    }
    return reason;
}

SysError OfflineKey::Set(std::string_view name, ValueType type, std::string_view data) {
    if (const SysError allowed = Writable(RightSet); allowed != SysError::Success) {
        return allowed;
    }
    const auto& place = layers_.front();
    if (place.tree == nullptr) {
        return SysError::AccessDenied;
    }
    registry_.Changes(place.path);
    return place.tree->SetValue(place.key, FromWtf8(name), static_cast<std::uint32_t>(type), FromAnsi(type, data));
}

SysError OfflineKey::RemoveValue(std::string_view name) {
    if (const SysError allowed = Writable(RightSet); allowed != SysError::Success) {
        return allowed;
    }
    const std::u16string wanted = FromWtf8(name);
    SysError result = SysError::FileNotFound;
    for (const auto& place : layers_) {
        if (place.tree != nullptr) {
            registry_.Changes(place.path);
            result = place.tree->DeleteValue(place.key, wanted);
            if (result != SysError::FileNotFound) {
                break;
            }
        }
    }
    return result;
}

SysError OfflineKey::RemoveKey(std::string_view subKey) {
    if (layers_.empty()) {
        return SysError::KeyDeleted;
    }
    std::vector<KeyPath> paths;
    paths.reserve(layers_.size());
    for (const auto& place : layers_) {
        paths.push_back(place.path);
    }
    return registry_.Remove(paths, SplitKeyPath(FromWtf8(subKey)));
}

// Two keys of the same name are one, and of two values of the same name the first layer's counts.
void OfflineKey::RefreshListing() {
    if (listed_ == registry_.generation_) {
        return;
    }
    std::set<std::u16string, LessName> names;
    std::set<std::u16string, LessName> valueNames;
    values_.clear();
    for (const auto& place : layers_) {
        for (std::u16string& name : RegistryNamespace::SubKeys(place)) {
            names.insert(std::move(name));
        }
        const std::uint32_t count = place.tree == nullptr ? 0 : place.tree->ValueCount(place.key);
        for (std::uint32_t index = 0; index < count; ++index) {
            Result<TreeValue> value = place.tree->ValueAt(place.key, index);
            if (value && valueNames.insert(value->name).second) {
                values_.push_back(std::move(*value));
            }
        }
    }
    subKeys_.assign(names.begin(), names.end());
    listed_ = registry_.generation_;
}

Result<std::string> OfflineKey::EnumKey(std::uint32_t index, std::size_t capacity) {
    if (const SysError allowed = Allowed(RightEnumerate); allowed != SysError::Success) {
        return allowed;
    }
    std::u16string name;
    if (IsMerged()) {
        RefreshListing();
        if (index >= subKeys_.size()) {
            return SysError::NoMoreItems;
        }
        name = subKeys_[index];
    } else {
        const auto& place = layers_.front();
        const KeyId key = place.tree == nullptr ? NoKey : place.tree->KeyAt(place.key, index);
        if (key == NoKey) {
            return SysError::NoMoreItems;
        }
        name = place.tree->KeyName(key);
    }
    if (name.size() >= capacity) {
        return SysError::MoreData;
    }
    return ToWtf8(name);
}

Result<TreeValue> OfflineKey::ValueAt(std::uint32_t index) {
    if (IsMerged()) {
        RefreshListing();
        if (index >= values_.size()) {
            return SysError::NoMoreItems;
        }
        return values_[index];
    }
    const auto& place = layers_.front();
    if (place.tree == nullptr || index >= place.tree->ValueCount(place.key)) {
        return SysError::NoMoreItems;
    }
    return place.tree->ValueAt(place.key, index);
}

Result<NamedRegistryValue> OfflineKey::EnumValue(std::uint32_t index, std::size_t nameCapacity,
                                                 std::size_t dataCapacity) {
    if (const SysError allowed = Allowed(RightQuery); allowed != SysError::Success) {
        return allowed;
    }
    const Result<TreeValue> stored = ValueAt(index);
    if (!stored) {
        return stored.Error();
    }
    NamedRegistryValue named{ToWtf8(stored->name), ToAnsi(*stored)};
    if (stored->name.size() >= nameCapacity || !FitsInto(dataCapacity, *stored, named.value)) {
        return SysError::MoreData;
    }
    return named;
}

}  // namespace kel::offline
