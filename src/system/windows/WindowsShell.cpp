#include "windows/WindowsShell.h"

#include <windows.h>
// After windows.h.
#include <shellapi.h>

#include <array>

#include "windows/Win32.h"

namespace kel::windows {

namespace {

using platform::Result;
using platform::SysError;

using GetFolderPath = HRESULT(WINAPI*)(HWND, int, HANDLE, DWORD, LPSTR);

// In the shell since 2000 and ME; before that a redistributed library has it.
GetFolderPath FindGetFolderPath() {
    const auto inShell = Import<GetFolderPath>("shell32.dll", "SHGetFolderPathA");
    return inShell != nullptr ? inShell : Import<GetFolderPath>("shfolder.dll", "SHGetFolderPathA");
}

SysError FromResult(HRESULT result) {
    if (HRESULT_FACILITY(result) == FACILITY_WIN32 && HRESULT_CODE(result) != 0) {
        return static_cast<SysError>(HRESULT_CODE(result));
    }
    switch (result) {
        case S_FALSE:  // the identifier is known, its folder is not there
            return SysError::FileNotFound;
        case E_INVALIDARG:
            return SysError::InvalidParameter;
        default:
            return SysError::GeneralFailure;
    }
}

}  // namespace

Result<std::string> WindowsShell::SpecialFolder(int identifier) {
    static const GetFolderPath getFolderPath = FindGetFolderPath();
    if (getFolderPath == nullptr) {
        return SysError::ProcNotFound;
    }
    std::array<char, MAX_PATH> path{};
    const HRESULT result = getFolderPath(nullptr, identifier, nullptr, 0, path.data());
    if (result != S_OK) {
        return FromResult(result);
    }
    return std::string(path.data());
}

int WindowsShell::Delete(std::string_view path, std::uint16_t flags, SysError& lastError) {
    // A list of paths, closed by a second NUL.
    const std::string list = std::string(path.substr(0, path.find('\0'))) + '\0';
    SHFILEOPSTRUCTA operation{};
    operation.wFunc = FO_DELETE;
    operation.pFrom = list.c_str();
    operation.fFlags = flags;
    const int result = ::SHFileOperationA(&operation);
    lastError = static_cast<SysError>(::GetLastError());
    return result;
}

SysError WindowsShell::Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                               int show) {
    constexpr std::intptr_t lastFailure = 32;
    const std::string verb(operation);
    const std::string program(file);
    const std::string line(parameters);
    const auto answer = reinterpret_cast<std::intptr_t>(
        ::ShellExecuteA(nullptr, verb.c_str(), program.c_str(), line.c_str(), nullptr, show));
    if (answer > lastFailure) {
        return SysError::Success;
    }
    return answer == 0 ? SysError::NotEnoughMemory : static_cast<SysError>(answer);
}

}  // namespace kel::windows
