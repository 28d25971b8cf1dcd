// The folders that were asked for last, by the text that led to them: what a walk asks of each of its files.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <ctime>

#include "offline/PathResolver.h"

namespace kel::offline {

using platform::Result;

namespace {

std::int64_t Tick() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

// A path that is spelled as listed leads to the same names for good; for another one an entry that fits better may come
// up, at the earliest in the next tick unless it is our own.
const PathResolver::Known* PathResolver::Remembered(std::string_view text) const {
    for (const Known& known : known_) {
        if (known.folder && known.text == text &&
            (known.asListed || (known.tick == Tick() && known.changes == known.folder->OfDrive().changes))) {
            return &known;
        }
    }
    return nullptr;
}

std::shared_ptr<Folder> PathResolver::FolderAt(std::string_view text) {
    if (const Known* const known = Remembered(text)) {
        const Folder& folder = *known->folder;
        struct stat status;
        if (folder.IsRoot() ||
            (fstatat(folder.OfDrive().root.Get(), known->onHost.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
             HostIdentity(status.st_dev, status.st_ino) == folder.identity_)) {
            return known->folder;
        }
    }
    if (text.size() < 3 || text[1] != ':' || text[2] != '\\' || text.back() != '\\' ||
        text.find('\0') != std::string_view::npos) {
        return nullptr;
    }
    const std::int64_t tick = Tick();
    const auto place = Locate(text);
    auto folder = place ? Open(*place) : Result<std::shared_ptr<Folder>>(place.Error());
    if (!folder) {
        return nullptr;
    }
    const auto same =
        std::find_if(known_.begin(), known_.end(), [&](const Known& known) { return known.text == text; });
    Known& known = same != known_.end() ? *same : known_[replacedKnown_++ % known_.size()];
    known.text = text;
    known.folder = *folder;
    known.onHost = (*folder)->IsRoot() ? std::string() : (*folder)->key_.substr(2) + "/";
    std::string listed{place->path.drive, ':', '\\'};
    for (const std::string& part : place->path.parts) {
        listed += part + "\\";
    }
    known.asListed = listed == text;
    known.changes = (*folder)->OfDrive().changes;
    known.tick = tick;
    return known.folder;
}

bool PathResolver::StatAtOnce(std::string_view path, struct stat& status) {
    const std::size_t end = path.rfind('\\') + 1;
    const std::string_view name = path.substr(end);
    if (end == 0 || !IsPlainName(name)) {
        return false;
    }
    const std::string_view text = path.substr(0, end);
    const Known* known = Remembered(text);
    if (known == nullptr && (!FolderAt(text) || (known = Remembered(text)) == nullptr)) {
        return false;
    }
    // From the root on, so that the host tells when the folder is another one by now.
    std::array<char, 1024> host;
    if (known->onHost.size() + name.size() >= host.size()) {
        return false;
    }
    const std::size_t folder = known->onHost.copy(host.data(), host.size());
    host[folder + name.copy(host.data() + folder, name.size())] = '\0';
    return fstatat(known->folder->OfDrive().root.Get(), host.data(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace kel::offline
