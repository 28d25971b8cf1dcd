// A temporary folder with small registry files in it.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "hive/RegistryTree.h"

namespace kel::test {

/// A folder that is removed with its contents.
class Scratch {
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }
    std::filesystem::path Put(std::string_view name, std::string_view bytes) const;

private:
    std::filesystem::path folder_;
};

[[nodiscard]] std::string Get(const std::filesystem::path& path);

/// A registry file's text: the first lines that every one has, and `keys`.
[[nodiscard]] std::string RegistryFile(std::string_view keys);

/// The key at a path with backslashes, or NoKey.
[[nodiscard]] offline::KeyId KeyAt(const offline::RegistryTree& tree, std::u16string_view path);

/// UTF-16LE bytes of ASCII text, with a terminator.
[[nodiscard]] std::vector<std::byte> Wide(std::string_view text);

}  // namespace kel::test
