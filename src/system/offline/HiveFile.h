// A hive on the disk, with its transaction logs.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "hive/Hive.h"
#include "offline/FileReplacement.h"

namespace kel::offline {

/// The logs that lie beside a hive (`SYSTEM.LOG`, `.LOG1`, `.LOG2`, in any case), in the order of their names.
[[nodiscard]] std::vector<std::filesystem::path> LogsBeside(const std::filesystem::path& hive);

/// A hive that is read from its file and written back to it whole: temporary file, flush, rename, attributes carried
/// over. A file that changed since it was read is not written over (SysError::SharingViolation). What it writes is
/// clean, which makes the logs void; they are left as they are.
class HiveFile : public Hive {
public:
    static constexpr std::uint64_t MaximumSize = 0x80000000;  ///< bytes of a hive or log

    /// Reads the file and those of `logs` that can be read. Throws OpenError with the file's name.
    [[nodiscard]] static std::unique_ptr<HiveFile> Open(const std::filesystem::path& path,
                                                        const std::vector<std::filesystem::path>& logs);
    /// With the logs that lie beside it.
    [[nodiscard]] static std::unique_ptr<HiveFile> Open(const std::filesystem::path& path) {
        return Open(path, LogsBeside(path));
    }

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

    platform::SysError Prepare() override;
    void Abandon() override { replacement_.Abandon(); }
    platform::SysError Commit() override;
    void Discard() override;

protected:
    void OnChange() override { Abandon(); }

private:
    HiveFile(const std::filesystem::path& path, FileIdentity identity, regf::HiveImage image,
             const std::vector<regf::LogFile>& logs)
        : Hive(std::move(image), logs), path_(path), identity_(identity) {}

    std::filesystem::path path_;
    FileIdentity identity_;
    FileReplacement replacement_;
    std::vector<ByteRange> pages_;  // in which what was prepared differs from the file
};

}  // namespace kel::offline
