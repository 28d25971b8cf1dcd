#include "archive/Unzip.h"

#include <cstddef>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "archive/ZipNames.h"
#include "archive/ZipReader.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::archive {

namespace {

using platform::SysError;

// An entry with the path that it goes to, below the target folder.
struct Target {
    const ZipEntry* entry = nullptr;
    std::string path;
};

// The paths that an archive takes up, so that no two entries meet: not by letter case and not as file and folder.
class TakenPaths {
public:
    explicit TakenPaths(std::size_t limit) : limit_(limit) {}

    UnzipResult Take(const std::string& path, bool isFolder) {
        for (std::size_t end = path.find('\\'); end != std::string::npos; end = path.find('\\', end + 1)) {
            if (const UnzipResult result = TakeFolder(path.substr(0, end)); result != UnzipDone) {
                return result;
            }
        }
        if (isFolder) {
            return TakeFolder(path);
        }
        return isFolder_.emplace(LCase(path), false).second ? Counted() : UnzipOverlap;
    }

    /// In the order in which they have to be made.
    [[nodiscard]] const std::vector<std::string>& Folders() const { return folders_; }

private:
    UnzipResult TakeFolder(std::string path) {
        const auto [place, isNew] = isFolder_.emplace(LCase(path), true);
        if (!isNew) {
            return place->second ? UnzipDone : UnzipOverlap;
        }
        folders_.push_back(std::move(path));
        return Counted();
    }

    [[nodiscard]] UnzipResult Counted() const { return isFolder_.size() > limit_ ? UnzipTooLarge : UnzipDone; }

    std::size_t limit_;
    std::unordered_map<std::string, bool> isFolder_;
    std::vector<std::string> folders_;
};

// A safe path in the machine's code page. Characters that it lacks come as "?", which no name may hold.
std::string OnMachine(std::string_view path) {
    return Replace(platform::Current().text->FromUtf8(path), "?", "_");
}

bool MakeFolder(const std::string& path) {
    const SysError error = platform::Current().files->MakeFolder(path);
    return error == SysError::Success || error == SysError::AlreadyExists;
}

UnzipResult ExtractTo(const ZipReader& reader, const ZipEntry& entry, const std::string& path) {
    auto file = platform::Current().files->Open(path, platform::OpenMode::CreateNew);
    if (!file) {
        return UnzipWriteFailed;
    }
    return reader.Extract(entry,
                          [&](std::span<const std::byte> bytes) { return (*file)->Write(bytes) == SysError::Success; });
}

}  // namespace

UnzipResult Unzip(std::string_view archive, std::string_view folder, const EntryFilter& wanted,
                  const ZipLimits& limits) {
    const auto view = platform::Current().files->View(archive);
    if (!view) {
        return UnzipUnreadable;
    }
    ZipReader reader((*view)->Bytes(), limits);
    if (const UnzipResult result = reader.ReadDirectory(); result != UnzipDone) {
        return result;
    }
    TakenPaths taken(limits.entries);
    std::vector<Target> targets;
    for (const ZipEntry& entry : reader.Entries()) {
        const auto safe = SafePath(entry.name);
        if (!safe) {
            return UnzipUnsafeName;
        }
        std::string path = OnMachine(*safe);
        if (!wanted(path)) {
            continue;
        }
        if (const UnzipResult result = taken.Take(path, entry.isFolder); result != UnzipDone) {
            return result;
        }
        if (!entry.isFolder) {
            targets.push_back({&entry, std::move(path)});
        }
    }
    const std::string root = WithBackslash(folder);
    for (const std::string& path : taken.Folders()) {
        if (!MakeFolder(root + path)) {
            return UnzipWriteFailed;
        }
    }
    for (const Target& target : targets) {
        if (const UnzipResult result = ExtractTo(reader, *target.entry, root + target.path); result != UnzipDone) {
            return result;
        }
    }
    return UnzipDone;
}

}  // namespace kel::archive
