// How much an archive may unpack to.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::archive {

/// Above any of these an archive counts as a failed one, and its caller logs that. They keep an archive made to fill
/// the disk or to take hours from doing so; what people send each other stays well below.
struct ZipLimits {
    std::size_t entries = 10'000;                     ///< files and folders, those that only names imply among them
    std::size_t nameBytes = 1'000;                    ///< of one entry's whole name
    std::uint64_t totalBytes = 512ULL << 20;          ///< of all files unpacked
    std::uint64_t fileBytes = 256ULL << 20;           ///< of one file unpacked
    std::uint64_t ratio = 200;                        ///< unpacked bytes for each packed one...
    std::uint64_t ratioCountsAboveBytes = 10U << 20;  ///< ...of a file larger than this
};

inline constexpr ZipLimits DefaultZipLimits{};

}  // namespace kel::archive
