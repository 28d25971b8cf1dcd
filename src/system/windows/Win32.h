// What the units of this folder share: error numbers, owned handles, calls that an older system lacks.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/SysError.h"

namespace kel::windows {

/// GetLastError after a call that failed. Never Success: a call that set no number has a number of ours.
inline platform::SysError LastError() {
    const DWORD error = ::GetLastError();
    return error == ERROR_SUCCESS ? platform::SysError::FailedWithoutNumber : static_cast<platform::SysError>(error);
}

/// The answer of a call that says TRUE for success.
inline platform::SysError ErrorUnless(BOOL succeeded) {
    return succeeded != FALSE ? platform::SysError::Success : LastError();
}

/// An owned handle. Policy: `Handle`, `Invalid()`, `Close(handle)`.
template <class Policy>
class Owned {
public:
    using Handle = typename Policy::Handle;

    Owned() = default;
    explicit Owned(Handle handle) : handle_(handle) {}
    Owned(Owned&& other) noexcept : handle_(std::exchange(other.handle_, Policy::Invalid())) {}
    Owned& operator=(Owned&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Owned() {
        if (handle_ != Policy::Invalid()) {
            Policy::Close(handle_);
        }
    }

    explicit operator bool() const { return handle_ != Policy::Invalid(); }
    [[nodiscard]] Handle Get() const { return handle_; }
    /// For calls that fill a handle. Only on an empty object.
    [[nodiscard]] Handle* Out() { return &handle_; }

private:
    Handle handle_ = Policy::Invalid();
};

struct FileHandlePolicy {
    using Handle = HANDLE;
    static Handle Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) { ::CloseHandle(handle); }
};
/// Of calls that answer INVALID_HANDLE_VALUE on failure: CreateFileA, CreateToolhelp32Snapshot.
using FileHandle = Owned<FileHandlePolicy>;

struct FindHandlePolicy {
    using Handle = HANDLE;
    static Handle Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) { ::FindClose(handle); }
};
using FindHandle = Owned<FindHandlePolicy>;

struct KernelHandlePolicy {
    using Handle = HANDLE;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { ::CloseHandle(handle); }
};
/// Of calls that answer a null handle on failure: OpenProcess, CreateFileMappingA, OpenProcessToken.
using KernelHandle = Owned<KernelHandlePolicy>;

struct KeyHandlePolicy {
    using Handle = HKEY;
    static Handle Invalid() { return nullptr; }
    static void Close(Handle handle) { ::RegCloseKey(handle); }
};
using KeyHandle = Owned<KeyHandlePolicy>;

/// A function of a library that some versions of the system lack: null there. The library stays loaded.
template <class Function>
Function Import(const char* library, const char* name) {
    static_assert(std::is_pointer_v<Function>);
    HMODULE module = ::GetModuleHandleA(library);
    if (module == nullptr) {
        module = ::LoadLibraryA(library);
    }
    if (module == nullptr) {
        return nullptr;
    }
    // Through void (*)(): the one function type that GCC converts from and to without a warning.
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(::GetProcAddress(module, name)));
}

/// Text in the machine's code page as UTF-16, and back. `flags` as WideCharToMultiByte takes them.
std::wstring Widen(std::string_view text, UINT codePage = CP_ACP);
std::string Narrow(std::wstring_view text, UINT codePage = CP_ACP, DWORD flags = 0);

}  // namespace kel::windows
