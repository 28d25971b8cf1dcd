#include "windows/WindowsSystemInfo.h"

#include <windows.h>

#include "windows/Win32.h"

namespace kel::windows {

platform::Result<platform::OsVersion> WindowsSystemInfo::Version() {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof(version);
    static_assert(sizeof(version) == 148);
    if (::GetVersionExA(&version) == FALSE) {
        return LastError();
    }
    return platform::OsVersion{version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber,
                               version.dwPlatformId, version.szCSDVersion};
}

std::string WindowsSystemInfo::Environment(std::string_view name) {
    const std::string variable(name);
    std::string value;
    // Again when the variable grew between the two calls.
    for (DWORD room = ::GetEnvironmentVariableA(variable.c_str(), nullptr, 0); room > value.size();) {
        value.resize(room);
        room = ::GetEnvironmentVariableA(variable.c_str(), value.data(), room);
        if (room < value.size()) {
            value.resize(room);
            break;
        }
    }
    return value;
}

}  // namespace kel::windows
