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
using platform::ThreadEntry;

// NT 4 has no tool help calls, Windows 9x no process status calls, and both have no OpenThread: none may keep the
// program from starting.
template <class Function>
Function Kernel(const char* name) {
    return Import<Function>("kernel32.dll", name);
}

FileHandle TakeSnapshot(DWORD flags, std::uint32_t processId) {
    static const auto create = Kernel<decltype(&::CreateToolhelp32Snapshot)>("CreateToolhelp32Snapshot");
    if (create == nullptr) {
        ::SetLastError(ERROR_NOT_SUPPORTED);
        return {};
    }
    return FileHandle(create(flags, processId));
}

/// A field of a fixed size, before its first NUL.
template <std::size_t Size>
std::string Field(const char (&field)[Size]) {
    return {field, std::find(field, field + Size, '\0')};
}

/// All entries of a snapshot, each through `convert`.
template <class Item, class Entry, class Convert>
Result<std::vector<Item>> Walk(const FileHandle& snapshot, BOOL(WINAPI* first)(HANDLE, Entry*),
                               BOOL(WINAPI* next)(HANDLE, Entry*), Convert convert) {
    if (!snapshot) {
        return LastError();
    }
    if (first == nullptr || next == nullptr) {
        return SysError::NotSupported;
    }
    Entry entry{};
    entry.dwSize = sizeof(entry);
    if (first(snapshot.Get(), &entry) == FALSE) {
        return LastError();
    }
    std::vector<Item> items;
    do {
        items.push_back(convert(entry));
    } while (next(snapshot.Get(), &entry) != FALSE);
    return items;
}

struct ProcessStatus {
    using EnumProcesses = BOOL(WINAPI*)(DWORD*, DWORD, LPDWORD);
    using EnumModules = BOOL(WINAPI*)(HANDLE, HMODULE*, DWORD, LPDWORD);
    using ModuleFileName = DWORD(WINAPI*)(HANDLE, HMODULE, LPSTR, DWORD);
    EnumProcesses enumProcesses = Import<EnumProcesses>("psapi.dll", "EnumProcesses");
    EnumModules enumModules = Import<EnumModules>("psapi.dll", "EnumProcessModules");
    ModuleFileName moduleFileName = Import<ModuleFileName>("psapi.dll", "GetModuleFileNameExA");
    [[nodiscard]] bool Complete() const {
        return enumProcesses != nullptr && enumModules != nullptr && moduleFileName != nullptr;
    }
};

const ProcessStatus& Status() {
    static const ProcessStatus status;
    return status;
}

KernelHandle OpenForReading(std::uint32_t processId) {
    return KernelHandle(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
}

class OpenedProcess : public platform::Process {
public:
    explicit OpenedProcess(KernelHandle handle) : handle_(std::move(handle)) {}

    Result<std::uint32_t> ExitCode() override {
        DWORD code = 0;
        if (::GetExitCodeProcess(handle_.Get(), &code) == FALSE) {
            return LastError();
        }
        return std::uint32_t{code};
    }
    SysError End(std::uint32_t exitCode) override { return ErrorUnless(::TerminateProcess(handle_.Get(), exitCode)); }
    Result<std::uint64_t> StartTime() override {
        FILETIME start{};
        FILETIME unused[3] = {};
        if (::GetProcessTimes(handle_.Get(), &start, &unused[0], &unused[1], &unused[2]) == FALSE) {
            return LastError();
        }
        return (std::uint64_t{start.dwHighDateTime} << 32U) | start.dwLowDateTime;
    }

private:
    KernelHandle handle_;
};

/// The modules of a process whose handles fit in that many bytes.
Result<std::vector<HMODULE>> Modules(const KernelHandle& process, std::size_t handleBytes) {
    std::vector<HMODULE> modules(handleBytes / sizeof(HMODULE) + 1);
    const auto room = static_cast<DWORD>(handleBytes);
    DWORD needed = 0;
    if (Status().enumModules(process.Get(), modules.data(), room, &needed) == FALSE) {
        return LastError();
    }
    // What is needed may be more than there was room for.
    modules.resize(std::min(needed, room) / sizeof(HMODULE));
    return modules;
}

/// Path of a module in a buffer of `capacity` characters.
Result<std::string> ModulePath(const KernelHandle& process, HMODULE module, std::uint32_t capacity) {
    std::string path(std::max<std::uint32_t>(capacity, 1), '\0');
    const DWORD length = Status().moduleFileName(process.Get(), module, path.data(), capacity);
    if (length == 0) {
        return LastError();
    }
    path.resize(std::min<std::size_t>(length, path.size()));
    // A path that was cut may have kept its terminator in the buffer.
    path.resize(std::min(path.find('\0'), path.size()));
    return path;
}

}  // namespace

Result<std::vector<ProcessEntry>> WindowsProcesses::Snapshot() {
    static const auto first = Kernel<decltype(&::Process32First)>("Process32First");
    static const auto next = Kernel<decltype(&::Process32Next)>("Process32Next");
    return Walk<ProcessEntry>(TakeSnapshot(TH32CS_SNAPPROCESS, 0), first, next, [](const PROCESSENTRY32& entry) {
        return ProcessEntry{entry.th32ProcessID, entry.th32ParentProcessID, Field(entry.szExeFile)};
    });
}

Result<std::vector<std::string>> WindowsProcesses::SnapshotModules(std::uint32_t processId) {
    static const auto first = Kernel<decltype(&::Module32First)>("Module32First");
    static const auto next = Kernel<decltype(&::Module32Next)>("Module32Next");
    return Walk<std::string>(TakeSnapshot(TH32CS_SNAPMODULE, processId), first, next,
                             [](const MODULEENTRY32& entry) { return Field(entry.szExePath); });
}

Result<std::vector<ThreadEntry>> WindowsProcesses::SnapshotThreads(std::uint32_t processId) {
    static const auto first = Kernel<decltype(&::Thread32First)>("Thread32First");
    static const auto next = Kernel<decltype(&::Thread32Next)>("Thread32Next");
    return Walk<ThreadEntry>(TakeSnapshot(TH32CS_SNAPTHREAD, processId), first, next, [](const THREADENTRY32& entry) {
        return ThreadEntry{entry.th32ThreadID, entry.th32OwnerProcessID};
    });
}

Result<std::vector<std::uint32_t>> WindowsProcesses::Identifiers(std::uint32_t most) {
    if (!Status().Complete()) {
        return SysError::NotSupported;
    }
    std::vector<DWORD> identifiers(most + std::size_t{1});
    DWORD filled = 0;
    if (Status().enumProcesses(identifiers.data(), static_cast<DWORD>(most * sizeof(DWORD)), &filled) == FALSE) {
        return LastError();
    }
    identifiers.resize(std::min<std::size_t>(filled / sizeof(DWORD), most));
    return std::vector<std::uint32_t>(identifiers.begin(), identifiers.end());
}

Result<std::vector<std::string>> WindowsProcesses::ModulePaths(std::uint32_t processId, std::uint32_t most,
                                                               std::uint32_t capacity) {
    if (!Status().Complete()) {
        return SysError::NotSupported;
    }
    const KernelHandle process = OpenForReading(processId);
    if (!process) {
        return LastError();
    }
    const auto modules = Modules(process, most * sizeof(HMODULE));
    if (!modules) {
        return modules.Error();
    }
    std::vector<std::string> paths;
    for (const HMODULE module : *modules) {
        paths.push_back(ModulePath(process, module, capacity).ValueOr({}));
    }
    return paths;
}

SysError WindowsProcesses::CanOpen(std::uint32_t processId, std::uint32_t access) {
    const KernelHandle process(::OpenProcess(access, FALSE, processId));
    return process ? SysError::Success : LastError();
}

Result<std::string> WindowsProcesses::FirstModulePath(std::uint32_t processId, std::uint32_t handleBytes,
                                                      std::uint32_t capacity) {
    if (!Status().Complete()) {
        return SysError::NotSupported;
    }
    const KernelHandle process = OpenForReading(processId);
    if (!process) {
        return LastError();
    }
    const auto modules = Modules(process, handleBytes);
    if (!modules) {
        return modules.Error();
    }
    if (modules->empty()) {
        return SysError::ModuleNotFound;
    }
    return ModulePath(process, modules->front(), capacity);
}

Result<std::unique_ptr<platform::Process>> WindowsProcesses::Open(std::uint32_t processId, std::uint32_t access) {
    KernelHandle process(::OpenProcess(access, FALSE, processId));
    if (!process) {
        return LastError();
    }
    return std::unique_ptr<platform::Process>(std::make_unique<OpenedProcess>(std::move(process)));
}

SysError WindowsProcesses::EndThread(std::uint32_t threadId, std::uint32_t access, std::uint32_t exitCode) {
    static const auto openThread = Kernel<decltype(&::OpenThread)>("OpenThread");
    if (openThread == nullptr) {
        return SysError::NotSupported;
    }
    const KernelHandle thread(openThread(access, FALSE, threadId));
    return thread ? ErrorUnless(::TerminateThread(thread.Get(), exitCode)) : LastError();
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
