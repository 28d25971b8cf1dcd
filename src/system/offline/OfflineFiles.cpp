#include "offline/OfflineFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "offline/OfflineFilesAttributes.h"
#include "offline/OfflineFilesFind.h"
#include "offline/OfflineFilesMove.h"
#include "offline/OfflineFilesOpen.h"
#include "offline/OfflineFilesPattern.h"

namespace kel::offline {

using platform::FindData;
using platform::OpenMode;
using platform::Result;
using platform::SysError;

namespace {

constexpr mode_t NewFile = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
constexpr mode_t NewFolder = NewFile | S_IXUSR | S_IXGRP | S_IXOTH;

bool IsFolder(const FindData& data) {
    return (data.attributes & platform::AttributeDirectory) != 0;
}

bool IsReadOnly(const FindData& data) {
    return (data.attributes & platform::AttributeReadOnly) != 0;
}

struct OpenFlags {
    int flags;
    bool make;    // a missing file is made
    bool refuse;  // an existing file is refused
};

// An enumeration, from its first entry on.
Result<std::unique_ptr<platform::Find>> First(std::unique_ptr<platform::Find> find, FindData& first) {
    if (find->Next(first) != SysError::Success) {
        return SysError::FileNotFound;
    }
    return find;
}

OpenFlags FlagsOf(OpenMode mode) {
    switch (mode) {
        case OpenMode::ReadWrite:
            return {O_RDWR, true, false};
        case OpenMode::Create:
            return {O_RDWR | O_TRUNC, true, false};
        case OpenMode::CreateNew:
            return {O_RDWR, true, true};
        case OpenMode::Append:
            return {O_WRONLY | O_APPEND, true, false};
        case OpenMode::Read:
            break;
    }
    return {O_RDONLY, false, false};
}

}  // namespace

void OfflineFiles::AddDrive(char letter, const std::filesystem::path& folder, bool hidden) {
    resolver_.AddDrive(letter, folder, hidden);
}

std::optional<std::filesystem::path> OfflineFiles::HostPath(std::string_view path) {
    auto place = Existing(path);
    if (!place) {
        return std::nullopt;
    }
    std::filesystem::path host = place->OfDrive().folder;
    for (const std::string& part : place->path.parts) {
        host /= HostName(part).value_or(std::string());
    }
    return host;
}

bool OfflineFiles::IsFileAtOnce(std::string_view path, struct stat& status) {
    return resolver_.StatAtOnce(path, status) && S_ISREG(status.st_mode);
}

Result<Place> OfflineFiles::Existing(std::string_view path) {
    auto place = resolver_.Locate(path);
    if (!place) {
        return place.Error();
    }
    if (!place->exists) {
        return SysError::FileNotFound;
    }
    if (place->path.trailingBackslash && !place->IsRoot()) {
        auto data = Data(*place);
        if (data && !IsFolder(*data)) {
            return SysError::InvalidName;
        }
    }
    return place;
}

Result<FindData> OfflineFiles::Data(const Place& place) {
    return EntryData(place.folder->Fd(), place.IsRoot() ? "." : place.OnHost(), place.OfDrive().ntfs);
}

bool OfflineFiles::PathExists(std::string_view path) {
    struct stat status;
    return IsFileAtOnce(path, status) || Existing(path).Ok();
}

int OfflineFiles::PathIsDirectory(std::string_view path) {
    struct stat status;
    if (IsFileAtOnce(path, status)) {
        return 0;
    }
    const auto attributes = Attributes(path);
    return attributes.Ok() && (*attributes & platform::AttributeDirectory) != 0 ? 16 : 0;
}

Result<std::uint32_t> OfflineFiles::Attributes(std::string_view path) {
    auto place = Existing(path);
    if (!place) {
        return place.Error();
    }
    auto data = Data(*place);
    if (!data) {
        return data.Error();
    }
    return data->attributes;
}

SysError OfflineFiles::SetAttributes(std::string_view path, std::uint32_t attributes) {
    auto place = Existing(path);
    if (!place) {
        return place.Error();
    }
    return SetEntryAttributes(place->folder->Fd(), place->IsRoot() ? "." : place->OnHost(), place->OfDrive().ntfs,
                              attributes);
}

Result<std::unique_ptr<platform::Find>> OfflineFiles::FindFirst(std::string_view pattern, FindData& first) {
    return Enumerate(pattern, first, FindDetail::All);
}

Result<std::unique_ptr<platform::Find>> OfflineFiles::FindNames(std::string_view pattern, FindData& first) {
    return Enumerate(pattern, first, FindDetail::Names);
}

Result<std::unique_ptr<platform::Find>> OfflineFiles::Enumerate(std::string_view pattern, FindData& first,
                                                                FindDetail detail) {
    constexpr std::string_view AllOf = "\\*.*";
    if (detail == FindDetail::Names && pattern.ends_with(AllOf)) {
        const auto folder = resolver_.FolderAt(pattern.substr(0, pattern.size() - AllOf.size() + 1));
        const auto listing = folder ? folder->List() : SysError::PathNotFound;
        if (listing) {
            // One that tells its names and nothing else of them is no folder to walk.
            if (faccessat(folder->Fd(), ".", X_OK, AT_EACCESS) != 0) {
                return FromErrno(errno);
            }
            return First(std::make_unique<PatternFind>(folder, *listing, FindPattern("*.*"), folder->IsRoot(), detail),
                         first);
        }
    }
    auto place = resolver_.Locate(pattern, true);
    if (!place) {
        return place.Error();
    }
    if (place->IsRoot() || place->path.trailingBackslash) {
        return SysError::FileNotFound;
    }
    auto listing = place->folder->List();
    if (!listing) {
        return listing.Error();
    }
    if (!FindPattern::IsPattern(place->name)) {
        const auto index = place->exists ? (*listing)->Find(place->name) : std::nullopt;
        if (!index) {
            return SysError::FileNotFound;
        }
        auto data = DescribeEntry(*place->folder, **listing, *index);
        if (!data) {
            return data.Error();
        }
        first = *std::move(data);
        return std::unique_ptr<platform::Find>(std::make_unique<SingleFind>());
    }
    const bool root = place->path.parts.size() == 1;
    return First(std::make_unique<PatternFind>(place->folder, *listing, FindPattern(place->name), root, detail), first);
}

SysError OfflineFiles::Remove(std::string_view path) {
    auto place = Existing(path);
    if (!place) {
        return place.Error();
    }
    auto data = Data(*place);
    if (!data) {
        return data.Error();
    }
    if (place->IsRoot() || IsFolder(*data) || IsReadOnly(*data)) {
        return SysError::AccessDenied;
    }
    if (unlinkat(place->folder->Fd(), place->OnHost().c_str(), 0) != 0) {
        return FromErrno(errno);
    }
    place->folder->Removed(place->name);
    return SysError::Success;
}

SysError OfflineFiles::Rename(std::string_view from, std::string_view to) {
    auto source = Existing(from);
    if (!source) {
        return source.Error();
    }
    auto target = resolver_.Locate(to);
    if (!target) {
        return target.Error();
    }
    if (source->IsRoot() || target->IsRoot()) {
        return SysError::AccessDenied;
    }
    const bool sameEntry = target->exists && source->folder == target->folder && source->name == target->name;
    if (target->exists && !sameEntry) {
        return SysError::AlreadyExists;
    }
    auto data = Data(*source);
    if (!data) {
        return data.Error();
    }
    SysError error = SysError::NotSameDevice;
    if (&source->OfDrive() == &target->OfDrive()) {
        resolver_.Forget(*source);
        error = RenameEntry(*source, *target);
    }
    if (error == SysError::NotSameDevice) {
        error = IsFolder(*data) ? SysError::AccessDenied : MoveAcross(*source, *target);
    }
    if (error == SysError::Success) {
        source->folder->Removed(source->name);
        target->folder->Added(target->wanted);
    }
    return error;
}

SysError OfflineFiles::MakeFolder(std::string_view path) {
    auto place = resolver_.Locate(path);
    if (!place) {
        return place.Error();
    }
    if (place->IsRoot()) {
        return SysError::AccessDenied;
    }
    if (place->exists) {
        return SysError::AlreadyExists;
    }
    if (mkdirat(place->folder->Fd(), place->OnHost().c_str(), NewFolder) != 0) {
        return FromErrno(errno);
    }
    place->folder->Added(place->name);
    return SysError::Success;
}

SysError OfflineFiles::RemoveFolder(std::string_view path) {
    auto place = Existing(path);
    if (!place) {
        return place.Error() == SysError::InvalidName ? SysError::Directory : place.Error();
    }
    auto data = Data(*place);
    if (!data) {
        return data.Error();
    }
    if (!IsFolder(*data)) {
        return SysError::Directory;
    }
    if (place->IsRoot() || IsReadOnly(*data)) {
        return SysError::AccessDenied;
    }
    const std::string host = place->OnHost();
    int result = unlinkat(place->folder->Fd(), host.c_str(), AT_REMOVEDIR);
    if (result != 0 && errno == ENOTDIR) {
        result = unlinkat(place->folder->Fd(), host.c_str(), 0);  // a junction, which the host shows as a link
    }
    if (result != 0) {
        return FromErrno(errno);
    }
    resolver_.Forget(*place);
    place->folder->Removed(place->name);
    return SysError::Success;
}

Result<std::unique_ptr<platform::OpenFile>> OfflineFiles::Open(std::string_view path, OpenMode mode) {
    auto place = resolver_.Locate(path);
    if (!place) {
        return place.Error();
    }
    if (place->IsRoot()) {
        return SysError::AccessDenied;
    }
    const OpenFlags how = FlagsOf(mode);
    const int folder = place->folder->Fd();
    if (!place->exists) {
        if (!how.make) {
            return SysError::FileNotFound;
        }
        if (place->path.trailingBackslash) {
            return SysError::InvalidName;
        }
        HostFd fd = OpenBeneath(folder, place->OnHost(), how.flags | O_CREAT | O_EXCL, NewFile);
        if (!fd.Valid()) {
            return FromErrno(errno);
        }
        place->folder->Added(place->name);
        return std::unique_ptr<platform::OpenFile>(std::make_unique<HostFile>(std::move(fd)));
    }
    if (how.refuse) {
        return SysError::FileExists;
    }
    if (how.flags != O_RDONLY) {
        auto data = Data(*place);
        if (data && (IsFolder(*data) || IsReadOnly(*data))) {
            return SysError::AccessDenied;
        }
    }
    if (place->path.trailingBackslash) {
        return SysError::InvalidName;
    }
    HostFd fd = OpenPlainFile(folder, place->OnHost(), how.flags);
    if (!fd.Valid()) {
        return FromErrno(errno);
    }
    return std::unique_ptr<platform::OpenFile>(std::make_unique<HostFile>(std::move(fd)));
}

Result<std::unique_ptr<platform::FileView>> OfflineFiles::View(std::string_view path) {
    auto place = Existing(path);
    if (!place) {
        return place.Error();
    }
    if (place->IsRoot()) {
        return SysError::AccessDenied;
    }
    HostFd fd = OpenPlainFile(place->folder->Fd(), place->OnHost(), O_RDONLY);
    if (!fd.Valid()) {
        return FromErrno(errno);
    }
    return ViewOf(std::move(fd));
}

Result<std::uint64_t> OfflineFiles::Length(std::string_view path) {
    struct stat status;
    if (IsFileAtOnce(path, status)) {
        return static_cast<std::uint64_t>(status.st_size);
    }
    auto place = Existing(path);
    if (!place) {
        return place.Error();
    }
    if (place->IsRoot() || fstatat(place->folder->Fd(), place->OnHost().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(status.st_mode)) {
        return SysError::AccessDenied;
    }
    return static_cast<std::uint64_t>(status.st_size);
}

template <class NameOf>
Result<std::string> OfflineFiles::Convert(std::string_view path, NameOf nameOf) {
    path = path.substr(0, path.find('\0'));
    if (auto place = Existing(path); !place) {
        return place.Error();
    }
    std::size_t at = path.starts_with("\\\\?\\") ? 4 : 0;
    if (path.size() >= at + 2 && path[at + 1] == ':') {
        at += 2;
    }
    std::string out(path.substr(0, at));
    while (at < path.size()) {
        const std::size_t end = std::min(path.find('\\', at), path.size());
        const std::string_view part = path.substr(at, end - at);
        if (part.find_first_not_of(". ") == std::string_view::npos) {
            out += part;  // nothing between two backslashes, `.`, `..`
        } else {
            auto place = resolver_.Locate(path.substr(0, end));
            if (!place) {
                return place.Error();
            }
            out += nameOf(*place, part);
        }
        if (end < path.size() && (out.empty() || out.back() != '\\')) {
            out += '\\';
        }
        at = end + 1;
    }
    return out;
}

Result<std::string> OfflineFiles::LongPath(std::string_view path) {
    return Convert(path, [](const Place& place, std::string_view) { return place.name; });
}

Result<std::string> OfflineFiles::ShortPath(std::string_view path) {
    return Convert(path, [](const Place& place, std::string_view part) {
        if (IsShortName(part)) {
            return std::string(part);
        }
        auto listing = place.folder->List();
        const auto index = listing ? (*listing)->Find(place.name) : std::nullopt;
        auto data = index ? DescribeEntry(*place.folder, **listing, *index) : SysError::FileNotFound;
        return data && !data->alternateName.empty() ? data->alternateName : place.name;
    });
}

std::vector<std::string> OfflineFiles::LogicalDrives() {
    std::vector<std::string> roots;
    for (const auto& drive : resolver_.Drives()) {
        if (!drive->hidden) {
            roots.push_back(std::string(1, drive->letter) + ":\\");
        }
    }
    return roots;
}

platform::DriveKind OfflineFiles::DriveType(std::string_view root) {
    const auto path = ParsePath(root, WindowsPath{'\0', {}, false});
    return path.Ok() && path->parts.empty() && resolver_.FindDrive(path->drive) != nullptr
               ? platform::DriveKind::Fixed
               : platform::DriveKind::NoRoot;
}

bool OfflineFiles::MatchSpec(std::string_view name, std::string_view spec) {
    return MatchSpecList(name, spec);
}

std::string OfflineFiles::CurrentFolder() {
    return resolver_.Current().Text();
}

SysError OfflineFiles::SetCurrentFolder(std::string_view path) {
    return resolver_.SetCurrent(path);
}

}  // namespace kel::offline
