// Processes, their modules and threads, and priorities, by the calls that the engine uses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Result.h"

namespace kel::platform {

/// One entry of a process snapshot (PROCESSENTRY32).
struct ProcessEntry {
    std::uint32_t id = 0;
    std::uint32_t parentId = 0;
    std::string exeFile;  ///< szExeFile before its first NUL: a bare name on NT, a path on 9x
};

/// Characters of szExeFile. An entry whose field holds no NUL has a name of that length.
inline constexpr std::size_t ExeFileLength = 260;

/// One entry of a thread snapshot (THREADENTRY32).
struct ThreadEntry {
    std::uint32_t id = 0;
    std::uint32_t ownerId = 0;  ///< identifier of its process
};

/// An open process. Closed by its destructor.
class Process {
public:
    virtual ~Process() = default;
    /// GetExitCodeProcess: 259 while the process runs.
    virtual Result<std::uint32_t> ExitCode() = 0;
    /// TerminateProcess.
    virtual SysError End(std::uint32_t exitCode) = 0;
    /// GetProcessTimes: when it started, in units of 100 ns since 1601. CallNotImplemented on 9x.
    virtual Result<std::uint64_t> StartTime() = 0;
};

/// Process access. A platform without running processes answers NotSupported or an empty list. Never throws.
class Processes {
public:
    virtual ~Processes() = default;

    /// CreateToolhelp32Snapshot(2, 0) with Process32First and Process32Next, in the platform's order.
    virtual Result<std::vector<ProcessEntry>> Snapshot() = 0;
    /// CreateToolhelp32Snapshot(8, processId) with Module32First and Module32Next: szExePath of each module, before its
    /// first NUL.
    virtual Result<std::vector<std::string>> SnapshotModules(std::uint32_t processId) = 0;
    /// CreateToolhelp32Snapshot(4, processId) with Thread32First and Thread32Next. Windows ignores the process: the
    /// list holds every thread of the machine.
    virtual Result<std::vector<ThreadEntry>> SnapshotThreads(std::uint32_t processId) = 0;

    /// EnumProcesses with room for `most` identifiers.
    virtual Result<std::vector<std::uint32_t>> Identifiers(std::uint32_t most) = 0;
    /// OpenProcess(1040), EnumProcessModules with room for `most` modules, GetModuleFileNameExA of each into a buffer
    /// of `capacity` characters: the paths as the platform gives them, an empty one where it gives none.
    virtual Result<std::vector<std::string>> ModulePaths(std::uint32_t processId, std::uint32_t most,
                                                         std::uint32_t capacity) = 0;
    /// OpenProcess with `access`, closed at once: Success when it was granted.
    virtual SysError CanOpen(std::uint32_t processId, std::uint32_t access) = 0;
    /// OpenProcess(1040), EnumProcessModules with room for `handleBytes` bytes of handles, GetModuleFileNameExA of
    /// the first module into a buffer of `capacity` characters: its path as the platform gives it.
    virtual Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                std::uint32_t capacity) = 0;
    /// OpenProcess with `access`.
    virtual Result<std::unique_ptr<Process>> Open(std::uint32_t processId, std::uint32_t access) = 0;
    /// OpenThread with `access` and TerminateThread.
    virtual SysError EndThread(std::uint32_t threadId, std::uint32_t access, std::uint32_t exitCode) = 0;
    /// Identifier of the own process.
    virtual std::uint32_t CurrentId() = 0;

    /// SetPriorityClass on the own process. The number is passed on as it is.
    virtual SysError SetPriorityClass(std::uint32_t priorityClass) = 0;
    /// SetThreadPriority on the calling thread. The number is passed on as it is.
    virtual SysError SetThreadPriority(std::int32_t priority) = 0;
};

}  // namespace kel::platform
