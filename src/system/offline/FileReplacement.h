// A file of the host that is read whole and later replaced whole, never in part.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

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
/// The same into the caller's memory. The file's size is the identity's: BadLength also when it shrinks meanwhile.
/// @param room gives memory of that size, or null, which is answered with NotEnoughMemory
[[nodiscard]] platform::Result<FileIdentity> ReadWhole(const std::filesystem::path& path, std::uint64_t limit,
                                                       const std::function<char*(std::size_t)>& room);

/// One replacement under way: a temporary file in the same folder, then a rename over the old file. What was prepared
/// and not committed is removed by the destructor.
class FileReplacement {
public:
    FileReplacement() = default;
    ~FileReplacement() { Abandon(); }
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    /// Writes and flushes the temporary file, with the mode, owner and extended attributes of `path`.
    /// SharingViolation when `path` is not what `identity` says.
    platform::SysError Prepare(const std::filesystem::path& path, const FileIdentity& identity, std::string_view bytes);
    [[nodiscard]] bool Prepared() const { return !temporary_.empty(); }
    /// Renames the temporary file over the old one, gives the new identity. Refused as Prepare is.
    platform::Result<FileIdentity> Commit();
    void Abandon();

private:
    std::filesystem::path path_;
    std::filesystem::path temporary_;
    FileIdentity identity_;
};

}  // namespace kel::offline
