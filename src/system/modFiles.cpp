#include "system/modFiles.h"

#include <utility>

#include "core/Failures.h"
#include "core/Paths.h"
#include "core/Text.h"
#include "platform/Platform.h"
#include "system/modKvFileExplorer.h"

namespace kel::modFiles {

namespace {

using platform::SysError;

constexpr std::string_view Module = "modFiles";

// The path calls of the engine's age answer into a buffer of this size, its last character a NUL.
constexpr std::size_t PathBuffer = 255;

// SHFileOperationA: silent and without confirmation.
constexpr std::uint16_t DeleteFlags = 20;

platform::Files& Files() {
    return *platform::Current().files;
}

std::string_view WithoutBackslash(std::string_view path) {
    return path.ends_with('\\') ? path.substr(0, path.size() - 1) : path;
}

bool Fits(const platform::Result<std::string>& path) {
    return path.Ok() && !path->empty() && path->size() < PathBuffer;
}

// An empty folder. A folder that is a link to another one counts as empty: only the link goes.
bool IsToBeEmptied(const platform::FindData& entry, std::string child) {
    return (entry.attributes & platform::AttributeReparsePoint) == 0 &&
           modKvFileExplorer::FilesCountShallow(child, "*.*") > 0;
}

void RemoveEntry(const platform::FindData& entry, const std::string& path) {
    if ((entry.attributes & platform::AttributeDirectory) == 0) {
        FileClearAttributes(path);
        Files().Remove(path);
    } else if (IsToBeEmptied(entry, path)) {
        RemoveDirectoryAllContents(path);
    } else {
        FolderRemove(path, false);
    }
}

// Removes a folder that may still not be empty, by the shell's delete where the plain one fails.
std::int32_t RemoveBareFolder(std::string_view path) {
    if (FileIsReadOnlyAtt(path)) {
        FileClearAttributes(path);
    }
    if (Files().RemoveFolder(path) == SysError::Success) {
        return Done;
    }
    // The shell's answer is read the other way round: 0, its success, goes on to the error number. Callers depend on
    // the codes that come of it.
    SysError last = SysError::Success;
    if (platform::Current().shell->Delete(path, DeleteFlags, last) != 0) {
        return Done;
    }
    switch (last) {
        case SysError::PathNotFound:
            return FolderNotUsable;
        case SysError::AccessDenied:
            return Done;
        default:
            return FolderNotRemoved;
    }
}

}  // namespace

bool FileExists(std::string_view path) {
    return paths::FileExists(path);
}

bool FolderExists(std::string_view path) {
    return paths::FolderExists(path);
}

std::int64_t FileLength(std::string_view path) {
    std::int64_t result = 0;
    Trap(Module, "FileLength", [&] {
        const auto length = Files().Length(path);
        if (!length) {
            paths::RaiseFileError(length.Error(), path);
        }
        result = static_cast<std::int64_t>(*length);
    });
    return result;
}

bool FileIsReadOnlyAtt(std::string_view path) {
    bool result = false;
    Trap(Module, "FileIsReadOnlyAtt", [&] {
        const auto attributes = Files().Attributes(path);
        if (!attributes) {
            paths::RaiseFileError(attributes.Error(), path);
        }
        result = (*attributes & platform::AttributeReadOnly) != 0;
    });
    return result;
}

void FileClearAttributes(std::string_view path) {
    Files().SetAttributes(path, platform::AttributeNormal);
}

std::string FilePathFromFileSearch(std::string_view pattern) {
    const std::size_t folderEnd = pattern.rfind('\\');
    if (pattern.size() < 2 || folderEnd == std::string_view::npos) {
        return {};
    }
    platform::FindData found;
    if (!Files().FindFirst(pattern, found).Ok() || (found.attributes & ~platform::AttributeDirectory) == 0) {
        return {};
    }
    return std::string(pattern.substr(0, folderEnd + 1)) + StringBeforeNul(found.name);
}

bool CreateFolder(std::string_view path) {
    bool result = false;
    Trap(Module, "CreateFolder", [&] {
        if (path.size() < 2 || FolderExists(path)) {
            return;
        }
        if (const SysError error = Files().MakeFolder(WithoutBackslash(path)); error != SysError::Success) {
            paths::RaiseFileError(error, path);
        }
        result = FolderExists(path);
    });
    return result;
}

std::int32_t CreateFolderPath(std::string_view path) {
    return paths::CreateFolderPath(path);
}

std::int32_t FolderRemove(std::string_view path, bool blnAllContents) {
    std::int32_t result = Done;
    Trap(Module, "FolderRemove", [&] {
        if (path.size() < 2 || !FolderExists(path)) {
            result = FolderNotUsable;
        } else if (blnAllContents) {
            RemoveDirectoryAllContents(WithoutBackslash(path));
        } else {
            result = RemoveBareFolder(WithoutBackslash(path));
        }
    });
    return result;
}

void RemoveDirectoryAllContents(std::string_view path) {
    Trap(Module, "RemoveDirectoryAllContents", [&] {
        const std::string folder = WithBackslash(path);
        platform::FindData entry;
        {
            auto find = Files().FindFirst(folder + "*.*", entry);
            for (bool more = find.Ok(); more; more = (*find)->Next(entry) == SysError::Success) {
                if (entry.name != "." && entry.name != ".." && !entry.name.starts_with('\2')) {
                    RemoveEntry(entry, folder + entry.name);
                }
            }
        }
        FolderRemove(folder, false);
    });
}

std::int32_t FileDelete(std::string_view path) {
    std::int32_t result = Done;
    Trap(Module, "FileDelete", [&] {
        FileClearAttributes(path);
        if (Files().Remove(path) == SysError::Success) {
            return;
        }
        // A second try finds a file free that was only being looked at.
        switch (Files().Remove(path)) {
            case SysError::Success:
                return;
            case SysError::FileNotFound:
                result = FileNotFound;
                return;
            case SysError::AccessDenied:
                FileClearAttributes(path);
                result = Files().Remove(path) == SysError::Success ? Done : DeleteFailed;
                return;
            case SysError::SharingViolation:
            case SysError::LockViolation:
                result = DeleteFailedInUse;
                return;
            default:
                result = DeleteFailed;
                return;
        }
    });
    return result;
}

std::string LongPathFromShortPath(std::string_view path) {
    const auto found = Files().LongPath(path);
    return Fits(found) ? *found : std::string(path);
}

std::string ShortPathFromLongPath(std::string_view path) {
    const auto found = Files().ShortPath(path);
    return Fits(found) ? *found : std::string();
}

std::string StringBeforeNul(std::string_view text) {
    return std::string(text.substr(0, text.find('\0')));
}

}  // namespace kel::modFiles
