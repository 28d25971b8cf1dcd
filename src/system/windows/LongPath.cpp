#include "windows/LongPath.h"

#include <windows.h>

#include "windows/Win32.h"

namespace kel::windows {

using platform::Result;

Result<std::string> LongPathByFind(const std::string& path) {
    if (::GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return LastError();
    }
    // A drive's root, or server and share of a network path, have no other name.
    std::size_t start = path.size() > 1 && path[1] == ':' ? 2 : 0;
    if (path.starts_with("\\\\")) {
        start = path.find('\\', 2);
        start = start == std::string::npos ? path.size() : std::min(path.find('\\', start + 1), path.size());
    }
    std::string whole = path.substr(0, start);
    while (start < path.size()) {
        if (path[start] == '\\') {
            whole += '\\';
            ++start;
            continue;
        }
        const std::size_t end = std::min(path.find('\\', start), path.size());
        const std::string part = path.substr(start, end - start);
        start = end;
        WIN32_FIND_DATAA found;
        if (part == "." || part == "..") {
            whole += part;
            continue;
        }
        const FindHandle find(::FindFirstFileA((whole + part).c_str(), &found));
        if (!find) {
            return LastError();
        }
        whole += found.cFileName;
    }
    return whole;
}

Result<std::string> LongPathOf(const std::string& path) {
    using Function = DWORD(WINAPI*)(LPCSTR, LPSTR, DWORD);
    static const auto getLongPathName = Import<Function>("kernel32.dll", "GetLongPathNameA");
    if (getLongPathName == nullptr) {
        return LongPathByFind(path);
    }
    std::string buffer(MAX_PATH, '\0');
    for (;;) {
        const DWORD length = getLongPathName(path.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) {
            return LastError();
        }
        const bool fits = length < buffer.size();
        buffer.resize(length);
        if (fits) {
            return buffer;
        }
    }
}

}  // namespace kel::windows
