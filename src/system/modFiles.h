// Existence, attributes, making, moving and removing of files and folders, and the text forms of their paths.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Stateless operations on files and folders. Nothing is raised: a failure is reported, and the result is the default
/// (0, false, empty) or a result code.
namespace kel::modFiles {

/// Results of the operations that remove and move. 0 is always success.
enum FileResult : std::int32_t {
    Done = 0,
    FileNotFound = 1,
    DeleteFailed = 10,
    DeleteFailedInUse = 11,
    MoveFailed = 20,
    MoveFailedInUse = 21,
    FolderNotUsable = 30,
    FolderNotRemoved = 32,
    FolderPathNotMade = 33,
};

/// Marking of a file that goes into the quarantine, or comes back out of it.
enum MoveMode : std::int32_t { MoveOnly = 0, MoveAndMark = 1, MoveAndUnmark = 2 };

/// True for a file and for a folder.
bool FileExists(std::string_view path);
/// True for a folder; a bare drive ("C:", "C:\") counts as one without a look at the disk.
bool FolderExists(std::string_view path);
/// Length in bytes, 0 on failure, which is reported.
std::int64_t FileLength(std::string_view path);
/// Whether the read-only attribute is set; false for what is not there, which is reported.
bool FileIsReadOnlyAtt(std::string_view path);
/// Sets the attributes to normal. A failure is ignored.
void FileClearAttributes(std::string_view path);
/// The file that a path with wildcards in its last component finds first: the folder part of `pattern` and the name
/// found. Empty when nothing is found, or a folder without further attributes, or `pattern` has no backslash.
std::string FilePathFromFileSearch(std::string_view pattern);

/// Makes one folder. True when it was missing and is there now; one that can't be made is reported.
bool CreateFolder(std::string_view path);
/// Makes a folder with all its parents: Done or FolderPathNotMade.
std::int32_t CreateFolderPath(std::string_view path);
/// Removes a folder: an empty one, or one with all its contents. Done, FolderNotUsable or FolderNotRemoved; with
/// `blnAllContents` always Done once the folder was found.
std::int32_t FolderRemove(std::string_view path, bool blnAllContents);
/// Removes everything below a folder and the folder itself. What can't be removed stays, without a report.
void RemoveDirectoryAllContents(std::string_view path);
/// Removes a file, a read-only one too: Done, FileNotFound, DeleteFailed or DeleteFailedInUse.
std::int32_t FileDelete(std::string_view path);
/// Moves a file; the destination must not exist. Attributes are cleared first.
/// @param mode a MoveMode. MoveAndMark appends the quarantine's mark to the moved file, MoveAndUnmark takes it off; an
///        empty file is neither marked nor unmarked, and a file without the mark is left alone.
/// @return Done, FileNotFound, DeleteFailed, MoveFailed or MoveFailedInUse.
std::int32_t FileMove(std::string_view source, std::string_view destination, std::int32_t mode);
/// Asks the system to delete a file at its next start: through the registry, on "98" and "ME" through WININIT.INI.
void FileDeleteOnReboot(std::string_view path);

/// Writes `text` and a line end as the whole file. False on failure.
bool TextFileWrite(std::string_view text, std::string_view path);
/// Appends `text` and a line end. False on failure.
bool TextFileAppend(std::string_view text, std::string_view path);
/// All lines of a text file in one text, each followed by a line end if `blnKeepLineBreaks`; empty when the file is
/// missing. A line ends at a carriage return, with or without a line feed behind it.
std::string TextFileRead(std::string_view path, bool blnKeepLineBreaks);

/// The long form of a path; `path` itself when there is none, or it does not fit 255 characters.
std::string LongPathFromShortPath(std::string_view path);
/// The short form of a path; empty when the path is not there or the form does not fit 255 characters.
std::string ShortPathFromLongPath(std::string_view path);
/// What comes before the first NUL, or all.
std::string StringBeforeNul(std::string_view text);

/// The target of a shell link, read by position without the shell. Empty when the file is missing or names none.
std::string ShortcutTargetPath(std::string_view path);

}  // namespace kel::modFiles
