#include "offline/OfflineVersions.h"

#include <algorithm>

#include "offline/ProgramResources.h"
#include "offline/VersionTree.h"

namespace kel::offline {

using platform::Result;

namespace {

Result<std::string> ReadBlock(platform::Files& files, std::string_view path) {
    auto file = files.Open(path, platform::OpenMode::Read);
    if (!file) {
        return file.Error();
    }
    return ReadVersionResource(**file);
}

}  // namespace

Result<std::uint32_t> OfflineVersions::Size(std::string_view path) {
    const auto block = ReadBlock(files_, path);
    if (!block) {
        return block.Error();
    }
    return static_cast<std::uint32_t>(block->size());
}

Result<std::unique_ptr<platform::VersionBlock>> OfflineVersions::Load(std::string_view path, std::uint32_t size) {
    auto block = ReadBlock(files_, path);
    if (!block) {
        return block.Error();
    }
    block->resize(std::min<std::size_t>(block->size(), size));
    return std::unique_ptr<platform::VersionBlock>(std::make_unique<VersionTree>(std::move(block).Value()));
}

}  // namespace kel::offline
