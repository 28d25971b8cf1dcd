// A Windows machine that does not run: directories as drives, registry files as the registry.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace kel::offline {

/// A directory of the host as a drive of the machine.
struct DriveMapping {
    char letter = 'C';
    std::filesystem::path folder;
};

enum class MachineKind {
    BareFolder,   ///< directories without a registry
    WinePrefix,   ///< a Wine prefix with its text registry
    WindowsDisk,  ///< a Windows system disk
};

/// What is opened, and how.
struct MachineOptions {
    /// A Wine prefix, or the root of a Windows disk (then drive C:), or empty when `drives` tells all. Without either
    /// the machine has no drives but the host folders that are mounted.
    std::filesystem::path machine;
    /// Further drives; every one counts as a fixed drive. A letter here replaces the machine's own.
    std::vector<DriveMapping> drives;
    /// The user whose registry and folders are the current user's; empty: the only one.
    std::string user;
    /// False: the machine's drives and registry refuse writes with SysError::WriteProtect. Host folders never do.
    bool writable = false;
};

/// Opening failed: a message that names what is wrong, for people.
class OpenError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Owns the parts of the platform record that View() gives. One thread.
class OfflinePlatform {
public:
    /// Throws OpenError: no such folder, several users and none chosen (it lists them), an unreadable registry, a live
    /// Wine prefix or a hibernated or read-only disk that was to be writable.
    explicit OfflinePlatform(const MachineOptions& options);
    ~OfflinePlatform();
    OfflinePlatform(const OfflinePlatform&) = delete;
    OfflinePlatform& operator=(const OfflinePlatform&) = delete;

    /// The parts, valid as long as this object lives.
    [[nodiscard]] platform::Platform View();

    /// Mounts a host folder as a drive of its own, from Z: downwards, that the list of drives does not show, always
    /// writable. The same folder is mounted once. Gives its root (`Z:\`). Throws OpenError when it is no folder.
    std::string MountHost(const std::filesystem::path& folder);

    /// The host's path behind a path of the machine, if it exists there.
    [[nodiscard]] std::optional<std::filesystem::path> HostPath(std::string_view path) const;

    [[nodiscard]] MachineKind Kind() const;
    /// Users of the machine by name, the chosen one first.
    [[nodiscard]] std::vector<std::string> Users() const;

    /// For people: what of the machine's registry was brought up to date from logs, is damaged or was left out.
    [[nodiscard]] const std::vector<std::string>& Notes() const;

    /// Called at every DoEvents.
    void OnYield(std::function<void()> function);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::offline
