#include "decorators/RegistryOverlay.h"

#include <algorithm>
#include <utility>

namespace kel::decorators {

using platform::Hive;
using platform::RegistryValue;
using platform::SysError;

namespace {

std::vector<std::string> Split(std::string_view path) {
    std::vector<std::string> parts;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('\\'), path.size());
        if (end > 0) {
            parts.emplace_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return parts;
}

}  // namespace

std::string KeyPlace::Text() const {
    std::string text;
    for (const std::string& part : parts) {
        text += text.empty() ? "" : "\\";
        text += part;
    }
    return text;
}

KeyPlace KeyPlace::Child(std::string_view name) const {
    KeyPlace child = *this;
    for (std::string& part : Split(name)) {
        child.parts.push_back(std::move(part));
    }
    return child;
}

std::vector<KeyPlace> RegistryOverlay::Places(Hive hive, std::string_view key) {
    if (hive == platform::HiveClassesRoot) {
        return {KeyPlace{platform::HiveCurrentUser, {"Software", "Classes"}}.Child(key),
                KeyPlace{platform::HiveLocalMachine, {"Software", "Classes"}}.Child(key)};
    }
    return {Settle({hive, Split(key)})};
}

// Three keys have two names: the current user's, his classes, and the current control set.
KeyPlace RegistryOverlay::Settle(KeyPlace place) {
    std::vector<std::string>& parts = place.parts;
    if (place.hive == platform::HiveUsers && !parts.empty()) {
        if (!currentUser_) {
            currentUser_ = FindCurrentUser();
        }
        const std::string name = Fold(parts.front());
        const bool classes = name == *currentUser_ + "_CLASSES";
        if (!currentUser_->empty() && (classes || name == *currentUser_)) {
            place.hive = platform::HiveCurrentUser;
            parts.erase(parts.begin());
            if (classes) {
                parts.insert(parts.begin(), {"Software", "Classes"});
            }
        }
    } else if (place.hive == platform::HiveLocalMachine && parts.size() > 1 && Fold(parts.front()) == "SYSTEM" &&
               Fold(parts[1]).starts_with("CONTROLSET")) {
        if (!currentControlSet_) {
            currentControlSet_ = FindCurrentControlSet();
        }
        if (Fold(parts[1]) == *currentControlSet_) {
            parts[1] = "CurrentControlSet";
        }
    }
    return place;
}

std::string RegistryOverlay::ReadText(Hive hive, std::string_view key, std::string_view name) const {
    const auto open = inner_.registry->Open(hive, key);
    const auto value = open ? (*open)->Query(name) : open.Error();
    return value ? value->data.substr(0, value->data.find('\0')) : std::string();
}

// The only user whose registry is loaded, or the one whose folder is that of the environment.
std::string RegistryOverlay::FindCurrentUser() {
    std::vector<std::string> users;
    const auto all = inner_.registry->Open(platform::HiveUsers, "", platform::AccessEnumerateSubKeys);
    for (std::uint32_t index = 0; all; ++index) {
        const auto name = (*all)->EnumKey(index);
        if (!name) {
            break;
        }
        const std::string folded = Fold(*name);
        if (folded.starts_with("S-1-5-21-") && !folded.ends_with("_CLASSES")) {
            users.push_back(folded);
        }
    }
    if (users.size() == 1) {
        return users.front();
    }
    const std::string folder = Fold(inner_.system->Environment("USERPROFILE"));
    for (const std::string& user : users) {
        const std::string key = "Software\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList\\" + user;
        const std::string profile = Fold(ReadText(platform::HiveLocalMachine, key, "ProfileImagePath"));
        // `%SystemDrive%\Users\Name` as it may be stored.
        if (!folder.empty() &&
            (profile == folder || (profile.starts_with("%SYSTEMDRIVE%") && folder.ends_with(profile.substr(13))))) {
            return user;
        }
    }
    return {};
}

std::string RegistryOverlay::FindCurrentControlSet() {
    const auto open = inner_.registry->Open(platform::HiveLocalMachine, "System\\Select");
    const auto value = open ? (*open)->Query("Current") : open.Error();
    if (!value || value->type != platform::ValueType::Dword || value->data.empty()) {
        return {};
    }
    const std::string number = std::to_string(static_cast<unsigned char>(value->data.front()));
    return "CONTROLSET" + std::string(3 - std::min<std::size_t>(number.size(), 3), '0') + number;
}

RegistryOverlay::State RegistryOverlay::Look(const KeyPlace& place) const {
    State state;
    const auto hive = hives_.find(place.hive);
    if (hive == hives_.end()) {
        return state;
    }
    state.node = &hive->second;
    for (const std::string& part : place.parts) {
        const auto child = state.node->children.find(Fold(part));
        if (child == state.node->children.end()) {
            state.node = nullptr;
            state.missing = state.hidden;
            state.removals = 0;
            return state;
        }
        state.node = &child->second;
        state.removals = state.node->removals;
        state.hidden = state.hidden || state.node->fresh || state.node->gone;
        if (state.node->gone) {
            state.missing = true;
            // Only the key itself was deleted as often.
            state.removals = &part == &place.parts.back() ? state.removals : 1;
            return state;
        }
    }
    return state;
}

bool RegistryOverlay::Exists(const KeyPlace& place) const {
    const State state = Look(place);
    return !state.missing &&
           (state.hidden || inner_.registry->Open(place.hive, place.Text(), platform::AccessEnumerateSubKeys).Error() !=
                                SysError::FileNotFound);
}

const ChangedValue* RegistryOverlay::FindValue(const KeyNode& node, std::string_view name) const {
    const std::string folded = Fold(name);
    const auto found = std::find_if(node.values.begin(), node.values.end(),
                                    [&](const ChangedValue& value) { return Fold(value.name) == folded; });
    return found == node.values.end() ? nullptr : &*found;
}

void RegistryOverlay::Touch() {
    ++generation_;
    changed_ = true;
}

KeyNode& RegistryOverlay::Hold(const KeyPlace& place) {
    KeyNode* node = &hives_[place.hive];
    for (const std::string& part : place.parts) {
        KeyNode& child = node->children[Fold(part)];
        if (child.name.empty()) {
            child.name = part;
        }
        node = &child;
    }
    return *node;
}

// What is not there yet is made from the first missing key down, and then shows nothing of the machine.
void RegistryOverlay::Create(const KeyPlace& place) {
    KeyPlace above{place.hive, {}};
    for (const std::string& part : place.parts) {
        above.parts.push_back(part);
        if (!Exists(above)) {
            KeyNode& node = Hold(above);
            node.name = part;
            node.gone = false;
            node.fresh = true;
        }
    }
    Touch();
}

void RegistryOverlay::Remove(const KeyPlace& place) {
    KeyNode& node = Hold(place);
    node.gone = true;
    node.fresh = false;
    ++node.removals;
    node.values.clear();
    // Its subkeys stay: all of them are deleted, and who holds one open must find that.
    Touch();
}

ChangedValue& RegistryOverlay::HoldValue(const KeyPlace& place, std::string_view name) {
    KeyNode& node = Hold(place);
    const std::string folded = Fold(name);
    for (ChangedValue& value : node.values) {
        if (Fold(value.name) == folded) {
            return value;
        }
    }
    return node.values.emplace_back(ChangedValue{std::string(name), std::nullopt});
}

void RegistryOverlay::Set(const KeyPlace& place, std::string_view name, RegistryValue value) {
    HoldValue(place, name).data = std::move(value);
    Touch();
}

void RegistryOverlay::RemoveValue(const KeyPlace& place, std::string_view name) {
    HoldValue(place, name).data.reset();
    Touch();
}

void RegistryOverlay::Commit() {
    if (changed_) {
        committed_ = hives_;
        changed_ = false;
    }
}

void RegistryOverlay::Discard() {
    if (changed_) {
        hives_ = committed_;
        changed_ = false;
        ++generation_;
        ++epoch_;
    }
}

}  // namespace kel::decorators
