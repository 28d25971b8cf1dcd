#include "scanner/WalkAhead.h"

#include <algorithm>
#include <utility>

#include "core/Text.h"
#include "platform/Platform.h"

namespace kel {

namespace {

using Kind = platform::FolderAhead::Kind;

// No folder with this word in its full path is entered, the engine's own quarantine among them.
constexpr std::string_view Quarantine = "Quarantine";

// Folders of a slow medium that are asked for before they are entered.
constexpr unsigned FoldersAsked = 16;

// Folders that one call lists: whoever waits for it must not wait for a whole drive on which no name fits.
constexpr unsigned FoldersACall = 8;

}  // namespace

bool MayBeEntered(std::string_view name, std::string_view fullPath) {
    return !name.starts_with('.') && name.find("\\..\\") == std::string_view::npos &&
           name.find("\\.\\") == std::string_view::npos && !ContainsText(fullPath, Quarantine);
}

WalkAhead::WalkAhead(std::string start, std::string pattern) : pattern_(std::move(pattern)) {
    Enter(std::move(start));
}

void WalkAhead::Enter(std::string path) {
    if (!path.ends_with('\\')) {
        path += '\\';
    }
    if (auto files = platform::Current().files->Ahead(path)) {
        levels_.push_back({std::make_shared<const AheadFolder>(AheadFolder{std::move(path), std::move(files)})});
    }
}

std::optional<std::string> WalkAhead::PathToEnter(const Level& level, std::size_t index) {
    platform::FolderAhead& files = *level.folder->files;
    if (files.KindOf(index) != Kind::Folder) {
        return std::nullopt;
    }
    const std::string_view name = files.Name(index);
    std::string path = level.folder->path;
    path += name;
    return MayBeEntered(name, path) ? std::optional(std::move(path)) : std::nullopt;
}

void WalkAhead::AskForFolders(Level& level) {
    platform::FolderAhead& files = *level.folder->files;
    level.askedTo = std::max(level.askedTo, level.next);
    for (; level.asked < FoldersAsked && level.askedTo < files.Count(); ++level.askedTo) {
        if (PathToEnter(level, level.askedTo)) {
            files.WillBeEntered(level.askedTo);
            ++level.asked;
        }
    }
}

bool WalkAhead::Next(AheadItem& item, bool slow) {
    unsigned entered = 0;
    while (!levels_.empty()) {
        if (entered == FoldersACall) {
            item = {};
            return true;
        }
        Level& level = levels_.back();
        platform::FolderAhead& files = *level.folder->files;
        if (level.next == files.Count()) {
            level.next = 0;
            if (std::exchange(level.enters, true)) {
                levels_.pop_back();
            }
            continue;
        }
        const std::size_t index = level.next++;
        if (level.enters) {
            if (auto path = PathToEnter(level, index)) {
                level.asked -= index < level.askedTo && level.asked > 0 ? 1 : 0;
                if (slow) {
                    AskForFolders(level);
                }
                Enter(*std::move(path));
                ++entered;
            }
            continue;
        }
        if (files.KindOf(index) == Kind::File &&
            (pattern_.empty() || platform::Current().files->MatchSpec(files.Name(index), pattern_))) {
            item.folder = level.folder;
            item.index = index;
            return true;
        }
    }
    return false;
}

}  // namespace kel
