// One registry file of a Wine prefix (`system.reg`, `user.reg`, `userdef.reg`) as a tree of keys.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hive/RegistryTree.h"
#include "offline/FileReplacement.h"

namespace kel::offline {

/// Keeps the file's text and a node for each key; values are decoded when they are asked for. An ordinary file takes
/// about two and a half times its size in memory, and the limits below bound a hostile one. A commit writes untouched
/// keys as the text that was read, changed ones as Wine would write them.
class WineRegistryFile : public RegistryTree {
public:
    static constexpr std::uint64_t MaximumSize = 1U << 30;  ///< bytes of a file
    static constexpr std::size_t MaximumKeys = 4'000'000;
    static constexpr std::size_t MaximumDepth = 512;  ///< levels below the root

    /// Reads the file. Throws OpenError with the file's name, and the line where its text is wrong.
    /// @param prefix the Wine prefix whose server must not run when something is committed; empty: nothing is asked
    explicit WineRegistryFile(const std::filesystem::path& path, std::filesystem::path prefix = {});
    /// Reads `text` in place of a file. Commit then only renews Text().
    static std::unique_ptr<WineRegistryFile> FromText(std::string text, const std::string& name);
    ~WineRegistryFile() override;

    /// The text as it was read or committed last.
    [[nodiscard]] const std::string& Text() const { return text_; }
    /// What the file says its keys are relative to (`\\User\\S-1-5-21-0-0-0-1000`), with single backslashes.
    [[nodiscard]] std::u16string RelativeTo() const;
    /// The text as Commit would write it.
    [[nodiscard]] std::string Render() const;

    [[nodiscard]] KeyId Root() const override { return 0; }
    [[nodiscard]] KeyId FindKey(KeyId parent, std::u16string_view name) const override;
    [[nodiscard]] std::uint32_t KeyCount(KeyId key) const override;
    [[nodiscard]] KeyId KeyAt(KeyId key, std::uint32_t index) const override;
    [[nodiscard]] std::u16string KeyName(KeyId key) const override;
    [[nodiscard]] std::u16string ClassName(KeyId key) const override;
    [[nodiscard]] std::uint64_t LastWritten(KeyId key) const override;
    [[nodiscard]] bool IsLink(KeyId key) const override;

    [[nodiscard]] std::uint32_t ValueCount(KeyId key) const override;
    [[nodiscard]] platform::Result<TreeValue> ValueAt(KeyId key, std::uint32_t index) const override;
    [[nodiscard]] platform::Result<TreeValue> FindValue(KeyId key, std::u16string_view name) const override;

    platform::Result<KeyId> CreateKey(KeyId parent, std::u16string_view name) override;
    platform::SysError DeleteKey(KeyId parent, std::u16string_view name) override;
    platform::SysError SetValue(KeyId key, std::u16string_view name, std::uint32_t type,
                                std::span<const std::byte> data) override;
    platform::SysError DeleteValue(KeyId key, std::u16string_view name) override;

    [[nodiscard]] bool Changed() const override { return changed_; }
    platform::SysError Prepare() override;
    void Abandon() override;
    platform::SysError Commit() override;
    void Discard() override;

private:
    class Parser;
    struct Rendering;

    struct Node {
        KeyId parent = NoKey;
        std::uint32_t nameAt = 0;  // in names_
        std::uint32_t nameLength = 0;
        std::uint32_t section = NoSection;  // the first one of this key
        std::uint64_t time = 0;
        std::vector<KeyId> children;  // by name
        bool link = false;
        bool touched = false;  // differs from what its sections say
        bool deleted = false;
    };
    // The part of the text that tells one key: from behind the section before it, over its head line, to its end.
    struct Section {
        KeyId key = NoKey;
        std::uint32_t begin = 0;
        std::uint32_t head = 0;
        std::uint32_t body = 0;
        std::uint32_t end = 0;
    };
    static constexpr std::uint32_t NoSection = 0xFFFFFFFFU;

    WineRegistryFile() = default;
    void Parse();
    [[nodiscard]] bool IsKey(KeyId key) const { return key < nodes_.size() && !nodes_[key].deleted; }
    [[nodiscard]] std::u16string_view Name(KeyId key) const;
    [[nodiscard]] std::pair<std::size_t, bool> ChildPosition(KeyId parent, std::u16string_view name) const;
    [[nodiscard]] std::size_t Depth(KeyId key) const;
    KeyId AddKey(KeyId parent, std::u16string_view name, std::size_t position);
    [[nodiscard]] const std::vector<TreeValue>& Values(KeyId key) const;
    [[nodiscard]] std::vector<TreeValue> Decode(const Section& section) const;
    std::vector<TreeValue>& EditableValues(KeyId key);
    void Touch(KeyId key);
    [[nodiscard]] Rendering RenderAll() const;
    void AppendSection(Rendering& rendering, KeyId key, std::string_view lead) const;
    void Adopt(Rendering rendering);

    std::filesystem::path path_;
    std::filesystem::path prefix_;
    std::string name_;  // for messages
    FileIdentity identity_;
    std::string text_;
    std::u16string names_;
    std::vector<Node> nodes_;
    std::vector<Section> sections_;  // in the order of the text
    std::uint32_t headerEnd_ = 0;
    std::unordered_map<KeyId, std::u16string> classes_;
    std::unordered_map<KeyId, std::vector<TreeValue>> edited_;  // values that the text does not tell alone
    mutable KeyId cachedKey_ = NoKey;
    mutable std::vector<TreeValue> cachedValues_;
    bool changed_ = false;
    std::unique_ptr<Rendering> prepared_;
    FileReplacement replacement_;
};

}  // namespace kel::offline
