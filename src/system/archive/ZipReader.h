// Zip archives in memory: what they hold, and the bytes of each entry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "archive/UnzipResult.h"
#include "archive/ZipLimits.h"

namespace kel::archive {

/// An entry as the central directory tells it.
struct ZipEntry {
    std::string name;  ///< UTF-8, as stored: separators may be of either kind, and it may lead anywhere
    bool isFolder = false;
    std::uint16_t method = 0;  ///< 0 stored, 8 deflated
    std::uint32_t crc = 0;
    std::uint64_t packedBytes = 0;
    std::uint64_t bytes = 0;
    std::uint64_t dataAt = 0;  ///< place of the packed bytes in the archive
};

/// Reads archives with the stored and the deflate method, with data descriptors, 64-bit sizes, and bytes before the
/// archive proper. Nothing in an archive is believed: all places lie in the archive and share no bytes, and the sizes
/// are within the limits, before an entry is given. Never throws on account of an archive.
class ZipReader {
public:
    /// @param archive must outlive this object
    explicit ZipReader(std::span<const std::byte> archive, const ZipLimits& limits = DefaultZipLimits);

    /// Reads the directory. UnzipDone, or why the archive as a whole can't be unpacked; then there are no entries.
    [[nodiscard]] UnzipResult ReadDirectory();

    [[nodiscard]] const std::vector<ZipEntry>& Entries() const noexcept { return entries_; }

    /// Takes a part of an entry's bytes. False ends the extraction.
    using Sink = std::function<bool(std::span<const std::byte>)>;

    /// Unpacks an entry, which must come from Entries(), and checks its size and checksum.
    /// @return UnzipDone, UnzipDamaged, or UnzipWriteFailed when the sink ended it.
    [[nodiscard]] UnzipResult Extract(const ZipEntry& entry, const Sink& sink) const;

private:
    std::span<const std::byte> archive_;
    ZipLimits limits_;
    std::vector<ZipEntry> entries_;
};

}  // namespace kel::archive
