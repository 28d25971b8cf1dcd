// Processes and priorities, by the calls that the engine uses.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Result.h"

namespace kel::platform {

/// One entry of a process snapshot (PROCESSENTRY32).
struct ProcessEntry {
    std::uint32_t id = 0;
    std::uint32_t parentId = 0;
    std::string exeFile;  ///< szExeFile: a bare name on NT, a path on 9x
};

/// Process access. A platform without running processes answers NotSupported or an empty list. Never throws.
class Processes {
public:
    virtual ~Processes() = default;

    /// CreateToolhelp32Snapshot(2, 0) with Process32First and Process32Next, in the platform's order.
    virtual Result<std::vector<ProcessEntry>> Snapshot() = 0;
    /// OpenProcess with `access`, closed at once: Success when it was granted.
    virtual SysError CanOpen(std::uint32_t processId, std::uint32_t access) = 0;
    /// OpenProcess(1040), EnumProcessModules with room for `handleBytes` bytes of handles, GetModuleFileNameExA of
    /// the first module into a buffer of `capacity` characters: its path as the platform gives it.
    virtual Result<std::string> FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                std::uint32_t capacity) = 0;
    /// Identifier of the own process.
    virtual std::uint32_t CurrentId() = 0;

    /// SetPriorityClass on the own process. The number is passed on as it is.
    virtual SysError SetPriorityClass(std::uint32_t priorityClass) = 0;
    /// SetThreadPriority on the calling thread. The number is passed on as it is.
    virtual SysError SetThreadPriority(std::int32_t priority) = 0;
};

}  // namespace kel::platform
