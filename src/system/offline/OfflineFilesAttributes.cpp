#include "offline/OfflineFilesAttributes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <optional>
#include <vector>

#include "offline/OfflineFilesHost.h"

namespace kel::offline {

using platform::FileTime;
using platform::FindData;
using platform::Result;
using platform::SysError;

namespace {

constexpr const char* NtfsAttributes = "system.ntfs_attrib";
constexpr const char* NtfsTimes = "system.ntfs_times";
constexpr const char* NtfsDosName = "system.ntfs_dos_name";
constexpr const char* DosAttributes = "user.DOSATTRIB";
constexpr const char* Carried = "user.ombrelane.";

// Attributes that SetFileAttributes can change.
constexpr std::uint32_t Settable = 0x1 | 0x2 | 0x4 | 0x20 | 0x100 | 0x1000 | 0x2000;
// Those that are kept beside a file outside of NTFS; read-only is in a file's mode, archive is always set.
constexpr std::uint32_t KeptForFiles = platform::AttributeHidden | platform::AttributeSystem;
constexpr std::uint32_t KeptForFolders = KeptForFiles | platform::AttributeReadOnly;

constexpr mode_t AnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;

// `path` must be a folder's ProcPath, or a descriptor's own with `follow`.
std::optional<std::string> ReadAttribute(const std::string& path, const char* name, bool follow = false) {
    std::array<char, 128> value{};
    const ssize_t size = (follow ? getxattr : lgetxattr)(path.c_str(), name, value.data(), value.size());
    if (size < 0) {
        return std::nullopt;
    }
    return std::string(value.data(), static_cast<std::size_t>(size));
}

std::uint64_t LittleEndian(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t index = bytes.size(); index > 0; --index) {
        number = number << 8 | static_cast<unsigned char>(bytes[index - 1]);
    }
    return number;
}

FileTime ToFileTime(std::int64_t seconds, std::uint32_t nanoseconds) {
    constexpr std::int64_t epoch = 11'644'473'600;  // seconds from 1601 to 1970
    if (seconds < -epoch) {
        return 0;
    }
    return static_cast<FileTime>(seconds + epoch) * 10'000'000U + nanoseconds / 100U;
}

// "0x22" as Wine and Samba write it; Samba may put binary data behind the text.
std::uint32_t ParseDosAttributes(std::string_view text) {
    std::uint32_t number = 0;
    if (text.starts_with("0x")) {
        std::from_chars(text.data() + 2, text.data() + text.size(), number, 16);
    }
    return number;
}

std::uint32_t PlainAttributes(const std::string& path, mode_t mode) {
    const bool folder = S_ISDIR(mode);
    std::uint32_t attributes = folder          ? platform::AttributeDirectory
                               : S_ISLNK(mode) ? platform::AttributeReparsePoint
                                               : platform::AttributeArchive;
    if (S_ISLNK(mode)) {
        return attributes;
    }
    if ((mode & (folder ? AnyWrite : static_cast<mode_t>(S_IWUSR))) == 0) {
        attributes |= platform::AttributeReadOnly;
    }
    if (const auto stored = ReadAttribute(path, DosAttributes)) {
        attributes |= ParseDosAttributes(*stored) & (folder ? KeptForFolders : KeptForFiles);
    }
    return attributes;
}

// `path` is a descriptor's own, here and below.
SysError StoreNtfs(const std::string& path, std::uint32_t attributes) {
    std::array<char, 4> bytes{};
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        bytes[index] = static_cast<char>(attributes >> (8 * index) & 0xFF);
    }
    return setxattr(path.c_str(), NtfsAttributes, bytes.data(), bytes.size(), 0) == 0 ? SysError::Success
                                                                                      : FromErrno(errno);
}

SysError StorePlain(const std::string& path, std::uint32_t kept) {
    if (kept == 0) {
        if (removexattr(path.c_str(), DosAttributes) != 0 && errno != ENODATA && errno != ENOTSUP) {
            return FromErrno(errno);
        }
        return SysError::Success;
    }
    std::array<char, 16> text{};
    const int length = std::snprintf(text.data(), text.size(), "0x%x", kept);
    if (setxattr(path.c_str(), DosAttributes, text.data(), static_cast<std::size_t>(length), 0) != 0 &&
        errno != ENOTSUP) {
        return FromErrno(errno);
    }
    return SysError::Success;
}

std::vector<std::string> AttributeNames(int fd) {
    std::vector<char> buffer(64 * 1024);
    const ssize_t size = flistxattr(fd, buffer.data(), buffer.size());
    std::vector<std::string> names;
    for (std::size_t at = 0; size > 0 && at < static_cast<std::size_t>(size); at += names.back().size() + 1) {
        names.emplace_back(buffer.data() + at);
    }
    return names;
}

bool CopyAttribute(int from, const std::string& name, int to, const std::string& as) {
    std::vector<char> value(64 * 1024);
    const ssize_t length = fgetxattr(from, name.c_str(), value.data(), value.size());
    return length >= 0 && fsetxattr(to, as.c_str(), value.data(), static_cast<std::size_t>(length), 0) == 0;
}

// What NTFS knows of a file is carried on other file systems under a name of ours, and given back to NTFS.
void CopyNtfs(int from, int to, std::string_view name) {
    const std::string own = "system." + std::string(name);
    const std::string carried = Carried + std::string(name);
    for (const std::string& source : {own, carried}) {
        if (CopyAttribute(from, source, to, own) || CopyAttribute(from, source, to, carried)) {
            return;
        }
    }
}

}  // namespace

Result<FindData> EntryData(int folder, const std::string& name, bool ntfs) {
    struct statx status {};
    if (statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
        return FromErrno(errno);
    }
    const auto time = [](const statx_timestamp& stamp) { return ToFileTime(stamp.tv_sec, stamp.tv_nsec); };
    const std::string path = ProcPath(folder, name);
    FindData data;
    data.size = S_ISREG(status.stx_mode) ? status.stx_size : 0;
    data.lastAccess = time(status.stx_atime);
    data.lastWrite = time(status.stx_mtime);
    data.creation = (status.stx_mask & STATX_BTIME) != 0 ? time(status.stx_btime) : data.lastWrite;
    const auto attributes = ntfs ? ReadAttribute(path, NtfsAttributes) : std::nullopt;
    if (!attributes || attributes->size() != 4) {
        data.attributes = PlainAttributes(path, status.stx_mode);
        return data;
    }
    data.attributes = static_cast<std::uint32_t>(LittleEndian(*attributes));
    // The index flag of NTFS stands where the directory bit belongs; a junction has it too.
    data.attributes &= ~static_cast<std::uint32_t>(platform::AttributeDirectory | platform::AttributeNormal);
    if (S_ISDIR(status.stx_mode) || (LittleEndian(*attributes) & 0x10000010U) != 0) {
        data.attributes |= platform::AttributeDirectory;
    }
    data.attributes &= 0xFFFFU;
    if (data.attributes == 0) {
        data.attributes = platform::AttributeNormal;
    }
    if (const auto times = ReadAttribute(path, NtfsTimes); times && times->size() >= 24) {
        const std::string_view bytes = *times;
        data.creation = LittleEndian(bytes.substr(0, 8));
        data.lastWrite = LittleEndian(bytes.substr(8, 8));
        data.lastAccess = LittleEndian(bytes.substr(16, 8));
    }
    return data;
}

SysError SetEntryAttributes(int folder, const std::string& name, bool ntfs, std::uint32_t attributes) {
    // By a descriptor: changing a mode by name would follow a link that is put there meanwhile.
    const HostFd entry = OpenBeneath(folder, name, O_PATH);
    struct stat status {};
    if (!entry.Valid() || fstat(entry.Get(), &status) != 0) {
        return FromErrno(errno);
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        return SysError::AccessDenied;  // a link has no attributes of its own
    }
    const std::string path = "/proc/self/fd/" + std::to_string(entry.Get());
    const auto stored = ntfs ? ReadAttribute(path, NtfsAttributes, true) : std::nullopt;
    if (stored && stored->size() == 4) {
        const std::uint32_t kept = static_cast<std::uint32_t>(LittleEndian(*stored)) & ~Settable;
        return StoreNtfs(path, kept | (attributes & Settable));
    }
    const bool isFolder = S_ISDIR(status.st_mode);
    const bool readOnly = (attributes & platform::AttributeReadOnly) != 0;
    const mode_t old = status.st_mode & 07777U;
    // Without write permission nothing could be put into a folder, which is not what its attribute means.
    const mode_t mode = readOnly && !isFolder ? old & ~AnyWrite : readOnly ? old : old | S_IWUSR;
    // Write permission first, and taken last: the other attributes need it.
    if ((mode & S_IWUSR) != 0 && mode != old && chmod(path.c_str(), mode) != 0) {
        return FromErrno(errno);
    }
    if (const SysError error = StorePlain(path, attributes & (isFolder ? KeptForFolders : KeptForFiles));
        error != SysError::Success) {
        return error;
    }
    if ((mode & S_IWUSR) == 0 && mode != old && chmod(path.c_str(), mode) != 0) {
        return FromErrno(errno);
    }
    return SysError::Success;
}

std::string NtfsShortName(int folder, const std::string& name) {
    return ReadAttribute(ProcPath(folder, name), NtfsDosName).value_or(std::string());
}

void CopyFileTraits(int from, int to, KeptTimes times) {
    struct stat status {};
    if (fstat(from, &status) != 0) {
        return;
    }
    for (const std::string& name : AttributeNames(from)) {
        if (!name.starts_with("system.") && !name.starts_with(Carried)) {
            CopyAttribute(from, name, to, name);
        }
    }
    if (fchown(to, status.st_uid, status.st_gid) != 0) {
        // Only the superuser may give files away; the copy then belongs to who made it.
    }
    fchmod(to, status.st_mode & 07777U);
    if (times == KeptTimes::All) {
        const std::array<timespec, 2> stamps{status.st_atim, status.st_mtim};
        futimens(to, stamps.data());
    }
    // The mount does not list its own. The times come last, because setting the others is a change too.
    for (const std::string_view name : {"ntfs_acl", "ntfs_attrib", "ntfs_crtime"}) {
        CopyNtfs(from, to, name);
    }
    if (times == KeptTimes::All) {
        CopyNtfs(from, to, "ntfs_times");
    }
}

void CopyShortName(int from, int to) {
    CopyNtfs(from, to, "ntfs_dos_name");
}

void SetNtfsShortName(int folder, const std::string& name, const std::string& shortName) {
    if (!shortName.empty()) {
        lsetxattr(ProcPath(folder, name).c_str(), NtfsDosName, shortName.data(), shortName.size(), 0);
    }
}

}  // namespace kel::offline
