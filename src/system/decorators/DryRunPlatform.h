// A platform that changes nothing, says what it would have changed, and goes on as if it had.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Platform.h"

namespace kel::decorators {

enum class WriteKind : std::uint8_t {
    FileMade,     ///< a new file, or an existing one emptied
    FileWritten,  ///< bytes or the end of an existing file
    FileMoved,    ///< or renamed; `other` is its new path
    FileRemoved,
    FolderMade,
    FolderMoved,    ///< `other` is its new path
    FolderRemoved,  ///< an empty one
    TreeRemoved,    ///< a folder with its contents, by the shell
    AttributesSet,  ///< of a file or a folder; `other` is their number in decimal
    KeyMade,
    KeyRemoved,
    ValueSet,               ///< `target` is the key, `other` the value's name
    ValueRemoved,           ///< `target` is the key, `other` the value's name
    RegistryCommitted,      ///< changes of the registry put on the disk; no target
    ProcessEnded,           ///< `target` is its identifier in decimal, `other` its program's name where it is known
    ThreadEnded,            ///< `target` is its identifier in decimal
    PriorityChanged,        ///< of this program itself; no target, `other` is the number in decimal
    ServiceControlled,      ///< `target` is its name, `other` the number of the control in decimal
    ProgramStarted,         ///< `other` is its command line
    ComponentRegistered,    ///< `target` is the library
    ComponentUnregistered,  ///< `target` is the library
    FileDownloaded,         ///< `target` is the file, `other` the address
    RestorePointMade,       ///< `target` is its description
    RegistryDiscarded,      ///< changes of the registry since the last commit are forgotten; no target
};

/// One change that was not made.
struct SwallowedWrite {
    WriteKind kind = WriteKind::FileMade;
    std::string target;  ///< an absolute path, a key as `HKEY_LOCAL_MACHINE\Software\X`, or what the kind says
    std::string other;   ///< empty unless the kind says what it is
    std::string text;    ///< ready to be shown, as the table in docs/dry-run.md has it: `delete file C:\X`
};

/// Lets all reads through and keeps every change to itself: later reads through this platform see it, and nothing
/// else does. It never calls an operation of `inner` that writes, for host folders as for the machine's drives, so it
/// may lie over a read-only platform. What answer each operation gives, and what can't be known without writing, is in
/// docs/dry-run.md.
class DryRunPlatform {
public:
    /// Called in the order of the changes, once for each that succeeded; must not call the platform.
    using Listener = std::function<void(const SwallowedWrite&)>;

    /// Bytes written to files that are kept in memory. A write beyond them gives SysError::DiskFull.
    static constexpr std::uint64_t MostBytes = 512ULL << 20U;

    /// The parts of `inner` must outlive this object.
    /// @param listener may be empty
    DryRunPlatform(const platform::Platform& inner, Listener listener);
    ~DryRunPlatform();
    DryRunPlatform(const DryRunPlatform&) = delete;
    DryRunPlatform& operator=(const DryRunPlatform&) = delete;

    /// The parts, valid as long as this object lives. What was opened through them must be closed before it ends.
    /// `can.writable` is true: writes are accepted.
    [[nodiscard]] platform::Platform View() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::decorators
