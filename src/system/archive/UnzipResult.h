// What became of unpacking an archive.
#pragma once

#include <cstdint>

namespace kel::archive {

/// Everything but UnzipDone is a failure, even when some entries came out before it.
enum UnzipResult : std::int32_t {
    UnzipDone = 0,
    UnzipNoHandle = 1,     ///< no such object, or no archive or folder was named
    UnzipUnreadable = 2,   ///< the archive can't be opened or read
    UnzipDamaged = 3,      ///< no zip archive, or its structure or an entry's checksum is wrong
    UnzipEncrypted = 4,    ///< an entry needs a password
    UnzipUnsupported = 5,  ///< an entry's compression method, or an archive in several parts
    UnzipUnsafeName = 6,   ///< an entry's name leads out of the folder or is not allowed on the machine
    UnzipOverlap = 7,      ///< entries share bytes of the archive, or a name
    UnzipTooLarge = 8,     ///< above the limits of ZipLimits
    UnzipWriteFailed = 9,  ///< the folder does not take an entry
};

}  // namespace kel::archive
