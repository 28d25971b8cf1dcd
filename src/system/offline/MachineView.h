// What kind of machine a directory is, and what its registry says of it: users, Windows folder, version, folders.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "offline/DiskRegistry.h"
#include "offline/OfflinePlatform.h"

namespace kel::offline {

/// What a directory is: a Wine prefix has `system.reg` and `drive_c`; a Windows disk has its registry in the Windows
/// folder's `System32\config`; everything else, and an empty path, is a bare folder. Throws OpenError when the path is
/// not empty and no folder.
[[nodiscard]] MachineKind DetectKind(const std::filesystem::path& machine);

/// The machine's drives: C: for a Wine prefix's `drive_c` or for any other folder, and the drives of the options, which
/// take the place of one of the same letter. The links of a prefix's `dosdevices` may lead anywhere on the host, so
/// none is followed: name such a drive in the options. In the order of the letters.
[[nodiscard]] std::vector<DriveMapping> MachineDrives(const MachineOptions& options, MachineKind kind);

/// Owns the registry of a machine that does not run, and answers what follows from it. One thread.
class MachineView {
public:
    /// @param files the machine's drives; outlives this object
    /// @param hostPath finds registry files inside the drives
    /// Throws OpenError as OfflinePlatform says.
    MachineView(const MachineOptions& options, platform::Files& files, const HostPathFunction& hostPath);
    ~MachineView();
    MachineView(const MachineView&) = delete;
    MachineView& operator=(const MachineView&) = delete;

    [[nodiscard]] MachineKind Kind() const;
    /// Users by name, the chosen one first. Empty where no user can be told.
    [[nodiscard]] std::vector<std::string> Users() const;
    /// For people: what of the registry was brought up to date from logs, is damaged or was left out.
    [[nodiscard]] const std::vector<std::string>& Notes() const;
    /// The Windows folder without a trailing backslash (`C:\WINDOWS`).
    [[nodiscard]] const std::string& WindowsFolder() const;

    /// Never refuses to open, but on a bare folder it holds no key.
    [[nodiscard]] platform::Registry& Registry();
    [[nodiscard]] bool HasRegistry() const;
    [[nodiscard]] platform::SystemInfo& System();
    /// The number of its ANSI code page, as the registry has it; empty where that does not tell.
    [[nodiscard]] std::string CodePage();
    /// What Shell::SpecialFolder answers.
    [[nodiscard]] platform::Result<std::string> SpecialFolder(int identifier);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::offline
