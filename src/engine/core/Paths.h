// Tests for files and folders and the making of folders, which the store and the error channel need below the system
// modules. modFiles offers them to everybody else.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/SourceLocation.h"
#include "platform/SysError.h"

namespace kel::paths {

/// Whether the path is there; true for a folder too.
bool FileExists(std::string_view path);

/// Whether the path is a folder. Blanks at the ends and one trailing backslash do not count; a bare drive ("C:") is
/// taken as there without a look.
bool FolderExists(std::string_view path);

/// Makes one folder when it is missing. A path of fewer than two characters is refused.
/// @return true when this call made it and it is there afterwards; false also when it was there before.
bool CreateFolder(std::string_view path);

/// Results of CreateFolderPath.
inline constexpr std::int32_t FolderPathMade = 0;
inline constexpr std::int32_t FolderPathFailed = 33;

/// Makes a folder with all its parents.
/// @return FolderPathMade when it is there afterwards, or the path has fewer than two characters; else
///         FolderPathFailed.
std::int32_t CreateFolderPath(std::string_view path);

/// Throws the run time's error for a failed call on a file: 53 no such file, 58 exists, 61 disk full, 70 denied or in
/// use, 76 no such folder, 57 anything else. The text names the path.
[[noreturn]] void RaiseFileError(platform::SysError error, std::string_view path,
                                 SourceLocation where = SourceLocation::current());

}  // namespace kel::paths
