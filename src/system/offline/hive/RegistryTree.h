// One registry file as a tree of keys and values: what every kind of registry file (a Wine prefix's text, a regf hive)
// offers to the offline registry. Names are UTF-16 as they are stored, data are raw bytes as they are stored.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace kel::offline {

/// A key of one tree. Stays valid until that key is deleted or changes are discarded.
using KeyId = std::uint32_t;
inline constexpr KeyId NoKey = 0xFFFFFFFFU;

/// A value as stored: text is UTF-16LE with whatever terminator it has.
struct TreeValue {
    std::u16string name;  ///< empty for the default value
    std::uint32_t type = 0;
    std::vector<std::byte> data;
};

/// Names compare by the upcase table of NTFS. Subkeys are listed in the order of that comparison, values in the order
/// of the file. Operations never throw; damage that is met is answered with SysError::RegistryCorrupt or left out, and
/// never loops.
class RegistryTree {
public:
    virtual ~RegistryTree() = default;

    [[nodiscard]] virtual KeyId Root() const = 0;
    /// The direct subkey of that name (one component, no backslash), or NoKey.
    [[nodiscard]] virtual KeyId FindKey(KeyId parent, std::u16string_view name) const = 0;
    [[nodiscard]] virtual std::uint32_t KeyCount(KeyId key) const = 0;
    /// The subkey with that index from 0, or NoKey.
    [[nodiscard]] virtual KeyId KeyAt(KeyId key, std::uint32_t index) const = 0;
    [[nodiscard]] virtual std::u16string KeyName(KeyId key) const = 0;
    [[nodiscard]] virtual std::u16string ClassName(KeyId key) const = 0;
    /// FILETIME of the last write.
    [[nodiscard]] virtual std::uint64_t LastWritten(KeyId key) const = 0;

    /// Whether the key stands for another one, which its value `SymbolicLinkValue` (type 6) names as UTF-16 without a
    /// terminator, from `\Registry\` on.
    [[nodiscard]] virtual bool IsLink(KeyId key) const;

    [[nodiscard]] virtual std::uint32_t ValueCount(KeyId key) const = 0;
    /// NoMoreItems behind the last.
    [[nodiscard]] virtual platform::Result<TreeValue> ValueAt(KeyId key, std::uint32_t index) const = 0;
    /// FileNotFound when there is none of that name.
    [[nodiscard]] virtual platform::Result<TreeValue> FindValue(KeyId key, std::u16string_view name) const = 0;

    /// Makes a direct subkey, or gives the one that is there.
    virtual platform::Result<KeyId> CreateKey(KeyId parent, std::u16string_view name) = 0;
    /// Deletes a direct subkey. AccessDenied when it has subkeys, FileNotFound when it is not there.
    virtual platform::SysError DeleteKey(KeyId parent, std::u16string_view name) = 0;
    virtual platform::SysError SetValue(KeyId key, std::u16string_view name, std::uint32_t type,
                                        std::span<const std::byte> data) = 0;
    /// FileNotFound when there is none.
    virtual platform::SysError DeleteValue(KeyId key, std::u16string_view name) = 0;

    /// Whether something changed since the file was read or committed.
    [[nodiscard]] virtual bool Changed() const = 0;
    /// The part of Commit that takes space and time: the new file is written beside the old one and flushed, and the
    /// old one is untouched. Several trees are prepared first and then committed, so that all change or none. A tree
    /// that can't be split does nothing here.
    virtual platform::SysError Prepare() { return platform::SysError::Success; }
    /// Takes back what Prepare did; the changes stay in memory.
    virtual void Abandon() {}
    /// Writes the file whole: temporary file, fsync, rename, attributes carried over. Refused when the file on disk is
    /// not the one that was read. Nothing is written when nothing changed.
    virtual platform::SysError Commit() = 0;
    /// Goes back to what the file holds.
    virtual void Discard() = 0;
};

/// Deletes a direct subkey with all that is below it; what could be deleted before an error stays deleted.
platform::SysError DeleteTree(RegistryTree& tree, KeyId parent, std::u16string_view name);

inline bool RegistryTree::IsLink(KeyId key) const {
    const auto target = FindValue(key, u"SymbolicLinkValue");
    return target.Ok() && target->type == 6;
}

}  // namespace kel::offline
