// Files, folders and drives: one operation for each call of the platform that the engine uses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace kel::platform {

/// Attribute bits of files and folders.
enum Attribute : std::uint32_t {
    AttributeReadOnly = 1,
    AttributeHidden = 2,
    AttributeSystem = 4,
    AttributeDirectory = 16,
    AttributeArchive = 32,
    AttributeNormal = 128,
    AttributeReparsePoint = 1024,
};

/// What GetDriveTypeA answers.
enum class DriveKind : std::uint32_t {
    Unknown = 0,
    NoRoot = 1,
    Removable = 2,
    Fixed = 3,
    Remote = 4,
    CdRom = 5,
    RamDisk = 6
};

/// 100-nanosecond intervals since 1601-01-01 UTC; 0 means unknown.
using FileTime = std::uint64_t;

/// One entry of an enumeration.
struct FindData {
    std::uint32_t attributes = 0;
    std::uint64_t size = 0;
    FileTime creation = 0;
    FileTime lastAccess = 0;
    FileTime lastWrite = 0;
    std::string name;           ///< name without its folder
    std::string alternateName;  ///< 8.3 name, empty where there is none
};

/// An enumeration that FindFirst began. Closed by its destructor.
class Find {
public:
    virtual ~Find() = default;
    /// Fills `entry` with the next match. SysError::NoMoreFiles at the end.
    virtual SysError Next(FindData& entry) = 0;
    /// The 8.3 name of the entry that was given last, empty where there is none: for enumerations of names.
    virtual std::string AlternateName(const FindData& entry) { return entry.alternateName; }
};

/// An open file with a position. Closed by its destructor.
class OpenFile {
public:
    virtual ~OpenFile() = default;
    /// Reads at the position, at most `into.size()` bytes. 0 at the end of the file.
    virtual Result<std::size_t> Read(std::span<std::byte> into) = 0;
    /// Writes all of `from` at the position; a short write is an error (SysError::DiskFull).
    virtual SysError Write(std::span<const std::byte> from) = 0;
    /// Moves the position, in bytes from the start.
    virtual SysError Seek(std::uint64_t position) = 0;
    /// SetEndOfFile: the file ends at the position; what lay behind it is gone, and a gap is filled with zeros.
    virtual SysError SetEnd() = 0;
    /// Size of the file in bytes.
    virtual Result<std::uint64_t> Size() = 0;
    /// Puts everything written on the medium (FlushFileBuffers, fsync).
    virtual SysError Flush() = 0;
};

/// A file's bytes, read-only, valid as long as this object lives. The file may be shared and must not shrink.
class FileView {
public:
    virtual ~FileView() = default;
    [[nodiscard]] virtual std::span<const std::byte> Bytes() const = 0;
    /// Says that these of the bytes won't be read for a while, so that the memory that they take can be used for
    /// something else. They can still be read.
    virtual void LetGo(std::span<const std::byte> /*bytes*/) {}
    /// Whether the file can't be deleted, nor another one put in its place, as long as this object lives.
    [[nodiscard]] virtual bool HoldsFile() const { return false; }
};

/// What tells whether a file is still the one that it was, with the bytes that it had. Numbers of the platform's own;
/// they mean something only beside another stamp of the same machine.
struct FileStamp {
    std::uint64_t volume = 0;
    std::uint64_t file = 0;  ///< identity on its volume
    std::uint64_t size = 0;  ///< bytes
    std::uint64_t written = 0;
    std::uint64_t changed = 0;  ///< 0 where the platform keeps no such time
    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

/// A file that is read before it is asked for. Closed by its destructor.
///
/// A platform that opens and reads files beside its caller gives one that is still being opened; nothing but Opened and
/// IsAtRest may be called before Opened has said true, and nothing but EndRead and IsAtRest between BeginRead and
/// EndRead.
class AheadFile {
public:
    virtual ~AheadFile() = default;
    /// Waits until the file is open. False when it is no file, can't be opened, or changed so recently that a further
    /// change could go unseen.
    virtual bool Opened() { return true; }
    /// Whether Opened or EndRead would not wait.
    virtual bool IsAtRest() { return true; }
    /// The file as it was when it was opened.
    [[nodiscard]] const FileStamp& Stamp() const { return stamp_; }
    /// Reads at the position, at most `into.size()` bytes. 0 at the end of the file and after a failure.
    virtual std::size_t Read(std::span<std::byte> into) = 0;
    /// Begins to read at the position beside the caller, into bytes that must stay until EndRead or the destructor.
    /// False when nothing was begun, because Read does as well.
    virtual bool BeginRead(std::span<std::byte> /*into*/) { return false; }
    /// Waits for what was begun. Its result is that of Read.
    virtual std::size_t EndRead() { return 0; }
    /// Says that the whole file will be read soon.
    virtual void WillBeRead() = 0;
    /// Whether its beginning is in memory, so that to read it is to wait for no medium. It waits for none itself.
    /// Nothing when the platform can't tell.
    virtual std::optional<bool> InMemory() { return std::nullopt; }

protected:
    FileStamp stamp_;
};

/// A folder whose files are likely to be asked for soon. It guesses: nothing that it says is a fact to act on.
class FolderAhead {
public:
    enum class Kind : std::uint8_t { File, Folder, Other };

    virtual ~FolderAhead() = default;
    /// Entries without `.` and `..`, in the order of FindFirst, as they were when the folder was opened.
    [[nodiscard]] virtual std::size_t Count() const = 0;
    /// Name of an entry from 0; valid as long as the object.
    [[nodiscard]] virtual std::string_view Name(std::size_t index) const = 0;
    virtual Kind KindOf(std::size_t index) = 0;
    /// Opens a file without a trace, where that is allowed of its last access too. Null when it is no file, can't be
    /// opened, or changed so recently that a further change could go unseen.
    virtual std::unique_ptr<AheadFile> Open(std::size_t index) = 0;
    /// The same for the entry of a name as the machine compares names.
    virtual std::unique_ptr<AheadFile> OpenNamed(std::string_view name) = 0;
    /// Says that a folder of it will be entered soon. It does not wait for it.
    virtual void WillBeEntered(std::size_t /*index*/) {}
    /// How many files are worth being opened and read at the same time: 1 where each waits for the one before.
    [[nodiscard]] virtual std::size_t AtOnce() const { return 1; }
};

enum class OpenMode {
    Read,       ///< existing file; others may read and write it meanwhile
    ReadWrite,  ///< existing file, or a new empty one; position 0
    Create,     ///< new empty file; an existing one is emptied
    CreateNew,  ///< new empty file; SysError::FileExists if there is one
    Append,     ///< existing file, or a new empty one; every write goes to the end
};

/// File access. Paths are Windows paths in the machine's code page: `C:\folder\name`; `/` is no separator. A relative
/// path is taken from the current folder. Doubled backslashes inside a path are single ones. Never throws.
class Files {
public:
    virtual ~Files() = default;

    /// PathFileExistsA: true for a file and for a folder.
    virtual bool PathExists(std::string_view path) = 0;
    /// PathIsDirectoryA: 16 for a folder, 0 otherwise.
    virtual int PathIsDirectory(std::string_view path) = 0;
    /// GetFileAttributesA.
    virtual Result<std::uint32_t> Attributes(std::string_view path) = 0;
    /// SetFileAttributesA. The directory bit is ignored.
    virtual SysError SetAttributes(std::string_view path, std::uint32_t attributes) = 0;

    /// FindFirstFileA: `pattern` is a path whose last component may hold `*` and `?`; `*.*` matches every name. Long
    /// and alternate names are both tried. `.` and `..` are enumerated first, as the platform does, except in a
    /// drive's root. Order: that of the file system on Windows; offline by name, folded, so that two runs agree.
    /// SysError::FileNotFound when nothing matches, PathNotFound when the folder is not there.
    virtual Result<std::unique_ptr<Find>> FindFirst(std::string_view pattern, FindData& first) = 0;

    /// FindFirst for a caller that looks at the name and the directory bit alone, and asks Find::AlternateName for the
    /// other one: of the rest of `first` and of what follows nothing is sure. Where that is cheaper than the whole;
    /// what went away since the listing began may still be given then.
    virtual Result<std::unique_ptr<Find>> FindNames(std::string_view pattern, FindData& first) {
        return FindFirst(pattern, first);
    }

    /// DeleteFileA. AccessDenied for a folder, a read-only file, a running program; SharingViolation when in use.
    virtual SysError Remove(std::string_view path) = 0;
    /// MoveFileA: files and, on one drive, folders. AlreadyExists when the destination is there.
    virtual SysError Rename(std::string_view from, std::string_view to) = 0;
    /// CreateDirectoryA.
    virtual SysError MakeFolder(std::string_view path) = 0;
    /// RemoveDirectoryA. DirNotEmpty, AccessDenied when read-only.
    virtual SysError RemoveFolder(std::string_view path) = 0;

    /// CreateFileA.
    virtual Result<std::unique_ptr<OpenFile>> Open(std::string_view path, OpenMode mode) = 0;
    /// The whole file as one read-only block: mapped where the platform can, else read. An empty file is a view of
    /// no bytes.
    virtual Result<std::unique_ptr<FileView>> View(std::string_view path) = 0;
    /// Size in bytes. AccessDenied for a folder.
    virtual Result<std::uint64_t> Length(std::string_view path) = 0;

    /// The stamp of a file. Fails as Length does; NotSupported where files are not read ahead. A decorator that changes
    /// what is seen of files leaves this and the next operation as they are here, so that nothing goes past it.
    virtual Result<FileStamp> Stamp(std::string_view /*path*/) { return SysError::NotSupported; }
    /// A folder for reading ahead. Null when it is not there or files are not read ahead.
    virtual std::unique_ptr<FolderAhead> Ahead(std::string_view /*folder*/) { return nullptr; }

    /// GetLongPathNameA. FileNotFound when it is not there.
    virtual Result<std::string> LongPath(std::string_view path) = 0;
    /// GetShortPathNameA. FileNotFound when it is not there.
    virtual Result<std::string> ShortPath(std::string_view path) = 0;

    /// GetLogicalDriveStringsA, one root (`C:\`) an entry, in the order of the letters.
    virtual std::vector<std::string> LogicalDrives() = 0;
    /// GetDriveTypeA on a root.
    virtual DriveKind DriveType(std::string_view root) = 0;

    /// PathMatchSpecW: `spec` is a pattern or a list of patterns with `;`; blanks before a pattern are skipped; case
    /// does not count; `*.*` matches every name. An empty pattern matches nothing.
    virtual bool MatchSpec(std::string_view name, std::string_view spec) = 0;

    /// The process's current folder, without a trailing backslash except at a root.
    virtual std::string CurrentFolder() = 0;
    /// SetCurrentDirectoryA.
    virtual SysError SetCurrentFolder(std::string_view path) = 0;
};

}  // namespace kel::platform
