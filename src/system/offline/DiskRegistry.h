// The registry of a Windows disk: which hive is what, and where it stands in the name space.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "offline/HiveFile.h"
#include "offline/OfflineRegistry.h"
#include "offline/OfflineSystem.h"
#include "offline/UserProfiles.h"
#include "platform/Files.h"

namespace kel::offline {

/// Gives the host's path behind a path of the machine, if it exists there.
using HostPathFunction = std::function<std::optional<std::filesystem::path>(std::string_view)>;

/// Opens hives with the logs beside them and mounts them as Windows does. A hive that everything rests on (SYSTEM,
/// SOFTWARE, the chosen user's) and can't be read is an OpenError; another one is left out with a note.
class DiskRegistry {
public:
    /// All outlive this object.
    DiskRegistry(OfflineRegistry& registry, platform::Files& files, const HostPathFunction& hostPath)
        : registry_(registry), files_(files), hostPath_(hostPath) {}

    /// Mounts what lies in the folder `config`: the machine's hives, the current control set by `Select`, and that of
    /// the logon screen. Without a trailing backslash.
    void OpenMachine(const std::string& config);
    /// Where `ProfileList` says that profiles lie, in whatever language the Windows is; what it does not say is as in
    /// `usual`.
    [[nodiscard]] ProfileLayout LayoutOf(const OfflineSystem& system, ProfileLayout usual) const;
    /// The people of `ProfileList` whose hive is there, by name.
    /// @param system expands the variables of their folders
    [[nodiscard]] std::vector<UserProfile> ListUsers(const OfflineSystem& system) const;
    /// Mounts the user's hive as the current user's, and that of the user's classes.
    void OpenUser(const UserProfile& user, const OfflineSystem& system);

    /// For people: what was replayed, left out or is damaged.
    [[nodiscard]] const std::vector<std::string>& Notes() const { return notes_; }

private:
    RegistryTree* Add(const KeyPath& point, const std::string& path, bool needed);
    void Note(const HiveFile& hive);
    [[nodiscard]] std::vector<std::string> ClassesHivesOf(const UserProfile& user, const OfflineSystem& system) const;

    OfflineRegistry& registry_;
    platform::Files& files_;
    const HostPathFunction& hostPath_;
    std::vector<std::string> notes_;
};

}  // namespace kel::offline
