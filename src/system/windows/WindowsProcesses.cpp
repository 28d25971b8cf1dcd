#include "windows/WindowsProcesses.h"

#include <windows.h>
// After windows.h.
#include <tlhelp32.h>

#include <algorithm>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::ProcessEntry;
using platform::Result;
using platform::SysError;

// NT 4 has no tool help calls and Windows 9x no process status calls: neither may keep the program from starting.
struct ToolHelp {
    decltype(&::CreateToolhelp32Snapshot) snapshot =
        Import<decltype(&::CreateToolhelp32Snapshot)>("kernel32.dll", "CreateToolhelp32Snapshot");
    decltype(&::Process32First) first = Import<decltype(&::Process32First)>("kernel32.dll", "Process32First");
    decltype(&::Process32Next) next = Import<decltype(&::Process32Next)>("kernel32.dll", "Process32Next");
    [[nodiscard]] bool Complete() const { return snapshot != nullptr && first != nullptr && next != nullptr; }
};

struct ProcessStatus {
    using EnumModules = BOOL(WINAPI*)(HANDLE, HMODULE*, DWORD, LPDWORD);
    using ModuleFileName = DWORD(WINAPI*)(HANDLE, HMODULE, LPSTR, DWORD);
    EnumModules enumModules = Import<EnumModules>("psapi.dll", "EnumProcessModules");
    ModuleFileName moduleFileName = Import<ModuleFileName>("psapi.dll", "GetModuleFileNameExA");
    [[nodiscard]] bool Complete() const { return enumModules != nullptr && moduleFileName != nullptr; }
};

}  // namespace

Result<std::vector<ProcessEntry>> WindowsProcesses::Snapshot() {
    static const ToolHelp toolHelp;
    if (!toolHelp.Complete()) {
        return SysError::NotSupported;
    }
    const FileHandle snapshot(toolHelp.snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot) {
        return LastError();
    }
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    if (toolHelp.first(snapshot.Get(), &entry) == FALSE) {
        return LastError();
    }
    std::vector<ProcessEntry> processes;
    do {
        processes.push_back({entry.th32ProcessID, entry.th32ParentProcessID, entry.szExeFile});
    } while (toolHelp.next(snapshot.Get(), &entry) != FALSE);
    return processes;
}

SysError WindowsProcesses::CanOpen(std::uint32_t processId, std::uint32_t access) {
    const KernelHandle process(::OpenProcess(access, FALSE, processId));
    return process ? SysError::Success : LastError();
}

Result<std::string> WindowsProcesses::FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                      std::uint32_t capacity) {
    static const ProcessStatus status;
    if (!status.Complete()) {
        return SysError::NotSupported;
    }
    const KernelHandle process(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
    if (!process) {
        return LastError();
    }
    std::vector<HMODULE> modules(handleBytes / sizeof(HMODULE) + 1);
    DWORD needed = 0;
    if (status.enumModules(process.Get(), modules.data(), handleBytes, &needed) == FALSE) {
        return LastError();
    }
    if (std::min<DWORD>(needed, handleBytes) < sizeof(HMODULE)) {
        return SysError::ModuleNotFound;
    }
    std::string path(std::max<std::uint32_t>(capacity, 1), '\0');
    const DWORD length = status.moduleFileName(process.Get(), modules.front(), path.data(), capacity);
    if (length == 0) {
        return LastError();
    }
    path.resize(std::min<std::size_t>(length, path.size()));
    // A path that was cut may have kept its terminator in the buffer.
    path.resize(std::min(path.find('\0'), path.size()));
    return path;
}

std::uint32_t WindowsProcesses::CurrentId() {
    return ::GetCurrentProcessId();
}

SysError WindowsProcesses::SetPriorityClass(std::uint32_t priorityClass) {
    return ErrorUnless(::SetPriorityClass(::GetCurrentProcess(), priorityClass));
}

SysError WindowsProcesses::SetThreadPriority(std::int32_t priority) {
    return ErrorUnless(::SetThreadPriority(::GetCurrentThread(), priority));
}

}  // namespace kel::windows
