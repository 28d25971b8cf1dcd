// The platform's error numbers, as the calls behind the seam answer them.
#pragma once

#include <cstdint>

namespace kel::platform {

/// The numbers of GetLastError and of the registry calls. The rules above the seam branch on them, so every
/// platform answers with the number that Windows gives in the same situation. A number without a name here is
/// legal: cast it from std::uint32_t.
enum class SysError : std::uint32_t {
    Success = 0,
    InvalidFunction = 1,
    FileNotFound = 2,
    PathNotFound = 3,
    TooManyOpenFiles = 4,
    AccessDenied = 5,
    InvalidHandle = 6,
    NotEnoughMemory = 8,
    InvalidData = 13,
    NotSameDevice = 17,
    NoMoreFiles = 18,
    WriteProtect = 19,
    NotReady = 21,
    BadLength = 24,
    GeneralFailure = 31,
    SharingViolation = 32,
    LockViolation = 33,
    HandleEof = 38,
    HandleDiskFull = 39,
    NotSupported = 50,
    FileExists = 80,
    CannotMake = 82,
    InvalidParameter = 87,
    BrokenPipe = 109,
    DiskFull = 112,
    CallNotImplemented = 120,
    InsufficientBuffer = 122,
    InvalidName = 123,
    ModuleNotFound = 126,
    ProcNotFound = 127,
    DirNotEmpty = 145,
    BadPathName = 161,
    AlreadyExists = 183,
    BadExeFormat = 193,
    FilenameTooLong = 206,
    MoreData = 234,
    NoMoreItems = 259,
    Directory = 267,
    NoToken = 1008,
    BadDb = 1009,
    BadKey = 1010,
    CannotOpen = 1011,
    CannotRead = 1012,
    CannotWrite = 1013,
    RegistryCorrupt = 1015,
    IoFailed = 1016,
    KeyDeleted = 1018,
    ServiceDoesNotExist = 1060,
    ResourceDataNotFound = 1812,
    ResourceTypeNotFound = 1813,
    ResourceNameNotFound = 1814,
    /// A call that failed and set no number. The bit is the one of numbers that are not the system's own.
    FailedWithoutNumber = 0x20000000,
};

/// The number as the platform counts it.
constexpr std::uint32_t Number(SysError error) noexcept {
    return static_cast<std::uint32_t>(error);
}

}  // namespace kel::platform
