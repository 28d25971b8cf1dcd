#include "offline/OfflineShell.h"

#include <string>
#include <utility>
#include <vector>

namespace kel::offline {

using platform::FindData;
using platform::SysError;

namespace {

// Deeper trees than any path of Windows can name are not for the stack.
constexpr int MostLevels = 1000;

// What is left to do of one folder.
struct Level {
    std::string path;  // with a trailing backslash
    std::vector<FindData> entries;
};

std::vector<FindData> EntriesOf(platform::Files& files, const std::string& folder) {
    std::vector<FindData> entries;
    FindData entry;
    auto find = files.FindFirst(folder + "*", entry);
    if (!find) {
        return entries;
    }
    do {
        if (entry.name != "." && entry.name != "..") {
            entries.push_back(entry);
        }
    } while ((*find)->Next(entry) == SysError::Success);
    return entries;
}

bool IsFolder(const FindData& entry) {
    return (entry.attributes & platform::AttributeDirectory) != 0;
}

bool IsLink(const FindData& entry) {
    return (entry.attributes & platform::AttributeReparsePoint) != 0;
}

}  // namespace

// The shell asks before it deletes what is read-only, and is told here not to ask: it deletes it. Links and junctions
// go themselves, never what they point at. The first failure is remembered; the rest is still deleted.
SysError OfflineShell::DeleteTree(const std::string& path, std::uint32_t attributes) {
    SysError failure = SysError::Success;
    const auto note = [&failure](SysError error) {
        if (failure == SysError::Success) {
            failure = error;
        }
    };
    const auto remove = [&](const std::string& entry, std::uint32_t bits) {
        if ((bits & platform::AttributeReadOnly) != 0) {
            files_.SetAttributes(entry, bits & ~static_cast<std::uint32_t>(platform::AttributeReadOnly));
        }
        note((bits & platform::AttributeDirectory) != 0 ? files_.RemoveFolder(entry) : files_.Remove(entry));
    };
    FindData top;
    top.attributes = attributes;
    if (!IsFolder(top) || IsLink(top)) {
        remove(path, attributes);
        return failure;
    }
    std::vector<Level> levels;
    std::vector<std::uint32_t> bits{attributes};
    levels.push_back({path + "\\", EntriesOf(files_, path + "\\")});
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.entries.empty()) {
            const std::string folder = level.path.substr(0, level.path.size() - 1);
            levels.pop_back();
            remove(folder, bits.back());
            bits.pop_back();
            continue;
        }
        const FindData entry = std::move(level.entries.back());
        level.entries.pop_back();
        const std::string child = level.path + entry.name;
        if (!IsFolder(entry) || IsLink(entry)) {
            remove(child, entry.attributes);
        } else if (levels.size() >= MostLevels) {
            note(SysError::FilenameTooLong);
        } else {
            bits.push_back(entry.attributes);
            levels.push_back({child + "\\", EntriesOf(files_, child + "\\")});
        }
    }
    return failure;
}

int OfflineShell::Delete(std::string_view path, std::uint16_t, SysError& lastError) {
    std::string bare(path);
    while (bare.size() > 3 && bare.back() == '\\') {
        bare.pop_back();
    }
    const auto attributes = files_.Attributes(bare);
    lastError = attributes ? DeleteTree(bare, *attributes) : attributes.Error();
    return static_cast<int>(platform::Number(lastError));
}

}  // namespace kel::offline
