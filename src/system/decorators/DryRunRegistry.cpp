#include "decorators/DryRunRegistry.h"

#include <algorithm>
#include <utility>

#include "decorators/DryRunKey.h"

namespace kel::decorators {

using platform::Hive;
using platform::RegistryKey;
using platform::Result;
using platform::SysError;

namespace {

constexpr std::uint32_t RightCreate = 4;
constexpr std::uint32_t RightDelete = 0x10000;
constexpr std::size_t LongestName = 255;

struct HiveName {
    Hive hive;
    std::string_view name;
};

constexpr HiveName HiveNames[] = {
    {platform::HiveClassesRoot, "HKEY_CLASSES_ROOT"},
    {platform::HiveCurrentUser, "HKEY_CURRENT_USER"},
    {platform::HiveLocalMachine, "HKEY_LOCAL_MACHINE"},
    {platform::HiveUsers, "HKEY_USERS"},
};

}  // namespace

std::string ShownKey(Hive hive, std::string_view key) {
    std::string shown = std::to_string(static_cast<std::uint32_t>(hive));
    for (const HiveName& row : HiveNames) {
        if (row.hive == hive) {
            shown = row.name;
        }
    }
    while (key.ends_with('\\')) {
        key.remove_suffix(1);
    }
    if (!key.empty()) {
        shown += '\\';
        shown += key;
    }
    return shown;
}

DryRunRegistry::DryRunRegistry(const platform::Platform& inner, const DryRunJournal& journal)
    : inner_(inner), journal_(journal), overlay_(inner) {
    const auto version = inner.system->Version();
    rights_ = !version || version->platformId != 1;
}

bool DryRunRegistry::Untouched(const std::vector<KeyPlace>& places) const {
    return overlay_.Empty() || std::all_of(places.begin(), places.end(), [this](const KeyPlace& place) {
               const RegistryOverlay::State state = overlay_.Look(place);
               return state.node == nullptr && !state.missing;
           });
}

bool DryRunRegistry::Refuses(const KeyPlace& place, std::uint32_t right) const {
    return inner_.registry->Open(place.hive, place.Text(), right).Error() == SysError::AccessDenied;
}

Result<std::unique_ptr<RegistryKey>> DryRunRegistry::Open(Hive hive, std::string_view key, std::uint32_t access) {
    if (overlay_.Empty()) {
        // Most keys that a scan asks for are not there.
        auto open = inner_.registry->Open(hive, key, access);
        if (!open) {
            return open.Error();
        }
        return std::unique_ptr<RegistryKey>(std::make_unique<DryRunKey>(*this, overlay_.Places(hive, key),
                                                                        *std::move(open), access, ShownKey(hive, key)));
    }
    std::vector<KeyPlace> places = overlay_.Places(hive, key);
    std::unique_ptr<RegistryKey> whole;
    const bool untouched = Untouched(places) || key.starts_with('\\');
    if (!untouched &&
        std::none_of(places.begin(), places.end(), [this](const KeyPlace& place) { return overlay_.Exists(place); })) {
        return SysError::FileNotFound;
    }
    const bool hidden = !untouched && std::any_of(places.begin(), places.end(), [this](const KeyPlace& place) {
        return overlay_.Look(place).hidden;
    });
    if (!hidden) {
        auto open = inner_.registry->Open(hive, key, access);
        // What was made below one of two places has a key of the machine at neither.
        if (!open && (untouched || places.size() == 1)) {
            return open.Error();
        }
        if (open) {
            whole = *std::move(open);
        }
    }
    return std::unique_ptr<RegistryKey>(
        std::make_unique<DryRunKey>(*this, std::move(places), std::move(whole), access, ShownKey(hive, key)));
}

Result<std::unique_ptr<RegistryKey>> DryRunRegistry::Create(Hive hive, std::string_view key) {
    auto open = Open(hive, key, platform::AccessMaximumAllowed);
    if (open || open.Error() != SysError::FileNotFound) {
        return open;
    }
    std::vector<KeyPlace> places = overlay_.Places(hive, key);
    KeyPlace place = places.back();
    const auto hasParent = [this](KeyPlace child) {
        child.parts.pop_back();
        return overlay_.Exists(child);
    };
    // A new class is the machine's, unless its parent is the user's alone.
    if (places.size() > 1 && !hasParent(place) && hasParent(places.front())) {
        place = places.front();
    }
    if (std::any_of(place.parts.begin(), place.parts.end(),
                    [](const std::string& part) { return part.size() > LongestName; })) {
        return SysError::InvalidParameter;
    }
    KeyPlace above = place;
    while (!above.parts.empty() && !overlay_.Exists(above)) {
        above.parts.pop_back();
    }
    if (!overlay_.Look(above).hidden && Refuses(above, RightCreate)) {
        return SysError::AccessDenied;
    }
    overlay_.Create(place);
    journal_.Add(WriteKind::KeyMade, ShownKey(hive, key));
    return Open(hive, key, platform::AccessMaximumAllowed);
}

bool DryRunRegistry::HasSubKeys(const KeyPlace& place) {
    const auto key = Open(place.hive, place.Text(), platform::AccessEnumerateSubKeys);
    return key && (*key)->EnumKey(0, platform::Unlimited).Ok();
}

SysError DryRunRegistry::Remove(const std::vector<KeyPlace>& places, const std::string& shown) {
    for (const KeyPlace& place : places) {
        if (!overlay_.Exists(place)) {
            continue;
        }
        if (place.parts.empty() || HasSubKeys(place) || (!overlay_.Look(place).hidden && Refuses(place, RightDelete))) {
            return SysError::AccessDenied;
        }
        overlay_.Remove(place);
        journal_.Add(WriteKind::KeyRemoved, shown);
        return SysError::Success;
    }
    return SysError::FileNotFound;
}

SysError DryRunRegistry::RemoveKey(Hive hive, std::string_view key) {
    if (key.empty() || key.starts_with('\\')) {
        const auto open = inner_.registry->Open(hive, key);
        return open ? SysError::AccessDenied : open.Error();
    }
    if (const auto open = inner_.registry->Open(hive, ""); !open) {
        return open.Error();
    }
    return Remove(overlay_.Places(hive, key), ShownKey(hive, key));
}

// On a machine that runs nothing waits for a commit, and nothing can be forgotten.
SysError DryRunRegistry::Commit() {
    if (!inner_.can.live && overlay_.Changed()) {
        overlay_.Commit();
        journal_.Add(WriteKind::RegistryCommitted);
    }
    return SysError::Success;
}

void DryRunRegistry::Discard() {
    if (!inner_.can.live && overlay_.Changed()) {
        overlay_.Discard();
        journal_.Add(WriteKind::RegistryDiscarded);
    }
}

std::optional<std::uint64_t> DryRunRegistry::ChangesBelow(std::string_view name) {
    return overlay_.Empty() ? inner_.registry->ChangesBelow(name) : std::nullopt;
}

}  // namespace kel::decorators
