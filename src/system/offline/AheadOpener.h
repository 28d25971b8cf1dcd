// How files of the host are opened to be read ahead.
#pragma once

#include <sys/stat.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "offline/FasterWay.h"
#include "offline/KernelQueue.h"
#include "offline/PathResolver.h"
#include "offline/ReadRing.h"
#include "platform/Files.h"

namespace kel::offline {

[[nodiscard]] platform::FileStamp StampOf(const struct stat& status);

/// Opens files one after the other, or has them opened and read by the kernel beside us where that is the faster way.
/// What it opens keeps it alive. The environment variable KEL_READ_RING decides instead: 0 for the first way, 1 for the
/// second one.
class AheadOpener : public std::enable_shared_from_this<AheadOpener> {
public:
    /// Looks how many descriptors the process may have; before each folder's files.
    void BeginFolder();
    /// Null, or a file whose Opened is false, when it is no plain file, can't be opened, or isn't at rest.
    /// @param name one component of the host's
    std::unique_ptr<platform::AheadFile> Open(const std::shared_ptr<Folder>& folder, const char* name);
    /// FolderAhead::AtOnce, as the last file that was opened has it.
    [[nodiscard]] std::size_t AtOnce() const { return beside_ ? FilesAtOnce : 1; }

    /// For what will be read: alive as long as somebody has it.
    [[nodiscard]] std::shared_ptr<KernelQueue> Queue();

    // For the files.
    [[nodiscard]] ReadRing& Ring() { return *ring_; }
    void WasRead(std::size_t bytes) { faster_.Read(bytes); }
    /// Whether that many descriptors are in use that the others shall be left to the rest of the process.
    [[nodiscard]] bool IsForOthers(int fd) const { return fd >= firstForOthers_; }

private:
    enum class Use : std::uint8_t { Never, WhereFaster, Always };
    static constexpr unsigned FilesAtOnce = 64;
    // With fewer descriptors, those on their way beside us could be missing elsewhere.
    static constexpr int EnoughDescriptors = 8 * FilesAtOnce;

    static Use Wanted();
    static std::chrono::nanoseconds Now() { return std::chrono::steady_clock::now().time_since_epoch(); }
    bool GoesBeside();

    Use use_ = Wanted();
    int firstForOthers_ = 0;
    FasterWay faster_{Now, FilesAtOnce};
    std::shared_ptr<ReadRing> ring_;  // made when it is tried first
    bool beside_ = false;
    std::weak_ptr<KernelQueue> queue_;
};

}  // namespace kel::offline
