#include "Scratch.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <iterator>

#include "offline/RegistryNamespace.h"
#include "offline/Wtf8.h"

namespace kel::test {

namespace fs = std::filesystem;

Scratch::Scratch() {
    std::string pattern = (fs::temp_directory_path() / "kel-offreg-XXXXXX").string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
}

Scratch::~Scratch() {
    std::error_code ignored;
    fs::permissions(folder_, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(folder_, ignored);
}

fs::path Scratch::Put(std::string_view name, std::string_view bytes) const {
    const fs::path path = folder_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(stream.good()) << path;
    return path;
}

std::string Get(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string RegistryFile(std::string_view keys) {
    return "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n" + std::string(keys);
}

offline::KeyId KeyAt(const offline::RegistryTree& tree, std::u16string_view path) {
    offline::KeyId key = tree.Root();
    for (const std::u16string& name : offline::SplitKeyPath(path)) {
        key = key == offline::NoKey ? key : tree.FindKey(key, name);
    }
    return key;
}

std::vector<std::byte> Wide(std::string_view text) {
    std::u16string units = offline::FromWtf8(text);
    units.push_back(u'\0');
    return offline::BytesFromUnits(units);
}

}  // namespace kel::test
