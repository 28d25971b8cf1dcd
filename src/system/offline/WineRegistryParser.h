// Reads the text of a Wine registry file into its keys.
#pragma once

#include "offline/WineRegistryFile.h"
#include "offline/WineRegistryText.h"

namespace kel::offline {

/// One pass over the text: every line is checked, keys are entered, values are not kept. Throws OpenError.
class WineRegistryFile::Parser {
public:
    explicit Parser(WineRegistryFile& file);
    void Run();

private:
    void Header();
    void Head();
    void Option();
    void CloseSection(std::size_t end);
    KeyId Enter(std::string_view path);
    KeyId ChildOf(KeyId parent, std::u16string_view name, std::size_t at);
    void GrowTable();
    [[nodiscard]] std::size_t Slot(KeyId parent, std::u16string_view name) const;
    void MergeRepeated();
    [[noreturn]] void Fail(const char* reason, std::size_t at) const;

    WineRegistryFile& file_;
    WineTextReader reader_;
    // Components of the section before this one, as they are written: neighbours share most of their path.
    struct Step {
        std::string_view raw;
        KeyId key;
    };
    std::vector<Step> trail_;
    // Finds children while their lists are not in order yet: open addressing, NoKey is a free slot. The seed keeps a
    // hostile file from choosing names that meet in one place.
    std::vector<KeyId> table_;
    std::uint64_t seed_;
    std::vector<KeyId> unordered_;  // keys whose children came out of order
    std::unordered_map<KeyId, std::vector<TreeValue>> repeated_;
    std::size_t contentEnd_ = 0;
};

}  // namespace kel::offline
