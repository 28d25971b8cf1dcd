#include "windows/WindowsComponents.h"

#include <windows.h>
// After windows.h.
#include <ole2.h>

#include <array>
#include <string>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Result;
using platform::SysError;

constexpr DWORD LongestRun = 60000;

struct LibraryPolicy {
    using Handle = HMODULE;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { ::FreeLibrary(handle); }
};
using Library = Owned<LibraryPolicy>;

// Registration entry points expect a thread that may use components.
class ComponentThread {
public:
    ComponentThread() : initialized_(SUCCEEDED(::OleInitialize(nullptr))) {}
    ~ComponentThread() {
        if (initialized_) {
            ::OleUninitialize();
        }
    }
    ComponentThread(const ComponentThread&) = delete;
    ComponentThread& operator=(const ComponentThread&) = delete;

private:
    bool initialized_;
};

Result<std::int32_t> Run(std::string command) {
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    if (::CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr, &startup,
                         &started) == FALSE) {
        return LastError();
    }
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    if (::WaitForSingleObject(process.Get(), LongestRun) != WAIT_OBJECT_0) {
        ::TerminateProcess(process.Get(), ERROR_TIMEOUT);
        return static_cast<SysError>(ERROR_TIMEOUT);
    }
    DWORD code = 0;
    if (::GetExitCodeProcess(process.Get(), &code) == FALSE) {
        return LastError();
    }
    return static_cast<std::int32_t>(code);
}

Result<std::int32_t> RunRegistrationProgram(const std::string& path, const char* options) {
    std::array<char, MAX_PATH> folder{};
    if (::GetSystemDirectoryA(folder.data(), MAX_PATH) == 0) {
        return LastError();
    }
    return Run("\"" + std::string(folder.data()) + "\\regsvr32.exe\" " + options + " \"" + path + "\"");
}

Result<std::int32_t> Call(std::string_view path, const char* entryPoint, const char* options) {
    const std::string name(path.substr(0, path.find('\0')));
    const ComponentThread thread;
    // Its own folder is searched for what it needs, not this program's.
    const Library library(::LoadLibraryExA(name.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!library) {
        const SysError error = LastError();
        return error == SysError::BadExeFormat ? RunRegistrationProgram(name, options) : Result<std::int32_t>(error);
    }
    using Function = HRESULT(STDAPICALLTYPE*)();
    // Through void (*)(): the one function type that GCC converts from and to without a warning.
    const auto function =
        reinterpret_cast<Function>(reinterpret_cast<void (*)()>(::GetProcAddress(library.Get(), entryPoint)));
    if (function == nullptr) {
        return LastError();
    }
    return static_cast<std::int32_t>(function());
}

}  // namespace

Result<std::int32_t> WindowsComponents::Register(std::string_view path) {
    return Call(path, "DllRegisterServer", "/s");
}

Result<std::int32_t> WindowsComponents::Unregister(std::string_view path) {
    return Call(path, "DllUnregisterServer", "/s /u");
}

}  // namespace kel::windows
