// A platform on which things go wrong when a test wants them to.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/Platform.h"

namespace kel::decorators {

/// Counts writes and lets some operations fail. A write is everything that changes the machine: writing to an open
/// file, opening for anything but reading, deleting, moving, making folders, setting attributes, the shell's delete,
/// each change of the registry with its commit, a download, ending a process or a thread, and controlling a service. A
/// failing operation changes nothing. Without faults everything is passed on.
class FaultInjectingPlatform {
public:
    /// The parts of `inner` must outlive this object.
    explicit FaultInjectingPlatform(const platform::Platform& inner);
    ~FaultInjectingPlatform();
    FaultInjectingPlatform(const FaultInjectingPlatform&) = delete;
    FaultInjectingPlatform& operator=(const FaultInjectingPlatform&) = delete;

    /// The parts, valid as long as this object lives.
    [[nodiscard]] platform::Platform View() const;

    /// The write with that number, counted from 1 and from now on, fails.
    void FailWrite(std::uint64_t number, platform::SysError error);
    /// That write and all behind it fail: the machine is gone.
    void FailWritesFrom(std::uint64_t number, platform::SysError error);
    /// Writes since the last of the two calls above, or since the beginning; failed ones too.
    [[nodiscard]] std::uint64_t Writes() const;

    /// A program holds the file open: opening, viewing, deleting and moving it give SysError::SharingViolation, as does
    /// deleting or moving a folder above it. Its attributes can be set.
    void Lock(std::string_view path);
    void Unlock(std::string_view path);

    /// After that many more bytes every write to a file gives SysError::DiskFull; the one that passes the limit writes
    /// what fits.
    void DiskFullAfter(std::uint64_t bytes);

    /// Reading the file's bytes fails; it can still be opened, but not viewed.
    void FailReads(std::string_view path, platform::SysError error);

    /// Lists of processes, threads and modules can't be had, by whichever call.
    void FailProcessLists(platform::SysError error);
    /// The process is protected: opening it fails, and with it reading its modules and ending it.
    void FailProcess(std::uint32_t processId, platform::SysError error);
    /// The service control manager can't be opened.
    void FailServices(platform::SysError error);

    /// Takes back all faults. The count goes on.
    void Clear();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kel::decorators
