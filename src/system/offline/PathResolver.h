// From paths of the machine to entries of the host, without regard to case and never out of a drive's root.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "offline/OfflineFilesHost.h"
#include "offline/PathResolverListing.h"
#include "offline/PathResolverSyntax.h"
#include "platform/Result.h"

namespace kel::offline {

/// A directory of the host as a drive.
struct Drive {
    char letter = 'C';
    std::filesystem::path folder;
    HostFd root;
    bool hidden = false;                ///< a host folder: not in the list of drives
    bool ntfs = false;                  ///< the mount shows attributes, 8.3 names and times of NTFS
    mutable std::uint64_t changes = 0;  ///< of our own, in any of its folders
};

/// Device and inode.
using HostIdentity = std::pair<std::uint64_t, std::uint64_t>;

/// An open folder with what it holds.
class Folder {
public:
    [[nodiscard]] int Fd() const { return fd_.Get(); }
    [[nodiscard]] const Drive& OfDrive() const { return *drive_; }
    [[nodiscard]] bool IsRoot() const { return key_.size() == 1; }
    /// Reads the folder again if it changed since.
    platform::Result<std::shared_ptr<Listing>> List();
    /// The entry of that name, long or short: its name as listed. FileNotFound when there is none.
    platform::Result<std::string> Find(const std::string& name);

    // After own changes; the listing is kept up to date without reading it again.
    void Added(std::string_view name);
    void Removed(std::string_view name);

private:
    friend class PathResolver;

    [[nodiscard]] platform::SysError Reread();
    [[nodiscard]] std::optional<std::string> FindShort(Listing& listing, const std::string& name);
    /// The listing for a change: a copy when an enumeration holds it.
    [[nodiscard]] Listing* OwnListing();
    void Changed();

    HostFd fd_;
    const Drive* drive_ = nullptr;
    HostIdentity identity_;
    std::shared_ptr<Listing> listing_;
    timespec modified_{};
    timespec ownChange_{};          // the folder's time after the last change of our own
    bool unsettled_ = false;        // the listing is not to be trusted a second time
    std::uint64_t generation_ = 0;  // of the listing; new after each reading
    std::uint64_t parentGeneration_ = 0;
    std::string key_;
};

/// Where a path leads: an entry of a folder, there or not, or a drive's root.
struct Place {
    std::shared_ptr<Folder> folder;  ///< the folder that holds it; of a root the root itself
    std::string name;                ///< as listed, or as asked for when it is not there; empty for a root
    bool exists = false;
    std::string wanted;  ///< the last component as asked for
    WindowsPath path;    ///< with every component as listed

    [[nodiscard]] bool IsRoot() const { return name.empty(); }
    [[nodiscard]] const Drive& OfDrive() const { return folder->OfDrive(); }
    /// The name on the host. Only when it is no root.
    [[nodiscard]] std::string OnHost() const { return HostName(name).value_or(std::string()); }
    /// The host's name for a new entry that is spelled as asked for.
    [[nodiscard]] std::string WantedOnHost() const { return HostName(wanted).value_or(std::string()); }
};

class PathResolver {
public:
    /// Throws std::system_error when the folder can't be opened. A drive of that letter is replaced.
    void AddDrive(char letter, const std::filesystem::path& folder, bool hidden);
    [[nodiscard]] const std::vector<std::unique_ptr<Drive>>& Drives() const { return drives_; }
    [[nodiscard]] const Drive* FindDrive(char letter) const;

    /// Where `path` leads. PathNotFound when a folder on the way is not there.
    platform::Result<Place> Locate(std::string_view path, bool wildcards = false);
    platform::Result<Place> Locate(const WindowsPath& path);
    /// The place, opened as a folder; a junction's target for a junction. PathNotFound when it is none.
    platform::Result<std::shared_ptr<Folder>> Open(const Place& place);

    /// The folder that `text` leads to, an absolute path with a backslash at its end. Null when there is none, and for
    /// other forms of paths. Cheap for the few that were asked for last.
    std::shared_ptr<Folder> FolderAt(std::string_view text);
    /// What is there under exactly that name, in one call and without looking its folder through. False where that
    /// does not tell; the long way may find it.
    bool StatAtOnce(std::string_view path, struct stat& status);

    /// Forgets what is remembered of a folder and all below it, before it is moved or deleted.
    void Forget(const Place& place);

    [[nodiscard]] const WindowsPath& Current() const { return current_; }
    platform::SysError SetCurrent(std::string_view path);

private:
    struct Step {
        std::shared_ptr<Folder> folder;
        std::optional<WindowsPath> junction;  // where to go on instead
    };

    platform::Result<std::shared_ptr<Folder>> Root(const Drive& drive);
    platform::Result<Step> Enter(const std::shared_ptr<Folder>& parent, const std::string& name,
                                 const WindowsPath& parentPath);
    platform::Result<std::shared_ptr<Folder>> Open(const Place& place, int hops);
    std::shared_ptr<Folder> Cached(const std::string& key);
    void Remember(const std::shared_ptr<Folder>& folder);

    // A folder by the text that led to it.
    struct Known {
        std::string text;
        std::shared_ptr<Folder> folder;
        std::string onHost;         // from its drive's root on, with a slash at the end
        bool asListed = false;      // spelled as the host has it
        std::uint64_t changes = 0;  // of the drive
        std::int64_t tick = 0;
    };
    [[nodiscard]] const Known* Remembered(std::string_view text) const;

    std::vector<std::unique_ptr<Drive>> drives_;  // sorted by letter
    std::vector<std::unique_ptr<Drive>> replaced_;
    WindowsPath current_;
    std::array<Known, 4> known_;  // a walk and what reads ahead of it are in two folders at a time
    std::size_t replacedKnown_ = 0;
    std::list<std::shared_ptr<Folder>> recent_;  // the last used first
    std::unordered_map<std::string, std::list<std::shared_ptr<Folder>>::iterator> byKey_;
};

/// The target of a junction or a symbolic link of NTFS as a path of the machine, from its reparse data. Nothing for
/// other data and for targets that no path names.
/// @param parent the folder that holds it, for relative targets
[[nodiscard]] std::optional<WindowsPath> ReparseTarget(std::string_view data, const WindowsPath& parent);

}  // namespace kel::offline
