// Version resources of program files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"

namespace kel::platform {

/// The block that GetFileVersionInfoA fills.
class VersionBlock {
public:
    virtual ~VersionBlock() = default;
    /// VerQueryValueA: the bytes that `subBlock` names (`\`, `\VarFileInfo\Translation`,
    /// `\StringFileInfo\040904E4\CompanyName`), without regard to case; text in the machine's code page with its
    /// terminator. Nothing when the block has no such entry.
    [[nodiscard]] virtual std::optional<std::string> Query(std::string_view subBlock) const = 0;
};

/// Version access to PE32, PE32+ and NE files. Never throws.
class VersionResources {
public:
    virtual ~VersionResources() = default;
    /// GetFileVersionInfoSizeA: bytes that the block needs; an error when the file has none.
    virtual Result<std::uint32_t> Size(std::string_view path) = 0;
    /// GetFileVersionInfoA into a buffer of `size` bytes; a longer block is cut there.
    virtual Result<std::unique_ptr<VersionBlock>> Load(std::string_view path, std::uint32_t size) = 0;
};

}  // namespace kel::platform
