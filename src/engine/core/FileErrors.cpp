#include "core/FileErrors.h"

namespace kel {

int FileErrorNumber(platform::SysError error) noexcept {
    using platform::SysError;
    switch (error) {
        case SysError::FileNotFound:
            return ErrFileNotFound;
        case SysError::PathNotFound:
            return ErrPathNotFound;
        case SysError::InvalidName:
        case SysError::BadPathName:
        case SysError::FilenameTooLong:
            return ErrBadFileName;
        case SysError::SharingViolation:
        case SysError::LockViolation:
            return ErrPermissionDenied;
        case SysError::AccessDenied:
        case SysError::WriteProtect:
            return ErrPathFileAccess;
        case SysError::FileExists:
        case SysError::AlreadyExists:
            return ErrFileExists;
        case SysError::DiskFull:
        case SysError::HandleDiskFull:
            return ErrDiskFull;
        default:
            return ErrDeviceIo;
    }
}

void RaiseFileError(platform::SysError error, std::string_view path, std::source_location where) {
    Raise(FileErrorNumber(error), path, where);
}

}  // namespace kel
