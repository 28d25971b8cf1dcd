// Shell links made by hand, byte for byte in the shapes that the shell writes.
#pragma once

#include <cstdint>
#include <string>

namespace kel::test {

struct ShellLink {
    std::string target = "C:\\Program Files\\Thing\\thing.exe";  ///< full path; its parts are ASCII
    std::string label;                                           ///< of the volume; most have none
    std::uint32_t serial = 0x1A2B3C4D;
    bool itemIDs = true;           ///< the list of item identifiers that leads to the target
    bool location = true;          ///< the part with the volume and the path
    bool unicodeLocation = false;  ///< that part with the larger header and the texts in UTF-16 too
    std::string share;             ///< the location is on this network share instead of a volume
    std::string ansiPath;          ///< path in the location if it differs from the target, as "C:\??.exe"
    bool texts = true;             ///< description, relative path and working folder behind it, in UTF-16
    bool environment = false;      ///< a block with the path in variables at the end, in ANSI and UTF-16
};

/// The bytes of the link's file.
[[nodiscard]] std::string MakeShellLink(const ShellLink& link);

}  // namespace kel::test
