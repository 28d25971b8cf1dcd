// The registry of a machine that does not run, over the files that hold it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "hive/RegistryTree.h"
#include "offline/RegistryNamespace.h"
#include "platform/Registry.h"

namespace kel::offline {

class OfflineKey;

/// HKEY_LOCAL_MACHINE is `MACHINE` of the name space, HKEY_USERS is `USER`, HKEY_CURRENT_USER the chosen user below
/// it. HKEY_CLASSES_ROOT shows the chosen user's `Software\Classes` over the machine's: what both have is the user's,
/// and a write goes to the user's key where there is one. Text is UTF-8. Open keys must not outlive it.
class OfflineRegistry : public platform::Registry {
public:
    /// A registry without any file.
    OfflineRegistry();
    ~OfflineRegistry() override;

    /// Takes over a registry file and mounts a key of it. `path` begins with MACHINE or USER.
    RegistryTree& Add(const KeyPath& path, std::unique_ptr<RegistryTree> tree);
    /// Mounts another key of a file that was added.
    void Mount(const KeyPath& path, RegistryTree& tree, KeyPath inside);
    /// The subkey of HKEY_USERS that is the current user's.
    void SetCurrentUser(std::u16string sid) { user_ = std::move(sid); }
    /// Writes are refused with SysError::WriteProtect unless this is set.
    void SetWritable(bool writable) { writable_ = writable; }
    [[nodiscard]] bool Empty() const { return trees_.empty(); }

    platform::Result<std::unique_ptr<platform::RegistryKey>> Open(platform::Hive hive, std::string_view key,
                                                                  std::uint32_t access) override;
    platform::Result<std::unique_ptr<platform::RegistryKey>> Create(platform::Hive hive, std::string_view key) override;
    platform::SysError RemoveKey(platform::Hive hive, std::string_view key) override;
    platform::SysError Commit() override;
    void Discard() override;
    std::optional<std::uint64_t> ChangesBelow(std::string_view name) override;

private:
    friend class OfflineKey;

    /// Where a key of a hive may lie, the place that wins first.
    [[nodiscard]] std::vector<KeyPath> Layers(platform::Hive hive) const;
    platform::SysError Remove(const std::vector<KeyPath>& layers, const KeyPath& below);
    /// To be told before each change of the key there.
    void Changes(const KeyPath& path);

    /// A component that somebody keeps what lies below of, and the number of its latest change.
    struct Watched {
        std::u16string name;
        std::uint64_t change = 0;
    };

    RegistryNamespace names_;
    std::vector<std::unique_ptr<RegistryTree>> trees_;
    std::u16string user_;
    bool writable_ = false;
    std::uint64_t generation_ = 0;  // counts changes, for the listings that open keys keep
    std::vector<Watched> watched_;
    std::unordered_set<OfflineKey*> open_;
};

}  // namespace kel::offline
