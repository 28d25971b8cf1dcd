// A file of the host that is read whole and later replaced whole, never in part.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hive/ByteRange.h"
#include "platform/Result.h"

namespace kel::offline {

/// What tells that a file is still the one that was read.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// The bytes of a regular file and its identity. Links are followed. BadLength when it is larger than `limit` bytes.
struct WholeFile {
    std::string bytes;
    FileIdentity identity;
};
[[nodiscard]] platform::Result<WholeFile> ReadWhole(const std::filesystem::path& path, std::uint64_t limit);
/// The same into the caller's memory. The file's size is the identity's: BadLength also when it changes meanwhile.
/// @param room gives memory of that size, or null, which is answered with NotEnoughMemory
[[nodiscard]] platform::Result<FileIdentity> ReadWhole(const std::filesystem::path& path, std::uint64_t limit,
                                                       const std::function<char*(std::size_t)>& room);

/// One replacement under way: a temporary file in the same folder, then a rename over the old file. What was prepared
/// and not committed is removed by the destructor.
///
/// A large file that is replaced again and again need not be written whole each time: the file that a replacement of
/// ours took the place of stays beside the new one under its temporary name, and is brought up to date as the next
/// temporary file. The destructor removes it.
class FileReplacement {
public:
    FileReplacement() = default;
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Writes and flushes the temporary file, with the mode, owner and extended attributes of `path`.
    /// SharingViolation when `path` is not what `identity` says.
    /// @param changed all in which `bytes` differ from what was committed last, a longer end included; null when that
    /// is
    ///     not known
    platform::SysError Prepare(const std::filesystem::path& path, const FileIdentity& identity, std::string_view bytes,
                               const std::vector<ByteRange>* changed = nullptr);
    [[nodiscard]] bool Prepared() const { return !temporary_.empty(); }
    /// Renames the temporary file over the old one, gives the new identity. Refused as Prepare is.
    platform::Result<FileIdentity> Commit();
    void Abandon();

private:
    /// A file of ours that was replaced, and where it differs from the one that took its place.
    struct Spare {
        std::filesystem::path path;
        FileIdentity identity;
        std::vector<ByteRange> stale;
    };
    [[nodiscard]] bool WriteNew(std::string_view bytes);
    [[nodiscard]] bool UpdateSpare(std::string_view bytes, const std::vector<ByteRange>& changed);
    void DropSpare();

    std::filesystem::path path_;
    std::filesystem::path temporary_;
    FileIdentity identity_;
    bool ours_ = false;  // the file at `path_` is one that Commit put there
    std::optional<std::vector<ByteRange>> changed_;
    std::optional<Spare> spare_;
};

}  // namespace kel::offline
