#include "windows/WindowsFiles.h"

#include <windows.h>
// After windows.h.
#include <shlwapi.h>

#include "windows/LongPath.h"
#include "windows/Win32.h"

// The header makes the plain name an alias of one of its two calls.
#undef PathIsDirectory

namespace kel::windows {

namespace {

using platform::FindData;
using platform::Result;
using platform::SysError;

platform::FileTime Whole(const FILETIME& time) {
    return (static_cast<platform::FileTime>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

void Fill(FindData& entry, const WIN32_FIND_DATAA& found) {
    entry.attributes = found.dwFileAttributes;
    entry.size = (static_cast<std::uint64_t>(found.nFileSizeHigh) << 32) | found.nFileSizeLow;
    entry.creation = Whole(found.ftCreationTime);
    entry.lastAccess = Whole(found.ftLastAccessTime);
    entry.lastWrite = Whole(found.ftLastWriteTime);
    entry.name = found.cFileName;
    entry.alternateName = found.cAlternateFileName;
}

class WindowsFind final : public platform::Find {
public:
    explicit WindowsFind(FindHandle handle) : handle_(std::move(handle)) {}

    SysError Next(FindData& entry) override {
        WIN32_FIND_DATAA found;
        if (::FindNextFileA(handle_.Get(), &found) == FALSE) {
            return LastError();
        }
        Fill(entry, found);
        return SysError::Success;
    }

private:
    FindHandle handle_;
};

}  // namespace

bool WindowsFiles::PathExists(std::string_view path) {
    return ::PathFileExistsA(std::string(path).c_str()) != FALSE;
}

int WindowsFiles::PathIsDirectory(std::string_view path) {
    return ::PathIsDirectoryA(std::string(path).c_str());
}

Result<std::uint32_t> WindowsFiles::Attributes(std::string_view path) {
    const DWORD attributes = ::GetFileAttributesA(std::string(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return LastError();
    }
    return static_cast<std::uint32_t>(attributes);
}

SysError WindowsFiles::SetAttributes(std::string_view path, std::uint32_t attributes) {
    DWORD settable = attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY);
    if (settable == 0) {
        settable = FILE_ATTRIBUTE_NORMAL;
    }
    return ErrorUnless(::SetFileAttributesA(std::string(path).c_str(), settable));
}

Result<std::unique_ptr<platform::Find>> WindowsFiles::FindFirst(std::string_view pattern, FindData& first) {
    WIN32_FIND_DATAA found;
    FindHandle handle(::FindFirstFileA(std::string(pattern).c_str(), &found));
    if (!handle) {
        return LastError();
    }
    Fill(first, found);
    return std::unique_ptr<platform::Find>(std::make_unique<WindowsFind>(std::move(handle)));
}

SysError WindowsFiles::Remove(std::string_view path) {
    return ErrorUnless(::DeleteFileA(std::string(path).c_str()));
}

SysError WindowsFiles::Rename(std::string_view from, std::string_view to) {
    return ErrorUnless(::MoveFileA(std::string(from).c_str(), std::string(to).c_str()));
}

SysError WindowsFiles::MakeFolder(std::string_view path) {
    return ErrorUnless(::CreateDirectoryA(std::string(path).c_str(), nullptr));
}

SysError WindowsFiles::RemoveFolder(std::string_view path) {
    return ErrorUnless(::RemoveDirectoryA(std::string(path).c_str()));
}

Result<std::string> WindowsFiles::LongPath(std::string_view path) {
    return LongPathOf(std::string(path));
}

Result<std::string> WindowsFiles::ShortPath(std::string_view path) {
    const std::string text(path);
    std::string buffer(MAX_PATH, '\0');
    for (;;) {
        const DWORD length = ::GetShortPathNameA(text.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
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

std::vector<std::string> WindowsFiles::LogicalDrives() {
    std::string roots(::GetLogicalDriveStringsA(0, nullptr), '\0');
    roots.resize(::GetLogicalDriveStringsA(static_cast<DWORD>(roots.size()), roots.data()));
    std::vector<std::string> drives;
    for (std::size_t start = 0; start < roots.size();) {
        drives.emplace_back(roots.c_str() + start);
        start += drives.back().size() + 1;
    }
    return drives;
}

platform::DriveKind WindowsFiles::DriveType(std::string_view root) {
    return static_cast<platform::DriveKind>(::GetDriveTypeA(std::string(root).c_str()));
}

bool WindowsFiles::MatchSpec(std::string_view name, std::string_view spec) {
    return ::PathMatchSpecW(Widen(name).c_str(), Widen(spec).c_str()) != FALSE;
}

std::string WindowsFiles::CurrentFolder() {
    std::string folder(::GetCurrentDirectoryA(0, nullptr), '\0');
    folder.resize(::GetCurrentDirectoryA(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

SysError WindowsFiles::SetCurrentFolder(std::string_view path) {
    return ErrorUnless(::SetCurrentDirectoryA(std::string(path).c_str()));
}

}  // namespace kel::windows
