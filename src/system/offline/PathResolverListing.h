// What a folder of the host holds, in the order and under the names that the machine shows.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "offline/PathResolverSyntax.h"
#include "platform/Result.h"

namespace kel::offline {

/// The entries of one folder without `.` and `..`, sorted by folded name, names that differ by case only by their
/// bytes. Compact: a folder of 100,000 files takes some megabytes.
class Listing {
public:
    /// Reads the folder in one pass.
    static platform::Result<std::shared_ptr<Listing>> Read(int folder);

    /// The kind that the host's listing gave: DT_REG, DT_DIR and their like; DT_UNKNOWN when it gave none.
    [[nodiscard]] unsigned char Kind(std::size_t index) const { return entries_[index].kind; }

    [[nodiscard]] std::size_t Size() const { return entries_.size(); }
    /// The name as the machine shows it, with a code 0 behind it.
    [[nodiscard]] std::string_view Name(std::size_t index) const;
    /// Whether the host has the same name for it.
    [[nodiscard]] bool IsPlain(std::size_t index) const { return entries_[index].plain; }
    [[nodiscard]] std::string_view Folded(std::size_t index) const;
    [[nodiscard]] std::uint64_t Inode(std::size_t index) const { return entries_[index].inode; }

    /// The entry of that name without regard to case; of several the exact one, else the first.
    [[nodiscard]] std::optional<std::size_t> Find(std::string_view name) const;
    /// The entry with that made-up 8.3 name.
    [[nodiscard]] std::optional<std::size_t> FindShort(std::string_view name);
    [[nodiscard]] std::optional<std::size_t> FindInode(std::uint64_t inode) const;
    /// The made-up 8.3 name of an entry; empty where its own name is one.
    [[nodiscard]] const std::string& ShortName(std::size_t index);

    void Add(std::string_view name, std::uint64_t inode);
    /// Removes exactly that name.
    void Remove(std::string_view name);

private:
    struct Entry {
        std::uint64_t inode;
        std::uint32_t name;    // into text_
        std::uint32_t folded;  // into text_; the same where the name is in upper case already
        std::uint16_t nameLength;
        std::uint16_t foldedLength;
        unsigned char kind;  // of the host
        bool plain;
    };

    Entry Store(std::string_view name, std::uint64_t inode, unsigned char kind) {
        return Store(name, inode, kind, IsPlainName(name));
    }
    Entry Store(std::string_view name, std::uint64_t inode, unsigned char kind, bool plain);
    [[nodiscard]] std::string_view NameOf(const Entry& entry) const;
    [[nodiscard]] std::string_view FoldedOf(const Entry& entry) const;
    void Sort();
    [[nodiscard]] bool Before(const Entry& left, const Entry& right) const;
    void MakeShortNames();

    std::vector<Entry> entries_;
    std::string text_;
    std::size_t dead_ = 0;                   // bytes of text_ that no entry uses any more
    std::vector<std::string> shortNames_;    // empty until asked for, then one for each entry
    std::vector<std::uint32_t> shortOrder_;  // entries with a short name, sorted by it
};

}  // namespace kel::offline
