#include "core/Paths.h"

#include <string>

#include "core/RuntimeError.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel::paths {

namespace {

std::string_view WithoutBackslash(std::string_view path) {
    return path.ends_with('\\') ? path.substr(0, path.size() - 1) : path;
}

}  // namespace

bool FileExists(std::string_view path) {
    return platform::Current().files->PathExists(path);
}

bool FolderExists(std::string_view path) {
    const std::string_view bare = WithoutBackslash(Trim(path));
    if (bare.size() == 2 && bare.back() == ':') {
        return true;
    }
    platform::FindData found;
    return platform::Current().files->FindFirst(bare, found).Ok() &&
           (found.attributes & platform::AttributeDirectory) != 0;
}

bool CreateFolder(std::string_view path) {
    if (path.size() < 2 || FolderExists(path)) {
        return false;
    }
    platform::Current().files->MakeFolder(WithoutBackslash(path));
    return FolderExists(path);
}

std::int32_t CreateFolderPath(std::string_view path) {
    const std::string_view bare = WithoutBackslash(path);
    if (bare.size() < 2 || FolderExists(bare)) {
        return FolderPathMade;
    }
    std::size_t end = 0;
    while (end < bare.size()) {
        const std::size_t separator = bare.find('\\', end);
        end = separator == std::string_view::npos ? bare.size() : separator;
        const std::string_view level = bare.substr(0, end);
        if (!FolderExists(level)) {
            platform::Current().files->MakeFolder(level);
        }
        ++end;
    }
    return FolderExists(bare) ? FolderPathMade : FolderPathFailed;
}

void RaiseFileError(platform::SysError error, std::string_view path, SourceLocation where) {
    using platform::SysError;
    int number = ErrDeviceIo;
    switch (error) {
        case SysError::FileNotFound:
            number = ErrFileNotFound;
            break;
        case SysError::PathNotFound:
        case SysError::NotReady:
            number = ErrPathNotFound;
            break;
        case SysError::FileExists:
        case SysError::AlreadyExists:
            number = ErrFileExists;
            break;
        case SysError::DiskFull:
        case SysError::HandleDiskFull:
            number = ErrDiskFull;
            break;
        case SysError::AccessDenied:
        case SysError::SharingViolation:
        case SysError::LockViolation:
        case SysError::WriteProtect:
            number = ErrPermissionDenied;
            break;
        case SysError::InvalidName:
        case SysError::BadPathName:
            number = ErrBadFileName;
            break;
        default:
            break;
    }
    Raise(number, path, where);
}

}  // namespace kel::paths
