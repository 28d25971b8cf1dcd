// Folder listings, the programs behind processes, and what a program says about itself.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/Collection.h"
#include "platform/Processes.h"

namespace kel {

/// Details of a file, as clients know them.
struct kvFile {
    std::string szCreationTime;
    std::string szLastAccessTime;
    std::string szLastWriteTime;
    std::int32_t lngFileSizeBytes = 0;
    std::string szFilename;
    std::string szAlternate;
};

}  // namespace kel

/// The listings lead through the message loop after each entry, and give an empty collection for a folder that can't be
/// read. A folder path may lack its last backslash. Nothing is raised; failures are reported.
namespace kel::modKvFileExplorer {

/// Number of files and folders in a folder that match `pattern`; 0 for an empty path. `path` gets its last backslash.
std::int32_t FilesCountShallow(std::string& path, std::string_view pattern);
/// Bare names of all entries of a folder that match `pattern`, subfolders included.
Collection<std::string> FilesListShallow(std::string_view path, std::string_view pattern);
/// Bare names of the subfolders. `path` gets its last backslash.
Collection<std::string> FoldersList(std::string& path);

/// Full paths of a folder's entries and, behind them, of what lies in its subfolders: at all depths with
/// `blnSubFolders`, otherwise only their direct entries.
/// @param blnNotify reports each path to the current scan, and ends the walk when ScanAbortFlag is set.
Collection<std::string> FilesListDeep(std::string_view path, bool blnSubFolders, bool blnNotify);
/// The part of FilesListDeep below one subfolder.
Collection<std::string> FileTreeBuilder(std::string_view path, bool blnSubFolders, bool blnNotify);

/// The cookie folders below a folder of user profiles: each profile that is not hidden and has no dot in its name.
Collection<std::string> UserCookieFoldersList(std::string_view path);
/// The cookie folders of all users, found beside the one of the current scan.
Collection<std::string> AllUsersCookieFolders();

/// Path of the program that a process runs, with variables and bare names resolved. Empty when the process may not be
/// opened or the file is not there.
std::string GetProcessFilePath(std::uint32_t processId);
/// The same for a process of a snapshot at hand, where programs are named by the snapshot (not on "NT"): spares taking
/// another one for each process.
std::string GetProcessFilePath(const platform::ProcessEntry& process);
/// Path of the program as the process list or the process itself names it.
std::string ExePathFromProcID(std::uint32_t processId);
/// The same on "NT", from the process's first module.
std::string ExePathFromProcIDNT(std::uint32_t processId);

/// Strings of the version resource: empty for an empty path or a file without one, "Unavailable" where the resource
/// lacks the string, "None" where it is empty.
std::string GetApplicationPublisherFromPath(std::string_view path);
std::string GetApplicationCopyrightFromPath(std::string_view path);
std::string GetInternalFileName(std::string_view path);

}  // namespace kel::modKvFileExplorer
