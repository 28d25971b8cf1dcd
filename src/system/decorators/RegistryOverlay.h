// Which keys and values a dry run shows otherwise than the machine has them.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Platform.h"

namespace kel::decorators {

/// One key by one of its names: the one that changes are kept under. The classes of HKEY_CLASSES_ROOT are two of them.
struct KeyPlace {
    platform::Hive hive = 0;
    std::vector<std::string> parts;

    [[nodiscard]] std::string Text() const;  ///< without the hive
    [[nodiscard]] KeyPlace Child(std::string_view name) const;
};

/// A value that was set or, without `data`, removed.
struct ChangedValue {
    std::string name;
    std::optional<platform::RegistryValue> data;
};

struct KeyNode {
    std::string name;
    bool gone = false;
    bool fresh = false;          ///< made here: what the machine has in its place does not show
    std::uint32_t removals = 0;  ///< how often it was deleted, for those who hold it open
    std::vector<ChangedValue> values;
    std::map<std::string, KeyNode> children;  ///< by name in upper case
};

class RegistryOverlay {
public:
    explicit RegistryOverlay(const platform::Platform& inner) : inner_(inner) {}

    [[nodiscard]] bool Empty() const { return hives_.empty(); }
    /// Goes up with each change.
    [[nodiscard]] std::uint64_t Generation() const { return generation_; }
    /// Goes up when changes are forgotten.
    [[nodiscard]] std::uint64_t Epoch() const { return epoch_; }
    /// Changed since the last commit.
    [[nodiscard]] bool Changed() const { return changed_; }

    /// The places of a key; of those that it can be found at the one that wins comes first.
    [[nodiscard]] std::vector<KeyPlace> Places(platform::Hive hive, std::string_view key);

    struct State {
        const KeyNode* node = nullptr;  ///< null when nothing at it or below it was changed
        bool missing = false;           ///< deleted, or never made below one that was
        bool hidden = false;            ///< the machine's key of that name, if any, does not show
        std::uint32_t removals = 0;
    };
    [[nodiscard]] State Look(const KeyPlace& place) const;
    [[nodiscard]] bool Exists(const KeyPlace& place) const;
    [[nodiscard]] std::string Fold(std::string_view name) const { return inner_.text->ToUpper(name); }
    /// The change of a value, if there is one.
    [[nodiscard]] const ChangedValue* FindValue(const KeyNode& node, std::string_view name) const;

    void Create(const KeyPlace& place);
    void Remove(const KeyPlace& place);
    void Set(const KeyPlace& place, std::string_view name, platform::RegistryValue value);
    void RemoveValue(const KeyPlace& place, std::string_view name);

    void Commit();
    void Discard();

private:
    KeyNode& Hold(const KeyPlace& place);
    ChangedValue& HoldValue(const KeyPlace& place, std::string_view name);
    void Touch();
    [[nodiscard]] KeyPlace Settle(KeyPlace place);
    [[nodiscard]] std::string FindCurrentUser();
    [[nodiscard]] std::string FindCurrentControlSet();
    [[nodiscard]] std::string ReadText(platform::Hive hive, std::string_view key, std::string_view name) const;

    platform::Platform inner_;
    std::map<platform::Hive, KeyNode> hives_;
    std::map<platform::Hive, KeyNode> committed_;
    std::uint64_t generation_ = 0;
    std::uint64_t epoch_ = 0;
    bool changed_ = false;
    std::optional<std::string> currentUser_;        // subkey of HKEY_USERS in upper case; empty: not known
    std::optional<std::string> currentControlSet_;  // `CONTROLSET001`; empty: not known
};

}  // namespace kel::decorators
