#include "offline/PathResolver.h"

#include <fcntl.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>

#include "offline/OfflineText.h"

namespace kel::offline {

using platform::Result;
using platform::SysError;

namespace {

// Folders kept open, and entries kept listed, beside those in use.
constexpr std::size_t MostFolders = 64;
constexpr std::size_t MostEntries = 400'000;
// Junctions that point at junctions.
constexpr int MostHops = 31;

HostIdentity IdentityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

bool SameTime(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

std::int64_t Nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

std::int64_t NowNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return Nanoseconds(now);
}

// How long after a change a second one can leave the time as it is: a tick of the kernel, or the grain of FAT.
std::int64_t Grain(const timespec& time) {
    return time.tv_nsec % 10'000'000 == 0 ? 2'000'000'000 : 20'000'000;
}

std::optional<std::string> ReparseData(int folder, const std::string& hostName) {
    std::string data(16 * 1024, '\0');
    const ssize_t size =
        lgetxattr(ProcPath(folder, hostName).c_str(), "system.ntfs_reparse_data", data.data(), data.size());
    if (size <= 0) {
        return std::nullopt;
    }
    data.resize(static_cast<std::size_t>(size));
    return data;
}

}  // namespace

SysError Folder::Reread() {
    struct stat status {};
    if (fstat(fd_.Get(), &status) != 0) {
        return FromErrno(errno);
    }
    auto listing = Listing::Read(fd_.Get());
    if (!listing) {
        return listing.Error();
    }
    listing_ = *listing;
    modified_ = status.st_mtim;
    // Read so soon after somebody else's change that a second one could hide behind the same time.
    unsettled_ = !SameTime(modified_, ownChange_) && NowNanoseconds() < Nanoseconds(modified_) + Grain(modified_);
    ++generation_;
    return SysError::Success;
}

Result<std::shared_ptr<Listing>> Folder::List() {
    struct stat status {};
    if (fstat(fd_.Get(), &status) != 0) {
        return FromErrno(errno);
    }
    if (status.st_nlink == 0) {
        return SysError::PathNotFound;
    }
    const bool changed = !listing_ || !SameTime(status.st_mtim, modified_);
    if (changed || unsettled_) {
        if (const SysError error = Reread(); error != SysError::Success) {
            return error;
        }
    }
    return listing_;
}

Result<std::string> Folder::Find(const std::string& name) {
    for (int attempt = 0;; ++attempt) {
        auto listing = List();
        if (!listing) {
            return listing.Error();
        }
        if (const auto index = (*listing)->Find(name)) {
            return std::string((*listing)->Name(*index));
        }
        if (auto found = FindShort(**listing, name)) {
            return *std::move(found);
        }
        // A host that folds case by itself, or changes without a new time, knows better than the listing.
        struct stat status {};
        const auto host = HostName(name);
        if (attempt > 0 || !host || fstatat(fd_.Get(), host->c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return SysError::FileNotFound;
        }
        if (const auto index = (*listing)->FindInode(status.st_ino)) {
            return std::string((*listing)->Name(*index));
        }
        listing_.reset();
    }
}

std::optional<std::string> Folder::FindShort(Listing& listing, const std::string& name) {
    if (!IsShortName(name)) {
        return std::nullopt;
    }
    if (drive_->ntfs) {
        // The mount opens 8.3 names in exact upper case.
        struct stat status {};
        if (fstatat(fd_.Get(), FoldName(name).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return std::nullopt;
        }
        const auto index = listing.FindInode(status.st_ino);
        return index ? std::optional<std::string>(listing.Name(*index)) : std::nullopt;
    }
    if (name.find('~') == std::string::npos) {
        return std::nullopt;
    }
    const auto index = listing.FindShort(name);
    return index ? std::optional<std::string>(listing.Name(*index)) : std::nullopt;
}

Listing* Folder::OwnListing() {
    if (!listing_) {
        return nullptr;
    }
    if (listing_.use_count() > 1) {
        listing_ = std::make_shared<Listing>(*listing_);
    }
    return listing_.get();
}

void Folder::Changed() {
    ++drive_->changes;
    struct stat status {};
    if (fstat(fd_.Get(), &status) == 0) {
        modified_ = status.st_mtim;
        ownChange_ = status.st_mtim;
    } else {
        listing_.reset();
    }
}

void Folder::Added(std::string_view name) {
    Listing* listing = OwnListing();
    const auto host = HostName(name);
    struct stat status {};
    if (listing == nullptr || !host || fstatat(fd_.Get(), host->c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        ++drive_->changes;
        listing_.reset();
        return;
    }
    listing->Add(name, status.st_ino);
    Changed();
}

void Folder::Removed(std::string_view name) {
    ++drive_->changes;
    if (Listing* listing = OwnListing(); listing != nullptr) {
        listing->Remove(name);
        Changed();
    }
}

void PathResolver::AddDrive(char letter, const std::filesystem::path& folder, bool hidden) {
    auto drive = std::make_unique<Drive>();
    drive->letter = letter;
    drive->folder = folder;
    drive->hidden = hidden;
    drive->root = HostFd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!drive->root.Valid()) {
        throw std::system_error(errno, std::generic_category());
    }
    drive->ntfs = fgetxattr(drive->root.Get(), "system.ntfs_attrib", nullptr, 0) > 0;
    const auto place = std::lower_bound(drives_.begin(), drives_.end(), letter,
                                        [](const auto& other, char wanted) { return other->letter < wanted; });
    if (place != drives_.end() && (*place)->letter == letter) {
        recent_.clear();
        byKey_.clear();
        known_ = {};
        std::swap(*place, drive);
        replaced_.push_back(std::move(drive));  // open enumerations may still look at it
    } else {
        drives_.insert(place, std::move(drive));
    }
}

const Drive* PathResolver::FindDrive(char letter) const {
    for (const auto& drive : drives_) {
        if (drive->letter == letter) {
            return drive.get();
        }
    }
    return nullptr;
}

std::shared_ptr<Folder> PathResolver::Cached(const std::string& key) {
    const auto found = byKey_.find(key);
    if (found == byKey_.end()) {
        return nullptr;
    }
    recent_.splice(recent_.begin(), recent_, found->second);
    return recent_.front();
}

void PathResolver::Remember(const std::shared_ptr<Folder>& folder) {
    if (const auto found = byKey_.find(folder->key_); found != byKey_.end()) {
        recent_.erase(found->second);
        byKey_.erase(found);
    }
    recent_.push_front(folder);
    byKey_[folder->key_] = recent_.begin();
    std::size_t entries = 0;
    std::size_t kept = 0;
    for (auto it = recent_.begin(); it != recent_.end();) {
        entries += (*it)->listing_ ? (*it)->listing_->Size() : 0;
        if (kept > 0 && (kept >= MostFolders || entries > MostEntries)) {
            byKey_.erase((*it)->key_);
            it = recent_.erase(it);
        } else {
            ++kept;
            ++it;
        }
    }
}

Result<std::shared_ptr<Folder>> PathResolver::Root(const Drive& drive) {
    const std::string key(1, drive.letter);
    if (auto cached = Cached(key)) {
        return cached;
    }
    auto folder = std::make_shared<Folder>();
    folder->fd_ = HostFd(openat(drive.root.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    if (!folder->fd_.Valid() || fstat(folder->fd_.Get(), &status) != 0) {
        return FromErrno(errno);
    }
    folder->drive_ = &drive;
    folder->identity_ = IdentityOf(status);
    folder->key_ = key;
    Remember(folder);
    return folder;
}

// `name` is as listed. FileNotFound when it is gone, PathNotFound when it is no folder.
Result<PathResolver::Step> PathResolver::Enter(const std::shared_ptr<Folder>& parent, const std::string& name,
                                               const WindowsPath& parentPath) {
    const std::string host = HostName(name).value_or(std::string());
    const std::string key = parent->key_ + "/" + host;
    if (auto cached = Cached(key)) {
        if (cached->parentGeneration_ == parent->generation_) {
            return Step{cached, {}};
        }
        struct stat status {};
        if (fstatat(parent->Fd(), host.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            IdentityOf(status) == cached->identity_) {
            cached->parentGeneration_ = parent->generation_;
            return Step{cached, {}};
        }
    }
    auto folder = std::make_shared<Folder>();
    folder->fd_ = OpenBeneath(parent->Fd(), host, O_RDONLY | O_DIRECTORY);
    if (!folder->fd_.Valid()) {
        const int error = errno;
        if (error == ELOOP || error == ENOTDIR) {
            if (const auto data = parent->OfDrive().ntfs ? ReparseData(parent->Fd(), host) : std::nullopt) {
                if (auto target = ReparseTarget(*data, parentPath)) {
                    return Step{nullptr, std::move(target)};
                }
            }
            return SysError::PathNotFound;
        }
        return FromErrno(error);
    }
    struct stat status {};
    if (fstat(folder->fd_.Get(), &status) != 0) {
        return FromErrno(errno);
    }
    folder->drive_ = parent->drive_;
    folder->identity_ = IdentityOf(status);
    folder->parentGeneration_ = parent->generation_;
    folder->key_ = key;
    Remember(folder);
    return Step{folder, {}};
}

Result<Place> PathResolver::Locate(const WindowsPath& wanted) {
    WindowsPath path = wanted;
    std::vector<HostIdentity> junctions;  // crossed so far; none leads on twice, so that circles end
    for (;;) {
        const Drive* drive = FindDrive(path.drive);
        if (drive == nullptr) {
            return SysError::PathNotFound;
        }
        auto folder = Root(*drive);
        if (!folder) {
            return folder.Error();
        }
        Place place;
        place.folder = *folder;
        place.exists = true;
        place.path.drive = path.drive;
        place.path.trailingBackslash = path.trailingBackslash;
        std::optional<WindowsPath> goOn;
        for (std::size_t index = 0; index < path.parts.size() && !goOn; ++index) {
            const bool last = index + 1 == path.parts.size();
            auto found = place.folder->Find(path.parts[index]);
            if (!found) {
                if (!last || found.Error() != SysError::FileNotFound) {
                    return found.Error() == SysError::FileNotFound ? SysError::PathNotFound : found.Error();
                }
                place.name = path.parts[index];
                place.exists = false;
            } else {
                place.name = *found;
            }
            if (!last) {
                auto step = Enter(place.folder, place.name, place.path);
                if (!step) {
                    return step.Error() == SysError::FileNotFound ? SysError::PathNotFound : step.Error();
                }
                if (step->junction) {
                    struct stat status {};
                    if (fstatat(place.folder->Fd(), place.OnHost().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
                        std::find(junctions.begin(), junctions.end(), IdentityOf(status)) != junctions.end()) {
                        return SysError::PathNotFound;
                    }
                    junctions.push_back(IdentityOf(status));
                    goOn = *std::move(step->junction);
                    goOn->parts.insert(goOn->parts.end(), path.parts.begin() + static_cast<std::ptrdiff_t>(index) + 1,
                                       path.parts.end());
                    goOn->trailingBackslash = path.trailingBackslash;
                } else {
                    place.folder = step->folder;
                }
            }
            place.wanted = path.parts[index];
            place.path.parts.push_back(place.name);
        }
        if (!goOn) {
            return place;
        }
        path = *std::move(goOn);
    }
}

Result<Place> PathResolver::Locate(std::string_view path, bool wildcards) {
    auto parsed = ParsePath(path, current_, wildcards);
    if (!parsed) {
        return parsed.Error();
    }
    return Locate(*parsed);
}

Result<std::shared_ptr<Folder>> PathResolver::Open(const Place& place) {
    return Open(place, 0);
}

Result<std::shared_ptr<Folder>> PathResolver::Open(const Place& place, int hops) {
    if (hops > MostHops) {
        return SysError::PathNotFound;
    }
    if (place.IsRoot()) {
        return place.folder;
    }
    if (!place.exists) {
        return SysError::PathNotFound;
    }
    WindowsPath parent = place.path;
    parent.parts.pop_back();
    auto step = Enter(place.folder, place.name, parent);
    if (!step) {
        return step.Error() == SysError::FileNotFound ? SysError::PathNotFound : step.Error();
    }
    if (!step->junction) {
        return step->folder;
    }
    auto target = Locate(*step->junction);
    if (!target) {
        return target.Error();
    }
    return Open(*target, hops + 1);
}

void PathResolver::Forget(const Place& place) {
    ++place.OfDrive().changes;
    const std::string key = place.folder->key_ + "/" + place.OnHost();
    for (auto it = recent_.begin(); it != recent_.end();) {
        if ((*it)->key_ == key || (*it)->key_.starts_with(key + "/")) {
            byKey_.erase((*it)->key_);
            it = recent_.erase(it);
        } else {
            ++it;
        }
    }
}

SysError PathResolver::SetCurrent(std::string_view path) {
    auto place = Locate(path);
    if (!place) {
        return place.Error();
    }
    if (!place->exists) {
        return SysError::FileNotFound;
    }
    if (auto folder = Open(*place); !folder) {
        return folder.Error() == SysError::PathNotFound ? SysError::Directory : folder.Error();
    }
    current_ = place->path;
    current_.trailingBackslash = false;
    return SysError::Success;
}

}  // namespace kel::offline
